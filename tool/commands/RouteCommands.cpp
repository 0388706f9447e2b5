// The tables by which packets are routed, which other parts of an agent own: routes, tunnels, policy routing, labels,
// IP multicast.
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

Act addRoute( const Session& session, Words& words )
{
   const Sim::IpPrefix prefix = takePrefix( words );
   Sim::Route route{ takeNextHops( session, words ), 0 };
   if( words.accept( "class" ) )
      route.sourceClass = words.value<U32>( "the class of its sources" );
   return [ = ]( Session& live ) { live.packets().tables().routes.routeIs( prefix, route ); };
}

/// With next hops, only these are removed; with the last one the route goes.
Act removeRoute( const Session& session, Words& words )
{
   const Sim::IpPrefix prefix = takePrefix( words );
   const Sim::Route* const route = session.packets().tables().routes.find( prefix );
   if( !route )
      words.fail( "there is no route " + prefix.toString() + "; 'show routes' lists them" );
   Sim::Route rest{ {}, route->sourceClass };
   if( !words.done() ) {
      const Word* const via = words.peek();
      rest.nextHops = route->nextHops;
      for( const Sim::NextHop& nextHop : takeNextHops( session, words ) )
         if( std::erase( rest.nextHops, nextHop ) == 0 )
            words.failAt(
               *via, prefix.toString() + " does not have this next hop; 'show routes' lists them" );
   }
   return [ prefix, rest ]( Session& live ) {
      Sim::RouteTable& routes = live.packets().tables().routes;
      if( rest.nextHops.empty() )
         routes.routeDel( prefix );
      else
         routes.routeIs( prefix, rest );
   };
}

Sim::IpAddress takeTunnelEnd( Words& words, std::string_view what )
{
   const Sim::IpAddress address = takeAddress( words, what );
   if( address.isMartian( true ) )
      words.fail( address.toString() + " is not the unicast address of a switch" );
   return address;
}

Act addTunnel( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 1> behind{ "local" };
   const std::string name = words.name( "a tunnel's name", behind );
   if( std::ranges::find( vlanProperties, name ) != vlanProperties.end() )
      words.fail( "'" + name + "' is a property of VLANs; give the tunnel another name" );
   const Sim::ChipProfile& chip = session.agent().hardware().profile();
   if( !chip.attributes.vxlanSupported )
      words.fail( "chips of the profile '" + chip.name +
                  "' have no VXLAN; 'with vxlanSupported' in the line of 'switch' adds it" );
   words.expect( "local" );
   const Sim::IpAddress local = takeTunnelEnd( words, "the address of this end" );
   words.expect( "remote" );
   const Sim::IpAddress remote = takeTunnelEnd( words, "the address of the other end" );
   if( local.isV6() != remote.isV6() )
      words.fail( "both ends of a tunnel have addresses of one family; " + local.toString() +
                  " is of the other" );
   if( local == remote )
      words.fail(
         "both ends of the tunnel are " + local.toString() + "; the other end is another switch" );
   const Word* const way = words.peek( 1 ); // behind "via"
   const Sim::NextHop underlay = takeNextHop( session, words );
   if( underlay.kind != Sim::NextHop::Kind::port )
      words.failAt( *way, "the next hop of a tunnel must be on a port" );
   return [ = ]( Session& live ) {
      live.packets().tables().tunnels[ name ] = { local, remote, underlay };
   };
}

/// The commands that made what uses the tunnel.
std::vector<std::string> usersOf( const Sim::ForwardingTables& tables, const std::string& tunnel )
{
   std::vector<std::string> users;
   const auto leadsThere = [ & ]( const Sim::NextHop& nextHop ) {
      return nextHop.kind == Sim::NextHop::Kind::tunnel && nextHop.tunnel == tunnel;
   };
   for( const auto& [ prefix, route ] : tables.routes.all() )
      if( std::ranges::any_of( route->nextHops, leadsThere ) )
         users.push_back( "route " + prefix.toString() );
   for( const auto& [ name, rule ] : tables.steering )
      if( leadsThere( rule.nextHop ) )
         users.push_back( "pbr " + name );
   for( const auto& [ label, rule ] : tables.labels )
      if( rule.nextHop && leadsThere( *rule.nextHop ) )
         users.push_back( "mpls " + std::to_string( label ) );
   for( const auto& [ key, station ] : tables.stations )
      if( station.fixed && station.place == Sim::Station::Place( Sim::Station::Tunnel{ tunnel } ) )
         users.push_back( "mac " + key.mac.toString() + " vlan " + std::to_string( key.vlanId ) );
   for( const auto& [ number, group ] : tables.l2Groups )
      if( group.tunnels.contains( tunnel ) )
         users.push_back( "l2mcast " + std::to_string( number ) );
   for( const auto& [ vlanId, vlan ] : tables.vlans )
      if( vlan.tunnels.contains( tunnel ) )
         users.push_back( "vlan " + std::to_string( vlanId ) + " vxlan" );
   return users;
}

/// What was learned behind the tunnel goes with it.
Act removeTunnel( const Session& session, Words& words )
{
   const std::string name = words.take( "a tunnel's name", "TUNNEL" ).text;
   if( !session.packets().tables().tunnels.contains( name ) )
      words.fail( "there is no tunnel '" + name + "'; 'show forwarding' lists them" );
   const std::vector<std::string> users = usersOf( session.packets().tables(), name );
   if( !users.empty() ) {
      const std::vector<std::string_view> views( users.begin(), users.end() );
      words.fail( "tunnel " + name + " is used by " + joined( views ) + "; remove that first" );
   }
   return [ name ]( Session& live ) {
      Sim::ForwardingTables& tables = live.packets().tables();
      std::erase_if( tables.stations, [ & ]( const auto& item ) {
         return item.second.place == Sim::Station::Place( Sim::Station::Tunnel{ name } );
      } );
      tables.tunnels.erase( name );
   };
}

