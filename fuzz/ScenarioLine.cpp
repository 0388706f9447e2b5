// The lines of a scenario file, as a run reads and parses them, and what the shell offers behind each. Lines that only
// show something are run, and so are refused ones, which must change nothing.
#include "fuzz/Fuzz.h"

#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/shell/Completion.h"
#include "tool/shell/Guide.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <optional>

namespace Strata::Fuzz {
namespace {

using Tool::InputError;
using Tool::Line;

/// Completion tries many words, so it has only the first line of a file, and no long one.
constexpr std::size_t longestCompleted = 160;

/// The text up to the next newline, as another reader would find it; none at the end.
std::optional<std::string_view> nextText( std::string_view& rest )
{
   if( rest.empty() )
      return std::nullopt;
   const std::size_t end = std::min( rest.find( '\n' ), rest.size() );
   const std::string_view text = rest.substr( 0, end );
   rest.remove_prefix( std::min( end + 1, rest.size() ) );
   return text;
}

void checkError( const InputError& error, U32 number, std::size_t length )
{
   const std::string place = ":" + std::to_string( error.line() ) + ":" +
                             std::to_string( error.column() ) + ": " + error.problem();
   require( !error.problem().empty(), "an error says what is wrong" );
   require( std::string_view( error.what() ).starts_with( error.file() + place ),
      "an error begins with its place" );
   require( error.line() == number && error.column() >= 1 && error.column() <= length + 2,
      "an error is in its line" );
}

/// Whether the parser takes the line.
bool parses( const Tool::Session& session, const Line& line )
{
   try {
      Tool::Words words( line );
      const Tool::Act act = Tool::takeCommand( words ).act( session, words );
      require( static_cast<bool>( act ), "a line that is accepted has an act" );
      return true;
   } catch( const InputError& error ) {
      checkError( error, line.number, line.text.size() );
      return false;
   }
}

/// Whether the line runs.
bool runs( Tool::Session& session, const Line& line )
{
   try {
      session.run( line );
      return true;
   } catch( const InputError& error ) {
      checkError( error, line.number, line.text.size() );
      return false;
   }
}

/// The command of a line; null if there is no such command.
const Tool::Command* commandOf( const Line& line )
{
   try {
      Tool::Words words( line );
      return &Tool::takeCommand( words );
   } catch( const InputError& ) {
      return nullptr;
   }
}

void complete( const Tool::Session& session, const std::string& text )
{
   for( const std::string& word : Tool::completions( session, text ) )
      require( !word.empty(), "an offered word is not empty" );
   for( const Tool::NextWord& next : Tool::nextWords( session, text ).words )
      require( !next.word.empty(), "a word that can follow is not empty" );
}

void checkLine( Tool::Session& session, const Line& line )
{
   if( line.words.empty() )
      return;
   const Line again = Tool::splitLine( line.file, line.number, Tool::commandText( line ) );
   require( std::ranges::equal( line.words, again.words, {}, &Tool::Word::text, &Tool::Word::text ),
      "a command without its comment has the same words" );
   const Tool::Command* const command = commandOf( line );
   const U64 before = session.agent().hardware().transcript().lastNumber();
   const bool accepted = parses( session, line );
   if( command && command->shows() )
      runs( session, line );
   else if( !accepted && !( command && command->takesJson() ) )
      require( !runs( session, line ), "a line that the parser refuses is refused by a run" );
   if( line.number == 1 && line.text.size() <= longestCompleted )
      complete( session, line.text );
   require( session.agent().hardware().transcript().lastNumber() == before,
      "parsing and showing call no hardware" );
}

void checkFile( Tool::Session& session, std::string_view contents )
{
   constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
   const MemoryFile file( { reinterpret_cast<const U8*>( contents.data() ), contents.size() } );
   Tool::ScenarioFile lines( file.name() );
   for( U32 number = 1;; ++number ) {
      std::optional<std::string_view> text = nextText( contents );
      if( text && number == 1 && text->starts_with( byteOrderMark ) )
         text->remove_prefix( byteOrderMark.size() );
      try {
         const std::optional<Line> line = lines.next();
         require( line.has_value() == text.has_value(), "every line is read, and no more" );
         if( !line )
            return;
         require( line->number == number && line->text == *text, "a line is read as it is" );
         checkLine( session, *line );
      } catch( const InputError& error ) {
         require( text.has_value(), "no line behind the end" );
         checkError( error, number, std::min( text->size(), Tool::maxLineLength ) );
      }
   }
}

} // namespace
} // namespace Strata::Fuzz

int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
   using namespace Strata::Fuzz;
   checkFile( session(), { reinterpret_cast<const char*>( data ), size } );
   return 0;
}
