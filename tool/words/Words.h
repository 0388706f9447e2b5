// A line of a scenario as words, and the cursor by which a command takes its arguments. Every error
// in a line is an InputError, which has the place of the line and says what would be right.
//
// A line is words with blanks between them; `#` starts a comment. Quotes, anywhere in a word, keep blanks and
// `#` as they are; inside them \" is a quote and \\ a backslash.
#pragma once

#include "platform/runtime/Entity.h" // a Value may contain one
#include "platform/runtime/Errors.h"
#include "platform/runtime/Types.h"
#include "platform/runtime/Value.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// The most bytes of a line. A frame in hexadecimal of the longest size needs less than a third.
constexpr std::size_t maxLineLength = 65536;

struct Word
{
   std::string text; // without quotes
   U32 column;       // of its first character, from 1
   U32 width;        // on the line, quotes included
   bool quoted;      // starts with a quote
};

/// The line that includes a file.
struct Inclusion
{
   std::string file;
   U32 number;
   std::shared_ptr<const Inclusion> outer; // of the file with that line; null if none includes it
};

struct Line
{
   std::string file;
   U32 number; // from 1
   std::string text;
   std::vector<Word> words;
   std::shared_ptr<const Inclusion> inclusion{}; // of the file; null if none includes it
   bool typed = false;                           // in the shell, which has commands of its own
};

class InputError : public std::runtime_error
{
 public:
   /// The text is "file:line:column: problem", then the line, a caret below the place, and the lines that include the
   /// file, the innermost first.
   InputError( const Line& line, U32 column, U32 width, const std::string& problem );

   const std::string& file() const { return file_; }
   U32 line() const { return line_; }
   const std::string& problem() const { return problem_; }
   U32 column() const { return column_; }
   U32 width() const { return width_; }

 private:
   std::string file_;
   U32 line_;
   std::string problem_;
   U32 column_;
   U32 width_;
};

/// InputError if it is too long or not text, or a quote is not closed.
Line splitLine( std::string file, U32 number, std::string text,
   std::shared_ptr<const Inclusion> inclusion = {} );

/// "file:line", then ", included at file:line" for each line that includes the file.
std::string placeText( const Line& line );

/// The command without its comment. The line has words.
std::string commandText( const Line& line );

/// "; did you mean 'x'?", or `otherwise` if no name is similar. A name is similar if it differs only in case, starts
/// with the word, or is a few letters away.
std::string didYouMean( std::string_view wrong, std::span<const std::string_view> names,
   std::string_view otherwise = {} );

/// "a, b, c"
std::string joined( std::span<const std::string_view> names );

/// Words that can come next, and what they are, as far as the parser says: keywords, and kinds of words in capitals as
/// in the syntax of commands.
using Offers = std::map<std::string, std::string, std::less<>>;

class Words
{
 public:
   /// Offered for a word of no special kind.
   static constexpr std::string_view anyWord = "WORD";

   explicit Words( const Line& line ) : line_( line ) {}

   const Line& line() const { return line_; }

   /// Whether all words were taken; always false with offersTo().
   bool done() const { return !offers_ && atEnd(); }
   /// The next word, or null.
   const Word* peek( std::size_t ahead = 0 ) const;

   /// The word taken last, or null.
   const Word* last() const { return next_ == 0 ? nullptr : &line_.words[ next_ - 1 ]; }

   /// Takes the next word. At the end of the line the error names `what` as missing, and `kind` is offered.
   const Word& take( std::string_view what, std::string_view kind = {} );
   /// From now on the words that could follow the last word are passed to `offers`. The line then counts as unfinished.
   void offersTo( Offers& offers ) { offers_ = &offers; }
   /// Offers a word that could be at the cursor.
   void offer( std::string_view word, std::string_view what = {} );
   void offerAll( std::span<const std::string> words );