Act addSteering( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 4> behind{ "in", "from", "to", "via" };
   const std::string name = words.name( "the rule's name", behind );
   Sim::SteeringRule rule;
   if( words.accept( "in" ) )
      rule.port = takePort( session, words );
   if( words.accept( "from" ) )
      rule.source = takePrefix( words );
   if( words.accept( "to" ) )
      rule.destination = takePrefix( words );
   if( rule.source && rule.destination &&
       rule.source->address.isV6() != rule.destination->address.isV6() )
      words.fail( "'from' and 'to' have prefixes of one family; " + rule.source->toString() +
                  " is of the other" );
   rule.nextHop = takeNextHop( session, words );
   return [ = ]( Session& live ) { live.packets().tables().steering[ name ] = rule; };
}

Act removeSteering( const Session& session, Words& words )
{
   const std::string name = words.take( "the rule's name", "RULE" ).text;
   if( !session.packets().tables().steering.contains( name ) )
      words.fail( "there is no rule '" + name + "'; 'show forwarding' lists them" );
   return [ name ]( Session& live ) { live.packets().tables().steering.erase( name ); };
}

Act addLabel( const Session& session, Words& words )
{
   const auto isReserved = []( U32 label ) { return label < 16; }; // RFC 3032, 2.1
   const U32 label = takeLabel( words, "a label" );
   if( isReserved( label ) )
      words.fail( "labels 0 to 15 are reserved; write 16 to 1048575" );
   Sim::LabelRule rule;
   if( words.accept( "swap" ) ) {
      rule.swap = takeLabel( words, "the new label" );
      if( isReserved( *rule.swap ) && *rule.swap != 0 && *rule.swap != 2 )
         words.fail( "labels 0 to 15 are reserved; of them, a swap accepts only 0 and 2" );
   } else {
      words.choose( "an action", std::array<std::string_view, 2>{ "pop", "swap" } );
   }
   if( rule.swap || !words.done() )
      rule.nextHop = takeNextHop( session, words );
   return [ = ]( Session& live ) { live.packets().tables().labels[ label ] = rule; };
}

Act removeLabel( const Session& session, Words& words )
{
   const U32 label = takeLabel( words, "a label" );
   if( !session.packets().tables().labels.contains( label ) )
      words.fail(
         "label " + std::to_string( label ) + " is unknown; 'show forwarding' lists them" );
   return [ label ]( Session& live ) { live.packets().tables().labels.erase( label ); };
}

Act addMcastRoute( const Session& session, Words& words )
{
   const Sim::IpAddress address = takeAddress( words, "an IP multicast group" );
   if( !address.isMulticast() )
      words.fail( address.toString() + " is not a multicast address; 'route' routes unicast" );
   if( address.isLinkLocal() )
      words.fail( address.toString() + " stays on its link; no router forwards it" );
   std::set<U16> into;
   while( !words.done() ) {
      words.expect( "vlan" );
      if( const U16 vlanId = takeVlan( session, words ); !into.insert( vlanId ).second )
         words.fail( "VLAN " + std::to_string( vlanId ) + " is listed twice" );
   }
   return [ = ]( Session& live ) { live.packets().tables().mcastRoutes[ address ] = into; };
}

Act removeMcastRoute( const Session& session, Words& words )
{
   const Sim::IpAddress address = takeAddress( words, "an IP multicast group" );
   if( !session.packets().tables().mcastRoutes.contains( address ) )
      words.fail(
         "there is no route for group " + address.toString() + "; 'show forwarding' lists them" );
   return [ address ]( Session& live ) { live.packets().tables().mcastRoutes.erase( address ); };
}

} // namespace

std::vector<Command> routeCommands()
{
   return {
      { "route", "PREFIX via NEXTHOP [via NEXTHOP]... [class N]",
         "make a route, or replace it; with several next hops, each flow uses one (ECMP)",
         addRoute },
      { "no route", "PREFIX [via NEXTHOP]...", "remove a route, or some of its next hops",
         removeRoute },
      { "tunnel", "NAME local ADDRESS remote ADDRESS via PORT|LAG mac MAC vlan ID",
         "make a VXLAN tunnel", addTunnel },
      { "no tunnel", "NAME", "remove a VXLAN tunnel that nothing uses any more", removeTunnel },
      { "pbr", "NAME [in PORT] [from PREFIX] [to PREFIX] via NEXTHOP",
         "add a policy-routing rule; rules are tried in order of their names", addSteering },
      { "no pbr", "NAME", "remove a rule", removeSteering },
      { "mpls", "LABEL swap LABEL via NEXTHOP, LABEL pop [via NEXTHOP]",
         "switch by a label; behind a label that is popped without a next hop, the packet is looked up",
         addLabel },
      { "no mpls", "LABEL", "forget a label", removeLabel },
      { "mroute", "ADDRESS [vlan ID]...", "route an IP multicast group into these VLANs",
         addMcastRoute },
      { "no mroute", "ADDRESS", "remove the route of an IP multicast group", removeMcastRoute },
   };
}

} // namespace Strata::Tool
