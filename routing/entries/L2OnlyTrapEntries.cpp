// Frames to a router MAC that are not routed go to the CPU. These entries have the highest ids of a MAC kind, so they
// match only what its VXLAN and ARP entries do not.
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "platform/state/StrataCommon.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"
#include "routing/tcam/TcamEntry.h"

#include <utility>

namespace Strata {

namespace {

/// Sets a flag for a scope, and restores it at the end, also after an exception.
class Raised
{
 public:
   explicit Raised( bool& flag ) : flag_( flag ), before_( std::exchange( flag, true ) ) {}
   ~Raised() { flag_ = before_; }
   Raised( const Raised& ) = delete;
   Raised& operator=( const Raised& ) = delete;

 private:
   bool& flag_;
   const bool before_;
};

} // namespace

void RoutingStatusHelper::handleTcamEntryL2ToCpu()
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryL2ToCpu" );
   if( !hasManager( tcamManager(), "handleTcamEntryL2ToCpu" ) )
      return;
   const Raised handled( trap_.written[ MacType::bridgeMac ].handled );
   if( routerMacAddr().isZero() )
      withdrawTrap( MacType::bridgeMac );
   // Re-checked: a subscriber may have set a MAC during the withdrawal.
   if( routerMacAddr().isZero() )
      return;
   if( tcamEntryTrapCpuForL2Only( MacType::bridgeMac ) != 0 &&
       tcamEntryRouterMac() == routerMacAddr() )
      return;
   installVxlanEntries( MacType::bridgeMac );
   installNoted( MacType::bridgeMac );
}

void RoutingStatusHelper::handleTcamEntryL2FennicToCpu()
{
   VORMEL_TRACE( routingTrace, 2, "handleTcamEntryL2FennicToCpu" );
   if( !hasManager( tcamManager(), "handleTcamEntryL2FennicToCpu" ) )
      return;
   const Raised handled( trap_.written[ MacType::fennicMac ].handled );
   if( virtualRouterMacAddr().isZero() )
      withdrawTrap( MacType::fennicMac );
   if( virtualRouterMacAddr().isZero() )
      return;
   if( tcamEntryTrapCpuForL2Only( MacType::fennicMac ) != 0 &&
       trap_.fennicMac == virtualRouterMacAddr() )
      return;
   installVxlanEntries( MacType::fennicMac );
   installNoted( MacType::fennicMac );
}

void RoutingStatusHelper::installNoted( MacType macType )
{
   noteMacIs( macType, macOf( macType ) );
   try {
      installTcamEntryForNonRoutableToCpu( macType );
   } catch( ... ) {
      // The entries may differ now. A zero note lets the next call make all of them anew.
      noteMacIs( macType, EthAddr() );
      throw;
   }
   noteCommonMac( macType ); // a subscriber may have changed the MAC between two entries
}

// Called before the trap entries are made, so that the trap never matches tunnel traffic.
void RoutingStatusHelper::installVxlanEntries( MacType macType )
{
   if( !chipAttributes( shared() ).vxlanSupported )
      return;
   installTcamEntryForL3Vxlan( macType );
   programL2VxlanTcam( macType );
}

Vormel::EthAddr RoutingStatusHelper::macOf( MacType macType ) const
{
   VORMEL_ASSERT( macType == MacType::bridgeMac || macType == MacType::fennicMac );
   return macType == MacType::bridgeMac ? routerMacAddr() : virtualRouterMacAddr();
}

void RoutingStatusHelper::noteMacIs( MacType macType, const EthAddr& mac )
{
   if( macType == MacType::bridgeMac )
      tcamEntryRouterMacIs( mac );
   else
      trap_.fennicMac = mac;
}

// An operation called by name writes only some entries of the kind, so the note is zero unless all have the same MAC.
void RoutingStatusHelper::noteWritten(
   MacType macType, EthAddr WrittenMacs::*entry, const EthAddr& mac )
{
   WrittenMacs& written = trap_.written[ macType ];
   written.*entry = mac;
   if( !written.handled )
      noteCommonMac( macType );
}

void RoutingStatusHelper::noteCommonMac( MacType macType )
{
   const WrittenMacs& written = trap_.written[ macType ];
   const EthAddr& common = written.trap;
   const bool arpAgrees = written.arpReply == common &&
                          ( macType != MacType::bridgeMac || written.arpRequest == common );
   const bool tunnelsAgree = !chipAttributes( shared() ).vxlanSupported ||
                             ( written.l3Vxlan == common && written.l2Vxlan == common );
   noteMacIs( macType, arpAgrees && tunnelsAgree ? common : EthAddr() );
}

void RoutingStatusHelper::installTcamEntryForNonRoutableToCpu( MacType macType )
{
   VORMEL_TRACE( routingTrace, 2, "installTcamEntryForNonRoutableToCpu, macType: " << macType );
   if( !hasManager( tcamManager(), "installTcamEntryForNonRoutableToCpu" ) )
      return;
   if( macOf( macType ).isZero() )
      return removeTrapEntries( macType );
   makeTrapEntries( macType );
   if( macType == MacType::bridgeMac )
      handleTcamEntryArpReqUnicastDrop();
   handleTcamEntryArpReplyToCpu( macType );
}

