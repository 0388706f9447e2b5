#include "tool/shell/Guide.h"

#include "tool/Session.h"
#include "tool/shell/Completion.h"
#include "tool/view/Catalogue.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

namespace Strata::Tool {

namespace {

char lower( char c )
{
   return static_cast<char>( std::tolower( static_cast<unsigned char>( c ) ) );
}

/// The error of a line, if it has one.
std::optional<InputError> problemOf( const Session& session, Line line )
{
   try {
      Words words( line );
      const Command& command = takeCommand( words );
      if( command.shows() )
         if( const auto filters = cutFilters( line ) ) {
            Words behind( *filters );
            takeFilters( behind );
         }
      command.act( session, words );
      return std::nullopt;
   } catch( const InputError& error ) {
      return error;
   }
}

/// "Ethernet1-4" for "et1-4"; nothing if the word is not of this form.
std::optional<std::string> wholeInterface( const std::string& word )
{
   static constexpr std::array<std::string_view, 2> types{ "Ethernet", "Port-Channel" };
   const std::size_t letters = std::min( word.find_first_of( "0123456789" ), word.size() );
   if( letters == 0 || letters == word.size() )
      return std::nullopt;
   for( const std::string_view type : types )
      if( letters <= type.size() && std::ranges::equal( word.substr( 0, letters ),
                                       type.substr( 0, letters ), {}, lower, lower ) )
         return std::string( type ) + word.substr( letters );
   return std::nullopt;
}

/// The word that is abbreviated there; nothing if none is.
std::optional<std::string> wholeWord( const Session& session, const Line& line, const Word& word )
{
   if( word.quoted || std::isalpha( static_cast<unsigned char>( word.text.front() ) ) == 0 )
      return std::nullopt;
   const Line before = splitLine( line.file, line.number, line.text.substr( 0, word.column - 1 ) );
   const Offers offers = expectedBehind( session, before ).offers;
   std::vector<std::string_view> keywords;
   for( const auto& [ offer, what ] : offers )
      if( isKeyword( offer ) && offer.starts_with( word.text ) )
         keywords.push_back( offer );
   if( keywords.size() > 1 )
      throw InputError( line, word.column, word.width,
         "'" + word.text + "' could be short for " + joined( keywords ) );
   if( keywords.size() == 1 )
      return std::string( keywords.front() );
   constexpr std::array<std::string_view, 3> kinds{ "INTERFACE", "LAG", "PORT" };
   return std::ranges::any_of( kinds, [ & ]( auto kind ) { return offers.contains( kind ); } )
             ? wholeInterface( word.text )
             : std::nullopt;
}

/// From that word on.
std::string wordsFrom( const Line& line, std::size_t first )
{
   std::string text;
   for( std::size_t i = first; i < line.words.size(); ++i )
      text += line.words[ i ].text + ' ';
   return text;
}

/// Of a word that ends the name of a command.
std::string summaryOf( const std::string& name )
{
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands )
         if( command.name == name )
            return std::string( command.summary );
   return {};
}

/// Of a word that starts names: what can follow it.
std::string continuationsOf( const std::string& start )
{
   std::string text;
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands )
         if( command.name.starts_with( start + ' ' ) )
            text += ( text.empty() ? "" : ", " ) +
                    std::string( command.name.substr( start.size() + 1 ) );
   return text;
}

/// Of a word without another meaning: what the parser wants behind it.
std::string meaningOfNext( const Session& session, const Line& line, const std::string& word )
{
   const Line longer = splitLine( line.file, line.number, line.text + word );
   const Offers next = expectedBehind( session, longer ).offers;
   return next.size() == 1 && !next.begin()->second.empty() ? "then " + next.begin()->second : "";
}

} // namespace

Line expanded( const Session& session, const Line& line )
{
   Line whole = line;
   whole.typed = true;
   for( std::size_t done = 0;; ) {
      const std::optional<InputError> problem = problemOf( session, whole );
      if( !problem )
         return whole;
      const auto wrong = std::ranges::find( whole.words, problem->column(), &Word::column );
      const auto at = static_cast<std::size_t>( wrong - whole.words.begin() );
      if( wrong == whole.words.end() || at < done )
         return whole;
      const std::optional<std::string> word = wholeWord( session, whole, *wrong );
      if( !word )
         return whole;
      std::string text = whole.text;
      text.replace( wrong->column - 1, wrong->width, *word );
      whole = splitLine( whole.file, whole.number, text );
      whole.typed = true;
      done = at + 1;
   }
}

/// The meaning of an offer at the end of a line.
static std::string meaningAt( const Session& session, const Line& line, const Command* command,
   const std::string& offer, const std::string& what )
{
   const bool isHelp = command && command->name == "help"; // whose words are those of names
   const bool ofName = !command || isHelp;
   const std::string name = ( ofName ? wordsFrom( line, isHelp ? 1 : 0 ) : "" ) + offer;
   std::string meaning = ofName ? summaryOf( name ) : std::string();
   if( meaning.empty() && isKeyword( offer ) )
      meaning = meaningOf( ofName ? "" : command->name, name );
   if( meaning.empty() )
      meaning = what.empty() ? summaryOf( name ) : what;
   if( meaning.empty() )
      meaning = continuationsOf( name );
   if( meaning.empty() && isHelp )
      meaning = meaningOf( "", offer ); // the end of a line
   return meaning.empty() ? meaningOfNext( session, line, offer ) : meaning;
}

NextWords nextWords( const Session& session, std::string_view line )
{
   const std::string_view word = lastWord( line );
   Line known;
   try {
      const std::string before( line.substr( 0, line.size() - word.size() ) );
      known = expanded( session, splitLine( "shell", 1, before ) );
   } catch( const InputError& error ) {
      return { error.problem(), {} };
   }
   const auto [ offers, command ] = expectedBehind( session, known );
   NextWords next{ command ? withSyntax( *command ) : "Commands", {} };
   const auto value = offers.find( Words::anyWord );
   bool named = false; // whether keywords say what the value can be
   for( const auto& [ offer, what ] : offers ) {
      if( offer == Words::anyWord || ( isKeyword( offer ) && !offer.starts_with( word ) ) )
         continue;
      if( !isKeyword( offer ) && !word.empty() ) {
         const auto names = namesFor( session, offer, word );
         for( const auto& [ name, meaning ] : names )
            next.words.push_back( { name, meaning } );
         if( !names.empty() )
            continue;
      }
      const bool isValue = value != offers.end() && what.empty() && isKeyword( offer );
      named = named || isValue;
      next.words.push_back(
         { offer, meaningAt( session, known, command, offer, isValue ? value->second : what ) } );
   }
   if( value != offers.end() && !named )
      next.words.push_back( { std::string( Words::anyWord ), value->second } );
   const auto problem = known.words.empty() ? std::nullopt : problemOf( session, known );
   if( word.empty() && !known.words.empty() && !problem )
      next.words.push_back( { "<Enter>", "runs the line" } );
   if( next.words.empty() )
      next.syntax =
         problem ? problem->problem() : "no word here starts with '" + std::string( word ) + "'";
   return next;
}

} // namespace Strata::Tool
