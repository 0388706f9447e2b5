// Routing per VLAN: the flags of a VLAN's control record, and whether the CPU is a member.
#include "messages/Traces.h"
#include "platform/runtime/Errors.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

#include <ios>

namespace Strata {

std::optional<RoutingState> RoutingState::parse( std::string_view text )
{
   RoutingState state;
   if( text.empty() || text == "off" )
      return state;
   for( bool more = true; more; ) {
      const auto comma = text.find( ',' );
      const std::string_view word = text.substr( 0, comma );
      bool* const flag = word == "ip4"     ? &state.routing
                         : word == "ip6"   ? &state.routing6
                         : word == "mcast" ? &state.mcastRouting
                                           : nullptr;
      if( !flag )
         return std::nullopt;
      *flag = true;
      more = comma != text.npos;
      text.remove_prefix( more ? comma + 1 : 0 );
   }
   return state;
}

std::string toText( const RoutingState& state )
{
   std::string text;
   const auto add = [ &text ]( bool on, const char* word ) {
      if( on )
         text += ( text.empty() ? "" : "," ) + std::string( word );
   };
   add( state.routing, "ip4" );
   add( state.routing6, "ip6" );
   add( state.mcastRouting, "mcast" );
   return text.empty() ? "off" : text;
}

/// The SDK's ids are narrower: an id that is too large would be cut to the id of another VLAN.
static void checkVlanId( U32 vlanId )
{
   if( vlanId < 1 || vlanId > 4094 )
      throw Vormel::ValueError( "VLAN ids are 1 to 4094, not " + std::to_string( vlanId ) );
}

static bool existsOn( const UnitTable::Iterator& i, U32 vlanId )
{
   return SdkShim->vlanExists( i.key(), static_cast<U16>( vlanId ) );
}

// Forgets a VLAN that exists on no unit, because a new VLAN with its id starts unprogrammed.
bool RoutingStatusHelper::vlanIsThere( U32 vlanId )
{
   for( const auto& i : shared().units() )
      if( existsOn( i, vlanId ) )
         return true;
   forgetVlan( vlanId );
   return false;
}

void RoutingStatusHelper::forgetVlan( U32 vlanId )
{
   VORMEL_TRACE( routingTrace, 2, "VLAN " << vlanId << " exists on no unit" );
   if( vlanId < vlanRouting_.size() )
      vlanRouting_[ vlanId ].reset();
}

RoutingStatusHelper::VlanRouting& RoutingStatusHelper::vlanRouting( U32 vlanId )
{
   if( vlanId >= vlanRouting_.size() )
      vlanRouting_.resize( vlanId + 1 );
   std::optional<VlanRouting>& vlan = vlanRouting_[ vlanId ];
   return vlan ? *vlan : vlan.emplace();
}

void RoutingStatusHelper::handleVlanRoutingState( U32 vlanId, RoutingState state )
{
   VORMEL_TRACE( routingTrace, 4,
      "handleVlanRoutingState, Vlan: " << vlanId << ", routing: " << state.routing
                                       << ", routing6: " << state.routing6
                                       << ", mcastRouting: " << state.mcastRouting );
   bcm_vlan_control_vlan_s vlanControl;
   for( const auto& i : shared().units() ) {
      CHECKED( bcm_vlan_control_vlan_get( i.key(), vlanId, &vlanControl ) );
      VORMEL_TRACE( routingTrace, 5,
         "handleVlanRoutingStateUnit: " << i.key() << ", current flags: 0x" << std::hex
                                        << vlanControl.flags() );
      const U32 ip4Off = vlanIp4RoutingOff, ip6Off = vlanIp6RoutingOff;
      const U32 mcastOn = vlanMcastRoutingOn, mcastOff = vlanMcastRoutingOff;
      const U32 clearMask =
         ip4Off | ip6Off | mcastOff | vlanRoutingFlagA | vlanRoutingFlagB | mcastOn;
      const U32 set = ( state.routing ? 0 : ip4Off ) | ( state.routing6 ? 0 : ip6Off ) |
                      ( state.mcastRouting ? mcastOn : mcastOff );
      vlanControl.flagsIs( ( vlanControl.flags() & ~clearMask ) | set );
      CHECKED( bcm_vlan_control_vlan_set( i.key(), vlanId, vlanControl ) );
      VORMEL_TRACE( routingTrace, 5,
         "handleVlanRoutingStateUnit: " << i.key() << ", new flags: 0x" << std::hex
                                        << vlanControl.flags() );
   }
}

void RoutingStatusHelper::handlePerVlanRouting( bool enable )
{
   VORMEL_TRACE( routingTrace, 2, "handlePerVlanRouting, create: " << enable );
   if( enable == perVlanRoutingEnabled() )
      return;
   perVlanRoutingEnabledIs( enable );
   for( U32 vlanId = 0; vlanId < vlanRouting_.size(); ++vlanId )
      if( vlanRouting_[ vlanId ] )
         applyVlanRouting( vlanId );
}

void RoutingStatusHelper::enableVlanRouting( U32 vlanId, bool enable )
{
   checkVlanId( vlanId );
   VORMEL_TRACE( routingTrace, 2, "enableVlanRouting, Vlan: " << vlanId << ", enable: " << enable );
   if( !vlanIsThere( vlanId ) )
      return;
   vlanRouting( vlanId ).enabled = enable;
   applyVlanRouting( vlanId );
}

void RoutingStatusHelper::handleIpAddressState( U32 vlanId, bool ip4, bool ip6 )
{
   checkVlanId( vlanId );
   VORMEL_TRACE( routingTrace, 2,
      "handleIpAddressState, Vlan: " << vlanId << ", ip4: " << ip4 << ", ip6: " << ip6 );
   if( !vlanIsThere( vlanId ) )
      return;
   VlanRouting& vlan = vlanRouting( vlanId );
   if( vlan.addressesKnown && vlan.ip4 == ip4 && vlan.ip6 == ip6 )
      return;
   vlan.addressesKnown = true;
   vlan.ip4 = ip4;
   vlan.ip6 = ip6;
   handleVlanCpuPort( vlanId, !ip4 && !ip6 );
   if( perVlanRoutingEnabled() )
      applyVlanRouting( vlanId );
}

void RoutingStatusHelper::handleVlanCpuPort( U32 vlanId, bool block )
{
   checkVlanId( vlanId );
   VORMEL_TRACE( routingTrace, 2, "handleVlanCpuPort, Vlan: " << vlanId << ", block: " << block );
   if( !vlanIsThere( vlanId ) )
      return;
   VlanRouting& vlan = vlanRouting( vlanId );
   if( vlan.cpuBlocked == block )
      return;
   vlan.cpuBlocked = block;
   for( const auto& i : shared().units() ) {
      if( !existsOn( i, vlanId ) )
         continue;
      const bcm_pbmp_t cpuPbmp = cpuPorts( i.key() );
      if( block ) {
         CHECKED( bcm_vlan_port_remove( i.key(), vlanId, cpuPbmp ) );
      } else {
         const bcm_pbmp_t untaggedPbmp; // the CPU gets tagged frames
         CHECKED( bcm_vlan_port_add( i.key(), vlanId, cpuPbmp, untaggedPbmp ) );
      }
   }
}

void RoutingStatusHelper::applyVlanRouting( U32 vlanId )
{
   if( !vlanRouting_[ vlanId ] ) // a nested call has found the VLAN deleted
      return;
   const VlanRouting vlan = *vlanRouting_[ vlanId ];
   const bool all = !perVlanRoutingEnabled();
   const U32 ip4Off = vlanIp4RoutingOff, ip6Off = vlanIp6RoutingOff;
   const U32 set = ( all || ( vlan.enabled && vlan.ip4 ) ? 0 : ip4Off ) |
                   ( all || ( vlan.enabled && vlan.ip6 ) ? 0 : ip6Off );
   const U32 clearMask = ip4Off | ip6Off;
   bool isThere = false;
   for( const auto& i : shared().units() ) {
      if( !existsOn( i, vlanId ) )
         continue;
      isThere = true;
      bcm_vlan_control_vlan_s vlanControl;
      if( !CHECKED_AVAILABLE( bcm_vlan_control_vlan_get( i.key(), vlanId, &vlanControl ) ) ) {
         VORMEL_TRACE( routingTrace, 1,
            "VLAN " << vlanId << " of unit " << i.key()
                    << " cannot be read, so it is not written" );
         continue;
      }
      vlanControl.flagsIs( ( vlanControl.flags() & ~clearMask ) | set );
      CHECKED( bcm_vlan_control_vlan_set( i.key(), vlanId, vlanControl ) );
   }
   if( !isThere )
      forgetVlan( vlanId );
}

} // namespace Strata
