// Attributes of objects and operations of the helper, by name.
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"
#include "tool/Command.h"
#include "tool/Expectation.h"
#include "tool/Session.h"

#include <optional>
#include <string>

namespace Strata::Tool {

namespace {

using Vormel::Value;

/// Objects go by their names, everything else by its text form.
Value takeValue( Session& session, Words& words, const AttributePath& path )
{
   words.offerAlternatives( path.attribute->expected() );
   if( !path.attribute->info().type.starts_with( "Ref<" ) )
      return words.take( "a value" ).text;
   if( words.accept( "none" ) )
      return {};
   return Ref<const Entity>( session.takeObject( words ) );
}

void set( Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   const Value value = takeValue( session, words, path );
   words.end();
   if( path.key )
      path.attribute->write( *path.object, Value( *path.key ), value );
   else
      path.attribute->write( *path.object, value );
}

void del( Session& session, Words& words )
{
   const AttributePath path = session.takeAttribute( words );
   words.end();
   if( path.key )
      path.attribute->del( *path.object, Value( *path.key ) );
   else
      path.attribute->delAll( *path.object );
}

/// The argument that an error is about, or the operation's name.
const Word& blamed( const std::string& error, const Word& name, const std::vector<Word>& arguments )
{
   for( const Word& argument : arguments )
      if( error.find( "'" + argument.text + "' is not" ) != error.npos )
         return argument;
   return name;
}

struct Called
{
   std::string operation;
   std::optional<std::string> result;
};

Called takeCall( Session& session, Words& words )
{
   RoutingStatusHelper& helper = *session.agent( words ).helper();
   const Word name = words.take( "an operation, as in l3Init", "OPERATION" );
   const Vormel::Operation& operation = helper.entityType().operation( name.text );
   std::vector<Word> arguments;
   while( !words.done() ) {
      const auto& parameters = operation.parameters();
      if( arguments.size() < parameters.size() ) {
         const std::string_view parameter = parameters[ arguments.size() ]; // "name: expected"
         words.offerAlternatives( parameter.substr( parameter.find( ": " ) + 2 ) );
      }
      arguments.push_back( words.take( "an argument" ) );
   }
   std::vector<Value> values;
   for( const Word& argument : arguments )
      values.emplace_back( argument.text );
   try {
      const Value result = operation.call( helper, values );
      if( std::holds_alternative<std::monostate>( result ) )
         return { name.text, std::nullopt };
      return { name.text, session.agent( words ).valueText( result ) };
   } catch( const Vormel::AccessError& error ) {
      words.failAt( blamed( error.what(), name, arguments ), error.what() );
   }
}

void call( Session& session, Words& words )
{
   const Called called = takeCall( session, words );
   if( called.result )
      session.console().result( called.operation, *called.result );
}

void expectResult( Session& session, Words& words )
{
   const std::string value = words.take( "a value" ).text;
   const Called called = takeCall( session, words );
   session.expect( called.result && sameValue( value, *called.result ),
      called.operation + " to return " + value, called.result.value_or( "nothing" ) );
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
