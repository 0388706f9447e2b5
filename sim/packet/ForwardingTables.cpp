#include "sim/packet/ForwardingTables.h"

#include <algorithm>

namespace Strata::Sim {

void RouteTable::routeIs( const IpPrefix& prefix, const Route& route )
{
   byLength_[ prefix.length ].insert_or_assign( prefix.address, route );
}

bool RouteTable::routeDel( const IpPrefix& prefix )
{
   const auto at = byLength_.find( prefix.length );
   return at != byLength_.end() && at->second.erase( prefix.address ) != 0;
}

const Route* RouteTable::find( const IpPrefix& prefix ) const
{
   const auto routes = byLength_.find( prefix.length );
   if( routes == byLength_.end() )
      return nullptr;
   const auto at = routes->second.find( prefix.address );
   return at == routes->second.end() ? nullptr : &at->second;
}

std::optional<RouteTable::Found> RouteTable::lookup( const IpAddress& address ) const
{
   for( const auto& [ length, routes ] : byLength_ ) {
      if( length > address.bits() )
         continue;
      const IpAddress network = address.masked( length );
      if( const auto at = routes.find( network ); at != routes.end() )
         return Found{ { network, length }, &at->second };
   }
   return std::nullopt;
}

std::vector<RouteTable::Found> RouteTable::all() const
{
   std::vector<Found> found;
   for( const auto& [ length, routes ] : byLength_ )
      for( const auto& [ network, route ] : routes )
         found.push_back( { { network, length }, &route } );
   return found;
}

const VlanProperties& ForwardingTables::vlan( U16 vlanId ) const
{
   static const VlanProperties plain;
   const auto at = vlans.find( vlanId );
   return at == vlans.end() ? plain : at->second;
}

StpState ForwardingTables::stpState( PortRef port, U16 vlanId ) const
{
   for( const U16 id : { vlanId, U16{ 0 } } )
      if( const auto at = stp.find( { port, id } ); at != stp.end() )
         return at->second;
   return StpState::forwarding;
}

U16 ForwardingTables::untaggedVlan( PortRef port ) const
{
   const auto at = nativeVlan.find( port );
   return at == nativeVlan.end() ? 1 : at->second;
}

std::optional<U16> ForwardingTables::vlanOfVni( U32 vni ) const
{
   for( const auto& [ vlanId, properties ] : vlans )
      if( properties.vni == vni )
         return vlanId;
   return std::nullopt;
}

const std::pair<const std::string, Tunnel>* ForwardingTables::tunnelBetween(
   const IpAddress& local, const IpAddress& remote ) const
{
   const auto at = std::ranges::find_if( tunnels, [ & ]( const auto& item ) {
      return item.second.local == local && item.second.remote == remote;
   } );
   return at == tunnels.end() ? nullptr : &*at;
}

} // namespace Strata::Sim
