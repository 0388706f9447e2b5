#include "tool/words/Command.h"

#include "tool/Session.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

namespace {

std::vector<Theme> allThemes()
{
   return {
      { "The switch", switchCommands() },
      { "Forwarding tables", tableCommands() },
      { "Routes", routeCommands() },
      { "Packets", packetCommands() },
      { "Captures", captureCommands() },
      { "Probes", probeCommands() },
      { "Packets for entries", coverCommands() },
      { "Packets while a command runs", transientCommands() },
      { "Attributes and operations", stateCommands() },
      { "The router", routerCommands() },
      { "The run", runCommands() },
      { "Faults", faultCommands() },
      { "Show", showCommands() },
      { "Show the switch", showPartsCommands() },
      { "Show tables of packets", showTableCommands() },
      { "Changes", changeCommands() },
      { "Plans", planCommands() },
      { "Room", roomCommands() },
      { "Expect", expectCommands() },
      { "Expect events", expectEventCommands() },
      { "Expect of packets", expectPacketCommands() },
      { "The my-station table", myStationCommands() },
      { "Chips", chipCommands() },
      { "The shell", shellCommands() },
   };
}

/// The names of commands as a tree: by the start of a name, with a blank behind each of its words, the command of
/// that name and the words that can follow.
struct Branch
{
   const Command* command = nullptr;
   std::vector<std::string_view> next;
};
using Branches = std::map<std::string, Branch, std::less<>>;

void addNames( Branches& branches, const std::vector<Command>& all )
{
   for( const Command& command : all ) {
      std::string start;
      std::string_view rest = command.name;
      while( !rest.empty() ) {
         const std::string_view word = rest.substr( 0, rest.find( ' ' ) );
         std::vector<std::string_view>& next = branches[ start ].next;
         if( std::ranges::find( next, word ) == next.end() )
            next.push_back( word );
         start += std::string( word ) + ' ';
         rest.remove_prefix( std::min( word.size() + 1, rest.size() ) );
      }
      branches[ start ].command = &command;
   }
}

/// Of scenarios, and of lines that are typed.
Branches branchesOf( bool typed )
{
   Branches all;
   addNames( all, commands() );
   if( typed )
      addNames( all, themes().back().commands );
   return all;
}

/// Whether a command of the shell begins with the word.
bool isOfShell( std::string_view word )
{
   return std::ranges::any_of( themes().back().commands, [ & ]( const Command& command ) {
      return command.name.substr( 0, command.name.find( ' ' ) ) == word;
   } );
}

/// `start` is empty or ends with a blank.
[[noreturn]] void failUnknown(
   Words& words, const std::string& start, std::span<const std::string_view> choices )
{
   if( !words.peek() )
      words.failAtEnd( start + "is followed by one of " + joined( choices ) );
   const Word& wrong = words.take( {} );
   const bool isComment = wrong.text.starts_with( '!' ) || wrong.text.starts_with( "//" );
   const bool ofShell = start.empty() && !words.line().typed && isOfShell( wrong.text );
   const std::string hint = isComment ? "; a comment starts with '#'"
                            : ofShell ? "; only the shell has it"
                                      : words.remedy( wrong, choices );
   words.fail( "there is no command '" + start + wrong.text + "'" +
               ( !hint.empty()         ? hint
                  : !start.empty()     ? "; choose one of " + joined( choices )
                  : words.line().typed ? "; 'help' lists all"
                                       : "; 'strata-l3 commands' lists all" ) );
}

/// The words of a name as far as they fit, with a blank behind each.
struct NameWords
{
   std::string name;
   const Branch* branch;
};

NameWords takeNameWords( Words& words )
{
   static const Branches ofScenarios = branchesOf( false );
   static const Branches ofShell = branchesOf( true );
   const Branches& branches = words.line().typed ? ofShell : ofScenarios;
   std::string name;
   const Branch* branch = &branches.find( name )->second;
   for( ;; ) {
      const std::string_view word = words.acceptOneOf( branch->next );
      if( word.empty() )
         return { name, branch };
      name += std::string( word ) + ' ';
      branch = &branches.find( name )->second;
   }
}

} // namespace

bool Command::isEvent() const
{
   static constexpr std::array<std::string_view, 14> others{ "switch", "no switch", "quiet", "loud",
      "mark", "note", "include", "transient", "packet", "pcap", "probe", "no probe", "capture",
      "no capture" };
   return needsSwitch && !shows() && !name.starts_with( "expect" ) &&
          std::ranges::find( others, name ) == others.end();
}

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
   const auto [ name, branch ] = takeNameWords( words );
   if( !branch->command )
      failUnknown( words, name, branch->next );
   return *branch->command;
}

std::string takeNameStart( Words& words )
{
   auto [ name, branch ] = takeNameWords( words );
   if( words.peek() )
      failUnknown( words, name, branch->next );
   if( !name.empty() )
      name.pop_back();
   return name;
}

Act Command::act( const Session& session, Words& words ) const
{
   if( needsSwitch && !session.hasAgent() )
      words.failAt( words.line().words.front(),
         "there is no switch yet; describe one first, as in 'switch hsdk'" );
   if( needsRecords && !session.keepsRecords() )
      words.failAt( words.line().words.front(),
         "it looks at records, which are not kept with --no-transcript" );
   words.syntaxIs( std::string( name ) + ( syntax.empty() ? "" : " " ) + std::string( syntax ) );
   const auto offerForms = [ & ] {
      // Session takes these two where they end the line.
      if( takesJson() && words.accept( "--json" ) && words.peek() )
         words.fail( "'--json' stands at the end of the line" );
      if( shows() )
         words.offer( "|" );
   };
   offerForms();
   const Act parsed = words.blaming( [ & ] { return parse( session, words ); } );
   offerForms();
   words.end( shows() );
   return [ parsed, &words ]( Session& live ) { words.blaming( [ & ] { parsed( live ); } ); };
}

} // namespace Strata::Tool
