// Expectations about the state of chips and objects.
#include "platform/runtime/EntityType.h"
#include "sim/chip/RegisterLayout.h"
#include "tool/Session.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace Strata::Tool {

namespace {

constexpr std::string_view absent = "absent";

std::string memberText( const Agent& agent, const AttributePath& path )
{
   const Vormel::Attribute& attribute = *path.attribute;
   const Vormel::Value key = attribute.convertedKey( *path.key );
   for( const Vormel::Member& member : attribute.members( *path.object ) )
      if( member.key == key )
         return agent.valueText( member.value );
   return std::string( absent );
}

std::string membersText( const Agent& agent, const AttributePath& path )
{
   std::string text;
   for( const Vormel::Member& member : path.attribute->members( *path.object ) )
      text += ( text.empty() ? "" : ", " ) + toText( member.key ) + ": " +
              agent.valueText( member.value );
   return text.empty() ? std::string( absent ) : text;
}

/// Takes a value that the attribute could have, in the attribute's own spelling; objects are written by their names.
std::string takeExpected( const Session& session, Words& words, const AttributePath& path )
{
   const Vormel::AttributeInfo& info = path.attribute->info();
   const bool canBeAbsent = info.kind == Vormel::AttributeKind::Map;
   words.offerAll( path.attribute->choices() );
   if( canBeAbsent && words.accept( absent ) )
      return std::string( absent );
   if( path.attribute->holdsObject() && ( info.keyType.empty() || path.key ) )
      return session.takeObjectName( words, path );
   const std::string text = words.take( "a value" ).text;
   if( !info.keyType.empty() && !path.key )
      words.fail( "'" + path.text + "' is a collection: give a key" +
                  ( canBeAbsent ? ", or expect it to be absent" : "" ) );
   return session.agent().valueText( path.attribute->converted( text ) );
}

Act expectAttribute( const Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   const std::string expected = takeExpected( session, words, path );
   return [ path, expected ]( Session& live ) {
      const Agent& agent = live.agent();
      const std::string found = path.key ? memberText( agent, path )
                                : path.attribute->info().keyType.empty()
                                   ? agent.valueText( path.attribute->read( *path.object ) )
                                   : membersText( agent, path );
      live.expect( expected == found, path.text + " to be " + expected, found );
   };
}

Act expectControl( const Session& session, Words& words )
{
   const std::string_view name = words.choose( "a switch control", roleNames<SwitchControl> );
   const auto control = static_cast<SwitchControl>(
      std::ranges::find( roleNames<SwitchControl>, name ) - roleNames<SwitchControl>.begin() );
   std::optional<int> port;
   std::vector<U32> units;
   if( words.accept( "port" ) )
      std::tie( port, units ) = session.takePortAndUnits( words );
   else
      units = session.takeUnits( words );
   const std::string value = std::to_string( words.value<int>( "a value" ) );
   return expectOnUnits( units, std::string( name ) + " to be " + value, value,
      [ port, control ]( const Sim::Chip& chip ) {
         return std::to_string( port ? chip.control( *port, control ) : chip.control( control ) );
      } );
}

std::vector<std::string_view> fieldsOf( Register reg )
{
   std::vector<std::string_view> names;
   for( const std::string_view name : roleNames<RegisterField> )
      if( registerOf( *Sim::findRegisterField( name ) ) == reg )
         names.push_back( name );
   return names;
}

Act expectRegister( const Session& session, Words& words )
{
   const std::string regName = words.take( "a register, as in CPU_CONTROL_Mr", "REGISTER" ).text;
   const auto reg = Sim::findRegister( regName );
   if( !reg )
      words.fail( "there is no register '" + regName + "'" +
                  didYouMean( regName, roleNames<Register>,
                     "; there are " + joined( roleNames<Register> ) ) );
   const std::string fieldName = words.take( "a field of the register", "FIELD" ).text;
   const auto field = Sim::findRegisterField( fieldName );
   if( !field || registerOf( *field ) != *reg )
      words.fail(
         regName + " has no field '" + fieldName + "'" +
         didYouMean( fieldName, fieldsOf( *reg ), "; it has " + joined( fieldsOf( *reg ) ) ) );
   const std::vector<U32> units = session.takeUnits( words );
   const U32 data = words.value<U32>( "a value" );
   const std::string value = std::to_string( data );
   if( Sim::registerField( Sim::registerFieldSet( 0, *field, data ), *field ) != data )
      words.fail( value + " has more bits than " + fieldName + "; write a smaller number" );
   return expectOnUnits( units, regName + " " + fieldName + " to be " + value, value,
      [ reg, field ]( const Sim::Chip& chip ) {
         return std::to_string( Sim::registerField( chip.registerValue( *reg ), *field ) );
      } );
}

struct EntryState
{
   std::string_view name;
   bool ( *holds )( const Sim::FieldEntry* entry );
};

constexpr std::array<EntryState, 5> entryStates{ {
   { "installed", []( const Sim::FieldEntry* e ) { return e && e->installed(); } },
   { "enabled", []( const Sim::FieldEntry* e ) { return e && e->active(); } },
   { "disabled", []( const Sim::FieldEntry* e ) { return e && e->installed() && !e->enabled; } },
   { "claimed", []( const Sim::FieldEntry* e ) { return e && !e->installed(); } },
   { "absent", []( const Sim::FieldEntry* e ) { return !e; } },
} };

std::string ruleText( const Sim::FieldEntry& entry )
{
   return ( entry.hardware ? *entry.hardware : entry.claim ).text( "; " );
}

Act expectEntry( const Session& session, Words& words )
{
   const EntryChoice choice = takeEntry( session, words );
   std::array<std::string_view, entryStates.size()> names;
   std::ranges::transform( entryStates, names.begin(), &EntryState::name );
   const std::string_view state = words.choose( "a state", names );
   const auto holds = std::ranges::find( entryStates, state, &EntryState::name )->holds;
   std::string part;
   const bool whole = words.accept( "is" );
   if( whole || words.accept( "with" ) ) {
      if( state == "absent" )
         words.fail( "an entry that is absent has no qualifiers and actions; leave '" +
                     words.last()->text + "' out" );
      part = words.text( whole ? "all qualifiers and actions" : "a qualifier or action" );
   }
   const std::vector<U32> units = session.takeUnits( words );
   std::string expected = "entry " + choice.text + " to be " + std::string( state );
   if( !part.empty() )
      expected += ( whole ? " and " : " with " ) + part;
   return [ = ]( Session& live ) {
      for( const U32 unit : units ) {
         const Sim::FieldEntry* const entry =
            findEntry( std::as_const( live ).agent().hardware().chip( unit ), choice );
         const std::string rule = entry ? ruleText( *entry ) : "";
         if( holds( entry ) && ( whole ? rule == part : rule.find( part ) != rule.npos ) )
            continue;
         const std::string found =
            entry ? std::string( entryState( *entry ) ) + ": " + rule : "absent";
         return live.expect( false, expected, found + " on unit " + std::to_string( unit ) );
      }
      live.expect( true, expected, {} );
   };
}

} // namespace

std::vector<Command> expectCommands()
{
   return {
      { "expect attribute", "[OBJECT.]ATTRIBUTE[KEY] VALUE|absent", "an attribute has this value",
         expectAttribute, false },
      { "expect entry",
         "[GROUP] OFFSET|NAME|\"CLAIMED NAME\" installed|enabled|disabled|claimed|absent "
         "[with TEXT|is RULE] [unit N]",
         "an entry is in this state, on one unit or all", expectEntry, false },
      { "expect control", "CONTROL [port N] [unit N] VALUE", "a switch control has this value",
         expectControl, false },
      { "expect register", "REGISTER FIELD [unit N] VALUE", "a register's field has this value",
         expectRegister, false },
   };
}

} // namespace Strata::Tool
