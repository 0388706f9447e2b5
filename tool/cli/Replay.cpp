// strata-l3 replay: gives a recording to the slice of this version, and shows where it does something else.
#include "desk/Replay.h"
#include "desk/ChromeTrace.h"
#include "platform/runtime/Activity.h"
#include "tool/ChildProcess.h"
#include "tool/cli/Subcommand.h"

#include <ostream>
#include <string>
#include <unistd.h>

namespace Strata::Tool {

namespace {

using Desk::Json;
using Desk::RecordedLine;

Json recordJson( const RecordedLine* record )
{
   if( !record )
      return nullptr;
   Json json = record->json();
   json[ "line" ] = record->line;
   return json;
}

Json divergenceJson( const Desk::Divergence& divergence )
{
   Json before = Json::array();
   for( const RecordedLine* const record : divergence.before )
      before.push_back( recordJson( record ) );
   return { { "kind", "divergence" }, { "recorded", recordJson( divergence.recorded ) },
      { "today", divergence.today ? *divergence.today : Json() },
      { "differing", divergence.differing() }, { "missing", divergence.missing },
      { "event", recordJson( divergence.event ) }, { "before", before } };
}

Json endJson( const char* kind, const Desk::ReplayEnd& end )
{
   return { { "kind", kind }, { "compared", end.compared }, { "why", end.why },
      { "line", end.at ? end.at->line : 0 }, { "refused", end.refused } };
}

/// The text of a record, with the line that it has in the recording.
std::string lineText( const Json& record )
{
   return Desk::recordText( record ) +
          ( record.contains( "line" ) ? "  (line " + record.at( "line" ).dump() + ")" : "" );
}

class ReplaySubcommand : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const replay = app.add_subcommand( "replay",
         "Give a recording to the slice of this version, and show where it does something else" );
      replay->add_option( "recording", file_, "The recording" )->required();
      replay->add_flag( "--all", all_, "Go on behind the first divergence" );
      replay->add_flag( "--json", json_, "The result as one JSON object a line" );
      replay
         ->add_option( "--chrome-trace", trace_,
            "Also write what is recorded, with its times, as trace events in JSON" )
         ->type_name( "FILE" );
      return replay;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      try {
         const Desk::RecordingFile recording( file_ );
         for( const std::string& note : recording.notes() )
            terminal.err << "strata-l3 replay: " << file_ << ": " << note << std::endl;
         if( !trace_.empty() )
            Desk::writeChromeTrace( recording, Desk::roomSizes( recording ), trace_ );
         // The slice may end its process, as the recorded one may have; so it runs in a copy of this one.
         const ChildEnd child =
            runInChild( [ & ]( ChildChannel& channel ) { replayInto( channel, recording ); } );
         return show( terminal, child );
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 replay: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   void replayInto( ChildChannel& channel, const Desk::RecordingFile& recording ) const
   {
      const auto send = [ & ]( const Json& json ) { channel.send( 'J', json.dump() ); };
      Desk::ReplayListener listener;
      listener.diverged = [ & ]( const Desk::Divergence& divergence ) {
         send( divergenceJson( divergence ) );
         if( !all_ )
            ::_exit( 0 ); // the slice is in the middle of its work
      };
      listener.ended = [ & ]( const Desk::ReplayEnd& end ) {
         send( endJson( "end", end ) );
         ::_exit( 0 );
      };
      listener.died = [ & ]( std::string_view line, const Desk::ReplayEnd& end ) {
         Json json = endJson( "died", end );
         json[ "text" ] = line;
         send( json );
      };
      const Vormel::LockAnchor lock( Vormel::activityLock() );
      try {
         Desk::replay( recording, listener, all_ );
      } catch( const Desk::RecordingError& error ) {
         Desk::ReplayEnd end;
         end.why = error.what();
         end.refused = true;
         send( endJson( "end", end ) );
      }
   }

   ExitStatus show( Terminal& terminal, const ChildEnd& child ) const
   {
      std::size_t divergences = 0;
      Json end;
      for( const auto& [ form, text ] : child.lines ) {
         const Json json = Json::parse( text );
         if( json.at( "kind" ) == "divergence" ) {
            ++divergences;
            if( !json_ )
               showDivergence( terminal.out, json, divergences );
         } else
            end = json;
         if( json_ )
            terminal.out << text << '\n';
      }
      if( !json_ )
         showEnd( terminal, end, divergences, child );
      terminal.out.flush();
      if( end.is_null() && divergences == 0 ) {
         terminal.err << "strata-l3 replay: the slice " << child.how << '\n'
                      << child.errorText << std::flush;
         return ExitStatus::died;
      }
      const bool refused = !end.is_null() && end.at( "refused" ) == true;
      return refused ? ExitStatus::error : divergences > 0 ? ExitStatus::failed : ExitStatus::held;
   }

   static void showDivergence( std::ostream& out, const Json& json, std::size_t number )
   {
      out << ( number == 1 ? "The first divergence" : "Divergence " + std::to_string( number ) );
      if( const Json& event = json.at( "event" ); !event.is_null() )
         out << ", in " << lineText( event );
      out << ":\n";
      for( const Json& record : json.at( "before" ) )
         out << "   as recorded  " << lineText( record ) << '\n';
      const Json& recorded = json.at( "recorded" );
      const Json& today = json.at( "today" );
      out << "   recorded     "
          << ( recorded.is_null() ? "nothing further in this event" : lineText( recorded ) )
          << '\n';
      if( const auto missing = json.at( "missing" ).get<std::size_t>() )
         out << "                and " << missing << " more that "
             << ( missing == 1 ? "is" : "are" ) << " missing today\n";
      out << "   today        "
          << ( today.is_null() ? "nothing further in this event" : lineText( today ) ) << '\n';
      std::string names;
      for( const Json& name : json.at( "differing" ) )
         names += ( names.empty() ? "" : ", " ) + name.get<std::string>();
      if( !names.empty() )
         out << "   differing    " << names << '\n';
   }

   void showEnd(
      Terminal& terminal, const Json& end, std::size_t divergences, const ChildEnd& child ) const
   {
      if( end.is_null() )
         return;
      const auto why = end.at( "why" ).get<std::string>();
      if( end.at( "refused" ) == true ) {
         terminal.err << "strata-l3 replay: " << why << std::endl;
         return;
      }
      std::ostream& out = terminal.out;
      if( end.at( "kind" ) == "died" )
         out << "The slice ends the process: " << end.at( "text" ).get<std::string>() << '\n';
      out << file_ << ": " << end.at( "compared" ) << " records as recorded";
      if( divergences > 0 )
         out << ", " << divergences << ( divergences == 1 ? " divergence" : " divergences" );
      else
         out << ", no divergence";
      if( !why.empty() )
         out << "; " << why;
      else if( child.aborted )
         out << "; the recorded agent ended there, too";
      out << '\n';
   }

   std::string file_;
   bool all_ = false;
   std::string trace_;
   bool json_ = false;
};

} // namespace

std::unique_ptr<Subcommand> replaySubcommand()
{
   return std::make_unique<ReplaySubcommand>();
}

} // namespace Strata::Tool
