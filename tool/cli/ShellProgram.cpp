#include "tool/cli/ShellProgram.h"

#include "platform/runtime/Activity.h"
#include "tool/DeathWatch.h"
#include "tool/Interrupt.h"
#include "tool/ScenarioRun.h"
#include "tool/shell/Completion.h"
#include "tool/shell/Guide.h"
#include "tool/shell/LineReader.h"
#include "tool/shell/Worker.h"
#include "tool/view/Screen.h"
#include "tool/view/Table.h"

#include <memory>
#include <optional>
#include <ostream>

namespace Strata::Tool {

namespace {

/// Shows what can come next.
void explain( Session& session, std::string_view line )
{
   const NextWords next = nextWords( session, line );
   Table table( { { "Word" }, { "Meaning" } } );
   for( const auto& [ word, meaning ] : next.words )
      table.row( { word, meaning } );
   session.console().hint( next.syntax, table );
}

std::unique_ptr<LineReader> readerFor( Terminal& terminal, Session& session )
{
   if( !terminal.typed )
      return std::make_unique<StreamReader>( terminal.in );
   return std::make_unique<TerminalReader>( "strata-l3> ",
      LineGuide{
         [ &session ]( std::string_view line ) {
            return Completion{ std::string( lastWord( line ) ), completions( session, line ) };
         },
         [ &session ]( std::string_view line ) { explain( session, line ); } } );
}

/// Runs what Ctrl-C stops.
template<class Work>
void stoppable( Console& console, Work work )
{
   try {
      work();
      if( interrupted() )
         console.error( "interrupted: the command is complete, and its output is cut" );
   } catch( const Interrupted& stop ) {
      console.error( std::string( "interrupted " ) + stop.what() );
   }
}

} // namespace

void ShellProgram::declare( CLI::App& subcommand )
{
   subcommand.add_flag( "--no-pager", unpaged_, "Do not show long output a screenful at a time" );
   options_.declare( subcommand );
}

ExitStatus ShellProgram::run(
   Terminal& terminal, const std::string& file, const std::function<void( Session& )>& prepare )
{
   const TraceLevels levels;
   file_ = file;
   prepare_ = prepare;
   try {
      options_.setTraceLevels();
      ConsoleConfig config = options_.config( terminal, file );
      config.echo = !terminal.typed;
      config.paged = terminal.typed && !unpaged_ && !isDumbTerminal();
      Console console( terminal.out, terminal.err, config );
      return terminal.typed ? runSessions( console, terminal )
                            : runSession( console, terminal, true );
   } catch( const std::exception& error ) {
      terminal.err << error.what() << std::endl;
      return ExitStatus::error;
   }
}

/// At a terminal a session runs in a copy of this process: when its agent dies, the next session begins.
ExitStatus ShellProgram::runSessions( Console& console, Terminal& terminal )
{
   terminal.out
      << "'help' lists the commands, '?' shows what can come next, the tab key completes, "
         "'quit' ends.\n";
   bool died = false;
   for( ;; ) {
      const WorkerEnd end =
         runWorker( [ & ] { return static_cast<int>( runSession( console, terminal, !died ) ); } );
      if( end.status && *end.status != static_cast<int>( ExitStatus::died ) )
         return died ? ExitStatus::died : static_cast<ExitStatus>( *end.status );
      died = true;
      if( !end.status )
         console.error( "the session was killed by signal " + std::to_string( end.signal ) );
      console.error( "This is a fresh session: it has no switch yet; the history is kept." );
   }
}

ExitStatus ShellProgram::runSession( Console& console, Terminal& terminal, bool isFirst )
{
   const std::optional<InterruptWatch> interrupts =
      terminal.typed ? std::optional<InterruptWatch>( std::in_place ) : std::nullopt;
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Session session( console, { .keepsRecords = options_.keepsRecords() } );
   const DeathWatch watch( session );
   if( isFirst && prepare_ )
      prepare_( session );
   if( isFirst && !file_.empty() )
      stoppable( console, [ & ] { runLines( file_, session ); } );
   converse( session, *readerFor( terminal, session ) );
   session.tellIdleAcceptances();
   session.end();
   console.checkWritten();
   return refused_                  ? ExitStatus::error
          : session.failures() == 0 ? ExitStatus::held
                                    : ExitStatus::failed;
}

// A line that cannot be run is reported; then the next one is read.
void ShellProgram::converse( Session& session, LineReader& reader )
{
   for( U32 number = 1;; ++number ) {
      const auto text = session.over() ? std::nullopt : reader.next();
      if( !text )
         return;
      try {
         const Line line = splitLine( "shell", number, *text );
         stoppable( session.console(), [ & ] { session.run( expanded( session, line ) ); } );
      } catch( const InputError& error ) {
         refused_ = true;
         session.console().refused( error );
         session.console().error( error.what() );
      }
   }
}

} // namespace Strata::Tool
