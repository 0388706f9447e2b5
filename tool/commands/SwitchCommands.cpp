// Describing the switch: its chips, units, ports, interfaces, LAGs and VLANs.
#include "platform/runtime/Format.h"
#include "platform/types/IntfId.h"
#include "sim/chip/ChipProfile.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/words/Command.h"
#include "tool/words/InterfaceRange.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Strata::Tool {

namespace {

using Interface::ForwardingModel;
using Vormel::format;
using Vormel::IntfId;

/// "2" for the first two, or "0,4,7".
std::vector<U32> takeUnitNumbers( Words& words )
{
   const std::string text = words.take( "how many units, or their numbers as in 0,4,7" ).text;
   std::vector<U32> numbers;
   const char* at = text.data();
   const char* const end = at + text.size();
   for( ;; ) {
      U32 number = 0;
      const auto result = std::from_chars( at, end, number );
      if( result.ec != std::errc() || ( result.ptr != end && *result.ptr != ',' ) )
         words.fail( "'" + text + "' is neither a number of units nor numbers as in 0,4,7" );
      numbers.push_back( number );
      if( result.ptr == end )
         break;
      at = result.ptr + 1;
   }
   return text.find( ',' ) == text.npos ? Sim::unitNumbers( numbers.front() ) : numbers;
}

std::string takeCapability( Words& words )
{
   return std::string( words.choose( "a chip capability", Sim::capabilityNames() ) );
}

Act makeSwitch( const Session& session, Words& words )
{
   static constexpr std::array<std::string_view, 7> options{
      "units", "ports", "with", "without", "fabric", "name", "seed" };
   constexpr std::array<std::string_view, 2> repeated{ "with", "without" };
   AgentConfig config;
   Words::Taken taken;
   config.hardware.profile = words.choose( "a chip profile", Sim::chipProfileNames() );
   while( !words.done() ) {
      const std::string_view option = words.chooseOnce( "an option", options, taken );
      for( const std::string_view name : repeated )
         taken.erase( std::string( name ) );
      // Checked as they are read, so that an error points at its number.
      if( option == "units" ) {
         config.hardware.units = takeUnitNumbers( words );
         Sim::SimSwitch::check(
            { .profile = config.hardware.profile, .units = config.hardware.units } );
      } else if( option == "ports" ) {
         config.hardware.ports = words.value<U32>( "how many front-panel ports" );
         Sim::SimSwitch::check(
            { .profile = config.hardware.profile, .ports = config.hardware.ports } );
      } else if( option == "with" || option == "without" ) {
         const std::string capability = takeCapability( words );
         if( !config.hardware.capabilities.emplace( capability, option == "with" ).second )
            words.fail( "'" + capability + "' is given twice" );
      } else if( option == "fabric" )
         config.fabricMode = words.value<bool>( "true or false" );
      else if( option == "name" )
         config.helperName = words.name( "the helper's name", options );
      else
         config.hardware.seed = words.value<U64>( "the seed of the SDK's numbers" );
   }
   session.check( config );
   return [ config ]( Session& live ) { live.agentIs( config ); };
}

void removeSwitch( Session& session )
{
   session.agentDel();
}

Act unitProperty( const Session& session, Words& words )
{
   static constexpr std::array<std::string_view, 5> properties{
      "traps-ttl-exceptions", "ip-options-profile", "higig-trunks-as-lag", "room", "port" };
   const U32 unit = session.takeUnit( words );
   const std::string_view property = words.choose( "a property", properties );
   if( property == "room" ) {
      const auto& groups = session.agent().hardware().chip( unit ).groups();
      std::vector<std::string_view> names;
      for( const Sim::FieldGroup& group : groups )
         names.push_back( group.profile().name );
      const std::string_view name = words.choose( "a range of entries", names );
      const Sim::FieldGroup& group =
         groups[ static_cast<std::size_t>( std::ranges::find( names, name ) - names.begin() ) ];
      const U32 most = std::max( group.profile().size, group.profile().room );
      const U32 room = static_cast<U32>( words.number( "a number of entries", 0, most ) );
      if( const U32 used = group.room() - group.roomLeft(); room < used )
         words.fail(
            format( "unit %d holds %d entries of %s; give it room for these", unit, used, name ) );
      return [ = ]( Session& live ) {
         live.agent().hardware().chip( unit ).group( name )->roomIs( room );
      };
   }
   if( property == "port" ) {
      static constexpr std::array<std::string_view, 2> states{ "up", "down" };
      const int port = session.takePortNumber( words );
      const Word portWord = *words.last();
      const bool up = words.choose( "a port's state", states ) == "up";
      return [ =, &words ]( Session& live ) {
         words.blaming(
            portWord, [ & ] { live.agent().hardware().chip( unit ).portActiveIs( port, up ); } );
      };
   }
   const bool value = words.value<bool>( "true or false" );
   return [ = ]( Session& live ) {
      Sim::SimSwitch& hardware = live.agent().hardware();
      if( property == "traps-ttl-exceptions" )
         hardware.chip( unit ).trapsTtlExceptionsIs( value );
      else if( property == "ip-options-profile" )
         hardware.hasIpOptionsProfileIs( unit, value );
      else
         hardware.chip( unit ).resolvesHigigTrunksAsLag = value;
   };
}

std::optional<ForwardingModel> takeModel( Words& words )
{
   if( words.done() )
      return std::nullopt;
   static constexpr std::array<std::string_view, 2> models{ "routed", "bridged" };
   return words.choose( "a forwarding model", models ) == "routed" ? ForwardingModel::routed
                                                                   : ForwardingModel::bridged;
}

/// The first of `count` consecutive numbers.
U32 takeLogicalPorts( Words& words, U32 count )
{
   // The number that is assumed for an interface without one stays free.
   constexpr U32 last = PortBitmap::size - 2;
   const U32 first = words.value<U32>( "a logical port number" );
   if( first < 1 || first > last || count - 1 > last - first )
      words.fail( "logical port numbers are 1 to " + std::to_string( last ) );
   return first;
}

/// Takes interfaces that can be put on ports.
InterfaceRange takeEthernets( const Session& session, Words& words )
{
   const InterfaceRange range = takeInterfaces( words );
   const std::string name = range.first.toString();
   const std::string problem = name + " cannot have a port: only Ethernet interfaces can";
   if( range.first.isPortChannel() )
      words.fail( problem + "; a LAG has members, as in 'lag " + name + " Ethernet1-2 routed'" );
   if( !range.first.isEthernet() )
      words.fail( problem + "; 'vlan ID svi' gives a VLAN a routed interface" );
   const auto& known = session.agent().hardware().ethIntfStatusDir()->intfStatus();
   const Word* const next = words.peek();
   if( next && ( next->text == "routed" || next->text == "bridged" ) &&
       known.contains( range.first ) )
      words.failAt( *next, name + " has a port already; 'set " + name + ".forwardingModel " +
                              next->text + "' changes its model" );
   return range;
}

Act addInterfaces( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const InterfaceRange range = takeEthernets( session, words );
   words.expect( "unit" );
   const U32 unit = session.takeUnit( words );
   words.expect( "port" );
   const int port = session.takePortNumber( words );
   const Word& portWord = *words.last();
   std::optional<U32> logical;
   if( words.accept( "logical" ) )
      logical = takeLogicalPorts( words, range.count );
   const auto model = takeModel( words );
   words.blaming( portWord, [ & ] {
      for( U32 i = 0; i < range.count; ++i )
         hardware.checkInterface( range.at( i ), unit, port + static_cast<int>( i ) );
   } );
   return [ = ]( Session& live ) {
      for( U32 i = 0; i < range.count; ++i ) {
         safePoint( [ & ] { return "before " + range.at( i ).toString(); } );
         live.agent().hardware().addInterface( range.at( i ), unit, port + static_cast<int>( i ),
            model, logical ? std::optional( *logical + i ) : std::nullopt );
      }
   };
}

Act removeInterfaces( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const InterfaceRange range = takeInterfaces( words );
   if( range.first.isPortChannel() )
      words.fail( range.first.toString() + " is a LAG; 'no lag' removes it" );
   for( U32 i = 0; i < range.count; ++i )
      if( !hardware.ethIntfStatusDir()->intfStatus().contains( range.at( i ) ) )
         words.fail( "there is no interface " + range.at( i ).toString() +
                     "; 'show interfaces' lists them" );
   return [ range ]( Session& live ) {
      for( U32 i = 0; i < range.count; ++i ) {
         safePoint( [ & ] { return "before " + range.at( i ).toString(); } );
         live.agent().hardware().removeInterface( range.at( i ) );
      }
   };
}

/// Takes a LAG. InputError for another kind of interface.
IntfId takeLag( const Session& session, Words& words )
{
   const std::string& text = words.take( "a LAG, as in Port-Channel1", "LAG" ).text;
   const auto lag = IntfId::parse( text );
   if( !lag )
      words.fail(
         "'" + text + "' is not a LAG such as Port-Channel1" + didYouMeanInterface( text ) );
   words.blaming( [ & ] { session.agent().hardware().checkLag( *lag, {} ); } );
   return *lag;
}

void takeMembers( const Session& session, Words& words, IntfId lag, std::vector<IntfId>& members )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const InterfaceRange range = takeInterfaces( words );
   for( U32 i = 0; i < range.count; ++i ) {
      const IntfId member = members.emplace_back( range.at( i ) );
      if( const IntfId other = hardware.scsd()->lagOfMember( member );
          !other.empty() && other != lag )
         words.fail( member.toString() + " is a member of " + other.toString() +
                     "; make that LAG without it first" );
   }
   hardware.checkLag( lag, members ); // an error points at the members
}

