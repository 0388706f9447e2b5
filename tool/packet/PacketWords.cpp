#include "tool/packet/PacketWords.h"

#include "platform/runtime/Format.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "tool/Session.h"
#include "tool/words/Command.h"
#include "tool/words/InterfaceRange.h"

#include <algorithm>
#include <array>

namespace Strata::Tool {

using Sim::PortRef;
using Vormel::EthAddr;
using Vormel::IntfId;

namespace {

U32 takeOptionalUnit( const Session& session, Words& words )
{
   return words.accept( "unit" ) ? session.takeUnit( words )
                                 : session.agent().hardware().units().front();
}

PortRef takeNumberedPort( const Session& session, Words& words )
{
   const int port = session.takePortNumber( words );
   const Word& word = *words.last();
   const U32 unit = takeOptionalUnit( session, words );
   const Sim::Chip& chip = session.agent().hardware().chip( unit );
   const auto logical = chip.logicalPort( port );
   if( !logical )
      words.failAt( word, Vormel::format( "unit %d has no port %d; it has %s", unit, port,
                             chip.sdkPorts().toString() ) );
   return { unit, *logical };
}

} // namespace

std::span<const std::string_view> portWords()
{
   static constexpr std::array<std::string_view, 4> words{
      "port", "cpu", "loopback", "recirculation" };
   return words;
}

/// The port of an interface. InputError if it has none.
static PortRef portOf( const Session& session, const Words& words, IntfId intf )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const StrataPort at = hardware.scsd()->strataIntfToPort( intf );
   if( !intf.isEthernet() )
      words.fail( intf.toString() + " is not a port; write an Ethernet interface" );
   if( !at )
      words.fail( intf.toString() + " has no port; put it on one, as in 'interface " +
                  intf.toString() + " unit 0 port 1'" );
   if( const Word* const next = words.peek(); next && next->text == "unit" && !next->quoted )
      words.failAt( *next, "'unit' belongs to a port number or an internal port; " +
                              intf.toString() + " is on unit " + std::to_string( at.unit() ) );
   return Sim::portRef( hardware.chips(), at );
}

/// ": Ethernet7, Ethernet8"
static std::string membersText( const Session& session, IntfId lag )
{
   std::string text;
   for( const IntfId member : session.agent().hardware().scsd()->lagMembers( lag ) )
      text += ( text.empty() ? ": " : ", " ) + member.toString();
   return text;
}

PortRef takePort( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const std::string text =
      words.take( "a port: an interface, or " + joined( portWords() ), "PORT" ).text;
   const Sim::SpecialPorts& special = hardware.profile().specialPorts;
   const auto internal = [ & ]( const std::optional<int>& port ) {
      if( !port )
         words.fail( "a chip of this kind has no " + text + " port" );
      return PortRef{ takeOptionalUnit( session, words ), static_cast<U32>( *port ) };
   };
   if( text == "cpu" )
      return internal( special.cpu );
   if( text == "loopback" )
      return internal( special.loopback );
   if( text == "recirculation" )
      return internal( special.recirculation );
   if( text == "port" )
      return takeNumberedPort( session, words );
   const auto intf = IntfId::parse( text );
   if( !intf || intf->empty() )
      words.fail( "'" + text + "' is not a port; write an interface such as Ethernet1, or one of " +
                  joined( portWords() ) +
                  didYouMean( text, portWords(), didYouMeanInterface( text ) ) );
   if( intf->isPortChannel() )
      words.fail( text + " is a LAG; write one of its ports" + membersText( session, *intf ) );
   return portOf( session, words, *intf );
}

/// The ports of a LAG's members, of those that have one.
static std::vector<PortRef> portsOfLag( const Session& session, const Words& words, IntfId lag )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const auto& scsd = hardware.scsd();
   std::vector<PortRef> ports = Sim::portsOf( hardware.chips(), *scsd, scsd->lagMembers( lag ) );
   if( ports.empty() )
      words.fail( lag.toString() + " has no member with a port; give it some, as in 'lag " +
                  lag.toString() + " Ethernet1-2'" );
   return ports;
}

