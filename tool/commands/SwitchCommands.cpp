// Describing the switch: its chips, units, ports, interfaces, LAGs and VLANs.
#include "platform/types/IntfId.h"
#include "sim/chip/ChipProfile.h"
#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/words/Command.h"
#include "tool/words/InterfaceRange.h"

#include <array>
#include <charconv>

namespace Strata::Tool {

namespace {

using Interface::ForwardingModel;
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
   AgentConfig config;
   config.hardware.profile = words.choose( "a chip profile", Sim::chipProfileNames() );
   while( !words.done() ) {
      const std::string_view option = words.choose( "an option", options );
      // Checked as they are read, so that an error points at its number.
      if( option == "units" ) {
         config.hardware.units = takeUnitNumbers( words );
         Sim::SimSwitch::check(
            { .profile = config.hardware.profile, .units = config.hardware.units } );
      } else if( option == "ports" ) {
         config.hardware.ports = words.value<U32>( "how many front-panel ports" );
         Sim::SimSwitch::check(
            { .profile = config.hardware.profile, .ports = config.hardware.ports } );
      } else if( option == "with" )
         config.hardware.capabilities[ takeCapability( words ) ] = true;
      else if( option == "without" )
         config.hardware.capabilities[ takeCapability( words ) ] = false;
      else if( option == "fabric" )
         config.fabricMode = words.value<bool>( "true or false" );
      else if( option == "name" )
         config.helperName = words.take( "the helper's name" ).text;
      else
         config.hardware.seed = words.value<U64>( "the seed of the SDK's numbers" );
   }
   session.check( config );
   return [ config ]( Session& live ) { live.agentIs( config ); };
}

Act unitProperty( const Session& session, Words& words )
{
   static constexpr std::array<std::string_view, 5> properties{
      "traps-ttl-exceptions", "ip-options-profile", "higig-trunks-as-lag", "room", "port" };
   const U32 unit = session.takeUnit( words );
   const std::string_view property = words.choose( "a property", properties );
   if( property == "room" ) {
      std::vector<std::string_view> names;
      for( const Sim::FieldGroup& group : session.agent().hardware().chip( unit ).groups() )
         names.push_back( group.profile().name );
      const std::string_view name = words.choose( "a range of entries", names );
      const U32 room = words.value<U32>( "the number of entries that fit into the hardware" );
      return [ = ]( Session& live ) {
         live.agent().hardware().chip( unit ).group( name )->roomIs( room );
      };
   }
   if( property == "port" ) {
      static constexpr std::array<std::string_view, 2> states{ "up", "down" };
      const int port = words.value<int>( "a port number" );
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

Act addInterfaces( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const InterfaceRange range = takeInterfaces( words );
   if( !range.first.isEthernet() )
      words.fail( range.first.toString() + " cannot have a port: only Ethernet interfaces can" );
   words.expect( "unit" );
   const U32 unit = session.takeUnit( words );
   words.expect( "port" );
   const int port = words.value<int>( "a port number" );
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
         words.fail( "there is no interface " + range.at( i ).toString() );
   return [ range ]( Session& live ) {
      for( U32 i = 0; i < range.count; ++i ) {
         safePoint( [ & ] { return "before " + range.at( i ).toString(); } );
         live.agent().hardware().removeInterface( range.at( i ) );
      }
   };
}

Act makeLag( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const IntfId lag = words.value<IntfId>( "a LAG, as in Port-Channel1" );
   std::vector<IntfId> members;
   hardware.checkLag( lag, members );
   const auto atModel = [ &words ] {
      const Word* const word = words.peek();
      return !word || word->text == "routed" || word->text == "bridged";
   };
   while( !atModel() ) {
      const InterfaceRange range = takeInterfaces( words );
      for( U32 i = 0; i < range.count; ++i )
         members.push_back( range.at( i ) );
      hardware.checkLag( lag, members ); // an error points at the members
   }
   const auto model = takeModel( words );
   return [ = ]( Session& live ) {
      live.agent().hardware().lagIs( lag, members );
      if( model )
         live.agent().hardware().intfStatus( lag )->forwardingModelIs( *model );
   };
}

Act removeLag( const Session& session, Words& words )
{
   const IntfId lag = words.value<IntfId>( "a LAG, as in Port-Channel1" );
   const Sim::SimSwitch& hardware = session.agent().hardware();
   if( !hardware.scsd()->lagMembers().contains( lag ) &&
       !hardware.ethIntfStatusDir()->intfStatus().contains( lag ) )
      words.fail( "there is no LAG " + lag.toString() );
   return [ lag ]( Session& live ) { live.agent().hardware().lagDel( lag ); };
}

Act putNexthop( const Session&, Words& words )
{
   static constexpr std::array<std::string_view, 2> properties{ "programmed", "l3-egress" };
   const std::string name = words.take( "the entity's name" ).text;
   bool programmed = false;
   bool usesL3Egress = false;
   while( !words.done() )
      ( words.choose( "a property", properties ) == "programmed" ? programmed : usesL3Egress ) =
         true;
   return [ = ]( Session& live ) {
      live.agent().hardware().nexthopIs( name, programmed, usesL3Egress );
   };
}

Act removeNexthop( const Session& session, Words& words )
{
   const std::string name = words.take( "the entity's name" ).text;
   if( !session.agent().hardware().nexthopStatusDir()->entity().contains( name ) )
      words.fail( "there is no next-hop entity '" + name + "'" );
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
      { "unit",
         "N traps-ttl-exceptions|ip-options-profile|higig-trunks-as-lag true|false, "
         "N room GROUP COUNT, N port PORT up|down",
         "change a property of one unit", unitProperty },
      { "interface", "INTERFACE[-LAST] unit N port N [logical N] [routed|bridged]",
         "put interfaces on consecutive ports", addInterfaces },
      { "no interface", "INTERFACE[-LAST]", "remove interfaces", removeInterfaces },
      { "lag", "LAG INTERFACE[-LAST]... [routed|bridged]", "make a LAG with exactly these members",
         makeLag },
      { "no lag", "LAG", "remove a LAG", removeLag },
      { "nexthop", "NAME [programmed] [l3-egress]",
         "put a next-hop entity into its directory; replaces one of the same name", putNexthop },
      { "no nexthop", "NAME", "take a next-hop entity out of its directory", removeNexthop },
   };
}

} // namespace Strata::Tool
