#include "tool/words/Command.h"

#include "tool/Session.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace Strata::Tool {

namespace {

std::vector<Theme> allThemes()
{
   return {
      { "The switch", switchCommands() },
      { "Forwarding tables", tableCommands() },
      { "Routes", routeCommands() },
      { "Packets", packetCommands() },
      { "Attributes and operations", stateCommands() },
      { "The router", routerCommands() },
      { "The run", runCommands() },
      { "Faults", faultCommands() },
      { "Show", showCommands() },
      { "Show tables of packets", showTableCommands() },
      { "Expect", expectCommands() },
      { "Expect events", expectEventCommands() },
      { "The my-station table", myStationCommands() },
      { "Chips", chipCommands() },
      { "The shell", shellCommands() },
   };
}

/// The words that can follow the start of a name.
std::vector<std::string_view> continuations( const std::string& start, bool typed )
{
   std::vector<std::string_view> next;
   const auto addFrom = [ & ]( const std::vector<Command>& all ) {
      for( const Command& command : all )
         if( command.name.starts_with( start ) ) {
            const std::string_view rest = command.name.substr( start.size() );
            const std::string_view word = rest.substr( 0, rest.find( ' ' ) );
            if( !word.empty() && std::ranges::find( next, word ) == next.end() )
               next.push_back( word );
         }
   };
   addFrom( commands() );
   if( typed )
      addFrom( themes().back().commands );
   return next;
}

/// `start` is empty or ends with a blank.
[[noreturn]] void failUnknown( Words& words, const std::string& start )
{
   const std::vector<std::string_view> choices = continuations( start, words.line().typed );
   if( !words.peek() )
      words.failAtEnd( start + "is followed by one of " + joined( choices ) );
   const Word& wrong = words.take( {} );
   const std::string hint = Words::remedy( wrong, choices );
   words.fail( "there is no command '" + start + wrong.text + "'" +
               ( !hint.empty()         ? hint
                  : !start.empty()     ? "; choose one of " + joined( choices )
                  : words.line().typed ? "; 'help' lists all"
                                       : "; 'strata-l3 commands' lists all" ) );
}

/// Takes the words of a name as far as they fit, and returns them with a blank behind each.
std::string takeNameWords( Words& words )
{
   std::string name;
   for( ;; ) {
      const std::vector<std::string_view> choices = continuations( name, words.line().typed );
      const auto next = std::ranges::find_if(
         choices, [ & ]( std::string_view choice ) { return words.accept( choice ); } );
      if( next == choices.end() )
         return name;
      name += std::string( *next ) + ' ';
   }
}

} // namespace

const std::vector<Theme>& themes()
{
   static const std::vector<Theme> all = allThemes();
   return all;
}

const std::vector<Command>& commands()
{
   static const std::vector<Command> all = [] {
      std::vector<Command> commands;
      for( const Theme& theme : std::span( themes() ).first( themes().size() - 1 ) )
         std::ranges::copy( theme.commands, std::back_inserter( commands ) );
      return commands;
   }();
   return all;
}

const Command& takeCommand( Words& words )
{
   const std::string name = takeNameWords( words );
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands )
         if( std::string( command.name ) + ' ' == name )
            return command;
   failUnknown( words, name );
}

std::string takeNameStart( Words& words )
{
   std::string name = takeNameWords( words );
   if( words.peek() )
      failUnknown( words, name );
   if( !name.empty() )
      name.pop_back();
   return name;
}

Act Command::act( const Session& session, Words& words ) const
{
   if( needsSwitch && !session.hasAgent() )
      words.failAt( words.line().words.front(),
         "there is no switch yet; describe one first, as in 'switch hsdk'" );
   words.syntaxIs( std::string( name ) + ( syntax.empty() ? "" : " " ) + std::string( syntax ) );
   const auto offerForms = [ & ] {
      if( !shows() )
         return;
      words.accept( "--json" ); // Session takes these two where they end the line
      words.offer( "|" );
   };
   offerForms();
   const Act parsed = words.blaming( [ & ] { return parse( session, words ); } );
   offerForms();
   words.end();
   return [ parsed, &words ]( Session& live ) { words.blaming( [ & ] { parsed( live ); } ); };
}

} // namespace Strata::Tool