Act makeLag( const Session& session, Words& words )
{
   const IntfId lag = takeLag( session, words );
   std::vector<IntfId> members;
   const auto atModel = [ &words ] {
      const Word* const word = words.peek();
      return !word || word->text == "routed" || word->text == "bridged";
   };
   if( !words.accept( "none" ) )
      do {
         if( const Word* const word = words.peek(); word && atModel() )
            words.failAt( *word, "a LAG has members; write them, or 'none'" );
         takeMembers( session, words, lag, members );
      } while( !atModel() );
   const auto model = takeModel( words );
   return [ = ]( Session& live ) {
      live.agent().hardware().lagIs( lag, members );
      if( model )
         live.agent().hardware().intfStatus( lag )->forwardingModelIs( *model );
   };
}

Act removeLag( const Session& session, Words& words )
{
   const IntfId lag = takeLag( session, words );
   const Sim::SimSwitch& hardware = session.agent().hardware();
   if( !hardware.scsd()->lagMembers().contains( lag ) &&
       !hardware.ethIntfStatusDir()->intfStatus().contains( lag ) )
      words.fail( "there is no LAG " + lag.toString() + "; 'show lags' lists them" );
   return [ lag ]( Session& live ) { live.agent().hardware().lagDel( lag ); };
}

Act putNexthop( const Session&, Words& words )
{
   static constexpr std::array<std::string_view, 2> properties{ "programmed", "l3-egress" };
   const std::string name = words.name( "the entity's name", properties );
   Words::Taken taken;
   while( !words.done() )
      words.chooseOnce( "a property", properties, taken );
   return [ = ]( Session& live ) {
      live.agent().hardware().nexthopIs(
         name, taken.contains( "programmed" ), taken.contains( "l3-egress" ) );
   };
}

