#include "tool/shell/LineReader.h"

#include "platform/runtime/Types.h"
#include "tool/Interrupt.h"
#include "tool/words/Words.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <histedit.h>
#include <iomanip>
#include <iostream>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace Strata::Tool {

LineReader::~LineReader() = default;

std::optional<std::string> StreamReader::next()
{
   buffer_.resize( maxLineLength + 2 );
   in_.getline( buffer_.data(), static_cast<std::streamsize>( buffer_.size() ) );
   const auto got = static_cast<std::size_t>( in_.gcount() ); // with the newline, if there is one
   if( got == 0 )
      return std::nullopt;
   return buffer_.substr( 0, in_.good() ? got - 1 : got );
}

static std::string historyPath()
{
   namespace fs = std::filesystem;
   const char* const state = std::getenv( "XDG_STATE_HOME" );
   const char* const home = std::getenv( "HOME" );
   if( ( !state || !*state ) && ( !home || !*home ) )
      return {};
   const fs::path dir =
      ( state && *state ? fs::path( state ) : fs::path( home ) / ".local" / "state" ) / "strata-l3";
   std::error_code problem;
   fs::create_directories( dir, problem );
   return problem ? std::string() : ( dir / "history" ).string();
}

/// The lines of earlier sessions, in a file to which each new line is appended at once.
class HistoryFile
{
 public:
   HistoryFile() : lines_( ::history_init() ), path_( historyPath() )
   {
      ::history( lines_, &event_, H_SETSIZE, most );
      ::history( lines_, &event_, H_SETUNIQUE, 1 );
      if( path_.empty() )
         return;
      // The file grows by appending, so it is cut at times.
      if( ::history( lines_, &event_, H_LOAD, path_.c_str() ) > 2 * most )
         ::history( lines_, &event_, H_SAVE, path_.c_str() );
   }
   HistoryFile( const HistoryFile& ) = delete;
   HistoryFile& operator=( const HistoryFile& ) = delete;
   ~HistoryFile() { ::history_end( lines_ ); }

   History* lines() const { return lines_; }

   void append( const std::string& line )
   {
      ::history( lines_, &event_, H_ENTER, line.c_str() );
      const int file =
         path_.empty() ? -1 : ::open( path_.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600 );
      if( file < 0 )
         return;
      const std::string text = ( ::lseek( file, 0, SEEK_END ) == 0 ? mark : "" ) + encoded( line );
      [[maybe_unused]] const ssize_t written = ::write( file, text.data(), text.size() );
      ::close( file );
   }

 private:
   static constexpr int most = 1000;
   static constexpr const char* mark =
      "_HiStOrY_V2_\n"; // the first line of the library's history files

   /// As the library writes a line: all but plain characters as octal numbers.
   static std::string encoded( const std::string& line )
   {
      std::string text;
      for( const char c : line ) {
         const auto digit = [ bits = static_cast<U8>( c ) ]( int shift ) {
            return static_cast<char>( '0' + ( bits >> shift & 7 ) );
         };
         text += c > ' ' && c < 0x7F && c != '\\'
                    ? std::string{ c }
                    : std::string{ '\\', digit( 6 ), digit( 3 ), digit( 0 ) };
      }
      return text + '\n';
   }

   History* lines_;
   std::string path_; // empty if there is no directory for it
   HistEvent event_{};
};

namespace {

/// Whether characters wait to be read: the present one was pasted, not typed.
bool isPasted()
{
   int waiting = 0;
   return ::ioctl( STDIN_FILENO, FIONREAD, &waiting ) == 0 && waiting > 0;
}

std::string commonStart( const std::vector<std::string>& words )
{
   std::string start = words.front();
   for( const std::string& word : words )
      start.erase( std::ranges::mismatch( start, word ).in1, start.end() );
   return start;
}

/// In columns, below the line.
void list( const std::vector<std::string>& words, std::size_t width )
{
   std::size_t longest = 0;
   for( const std::string& word : words )
      longest = std::max( longest, word.size() );
   const std::size_t columns = std::max<std::size_t>( width / ( longest + 2 ), 1 );
   const std::size_t rows = ( words.size() + columns - 1 ) / columns;
   for( std::size_t row = 0; row < rows; ++row ) {
      for( std::size_t at = row; at < words.size(); at += rows )
         std::cout << std::left << std::setw( static_cast<int>( longest + 2 ) ) << words[ at ];
      std::cout << '\n';
   }
   std::cout.flush();
}

} // namespace

/// The line editor. Its callbacks find it as the editor's client data.
class TerminalReader::Editor
{
 public:
   Editor( std::string prompt, LineGuide guide )
      : prompt_( std::move( prompt ) ),
        guide_( std::move( guide ) )
   {
      std::setlocale( LC_CTYPE, "" ); // the input may be UTF-8
      edit_ = ::el_init( "strata-l3", stdin, stdout, stderr );
      ::el_set( edit_, EL_CLIENTDATA, this );
      ::el_set( edit_, EL_PROMPT, promptOf );
      ::el_set( edit_, EL_EDITOR, "emacs" );
      ::el_set( edit_, EL_SIGNAL, 1 ); // stop and continue, and changes of the window's size
      ::el_set( edit_, EL_HIST, ::history, history_.lines() );
      ::el_set( edit_, EL_ADDFN, "strata-complete", "complete the word", completeWord );
      ::el_set( edit_, EL_ADDFN, "strata-explain", "show what can come next", explainNext );
      ::el_set( edit_, EL_ADDFN, "strata-discard", "discard the line", discardLine );
      ::el_set( edit_, EL_ADDFN, "strata-suspend", "stop the session", suspend );
      // Ctrl-C is a key while a line is edited: a signal between two reads would go unseen.
      ::el_set( edit_, EL_SETTY, "-d", "-isig", nullptr );
      for( const auto& [ key, function ] : keys )
         ::el_set( edit_, EL_BIND, key, function, nullptr );
      ::el_source( edit_, nullptr ); // what the user's .editrc binds
   }
   Editor( const Editor& ) = delete;
   Editor& operator=( const Editor& ) = delete;
   ~Editor() { ::el_end( edit_ ); }

