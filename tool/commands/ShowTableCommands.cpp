// Tables that packets are forwarded by, and counters.
#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;
using Vormel::format;

ordered_json portNames( const Sim::PacketEngine& engine, const std::set<Sim::PortRef>& ports )
{
   auto names = ordered_json::array();
   for( const Sim::PortRef port : ports )
      names.push_back( engine.portName( port ) );
   return names;
}

/// The port, and the LAG that it belongs to.
void addPort( ordered_json& row, const Sim::PacketEngine& engine, Sim::PortRef port )
{
   row[ "port" ] = engine.portName( port );
   if( const std::string lag = engine.lagOf( port ); !lag.empty() )
      row[ "lag" ] = lag;
}

ordered_json nextHopJson( const Sim::PacketEngine& engine, const Sim::NextHop& nextHop )
{
   switch( nextHop.kind ) {
   case Sim::NextHop::Kind::cpu:
      return { { "kind", "cpu" } };
   case Sim::NextHop::Kind::port: {
      ordered_json json{ { "kind", "port" } };
      addPort( json, engine, nextHop.port );
      json.update( { { "mac", nextHop.mac.toString() }, { "vlan", nextHop.vlanId } } );
      return json;
   }
   case Sim::NextHop::Kind::flood:
      return { { "kind", "flood" }, { "mac", nextHop.mac.toString() }, { "vlan", nextHop.vlanId } };
   case Sim::NextHop::Kind::tunnel:
      return { { "kind", "tunnel" }, { "tunnel", nextHop.tunnel },
         { "mac", nextHop.mac.toString() }, { "vlan", nextHop.vlanId } };
   }
   return nullptr;
}

std::string placeText( Sim::PacketEngine& engine, const Sim::Station::Place& place )
{
   if( const auto* const port = std::get_if<Sim::PortRef>( &place ) )
      return engine.placeName( *port );
   if( const auto* const tunnel = std::get_if<Sim::Station::Tunnel>( &place ) )
      return "tunnel " + tunnel->name;
   return "group " + std::to_string( std::get<Sim::Station::Group>( place ).number );
}

/// The member that says where a station is.
void addPlace( ordered_json& row, Sim::PacketEngine& engine, const Sim::Station::Place& place )
{
   if( const auto* const port = std::get_if<Sim::PortRef>( &place ) )
      addPort( row, engine, *port );
   else if( const auto* const tunnel = std::get_if<Sim::Station::Tunnel>( &place ) )
      row[ "tunnel" ] = tunnel->name;
   else
      row[ "group" ] = std::get<Sim::Station::Group>( place ).number;
}

void showMacs( Session& session )
{
   PacketDesk& desk = session.packets();
   Table table( { { "VLAN", Align::right }, { "MAC address" }, { "Kind" }, { "Where" } } );
   for( const auto& [ key, station ] : desk.tables().stations ) {
      const char* const kind = station.fixed ? "configured" : "learned";
      ordered_json row{ { "vlan", key.vlanId }, { "mac", key.mac.toString() }, { "kind", kind } };
      addPlace( row, desk.engine(), station.place );
      table.row( { std::to_string( key.vlanId ), key.mac.toString(), kind,
                    placeText( desk.engine(), station.place ) },
         std::move( row ) );
   }
   session.console().table( "MAC addresses", table );
}

void showRoutes( Session& session )
{
   PacketDesk& desk = session.packets();
   Table table( { { "Prefix" }, { "Class", Align::right }, { "Next hop" } } );
   for( const auto& [ prefix, route ] : desk.tables().routes.all() )
      for( const Sim::NextHop& nextHop : route->nextHops )
         table.row( { prefix.toString(),
                       route->sourceClass == 0 ? "" : format( "0x%x", route->sourceClass ),
                       desk.engine().nextHopName( nextHop ) },
            { { "prefix", prefix.toString() }, { "class", route->sourceClass },
               { "nextHop", nextHopJson( desk.engine(), nextHop ) } } );
   session.console().table( "Routes", table );
}