Act removeNexthop( const Session& session, Words& words )
{
   const std::string name = words.take( "the entity's name", "ENTITY" ).text;
   if( !session.agent().hardware().nexthopStatusDir()->entity().contains( name ) )
      words.fail(
         "there is no next-hop entity '" + name + "'; 'show attributes nexthops' lists them" );
   return [ name ]( Session& live ) { live.agent().hardware().nexthopDel( name ); };
}

} // namespace

std::vector<Command> switchCommands()
{
   return {
      { "switch",
         "PROFILE [units N | units N,N,...] [ports N] [with CAPABILITY]... [without CAPABILITY]... "
         "[fabric true|false] [name NAME] [seed N]",
         "make a switch and its agent, and replace the previous one", makeSwitch, true, false },
      { "no switch", "", "remove the switch and its agent", parseNone<removeSwitch> },
      { "unit",
         "N traps-ttl-exceptions|ip-options-profile|higig-trunks-as-lag true|false, "
         "N room GROUP COUNT, N port N up|down",
         "change a property of one unit", unitProperty },
      { "interface", "INTERFACE[-LAST] unit N port N [logical N] [routed|bridged]",
         "put interfaces on consecutive ports", addInterfaces },
      { "no interface", "INTERFACE[-LAST]", "remove interfaces", removeInterfaces },
      { "lag", "LAG INTERFACE[-LAST]...|none [routed|bridged]",
         "make a LAG with exactly these members", makeLag },
      { "no lag", "LAG", "remove a LAG", removeLag },
      { "nexthop", "NAME [programmed] [l3-egress]",
         "put a next-hop entity into its directory; replaces one of the same name", putNexthop },
      { "no nexthop", "NAME", "take a next-hop entity out of its directory", removeNexthop },
   };
}

} // namespace Strata::Tool