/// The LAG that is the next word, if it is one.
static std::optional<IntfId> acceptLag( Words& words )
{
   const Word* const next = words.peek();
   const auto lag = next ? IntfId::parse( next->text ) : std::nullopt;
   if( !lag || !lag->isPortChannel() )
      return std::nullopt;
   words.take( {} );
   return lag;
}

std::vector<PortRef> takePorts( const Session& session, Words& words )
{
   if( const auto lag = acceptLag( words ) )
      return portsOfLag( session, words, *lag );
   const Word* const next = words.peek();
   if( !next || !next->text.starts_with( "Ethernet" ) ||
       next->text.find( '-' ) == std::string::npos )
      return { takePort( session, words ) };
   const InterfaceRange range = takeInterfaces( words );
   std::vector<PortRef> ports;
   for( U32 i = 0; i < range.count; ++i )
      ports.push_back( portOf( session, words, range.at( i ) ) );
   return ports;
}

U16 takeVlanId( Words& words )
{
   return static_cast<U16>( words.number( "a VLAN id", 1, 4094, "VLAN" ) );
}

U16 takeVlan( const Session& session, Words& words )
{
   const U16 vlanId = takeVlanId( words );
   const Sim::Chips& chips = session.agent().hardware().chips();
   if( std::ranges::none_of(
          chips, [ & ]( const auto& item ) { return item.second.vlans().contains( vlanId ); } ) )
      words.fail( Vormel::format(
         "there is no VLAN %d; 'vlan %d' makes it, 'show vlans' lists all", vlanId, vlanId ) );
   return vlanId;
}

EthAddr takeStationMac( Words& words, std::string_view what )
{
   const EthAddr mac = words.value<EthAddr>( what );
   if( mac.isZero() || mac.isMulticast() )
      words.fail( mac.toString() + ( mac.isZero() ? " is not " : " is a group's address, not " ) +
                  std::string( what ) +
                  "; the first octet of a station's is even, as in 02:00:a1:00:00:01" );
   return mac;
}

std::string takeTunnel( const Session& session, Words& words )
{
   const std::string& name = words.take( "a tunnel's name", "TUNNEL" ).text;
   const auto& tunnels = session.packets().tables().tunnels;
   std::vector<std::string_view> names;
   for( const auto& [ known, tunnel ] : tunnels )
      names.push_back( known );
   if( !tunnels.contains( name ) )
      words.fail( "there is no tunnel '" + name + "'" +
                  didYouMean( name, names,
                     "; make it first, as in 'tunnel " + name +
                        " local 192.0.2.1 remote 192.0.2.2 via ...'" ) );
   return name;
}

U32 takeVni( Words& words )
{
   return static_cast<U32>( words.number( "a VXLAN network identifier", 0, 0xFFFFFF ) );
}

U32 takeLabel( Words& words, std::string_view what )
{
   return static_cast<U32>( words.number( what, 0, 0xFFFFF ) );
}

PortRef takePortOrLag( const Session& session, Words& words )
{
   const auto lag = acceptLag( words );
   return lag ? portsOfLag( session, words, *lag ).front() : takePort( session, words );
}

Sim::IpAddress takeAddress( Words& words, std::string_view what )
{
   const Word& word = words.take( what );
   const auto address = Sim::IpAddress::parse( word.text );
   if( !address )
      words.fail( "'" + word.text + "' is not an address such as 10.1.0.1 or 2001:db8::1" );
   return *address;
}

/// Whether all addresses of the prefix are martians; 0.0.0.0/0 begins with one.
static bool neverRouted( const Sim::IpPrefix& prefix )
{
   const U32 shortest = prefix.address.isV6() ? 128 : prefix.address.bytes()[ 0 ] >= 240 ? 4 : 8;
   return prefix.length >= shortest && prefix.address.isMartian( false );
}