/// "a, b, c"
class CommaList
{
 public:
   void add( bool has, const std::string& part )
   {
      if( has )
         text_ += ( text_.empty() ? "" : ", " ) + part;
   }
   const std::string& text() const { return text_; }

 private:
   std::string text_;
};

std::string vlanText( const Sim::VlanProperties& vlan )
{
   CommaList list;
   list.add( vlan.svi, "svi" );
   list.add( !vlan.routerMac.isZero(), "router MAC " + vlan.routerMac.toString() );
   list.add( vlan.dropRouted, "drop-routed" );
   list.add( vlan.vni.has_value(), "VXLAN " + std::to_string( vlan.vni.value_or( 0 ) ) );
   for( const std::string& tunnel : vlan.tunnels )
      list.add( true, "tunnel " + tunnel );
   list.add( vlan.l3Class != 0, "L3 class " + std::to_string( vlan.l3Class ) );
   list.add( vlan.urpf != Sim::UrpfMode::off, "uRPF " + Vormel::enumText( vlan.urpf ) );
   list.add( vlan.mtu != 0, "MTU " + std::to_string( vlan.mtu ) );
   return list.text();
}

std::string groupText( Sim::PacketEngine& engine, const Sim::McastGroup& group )
{
   CommaList list;
   list.add( group.everyPort, "every port" );
   list.add( group.everyTunnel, "every tunnel" );
   for( const Sim::PortRef port : group.ports )
      list.add( true, engine.portName( port ) );
   for( const std::string& tunnel : group.tunnels )
      list.add( true, "tunnel " + tunnel );
   list.add( group.cpu, "the CPU" );
   return list.text();
}

ordered_json vlanJson( U16 vlanId, const Sim::VlanProperties& vlan )
{
   return { { "vlan", vlanId }, { "svi", vlan.svi },
      { "routerMac",
         vlan.routerMac.isZero() ? ordered_json() : ordered_json( vlan.routerMac.toString() ) },
      { "dropRouted", vlan.dropRouted },
      { "vni", vlan.vni ? ordered_json( *vlan.vni ) : ordered_json() }, { "tunnels", vlan.tunnels },
      { "l3Class", vlan.l3Class }, { "urpf", Vormel::enumName( vlan.urpf ) }, { "mtu", vlan.mtu } };
}

ordered_json groupJson( Sim::PacketEngine& engine, U32 number, const Sim::McastGroup& group )
{
   return { { "l2mcast", number }, { "everyPort", group.everyPort },
      { "everyTunnel", group.everyTunnel }, { "cpu", group.cpu },
      { "ports", portNames( engine, group.ports ) }, { "tunnels", group.tunnels } };
}

void addRules( Table& table, Sim::PacketEngine& engine, const Sim::ForwardingTables& tables )
{
   for( const auto& [ name, tunnel ] : tables.tunnels )
      table.row(
         { "tunnel " + name, format( "%s to %s by %s", tunnel.local.toString(),
                                tunnel.remote.toString(), engine.nextHopName( tunnel.underlay ) ) },
         { { "tunnel", name }, { "local", tunnel.local.toString() },
            { "remote", tunnel.remote.toString() },
            { "nextHop", nextHopJson( engine, tunnel.underlay ) } } );
   for( const auto& [ name, rule ] : tables.steering ) {
      const auto prefix = []( const std::optional<Sim::IpPrefix>& of ) {
         return of ? ordered_json( of->toString() ) : ordered_json();
      };
      table.row( { "pbr " + name, "to " + engine.nextHopName( rule.nextHop ) },
         { { "pbr", name },
            { "port", rule.port ? ordered_json( engine.portName( *rule.port ) ) : ordered_json() },
            { "from", prefix( rule.source ) }, { "to", prefix( rule.destination ) },
            { "nextHop", nextHopJson( engine, rule.nextHop ) } } );
   }
   for( const auto& [ label, rule ] : tables.labels )
      table.row( { "label " + std::to_string( label ),
                    ( rule.swap ? "swap " + std::to_string( *rule.swap ) : "pop" ) +
                       ( rule.nextHop ? ", to " + engine.nextHopName( *rule.nextHop ) : "" ) },
         { { "label", label }, { "swap", rule.swap ? ordered_json( *rule.swap ) : ordered_json() },
            { "nextHop", rule.nextHop ? nextHopJson( engine, *rule.nextHop ) : ordered_json() } } );
   for( const auto& [ address, into ] : tables.mcastRoutes ) {
      CommaList vlans;
      for( const U16 vlanId : into )
         vlans.add( true, "into VLAN " + std::to_string( vlanId ) );
      table.row( { "mroute " + address.toString(), vlans.text() },
         { { "mroute", address.toString() }, { "vlans", into } } );
   }
}

