// Attributes of objects and operations of the helper, by name.
#include "desk/RecordedObjects.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"
#include "tool/Session.h"
#include "tool/view/Expectation.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <nlohmann/json.hpp> // IWYU pragma: keep, a complete type
#include <optional>
#include <string>

namespace Strata::Tool {

namespace {

using Vormel::Value;

/// The names of objects, the text form of all other values.
Value takeValue( const Session& session, Words& words, const AttributePath& path )
{
   if( !path.attribute->info().keyType.empty() && !path.key )
      words.fail( "'" + path.text + "' is a collection; give a key, as in " + path.text + "[KEY]" );
   words.offerAll( path.attribute->choices() );
   if( !path.attribute->holdsObject() )
      return words.take( "a value" ).text;
   if( words.accept( "none" ) )
      return {};
   return Ref<const Entity>( session.takeObject( words ) );
}

Value keyOf( const AttributePath& path )
{
   return path.key ? Value( *path.key ) : Value();
}

Act set( const Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   const Value value = takeValue( session, words, path );
   return [ path, value ]( Session& live ) {
      live.agent().recorder().set( path.object, *path.attribute, keyOf( path ), value );
   };
}

bool hasMember( const AttributePath& path )
{
   const Value key = path.attribute->convertedKey( *path.key );
   return std::ranges::any_of( path.attribute->members( *path.object ),
      [ & ]( const Vormel::Member& member ) { return member.key == key; } );
}

Act del( const Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   if( path.key && path.attribute->info().kind == Vormel::AttributeKind::Map && !hasMember( path ) )
      words.fail( path.text + " is absent; 'show attributes' lists what is there" );
   return [ path ]( Session& live ) {
      live.agent().recorder().del( path.object, *path.attribute, keyOf( path ) );
   };
}

/// A call of an operation of the helper, and its arguments.
struct Call
{
   const Vormel::Operation* operation;
   Word name;
   std::vector<Word> arguments;
};

/// A unit that does not exist would end the agent.
Word takeUnitArgument( const Session& session, Words& words )
{
   session.takeUnit( words );
   return *words.last();
}

const Vormel::Operation* operationNamed(
   const Words& words, const Entity& object, const std::string& name )
{
   const Vormel::EntityType& type = object.entityType();
   std::vector<std::string_view> names;
   for( const auto& operation : type.operations() ) {
      if( operation->name() == name )
         return operation.get();
      names.push_back( operation->name() );
   }
   words.fail( std::string( type.name() ) + " has no operation '" + name + "'" +
               didYouMean( name, names, "; 'strata-l3 operations' lists them" ) );
}

Call takeCall( const Session& session, Words& words )
{
   const RoutingStatusHelper& helper = *session.agent().helper();
   const Word& name = words.take( "an operation, as in l3Init", "OPERATION" );
   Call call{ operationNamed( words, helper, name.text ), name, {} };
   const auto& parameters = call.operation->parameters();
   while( !words.done() ) {
      const Vormel::Parameter* const parameter =
         call.arguments.size() < parameters.size() ? &parameters[ call.arguments.size() ] : nullptr;
      if( parameter )
         words.offerAll( parameter->choices );
      call.arguments.push_back( parameter && parameter->name == "unit"
                                   ? takeUnitArgument( session, words )
                                   : words.take( "an argument" ) );
   }
   return call;
}

/// What the operation returns, if it returns anything.
std::optional<Value> resultOf( const Call& call, Session& session, const Words& words )
{
   std::vector<Value> values;
   for( const Word& argument : call.arguments )
      values.emplace_back( argument.text );
   try {
      Value result = session.agent().callWith( call.operation->name(), values );
      return std::holds_alternative<std::monostate>( result )
                ? std::nullopt
                : std::optional( std::move( result ) );
   } catch( const Vormel::ArgumentError& error ) {
      words.failAt( call.arguments[ error.index() ], error.what() );
   } catch( const Vormel::AccessError& error ) {
      words.failAt( call.name, error.what() );
   }
}

nlohmann::ordered_json valueJson( const Agent& agent, const Value& value )
{
   if( nlohmann::ordered_json plain = Desk::plainJson( value ); !plain.is_null() )
      return plain;
   return agent.valueText( value );
}

Act call( const Session& session, Words& words )
{
   return [ asked = takeCall( session, words ), &words ]( Session& live ) {
      if( const auto result = resultOf( asked, live, words ) )
         live.console().result( asked.name.text, live.agent().valueText( *result ),
            valueJson( live.agent(), *result ) );
   };
}

Act expectResult( const Session& session, Words& words )
{
   const std::string value = words.take( "a value" ).text;
   return [ value, asked = takeCall( session, words ), &words ]( Session& live ) {
      const std::optional<Value> result = resultOf( asked, live, words );
      const std::string text = result ? live.agent().valueText( *result ) : "nothing";
      live.expect(
         result && sameValue( value, text ), asked.name.text + " to return " + value, text );
   };
}

} // namespace

std::vector<Command> stateCommands()
{
   return {
      { "set", "[OBJECT.]ATTRIBUTE[KEY] VALUE", "set an attribute, or a member of a collection",
         set },
      { "del", "[OBJECT.]ATTRIBUTE[KEY]", "remove a member of a collection, or all of them", del },
      { "call", "OPERATION [ARGUMENT]...", "call an operation of the helper", call },
      { "expect result", "VALUE OPERATION [ARGUMENT]...",
         "an operation of the helper, called now, returns this", expectResult, false },
   };
}

} // namespace Strata::Tool