Sim::IpPrefix takePrefix( Words& words )
{
   const Word& word = words.take( "a prefix, as in 10.1.0.0/16" );
   const auto prefix = Sim::IpPrefix::parse( word.text );
   if( !prefix )
      words.fail(
         "'" + word.text +
         ( word.text == "default" ? "' is not a prefix; the default route is 0.0.0.0/0 or ::/0"
                                  : "' is not a prefix such as 10.1.0.0/16 or 2001:db8::/32" ) );
   const std::size_t slash = word.text.find( '/' );
   if( slash == word.text.npos )
      words.fail(
         "'" + word.text + "' has no length; one address is '" + prefix->toString() + "'" );
   if( prefix->address != Sim::IpAddress::parse( word.text.substr( 0, slash ) ) )
      words.fail( "'" + word.text + "' has host bits; the prefix is '" + prefix->toString() + "'" );
   if( prefix->address.isMulticast() )
      words.fail( prefix->toString() + " are groups; 'mroute' routes a group" );
   if( neverRouted( *prefix ) )
      words.fail( "routers do not forward to " + prefix->toString() +
                  "; write a prefix of unicast addresses such as 10.1.0.0/16" );
   return *prefix;
}

/// InputError if the next word cannot start a next hop.
static void checkIsHop( const Words& words )
{
   const Word* const word = words.peek();
   if( !word || Vormel::IntfId::parse( word->text ) ||
       std::ranges::find( portWords(), word->text ) != portWords().end() )
      return;
   words.failAt( *word, "'" + word->text + "' is not a next hop, which is one of " +
                           std::string( nextHopSyntax ) + didYouMeanInterface( word->text ) );
}

/// Takes a next hop behind "via".
static Sim::NextHop takeHop( const Session& session, Words& words )
{
   Sim::NextHop nextHop;
   const Word* const cpu = words.peek();
   if( cpu && cpu->text == "cpu" ) {
      words.take( {} );
      return nextHop;
   }
   const std::string whole = words.syntaxIs( "via " + std::string( nextHopSyntax ) );
   if( words.accept( "flood" ) ) {
      nextHop.kind = Sim::NextHop::Kind::flood;
   } else if( words.accept( "tunnel" ) ) {
      nextHop.kind = Sim::NextHop::Kind::tunnel;
      nextHop.tunnel = takeTunnel( session, words );
   } else {
      checkIsHop( words );
      nextHop.kind = Sim::NextHop::Kind::port;
      nextHop.port = takePortOrLag( session, words );
   }
   words.expect( "mac" );
   nextHop.mac = takeStationMac( words, "the next hop's MAC address" );
   words.expect( "vlan" );
   nextHop.vlanId = takeVlan( session, words );
   words.syntaxIs( whole );
   return nextHop;
}

Sim::NextHop takeNextHop( const Session& session, Words& words )
{
   words.expect( "via" );
   return takeHop( session, words );
}

std::vector<Sim::NextHop> takeNextHops( const Session& session, Words& words )
{
   std::vector<Sim::NextHop> nextHops{ takeNextHop( session, words ) };
   while( words.accept( "via" ) ) {
      const Sim::NextHop nextHop = takeHop( session, words );
      if( std::ranges::find( nextHops, nextHop ) != nextHops.end() )
         words.fail( "this next hop is given twice" );
      nextHops.push_back( nextHop );
   }
   return nextHops;
}

Entrance takeEntrance( const Session& session, Words& words )
{
   words.expect( "in" );
   if( words.accept( "higig" ) )
      return { { takeOptionalUnit( session, words ), 0 }, true };
   return { takePort( session, words ) };
}

std::string takeProbe( const Session& session, Words& words )
{
   const std::string name = words.take( "the probe's name", "PROBE" ).text;
   if( session.probes().contains( name ) )
      return name;
   std::vector<std::string_view> names;
   for( const auto& [ known, probe ] : session.probes() )
      names.push_back( known );
   words.fail( "there is no probe '" + name + "'" +
               didYouMean( name, names, "; 'show probes' lists them" ) );
}

Sim::Arrival takeArrival( const Session& session, Words& words )
{
   if( words.accept( "probe" ) )
      return session.probes().at( takeProbe( session, words ) ).arrival;
   const Entrance entrance = takeEntrance( session, words );
   return { entrance.port, takeFrame( session, words ), entrance.higig };
}

void checkCaptures( PacketDesk& desk, const Words& words )
{
   if( const std::string problem = desk.takeProblem(); !problem.empty() )
      words.failAt( words.line().words.front(), problem );
}

} // namespace Strata::Tool
