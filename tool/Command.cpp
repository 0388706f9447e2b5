#include "tool/Command.h"

#include <algorithm>

namespace Strata::Tool {

namespace {

std::vector<Command> allCommands()
{
   std::vector<Command> all;
   for( const auto theme : { switchCommands, tableCommands, packetCommands, stateCommands,
           runCommands, faultCommands, showCommands, showTableCommands, expectCommands,
           expectEventCommands, myStationCommands, chipCommands } )
      std::ranges::copy( theme(), std::back_inserter( all ) );
   return all;
}

/// The word of a name at `index`; empty behind its end.
std::string_view nameWord( std::string_view name, std::size_t index )
{
   for( ; index > 0; --index ) {
      const std::size_t blank = name.find( ' ' );
      if( blank == name.npos )
         return {};
      name.remove_prefix( blank + 1 );
   }
   return name.substr( 0, name.find( ' ' ) );
}

bool startsWith( const Command& command, const Words& words, std::size_t count )
{
   for( std::size_t i = 0; i < count; ++i ) {
      const Word* const word = words.peek( i );
      if( !word || word->quoted || word->text != nameWord( command.name, i ) )
         return false;
   }
   return true;
}

std::size_t wordCount( std::string_view name )
{
   return 1 + static_cast<std::size_t>( std::ranges::count( name, ' ' ) );
}

/// The words that can follow the first `count` words of the line.
std::vector<std::string_view> continuations( const Words& words, std::size_t count )
{
   std::vector<std::string_view> next;
   for( const Command& command : commands() )
      if( startsWith( command, words, count ) )
         if( const auto word = nameWord( command.name, count );
             !word.empty() && std::ranges::find( next, word ) == next.end() )
            next.push_back( word );
   return next;
}

[[noreturn]] void failUnknown( Words& words )
{
   std::size_t known = 0;
   while( words.peek( known ) && !continuations( words, known + 1 ).empty() )
      ++known;
   const std::vector<std::string_view> choices = continuations( words, known );
   std::string before;
   for( std::size_t i = 0; i < known; ++i )
      before += words.take( {} ).text + " ";
   if( words.done() )
      words.failAtEnd( before + "is followed by one of " + joined( choices ) );
   const Word& wrong = words.take( {} );
   const std::string hint = didYouMean( wrong.text, choices );
   words.fail( "there is no command '" + before + wrong.text + "'" +
               ( hint.empty() && known > 0 ? "; choose one of " + joined( choices ) : hint ) );
}

} // namespace

const std::vector<Command>& commands()
{
   static const std::vector<Command> all = allCommands();
   return all;
}

std::vector<std::string_view> commandWords( const Words& words )
{
   return continuations( words, words.line().words.size() );
}

const Command* findCommand( const Words& words )
{
   const Command* best = nullptr;
   for( const Command& command : commands() )
      if( startsWith( command, words, wordCount( command.name ) ) &&
          ( !best || wordCount( command.name ) > wordCount( best->name ) ) )
         best = &command;
   return best;
}

const Command& takeCommand( Words& words )
{
   const Command* const best = findCommand( words );
   if( !best )
      failUnknown( words );
   for( std::size_t i = 0; i < wordCount( best->name ); ++i )
      words.take( {} );
   return *best;
}

} // namespace Strata::Tool