   std::optional<std::string> next()
   {
      for( ;; ) {
         interruptDel();
         discarded_ = false;
         int length = 0;
         const char* const text = ::el_gets( edit_, &length );
         if( text && length > 0 ) {
            std::string line( text, static_cast<std::size_t>( length ) );
            if( line.ends_with( '\n' ) )
               line.pop_back();
            if( line.find_first_not_of( " \t" ) != line.npos )
               history_.append( line );
            return line;
         }
         std::cout << ( discarded_ ? "^C\n" : "\n" ) << std::flush;
         if( !discarded_ )
            return std::nullopt;
      }
   }

 private:
   /// The library binds neither these keys of common terminals nor the search.
   static constexpr std::array<std::array<const char*, 2>, 12> keys{ {
      { "^I", "strata-complete" },
      { "?", "strata-explain" },
      { "^C", "strata-discard" },
      { "^Z", "strata-suspend" },
      { "^R", "em-inc-search-prev" },
      { "\\e[1~", "ed-move-to-beg" },
      { "\\e[4~", "ed-move-to-end" },
      { "\\e[H", "ed-move-to-beg" },
      { "\\e[F", "ed-move-to-end" },
      { "\\e[3~", "ed-delete-next-char" },
      { "\\e[1;5C", "em-next-word" },
      { "\\e[1;5D", "ed-prev-word" },
   } };

   static Editor& of( EditLine* edit )
   {
      void* self = nullptr;
      ::el_get( edit, EL_CLIENTDATA, &self );
      return *static_cast<Editor*>( self );
   }

   static char* promptOf( EditLine* edit ) { return of( edit ).prompt_.data(); }

   /// The line up to the cursor.
   std::string_view typed() const
   {
      const LineInfo* const line = ::el_line( edit_ );
      return { line->buffer, static_cast<std::size_t>( line->cursor - line->buffer ) };
   }

   static unsigned char completeWord( EditLine* edit, int ) { return of( edit ).complete(); }

   static unsigned char explainNext( EditLine* edit, int /*key*/ ) { return of( edit ).explain(); }

   static unsigned char discardLine( EditLine* edit, int /*key*/ )
   {
      of( edit ).discarded_ = true;
      return CC_EOF; // ends the line without one
   }

   /// Stops all processes of the command, as the terminal would. The editor's own handler of the signal would set the
   /// terminal after the first of them has stopped: too late, because by then the terminal may be the caller's.
   static unsigned char suspend( EditLine* edit, int /*key*/ )
   {
      ::el_set( edit, EL_PREP_TERM, 0 );
      const SignalAction stop( SIGTSTP, SIG_DFL );
      const SignalAction proceed( SIGCONT, SIG_DFL );
      ::kill( 0, SIGTSTP );
      return CC_REDISPLAY; // the editor sets the terminal before it reads
   }

   unsigned char complete()
   {
      if( isPasted() )
         return insert( " " );
      const auto [ word, candidates ] = guide_.complete( typed() );
      if( candidates.empty() )
         return CC_ERROR;
      std::string whole = commonStart( candidates );
      // Without a blank behind a part that goes on: an object's dot, a handle's sign, a folder.
      const std::string& first = candidates.front();
      if( candidates.size() == 1 && !first.ends_with( '.' ) && !first.ends_with( '=' ) &&
          !first.ends_with( '/' ) )
         whole += ' ';
      if( whole.size() > word.size() ) {
         ::el_deletestr( edit_, static_cast<int>( word.size() ) ); // its letters may differ in case
         return insert( whole.c_str() );
      }
      int width = 80;
      ::el_get( edit_, EL_GETTC, "co", &width, nullptr );
      std::cout << '\n';
      list( candidates, static_cast<std::size_t>( std::max( width, 1 ) ) );
      return CC_REDISPLAY;
   }

   unsigned char explain()
   {
      const std::string_view line = typed();
      const bool inText = std::ranges::count( line, '"' ) % 2 == 1 || line.find( '#' ) != line.npos;
      if( inText || isPasted() )
         return insert( "?" );
      std::cout << "?\n" << std::flush;
      ::el_set( edit_, EL_PREP_TERM, 0 ); // a pager needs the terminal as it was
      guide_.explain( line );
      return CC_REDISPLAY; // the editor sets the terminal before it reads
   }

   unsigned char insert( const char* text )
   {
      return ::el_insertstr( edit_, text ) == 0 ? CC_REFRESH : CC_ERROR;
   }

   std::string prompt_;
   LineGuide guide_;
   HistoryFile history_;
   bool discarded_ = false; // the present line, by Ctrl-C
   EditLine* edit_ = nullptr;
};

TerminalReader::TerminalReader( std::string prompt, LineGuide guide )
   : editor_( std::make_unique<Editor>( std::move( prompt ), std::move( guide ) ) )
{}

TerminalReader::~TerminalReader() = default;

std::optional<std::string> TerminalReader::next()
{
   return editor_->next();
}

} // namespace Strata::Tool
