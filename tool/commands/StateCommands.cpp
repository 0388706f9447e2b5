// Attributes of objects and operations of the helper, by name.
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"
#include "tool/Command.h"
#include "tool/Session.h"

namespace Strata::Tool {

namespace {

using Vormel::Value;

/// Objects go by their names, everything else by its text form.
Value takeValue( Session& session, Words& words, const AttributePath& path )
{
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

void call( Session& session, Words& words )
{
   RoutingStatusHelper& helper = *session.agent( words ).helper();
   const Word name = words.take( "an operation, as in l3Init" );
   const Vormel::Operation& operation = helper.entityType().operation( name.text );
   std::vector<Word> arguments;
   while( !words.done() )
      arguments.push_back( words.take( "an argument" ) );
   std::vector<Value> values;
   for( const Word& argument : arguments )
      values.emplace_back( argument.text );
   try {
      const Value result = operation.call( helper, values );
      if( !std::holds_alternative<std::monostate>( result ) )
         session.console().result( name.text, session.agent( words ).valueText( result ) );
   } catch( const Vormel::AccessError& error ) {
      words.failAt( blamed( error.what(), name, arguments ), error.what() );
   }
}

} // namespace

std::vector<Command> stateCommands()
{
   return {
      { "set", "[OBJECT.]ATTRIBUTE[KEY] VALUE", "set an attribute, or a member of a collection",
         set },
      { "del", "[OBJECT.]ATTRIBUTE[KEY]", "remove a member of a collection, or all of them", del },
      { "call", "OPERATION [ARGUMENT]...", "call an operation of the helper", call },
   };
}

} // namespace Strata::Tool
