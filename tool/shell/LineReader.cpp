#include "tool/shell/LineReader.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <filesystem>
#include <memory>
#include <system_error>

namespace Strata::Tool {

LineReader::~LineReader() = default;

std::optional<std::string> StreamReader::next()
{
   std::string line;
   if( !std::getline( in_, line ) )
      return std::nullopt;
   return line;
}

namespace {

constexpr int historyLines = 1000;

// The editor's callbacks have no context argument, hence the globals.
Completer theCompleter;
std::vector<std::string> candidates;

char* nextCandidate( const char* /*word*/, int state )
{
   const auto index = static_cast<std::size_t>( state );
   return index < candidates.size() ? ::strdup( candidates[ index ].c_str() ) : nullptr;
}

char** complete( const char* word, int /*start*/, int end )
{
   candidates = theCompleter( std::string_view( rl_line_buffer, static_cast<std::size_t>( end ) ) );
   rl_attempted_completion_over = 1; // no file names
   // Without a blank after a completed path or level, which continues behind its dot or sign.
   const bool goesOn = candidates.size() == 1 &&
                       ( candidates[ 0 ].ends_with( '.' ) || candidates[ 0 ].ends_with( '=' ) );
   rl_completion_append_character = goesOn ? 0 : int{ ' ' };
   return candidates.empty() ? nullptr : rl_completion_matches( word, nextCandidate );
}

/// While a line is typed, Ctrl-C discards the line and does not end the process.
class InterruptWatch
{
 public:
   InterruptWatch()
   {
      interrupted_ = 0;
      struct sigaction action = {}; // without SA_RESTART, so that the signal ends the reading
      action.sa_handler = []( int ) { interrupted_ = 1; };
      ::sigaction( SIGINT, &action, &before_ );
   }
   InterruptWatch( const InterruptWatch& ) = delete;
   InterruptWatch& operator=( const InterruptWatch& ) = delete;
   ~InterruptWatch() { ::sigaction( SIGINT, &before_, nullptr ); }

   static bool seen() { return interrupted_ != 0; }

 private:
   static inline volatile std::sig_atomic_t interrupted_ = 0;
   struct sigaction before_;
};

std::string historyPath()
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

} // namespace

TerminalReader::TerminalReader( std::string prompt, Completer completer )
   : prompt_( std::move( prompt ) ),
     historyFile_( historyPath() )
{
   theCompleter = std::move( completer );
   std::setlocale( LC_CTYPE, "" ); // the input may be UTF-8
   rl_readline_name = "strata-l3";
   rl_attempted_completion_function = complete;
   static char wordBreaks[] = " \t";
   rl_completer_word_break_characters = wordBreaks;
   using_history();
   stifle_history( historyLines );
   if( !historyFile_.empty() )
      read_history( historyFile_.c_str() );
}

TerminalReader::~TerminalReader()
{
   if( !historyFile_.empty() )
      write_history( historyFile_.c_str() );
   theCompleter = {};
}

std::optional<std::string> TerminalReader::next()
{
   for( ;; ) {
      const InterruptWatch watch;
      const std::unique_ptr<char, void ( * )( void* )> line(
         readline( prompt_.c_str() ), std::free );
      if( line ) {
         if( *line )
            add_history( line.get() );
         return line.get();
      }
      std::putchar( '\n' );
      if( !InterruptWatch::seen() )
         return std::nullopt;
   }
}

} // namespace Strata::Tool