void showForwarding( Session& session )
{
   PacketDesk& desk = session.packets();
   Sim::PacketEngine& engine = desk.engine();
   const Sim::ForwardingTables& tables = desk.tables();
   Table table( { { "What" }, { "How" } } );
   for( const auto& [ vlanId, vlan ] : tables.vlans )
      table.row(
         { "VLAN " + std::to_string( vlanId ), vlanText( vlan ) }, vlanJson( vlanId, vlan ) );
   addRules( table, engine, tables );
   for( const auto& [ number, group ] : tables.l2Groups )
      table.row( { "l2mcast " + std::to_string( number ), groupText( engine, group ) },
         groupJson( engine, number, group ) );
   for( const Sim::PortRef port : tables.openFlowPorts )
      table.row(
         { "openflow", engine.portName( port ) }, { { "openflow", engine.portName( port ) } } );
   for( const auto& [ place, state ] : tables.stp )
      table.row( { "stp " + engine.portName( place.first ),
                    Vormel::enumText( state ) +
                       ( place.second == 0 ? "" : " in VLAN " + std::to_string( place.second ) ) },
         { { "stp", engine.portName( place.first ) }, { "state", Vormel::enumName( state ) },
            { "vlan", place.second == 0 ? ordered_json() : ordered_json( place.second ) } } );
   session.console().table( "Forwarding tables", table );
}

void showCounters( Session& session )
{
   PacketDesk& desk = session.packets();
   const Sim::PacketCounters& counters = desk.engine().counters();
   Table table( { { "Where" }, { "In", Align::right }, { "Out", Align::right }, { "What" } } );
   for( const auto& [ port, count ] : counters.ports ) {
      const std::string name = desk.engine().portName( port );
      table.row( { name, std::to_string( count.in ), std::to_string( count.out ) },
         { { "port", name }, { "in", count.in }, { "out", count.out } } );
   }
   for( const auto& [ queue, count ] : counters.cpuQueues )
      table.row( { format( "CPU queue %d of unit %d", queue.second, queue.first ), "",
                    std::to_string( count ) },
         { { "unit", queue.first }, { "cpuQueue", queue.second }, { "out", count } } );
   for( const auto& [ reason, drops ] : counters.drops )
      table.row( { "dropped", "", std::to_string( drops.packets ),
                    reason + ( drops.last == reason ? "" : "\nlast: " + drops.last ) },
         { { "dropped", reason }, { "packets", drops.packets }, { "last", drops.last } } );
   session.console().table( "Packets", table );
}

} // namespace

std::vector<Command> showTableCommands()
{
   return {
      { "show macs", "", "the MAC table", parseNone<showMacs> },
      { "show routes", "", "routes and their next hops", parseNone<showRoutes> },
      { "show forwarding", "",
         "VLAN properties, tunnels, policy-routing rules, labels, multicast, spanning tree",
         parseNone<showForwarding> },
      { "show counters", "", "packets in and out of ports, to the CPU, and dropped",
         parseNone<showCounters> },
   };
}

} // namespace Strata::Tool
