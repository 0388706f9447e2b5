// IPv4 and IPv6 routing of the whole chip, the same controls for a port that is added later, and the chip-wide
// controls of features that the reactor turns on and off.
#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

#include <cstdlib>

namespace Strata {

// Checked once per process: an agent that still requests the old way of programming must not start routing.
static void checkSmallTables()
{
   static bool checked = false;
   if( !checked && std::getenv( "STRATA_SMALLTABLES_ENABLE" ) != nullptr )
      VORMEL_ASSERT( 0 && "programming L3 table using the SDK is deprecated" );
   checked = true;
}

// Kept in one function because error lines carry its signature.
void RoutingStatusHelper::handleRouting( bool enable, bool enable6 )
{
   VORMEL_TRACE( routingTrace, 2, "handleRouting, enable: " << enable << ", enable6: " << enable6 );
   handleTcamEntryL2ToCpu();
   handleTcamEntryL2FennicToCpu();

   const ChipAttributes chip = chipAttributes( shared() );
   const bool wasOn = routing4Enabled() || routing6Enabled();
   const bool on = enable || enable6;
   if( !on && !wasOn )
      return;
   routing4EnabledIs( enable );
   routing6EnabledIs( enable6 );

   if( !on ) {
      for( const auto& i : shared().units() ) {
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchL3MtuFailToCpu, false ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchMartianAddrToCpu, false ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchIcmpRedirectToCpu, false ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchL3SlowpathToCpu, false ) );
         CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchIpmcTtl1ToCpu, false ) );
      }
      for( const auto& i : shared().units() ) {
         if( shared().hasIpOptionsProfile( i.key() ) && ipOptionsProfile() != noIpOptionsProfile )
            CHECKED_WITH_SIGNATURE(
               bcm_l3_ip4_options_profile_destroy( i.key(), ipOptionsProfile() ) );
      }
      ipOptionsProfileIs( noIpOptionsProfile );
      VORMEL_TRACE( routingTrace, 2, "Hardware routing disabled" );
   } else if( !wasOn ) {
      for( const auto& i : shared().units() ) {
         checkSmallTables();
         CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchL3EgressMode, true ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchL3UcTtlErrToCpu, true ) );
         CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchL3MtuFailToCpu, true ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchMartianAddrToCpu, true ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchIcmpRedirectToCpu, false ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchL3SlowpathToCpu, true ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchL3UcastTtl1ToCpu, true ) );
         CHECKED_WITH_SIGNATURE( bcm_switch_control_set( i.key(), bcmSwitchIpmcTtl1ToCpu, false ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchCpuProtoIpOptionsPriority, 0 ) );
      }
      for( const auto& iter : shared().units() ) {
         if( chip.usesIpOptionsDefault || !shared().hasIpOptionsProfile( iter.key() ) )
            continue;
         int optionsProfile = noIpOptionsProfile;
         CHECKED_WITH_SIGNATURE( bcm_l3_ip4_options_profile_create(
            iter.key(), 0, bcmIntfIPOptionActionCopyCPUAndDrop, &optionsProfile ) );
         noteIpOptionsProfile( iter.key(), optionsProfile );
      }
      VORMEL_TRACE( routingTrace, 2, "Hardware routing enabled" );
   }
   // If routing was on and stays on for any family, nothing is written: the controls serve both families.
}

void RoutingStatusHelper::noteIpOptionsProfile( U32 unit, S32 profile )
{
   if( profile == noIpOptionsProfile )
      return; // the chip lacks the operation; the profiles of other units are still to be destroyed
   if( ipOptionsProfile() != noIpOptionsProfile && ipOptionsProfile() != profile )
      VORMEL_TRACE( routingTrace, 2,
         "handleRouting: unit " << unit << " has IPv4 options profile " << profile << ", not "
                                << ipOptionsProfile() );
   ipOptionsProfileIs( profile );
}

void RoutingStatusHelper::programSwitchCtrlPortSet( Vormel::IntfId intf )
{
   VORMEL_TRACE( routingTrace, 9, "programSwitchCtrlPortSetintf" << intf );
   const StrataPort sp = shared().strataIntfToPort( intf );
   VORMEL_ASSERT( !!sp );
   const StrataPort& port = sp;
   const bool routingEnabled = routing4Enabled() || routing6Enabled();

   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchV4L3DstMissToCpu, true ) );
   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchV6L3DstMissToCpu, true ) );
   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchL3UcTtlErrToCpu, true ) );
   CHECKED_WITH_SIGNATURE( bcm_switch_control_port_set(
      port.unit(), ChipWidePort, bcmSwitchL3EgressMode, routingEnabled || ofFxSupported() ) );
   CHECKED_WITH_SIGNATURE( bcm_switch_control_port_set(
      port.unit(), ChipWidePort, bcmSwitchL3MtuFailToCpu, routingEnabled ) );
   CHECKED_WITH_SIGNATURE( bcm_switch_control_port_set(
      port.unit(), ChipWidePort, bcmSwitchMartianAddrToCpu, routingEnabled ) );
   CHECKED_WITH_SIGNATURE( bcm_switch_control_port_set(
      port.unit(), ChipWidePort, bcmSwitchL3SlowpathToCpu, routingEnabled ) );
   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchL3UcastTtl1ToCpu, true ) );
   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchIpmcTtl1ToCpu, false ) );
   CHECKED_WITH_SIGNATURE(
      bcm_switch_control_port_set( port.unit(), ChipWidePort, bcmSwitchIcmpRedirectToCpu, false ) );
   CHECKED_WITH_SIGNATURE( bcm_switch_control_port_set(
      port.unit(), ChipWidePort, bcmSwitchCpuProtoIpOptionsPriority, 0 ) );

   if( portSwTablePtr() ) {
      PortSwEntry entry = portSwTablePtr()->entry( port );
      entry.l3Enabled = true;
      entry.routingEnabled = routingEnabled;
      portSwTablePtr()->entryCommit( port, entry );
   } else {
      VORMEL_TRACE( routingTrace, 1, "programSwitchCtrlPortSet: no software port table" );
   }

   CHECKED_WITH_SIGNATURE(
      bcm_port_control_set( port.unit(), port.sdkPort(), bcmPortControlIP4, 1 ) );
   CHECKED_WITH_SIGNATURE(
      bcm_port_control_set( port.unit(), port.sdkPort(), bcmPortControlIP6, 1 ) );
}

void RoutingStatusHelper::programDualHash( SwitchControl control, bool on )
{
   for( const auto& i : shared().units() ) {
      if( control == SwitchControl::HashL2Dual )
         CHECKED( bcm_switch_control_set( i.key(), bcmSwitchHashL2Dual, on ) );
      else
         CHECKED( bcm_switch_control_set( i.key(), bcmSwitchHashL3Dual, on ) );
   }
}

void RoutingStatusHelper::programL2TrafficRouting( bool on )
{
   for( const auto& i : shared().units() )
      CHECKED( bcm_switch_control_set( i.key(), bcmSwitchL2TrafficSrcIpLookup, on ) );
}

} // namespace Strata
