#include "tool/words/Words.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Format.h"
#include "tool/words/Habits.h"

#include <algorithm>
#include <iterator>

namespace Strata::Tool {

namespace {

std::string inclusionText( const Line& line, const std::string& before )
{
   std::string text;
   for( const Inclusion* at = line.inclusion.get(); at; at = at->outer.get() )
      text += before + at->file + ":" + std::to_string( at->number );
   return text;
}

/// The part of a very long line around the place.
std::string describe( const Line& line, U32 column, U32 width, const std::string& problem )
{
   constexpr std::size_t longest = 400;
   constexpr std::size_t inFront = 100;
   const std::size_t at = column - 1;
   const std::size_t start = line.text.size() > longest && at > inFront ? at - inFront : 0;
   std::string shown = line.text.substr( std::min( start, line.text.size() ), longest );
   std::ranges::replace( shown, '\t', ' ' ); // the caret counts characters
   const std::size_t room =
      std::max( shown.size() - std::min( at - start, shown.size() ), std::size_t{ 1 } );
   return line.file + ":" + std::to_string( line.number ) + ":" + std::to_string( column ) + ": " +
          problem + "\n   " + shown + "\n   " + std::string( at - start, ' ' ) + "^" +
          std::string( std::clamp<std::size_t>( width, 1, room ) - 1, '~' ) +
          inclusionText( line, "\n   included at " );
}

bool isBlank( char c )
{
   return c == ' ' || c == '\t' || c == '\r';
}

bool isControl( char c )
{
   return ( static_cast<U8>( c ) < 0x20 && !isBlank( c ) ) || c == 0x7F;
}

/// Takes the word that starts at `at` and leaves `at` behind it.
Word takeWord( const Line& line, std::size_t& at )
{
   const std::string& text = line.text;
   const std::size_t start = at;
   Word word{ {}, static_cast<U32>( start + 1 ), 0, text[ start ] == '"' };
   std::size_t open = std::string::npos;
   for( ; at < text.size(); ++at ) {
      const bool inQuotes = open != std::string::npos;
      const char c = text[ at ];
      if( !inQuotes && ( isBlank( c ) || c == '#' ) )
         break;
      if( c == '"' )
         open = inQuotes ? std::string::npos : at;
      else if( inQuotes && c == '\\' && at + 1 < text.size() )
         word.text += text[ ++at ];
      else
         word.text += c;
   }
   if( open != std::string::npos )
      throw InputError( line, static_cast<U32>( open + 1 ), static_cast<U32>( at - open ),
         "this quote is not closed; end the text with \"" );
   word.width = static_cast<U32>( at - start );
   return word;
}

} // namespace

InputError::InputError( const Line& line, U32 column, U32 width, const std::string& problem )
   : std::runtime_error( describe( line, column, width, problem ) ),
     file_( line.file ),
     line_( line.number ),
     problem_( problem ),
     column_( column ),
     width_( width )
{}

Line splitLine(
   std::string file, U32 number, std::string text, std::shared_ptr<const Inclusion> inclusion )
{
   Line line{ std::move( file ), number, std::move( text ), {}, std::move( inclusion ) };
   std::size_t at = 0;
   if( const auto odd = std::ranges::find_if( line.text, isControl ); odd != line.text.end() ) {
      const auto column = static_cast<U32>( 1 + ( odd - line.text.begin() ) );
      const std::string code = Vormel::format( "0x%02x", U32{ static_cast<U8>( *odd ) } );
      std::ranges::replace_if( line.text, isControl, '?' ); // terminals act on them
      throw InputError(
         line, column, 1, "a line is text, and this is the control character " + code );
   }
   if( line.text.size() > maxLineLength )
      throw InputError( line, static_cast<U32>( maxLineLength + 1 ), 1,
         "a line has at most " + std::to_string( maxLineLength ) + " bytes" );
   while( at < line.text.size() && line.text[ at ] != '#' ) {
      if( isBlank( line.text[ at ] ) )
         ++at;
      else
         line.words.push_back( takeWord( line, at ) );
   }
   return line;
}

std::string placeText( const Line& line )
{
   return line.file + ":" + std::to_string( line.number ) + inclusionText( line, ", included at " );
}

std::string commandText( const Line& line )
{
   const std::size_t start = line.words.front().column - 1;
   const Word& last = line.words.back();
   return line.text.substr( start, last.column - 1 + last.width - start );
}

static std::string lowerCase( std::string_view text )
{
   std::string lower( text );
   for( char& c : lower )
      if( c >= 'A' && c <= 'Z' )
         c = static_cast<char>( c - 'A' + 'a' );
   return lower;
}

/// Whether a word of three letters or fewer can be a slip for the name: another word that short differs from most
/// names in few letters.
static bool isSlipOf( std::string_view wrong, std::string_view name )
{
   if( wrong.size() > 3 )
      return true;
   std::string letters( wrong );
   std::string others( name );
   std::ranges::sort( letters );
   std::ranges::sort( others );
   const auto differences =
      std::ranges::count_if( wrong, [ & ]( char c ) { return name.find( c ) == name.npos; } );
   return std::ranges::includes( others, letters ) ||
          ( differences == 1 && wrong.size() > 1 && wrong.size() == name.size() );
}

std::string didYouMean(
   std::string_view wrong, std::span<const std::string_view> names, std::string_view otherwise )
{
   constexpr std::size_t most = 3; // names that are worth listing
   const std::string lower = lowerCase( wrong );
   const std::string_view nearest = Vormel::nearestName( wrong, names );
   // Differs from the other if several are as near.
   const std::string_view last =
      Vormel::nearestName( wrong, std::vector<std::string_view>( names.rbegin(), names.rend() ) );
   const bool slip = !nearest.empty() && isSlipOf( wrong, nearest );
   std::vector<std::string_view> meant;
   std::ranges::copy_if( names, std::back_inserter( meant ),
      [ & ]( std::string_view name ) { return lowerCase( name ) == lower; } );
   if( meant.empty() && slip && nearest.size() <= wrong.size() + 1 ) {
      meant.push_back( nearest ); // rather than all that start with the word
      if( last != nearest && isSlipOf( wrong, last ) )
         meant.push_back( last );
   }
   if( meant.empty() && wrong.size() > 1 )
      std::ranges::copy_if( names, std::back_inserter( meant ),
         [ & ]( std::string_view name ) { return lowerCase( name ).starts_with( lower ); } );
   if( meant.empty() || meant.size() > most )
      meant.assign( slip ? 1 : 0, nearest );
   std::string text;
   for( const std::string_view name : meant )
      text += ( text.empty() ? "; did you mean '" : " or '" ) + std::string( name ) + "'";
   return text.empty() ? std::string( otherwise ) : text + "?";
}

std::string joined( std::span<const std::string_view> names )
{
   std::string text;
   for( const std::string_view name : names )
      text += ( text.empty() ? "" : ", " ) + std::string( name );
   return text;
}

/// The words that could replace one that does not fit, each once.
static std::vector<std::string_view> alternatives(
   const std::vector<std::string>& tried, std::span<const std::string_view> choices )
{
   std::vector<std::string_view> all( tried.begin(), tried.end() );
   all.insert( all.end(), choices.begin(), choices.end() );
   std::vector<std::string_view> once;
   for( const std::string_view name : all )
      if( std::ranges::find( once, name ) == once.end() )
         once.push_back( name );
   return once;
}

const Word* Words::peek( std::size_t ahead ) const
{
   return next_ + ahead < line_.words.size() ? &line_.words[ next_ + ahead ] : nullptr;
}

void Words::offer( std::string_view word, std::string_view what )
{
   if( !offers_ || !atEnd() )
      return;
   std::string& known = ( *offers_ )[ std::string( word ) ];
   if( known.empty() )
      known = what;
}

void Words::offerAll( std::span<const std::string> words )
{
   for( const std::string& word : words )
      offer( word );
}

const Word& Words::take( std::string_view what, std::string_view kind )
{
   offer( kind.empty() ? anyWord : kind, what );
   return next( what );
}

const Word& Words::next( std::string_view what )
{
   if( atEnd() )
      failAtEnd( "expected " + std::string( what ) + syntaxText() );
   return advance();
}

const Word& Words::advance()
{
   tried_.clear();
   textTaken_ = false;
   return line_.words[ next_++ ];
}

bool Words::accept( std::string_view keyword )
{
   return !acceptOneOf( { &keyword, 1 } ).empty();
}

std::string Words::syntaxText() const
{
   return syntax_.empty() ? std::string() : "; the syntax is '" + syntax_ + "'";
}

std::string Words::remedy( const Word& word, std::span<const std::string_view> names ) const
{
   if( word.quoted && std::ranges::find( names, word.text ) != names.end() )
      return "; write '" + word.text + "' without quotes";
   const Word& first = line_.words.front();
   const bool alone = word.column == first.column || first.text == "help";
   const std::string habit =
      habitText( alone ? "" : first.text + ' ', line_.text.substr( word.column - 1 ) );
   return habit.empty() ? didYouMean( word.text, names ) : habit;
}

std::string_view Words::acceptOneOf( std::span<const std::string_view> keywords )
{
   for( const std::string_view keyword : keywords )
      offer( keyword );
   const Word* const word = peek();
   const auto found =
      !word || word->quoted ? keywords.end() : std::ranges::find( keywords, word->text );
   if( found == keywords.end() ) {
      tried_.insert( tried_.end(), keywords.begin(), keywords.end() );
      return {};
   }
   advance();
   return *found;
}

bool Words::acceptOnce( std::string_view keyword, Taken& taken )
{
   const bool first = !taken.contains( keyword );
   if( first ? !accept( keyword ) : !peek() || peek()->quoted || peek()->text != keyword )
      return false;
   if( !first )
      failAt( *peek(), "'" + std::string( keyword ) + "' is given twice" );
   taken.emplace( keyword );
   return true;
}

void Words::expect( std::string_view keyword )
{
   if( accept( keyword ) )
      return;
   const std::vector<std::string> tried = tried_;
   const Word& word = next( "'" + std::string( keyword ) + "'" );
   const std::string hint = remedy( word, alternatives( tried, {} ) );
   fail( "'" + std::string( keyword ) + "' is expected here" +
         ( hint.empty() ? syntaxText() : hint ) );
}

std::string_view Words::choose( std::string_view what, std::span<const std::string_view> choices )
{
   for( const std::string_view choice : choices )
      offer( choice, what );
   const Word* const wrong = peek();
   if( wrong && std::ranges::find( choices, wrong->text ) == choices.end() ) {
      const std::vector<std::string_view> all = alternatives( tried_, choices );
      const std::string hint = remedy( *wrong, all );
      failAt( *wrong, "'" + wrong->text + "' is not " + std::string( what ) +
                         ( hint.empty() ? "; choose one of " + joined( all ) : hint ) );
   }
   const Word& word =
      next( std::string( what ) + ( choices.size() == 1 ? "" : ", one of " + joined( choices ) ) );
   return *std::ranges::find( choices, word.text );
}

std::string_view Words::chooseOnce(
   std::string_view what, std::span<const std::string_view> choices, Taken& taken )
{
   const std::string_view chosen = choose( what, choices );
   if( !taken.emplace( chosen ).second )
      fail( "'" + std::string( chosen ) + "' is given twice" );
   return chosen;
}

void Words::excludes( const Taken& taken, std::initializer_list<std::string_view> others ) const
{
   for( const std::string_view other : others )
      if( taken.contains( other ) )
         fail( "'" + last()->text + "' contradicts '" + std::string( other ) +
               "'; leave one of them out" );
}

U64 Words::number( std::string_view what, U64 least, U64 most, std::string_view kind )
{
   const Word& word = take( what, kind );
   const auto parsed = Vormel::ValueTraits<U64>::from( Vormel::Value( word.text ) );
   if( !parsed || *parsed < least || *parsed > most )
      fail( "'" + word.text + "' is not " + std::string( what ) + " from " +
            std::to_string( least ) + " to " + std::to_string( most ) );
   return *parsed;
}

const std::string& Words::text( std::string_view what )
{
   const Word& word = take( what );
   if( word.text.empty() )
      fail( "the text is empty; write " + std::string( what ) );
   textTaken_ = true;
   return word.text;
}

const std::string& Words::name( std::string_view what, std::span<const std::string_view> followers )
{
   const Word& word = take( what );
   if( word.text.empty() || std::ranges::find( followers, word.text ) != followers.end() )
      fail( "'" + word.text + "' is not " + std::string( what ) +
            ( word.text.empty() ? ", which has at least one character"
                                : ", but a word that comes behind it" ) +
            syntaxText() );
   return word.text;
}

void Words::end( bool showsRows ) const
{
   const Word* const word = peek();
   if( !word )
      return;
   const std::vector<std::string_view> all = alternatives( tried_, {} );
   const std::string unless = all.size() == 1 ? ", unless it is '" + joined( all ) + "'"
                              : all.empty()   ? std::string()
                                              : ", unless it is one of " + joined( all );
   const std::string rows = word->text.starts_with( '>' )
                               ? "; '--transcript FILE', an option of strata-l3, writes to a file"
                            : showsRows ? "; '| include " + word->text + "' selects rows"
                                        : "";
   const std::string hint = remedy( *word, all );
   failAt(
      *word, "nothing is expected here" + ( !hint.empty()     ? hint
                                             : textTaken_     ? "; put a text with blanks in quotes"
                                             : all.size() < 2 ? unless + syntaxText() + rows
                                                              : unless ) );
}

void Words::fail( const std::string& problem ) const
{
   next_ == 0 ? failAtEnd( problem ) : failAt( line_.words[ next_ - 1 ], problem );
}

void Words::failAt( const Word& word, const std::string& problem ) const
{
   const bool isFilter = !word.quoted && word.text.starts_with( '|' );
   const bool behindFilter = line_.words.front().text == "|"; // the line is the filters alone
   throw InputError( line_, word.column, word.width,
      isFilter && !behindFilter ? "there is no output to filter; "
                                  "only 'show', 'explain', 'plan', 'cover', 'lint' and "
                                  "'help' take filters"
                                : problem );
}

void Words::failAtEnd( const std::string& problem ) const
{
   const U32 column =
      line_.words.empty() ? 1 : line_.words.back().column + line_.words.back().width + 1;
   throw InputError( line_, column, 1, problem );
}

} // namespace Strata::Tool