void RoutingStatusHelper::makeTrapEntries( MacType macType )
{
   using StrataCommon::classOpenFlow_;

   const ChipAttributes chip = chipAttributes( shared() );
   const bool higig = chip.higigTrunkCancelSupported && chip.higigQualifierSupported;
   const bool bridge = macType == MacType::bridgeMac;
   const EthAddr mac = macOf( macType );
   const EthAddr macMask = EthAddr::broadcast;

   TcamEntry fromPorts( tcamManager(),
      bridge ? TcamL3EntryId::l2OnlyCpuRx : TcamL3EntryId::l2OnlyFennicCpuRx,
      bridge ? "trap to cpu for l2 only with dmac=bridgeMac"
             : "trap to cpu for l2 only with dmac=fennicMac" );
   TcamEntry fromCpu( tcamManager(),
      bridge ? TcamL3EntryId::l2OnlyCpuRxFromCpu : TcamL3EntryId::l2OnlyFennicCpuRxFromCpu,
      bridge ? "trap to cpu for l2 only from cpu with dmac=bridgeMac"
             : "trap to cpu for l2 only from cpu with dmac=fennicMac" );
   for( const auto& i : shared().units() ) {
      U32 entryId = fromPorts.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      qualifyInPorts( *tcamManager(), i.key(), entryId, rxPorts( i.key() ), allPorts( i.key() ) );
      if( higig )
         CHECKED( bcm_field_qualify_HiGig( i.key(), entryId, 0, 1 ) );
      // An ACL group's key has no class fields.
      if( !tcamManager()->supportsAclGroup() ) {
         CHECKED(
            bcm_field_qualify_InterfaceClassL2( i.key(), entryId, StrataCommon::classSviConfigured_,
               StrataCommon::classSviConfigured_ | StrataCommon::classDropRoutedTraffic_ ) );
         CHECKED( bcm_field_qualify_SrcClassField( i.key(), entryId, 0, classOpenFlow_ ) );
      }
      CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_qualify_Drop( i.key(), entryId, 0x0, 0x1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      if( higig )
         CHECKED(
            bcm_field_action_add( i.key(), entryId, BCM_HG_TRUNK_CANCEL_ACTION( i.key() ), 0, 0 ) );
      fromPorts.install( i.key() );

      entryId = fromCpu.claim( i.key() );
      CHECKED( bcm_field_qualify_DstMac( i.key(), entryId, mac, macMask ) );
      qualifyInPorts( *tcamManager(), i.key(), entryId, cpuPorts( i.key() ), allPorts( i.key() ) );
      CHECKED( bcm_field_qualify_L3Routable( i.key(), entryId, 0, 1 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionCopyToCpu, 0, 0 ) );
      CHECKED( bcm_field_action_add( i.key(), entryId, bcmFieldActionDrop, 0, 0 ) );
      fromCpu.install( i.key() );
   }
   tcamEntryTrapCpuForL2OnlyIs( macType, fromPorts.recordable() );
   tcamEntryTrapCpuFromCpuIs( macType, fromCpu.recordable() );
   noteWritten( macType, &WrittenMacs::trap, mac );
   fromPorts.traceAllocated(
      __func__, bridge ? "Allocated trap to cpu for l2 only with dmac=bridgeMac tcam entry (ID:"
                       : "Allocated trap to cpu for l2 only with dmac=fennicMac tcam entry (ID:" );
   fromCpu.traceAllocated( __func__,
      bridge ? "Allocated trap to cpu for l2 only from cpu with dmac=bridgeMac tcam entry (ID:"
             : "Allocated trap to cpu for l2 only from cpu with dmac=fennicMac tcam entry (ID:" );
}

void RoutingStatusHelper::removeTrapEntries( MacType macType )
{
   const UnitTable& units = shared().units();
   deleteEntry( tcamManager(), units, tcamEntryArpReply( macType ) );
   tcamEntryArpReplyDel( macType );
   noteWritten( macType, &WrittenMacs::arpReply, EthAddr() );
   if( macType == MacType::bridgeMac ) {
      tcamEntryArpReqUnicastIs( deleteEntry( tcamManager(), units, tcamEntryArpReqUnicast() ) );
      noteWritten( macType, &WrittenMacs::arpRequest, EthAddr() );
   }
   deleteEntry( tcamManager(), units, tcamEntryTrapCpuFromCpu( macType ) );
   tcamEntryTrapCpuFromCpuDel( macType );
   deleteEntry( tcamManager(), units, tcamEntryTrapCpuForL2Only( macType ) );
   tcamEntryTrapCpuForL2OnlyDel( macType );
   noteWritten( macType, &WrittenMacs::trap, EthAddr() );
}

void RoutingStatusHelper::withdrawTrap( MacType macType )
{
   removeTrapEntries( macType );
   removeL2Vxlan( macType );
   removeL3Vxlan( macType );
   noteMacIs( macType, EthAddr() );
}

} // namespace Strata