   /// Takes the next word if it is `keyword`.
   bool accept( std::string_view keyword );
   /// Takes the next word if it is one of `keywords`, and returns it; returns an empty text if it is another.
   std::string_view acceptOneOf( std::span<const std::string_view> keywords );
   using Taken = std::set<std::string, std::less<>>;
   /// Takes the next word if it is `keyword`, which may be given once; `taken` records it.
   bool acceptOnce( std::string_view keyword, Taken& taken );
   /// Takes a word that must be `keyword`.
   void expect( std::string_view keyword );
   /// Takes a word that must be one of `choices`.
   std::string_view choose( std::string_view what, std::span<const std::string_view> choices );
   /// The same for words that may be given once each.
   std::string_view chooseOnce(
      std::string_view what, std::span<const std::string_view> choices, Taken& taken );
   /// InputError if the word taken last contradicts one that was taken before.
   void excludes( const Taken& taken, std::initializer_list<std::string_view> others ) const;

   /// Takes a number in this range. The error says what it is: "'ten' is not a VLAN id from 1 to 4094".
   U64 number( std::string_view what, U64 least, U64 most, std::string_view kind = {} );
   /// Takes a text that records or frames are searched for. An empty one, which fits all of them, is refused.
   const std::string& text( std::string_view what );
   /// Takes a name that the user gives to something. InputError if it is empty, or a word that follows the name.
   const std::string& name( std::string_view what, std::span<const std::string_view> followers );

   /// Takes a word that must be the text of a T.
   template<class T>
   T value( std::string_view what, std::string_view kind = {} )
   {
      if( offers_ )
         offerAll( Vormel::choicesOf<T>() );
      const Word& word = take( what, kind );
      const auto parsed = Vormel::ValueTraits<T>::from( Vormel::Value( word.text ) );
      if( !parsed )
         fail( "'" + word.text + "' is not " + Vormel::ValueTraits<T>::expected() );
      return *parsed;
   }

   /// "; did you mean 'x'?", or what is typed here instead of a word from another switch, for a word in the place of one
   /// of `names`. Empty if there is no such help.
   std::string remedy( const Word& word, std::span<const std::string_view> names ) const;
   /// The command and the words behind its name, or a part of them, for errors about words that are missing or too many.
   /// Returns the previous one.
   std::string syntaxIs( std::string syntax )
   {
      return std::exchange( syntax_, std::move( syntax ) );
   }
   /// InputError unless all words have been taken.
   void end( bool showsRows = false ) const;
   /// Passes over what is left.
   void skipRest() { next_ = line_.words.size(); }

   /// InputError about the word taken last.
   [[noreturn]] void fail( const std::string& problem ) const;
   /// The same about any word of the line. At a filter, which the line of another command than `show` has, the problem is
   /// always the filter.
   [[noreturn]] void failAt( const Word& word, const std::string& problem ) const;
   /// An error in `work` is reported at the word taken last.
   template<class Work>
   decltype( auto ) blaming( Work work ) const
   {
      try {
         return work();
      } catch( const Vormel::Error& error ) {
         fail( error.what() );
      }
   }
   /// The same, at this word.
   template<class Work>
   decltype( auto ) blaming( const Word& word, Work work ) const
   {
      try {
         return work();
      } catch( const Vormel::Error& error ) {
         failAt( word, error.what() );
      }
   }
   /// InputError about a word that is missing at the end of the line.
   [[noreturn]] void failAtEnd( const std::string& problem ) const;

 private:
   bool atEnd() const { return next_ == line_.words.size(); }
   /// "; the syntax is '...'"
   std::string syntaxText() const;
   const Word& next( std::string_view what );
   /// Takes the next word, whatever it is. Requires: there is one.
   const Word& advance();

   const Line& line_;
   std::size_t next_ = 0;
   std::string syntax_;
   bool textTaken_ = false;         // by the word taken last
   std::vector<std::string> tried_; // keywords that the next word is not
   Offers* offers_ = nullptr;
};

} // namespace Strata::Tool
