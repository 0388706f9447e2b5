#include "tool/words/Command.h"

#include "tool/Session.h"

#include <algorithm>

namespace Strata::Tool {

namespace {

std::vector<Command> allCommands()
{
   std::vector<Command> all;
   for( const auto theme :
      { switchCommands, tableCommands, routeCommands, packetCommands, stateCommands, routerCommands,
         runCommands, faultCommands, showCommands, showTableCommands, expectCommands,
         expectEventCommands, myStationCommands, chipCommands } )
      std::ranges::copy( theme(), std::back_inserter( all ) );
   return all;
}

/// The words that can follow the start of a name.
std::vector<std::string_view> continuations( const std::string& start )
{
   std::vector<std::string_view> next;
   for( const Command& command : commands() )
      if( command.name.starts_with( start ) ) {
         const std::string_view rest = command.name.substr( start.size() );
         const std::string_view word = rest.substr( 0, rest.find( ' ' ) );
         if( !word.empty() && std::ranges::find( next, word ) == next.end() )
            next.push_back( word );
      }
   return next;
}

/// `start` is empty or ends with a blank.
[[noreturn]] void failUnknown( Words& words, const std::string& start )
{
   const std::vector<std::string_view> choices = continuations( start );
   if( !words.peek() )
      words.failAtEnd( start + "is followed by one of " + joined( choices ) );
   const Word& wrong = words.take( {} );
   const std::string hint = Words::remedy( wrong, choices );
   words.fail( "there is no command '" + start + wrong.text + "'" +
               ( !hint.empty()    ? hint
                  : start.empty() ? "; 'strata-l3 commands' lists all"
                                  : "; choose one of " + joined( choices ) ) );
}

} // namespace

const std::vector<Command>& commands()
{
   static const std::vector<Command> all = allCommands();
   return all;
}

const Command& takeCommand( Words& words )
{
   std::string name; // with a blank behind each word
   for( ;; ) {
      const std::vector<std::string_view> choices = continuations( name );
      const auto next = std::ranges::find_if(
         choices, [ & ]( std::string_view choice ) { return words.accept( choice ); } );
      if( next == choices.end() )
         break;
      name += std::string( *next ) + ' ';
   }
   const auto found = std::ranges::find_if( commands(),
      [ & ]( const Command& command ) { return std::string( command.name ) + ' ' == name; } );
   if( found == commands().end() )
      failUnknown( words, name );
   return *found;
}

Act Command::act( const Session& session, Words& words ) const
{
   if( needsSwitch && !session.hasAgent() )
      words.failAt( words.line().words.front(),
         "there is no switch yet; describe one first, as in 'switch hsdk'" );
   words.syntaxIs( std::string( name ) + ( syntax.empty() ? "" : " " ) + std::string( syntax ) );
   if( name.starts_with( "show " ) )
      words.offer( "--json" );
   const Act parsed = words.blaming( [ & ] { return parse( session, words ); } );
   if( takesJson() )
      words.accept( "--json" ); // Session takes it where it ends the line
   words.end();
   return [ parsed, &words ]( Session& live ) { words.blaming( [ & ] { parsed( live ); } ); };
}

} // namespace Strata::Tool
