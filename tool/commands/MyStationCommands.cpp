// The chips' my-station memory. Pokes change it without the slice.
#include "platform/types/EthAddr.h"
#include "sim/chip/MyStationTable.h"
#include "sim/switch/Values.h"
#include "tool/Session.h"
#include "tool/view/Expectation.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <functional>
#include <optional>

namespace Strata::Tool {

namespace {

std::optional<MemoryField> fieldNamed( std::string_view name )
{
   const auto at = std::ranges::find( roleNames<MemoryField>, name );
   if( at == roleNames<MemoryField>.end() )
      return std::nullopt;
   return static_cast<MemoryField>( at - roleNames<MemoryField>.begin() );
}

U32 takeIndex( const Session& session, Words& words )
{
   const U32 size = session.agent().hardware().chips().begin()->second.myStation().size();
   return static_cast<U32>( words.number( "the index of a my-station entry", 0, size - 1 ) );
}

MemoryEntry entryAt( const Sim::MyStationTable& memory, U32 index )
{
   const auto at = memory.entries().find( index );
   return at == memory.entries().end() ? MemoryEntry() : at->second;
}

std::string fieldText( const MemoryEntry& entry, MemoryField field )
{
   return isMacField( field ) ? Sim::memoryMacField( entry, field ).toString()
                              : std::to_string( Sim::memoryField( entry, field ) );
}

using SetField = std::function<void( MemoryEntry& )>;

SetField takeField( Words& words, MemoryField field )
{
   if( isMacField( field ) )
      return [ field, mac = words.value<Vormel::EthAddr>( "the field's MAC address" ) ](
                MemoryEntry& entry ) { Sim::memoryFieldSet( entry, field, mac ); };
   const U32 data = words.value<U32>( "the field's value" );
   if( !Sim::fitsMemoryField( field, data ) )
      words.fail( std::to_string( data ) + " has more bits than " +
                  std::string( roleName( field ) ) + "; write a smaller number" );
   return [ field, data ]( MemoryEntry& entry ) { Sim::memoryFieldSet( entry, field, data ); };
}

Act pokeMyStation( const Session& session, Words& words, bool view )
{
   const U32 index = takeIndex( session, words );
   const std::vector<U32> units = session.takeUnits( words );
   const std::string_view name = words.choose( "a field of the memory", roleNames<MemoryField> );
   const SetField set = takeField( words, *fieldNamed( name ) );
   return [ = ]( Session& live ) {
      Sim::SimSwitch& hardware = live.agent().hardware();
      for( const U32 unit : units ) {
         Sim::MyStationTable& memory = hardware.chip( unit ).myStation();
         MemoryEntry entry = entryAt( memory, index );
         set( entry );
         if( view )
            memory.alternativeViewIs( index, entry );
         else
            memory.write( index, entry );
         hardware.pokes( unit, { Sim::ChipPlace::Kind::myStation, index } );
      }
   };
}

Act pokeMyStationMemory( const Session& session, Words& words )
{
   return pokeMyStation( session, words, false );
}

Act pokeMyStationView( const Session& session, Words& words )
{
   return pokeMyStation( session, words, true );
}

void showMyStation( Session& session )
{
   ByUnit<UnitRow> rows;
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const auto& [ index, entry ] : chip.myStation().entries() )
         rows.add( unit, { { std::to_string( index ), Sim::myStationText( entry ) },
                            { { "index", index }, { "fields", Sim::memoryJson( entry ) } } } );
   session.console().table(
      "My-station entries", unitTable( { { "Index", Align::right }, { "Entry" } }, rows ) );
}

Act expectMyStation( const Session& session, Words& words )
{
   const U32 index = takeIndex( session, words );
   const std::vector<U32> units = session.takeUnits( words );
   std::string value = words.take( "'empty', a field, or the entry's text in quotes" ).text;
   const auto field = fieldNamed( value );
   std::string expected = "my-station entry " + std::to_string( index ) + " to ";
   if( field ) {
      MemoryEntry wanted;
      takeField( words, *field )( wanted );
      value = fieldText( wanted, *field );
      expected += "have " + std::string( roleName( *field ) ) + " " + value;
   } else {
      if( value != "empty" && !words.last()->quoted )
         words.fail( "'" + value + "' is neither 'empty' nor a field" +
                     didYouMean( value, roleNames<MemoryField>,
                        "; put the text of a whole entry in quotes" ) );
      expected += "be " + value;
   }
   return expectOnUnits( units, expected, value, [ = ]( const Sim::Chip& chip ) -> std::string {
      const Sim::MyStationTable& memory = chip.myStation();
      if( !memory.entries().contains( index ) )
         return "empty";
      const MemoryEntry entry = entryAt( memory, index );
      return field ? fieldText( entry, *field ) : Sim::myStationText( entry );
   } );
}

} // namespace

std::vector<Command> myStationCommands()
{
   return {
      { "poke my-station", "INDEX [unit N] FIELD VALUE",
         "change a field of a my-station entry in the chip", pokeMyStationMemory },
      { "poke my-station-view", "INDEX [unit N] FIELD VALUE",
         "let the alternative view of the entry differ in a field", pokeMyStationView },
      { "show my-station", "", "my-station entries", parseNone<showMyStation> },
      { "expect my-station", "INDEX [unit N] empty|\"ENTRY\"|FIELD VALUE",
         "a my-station entry is empty, reads like this, or has this in a field", expectMyStation,
         false },
   };
}

} // namespace Strata::Tool
