// Chip initialisation: the order in which L3 comes up.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

namespace Strata {

namespace {

/// Sets one of the helper's phase flags for a scope, also when an exception ends it.
class Phase
{
 public:
   using Setter = void ( RoutingStatusHelper::* )( bool );

   Phase( RoutingStatusHelper& helper, Setter setter ) : helper_( helper ), setter_( setter )
   {
      ( helper_.*setter_ )( true );
   }
   Phase( const Phase& ) = delete;
   Phase& operator=( const Phase& ) = delete;
   ~Phase() { ( helper_.*setter_ )( false ); }

 private:
   RoutingStatusHelper& helper_;
   Setter setter_;
};

} // namespace

void RoutingStatusHelper::init( bool enable, bool initHw )
{
   VORMEL_TRACE( routingTrace, 2, "init, enable: " << enable << ", initHw: " << initHw );
   lookUpChip( "init" );
   const ChipAttributes chip = chipAttributes( shared() );

   if( shared().vfiForwarding() )
      initTtlCheck();

   for( const auto& i : shared().units() ) {
      VORMEL_TRACE( routingTrace, 2, "setting L3DstMissToCpu to true" );
      CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchV4L3DstMissToCpu, true ) );
      CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchV6L3DstMissToCpu, true ) );
      CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchL3UcastTtl1ToCpu, true ) );
      CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchL3UcTtlErrToCpu, true ) );
      VORMEL_TRACE( routingTrace, 2, "setting bcmSwitchIPv4DoNotVerifyIncomingChecksum to true" );
      if( chip.ipv4ChecksumNoVerify )
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchIPv4DoNotVerifyIncomingChecksum, true ) );
   }

   if( chip.l3CpuFpEntries && !chip.noNextHopToCpuEntry )
      initializeNextHopToCpuTcam();

   // Before the flood entries, whose actions depend on useLb.
   useLbIs( chip.lbPortAvailable && !chip.lbViaRecircOnly );
   if( useLb() )
      initLoopback();

   if( chip.l3CpuFpEntries ) {
      handleTcamEntryVlanFlood( true );
      handleTcamEntryVxlanEncapFlood( true );
      if( !fabricMode() ) {
         handleTcamEntryVlanFloodVxlan( true );
         handleTcamEntryL3Recirc( true );
         handleTcamEntryVlanFloodPbr( true );
      }
   }

   if( enable ) {
      const Phase initializing( *this, &RoutingStatusHelper::l3InitializingIs );
      handleTcamEntryL2McastCpu( true );
      handleTcamEntryMplsTrafficDrop( true );
      initCpuControlM();
   } else {
      const Phase cleaningUp( *this, &RoutingStatusHelper::l3CleaningUpIs );
      handleTcamEntryL2McastCpu( false );
      handleTcamEntryMplsTrafficDrop( false );
   }

   programSkipL2McastPktFromCoreToCpu( shared().vxlanEnabled() );
}

void RoutingStatusHelper::l3Init( bool enable )
{
   init( enable, true );
}

void RoutingStatusHelper::initLoopback()
{
   // The last group of the allocation contains all ports.
   if( l2McastTableAllocation() && l2McastTableAllocation()->size() > 0 )
      allPortsL2McIs( l2McastTableAllocation()->size() - 1 );
   else
      VORMEL_TRACE( routingTrace, 1, "init: no L2 multicast table allocation" );
   VORMEL_TRACE( routingTrace, 2, "useLb: " << useLb() << ", allPortsL2Mc: " << allPortsL2Mc() );
   handleTcamEntryLb();
}

} // namespace Strata
