// Agents that die at any call and start again, over chips that were reset or as they were: the chips end as if the agent had
// never died.
//
// STRATA_DEATHS: at every how many calls it dies. STRATA_WATCHED: at every how many marks packets are watched.
#include "platform/runtime/Activity.h"
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/tool/CommandLine.h"
#include "tool/ChildProcess.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/Transients.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <map>
#include <regex>
#include <unistd.h>

namespace Strata::Tool {
namespace {

/// Each value of the chips by its name.
using Values = std::map<std::string, std::string>;

Values valuesOf( const Session& session )
{
   Values values;
   const Desk::SwitchState state( session.agent().hardware() );
   for( const auto& [ key, part ] : state.parts() )
      for( const Desk::Field& field : part.fields )
         // A control that was not written is 0.
         if( !part.title.starts_with( "control " ) || field.value != "0" )
            values[ "unit " + std::to_string( key.unit ) + " " + part.title + " " + field.name ] =
               field.value;
   return values;
}

std::vector<std::string> differencesOf( const Values& expected, const Values& found )
{
   std::vector<std::string> texts;
   for( const auto& [ name, value ] : expected )
      if( const auto at = found.find( name ); at == found.end() )
         texts.push_back( name + ": " + value + " is missing" );
      else if( at->second != value )
         texts.push_back( name + ": " + value + " is " + at->second );
   for( const auto& [ name, value ] : found )
      if( !expected.contains( name ) )
         texts.push_back( name + ": " + value + " is left" );
   return texts;
}

/// A row of restarts.txt: a difference that a new agent cannot avoid, and where.
struct Accepted
{
   std::regex where; // "SCENARIO COMMAND"
   std::regex what;
};

std::vector<Accepted> acceptedDifferences()
{
   std::vector<Accepted> rows;
   std::ifstream file( "tests/tool/restarts.txt" );
   for( std::string line; std::getline( file, line ); ) {
      static const std::regex columns( "(.+?) => (.+?) => .+" );
      if( std::smatch row; std::regex_match( line, row, columns ) )
         rows.push_back( { std::regex( row.str( 1 ) ), std::regex( row.str( 2 ) ) } );
   }
   return rows;
}

bool isAccepted( const std::string& where, const std::string& what )
{
   static const std::vector<Accepted> rows = acceptedDifferences();
   return std::ranges::any_of( rows, [ & ]( const Accepted& row ) {
      return std::regex_match( where, row.where ) && std::regex_search( what, row.what );
   } );
}

/// Whether the line does what no agent does: it writes to the chips, makes their calls fail, or makes single entries. A new
/// agent does not bring that back.
bool isForeign( const Command& command, const std::string& text )
{
   static const std::regex ofTheSlice(
      "call (handleTcamEntry(?!L2ToCpu|L2FennicToCpu)|installTcamEntry|initializeNextHop|reprogram"
      "|updateVlanFlood|programL2|programSkip|create|delete).*"
      "|(set|del) (helper\\.)?(routedPorts|reprogram|useLb|tcamEntry|routing[46]|perVlan|mplsR).*" );
   return command.name == "poke" || command.name == "fault" || std::regex_match( text, ofTheSlice );
}

class RestartTest : public testing::TestWithParam<std::string>
{
 protected:
   /// Runs the line in a copy of this process, and what is to be done with it behind that.
   ChildEnd inCopy( const std::function<void( ChildChannel& )>& work )
   {
      return runInChild( [ & ]( ChildChannel& channel ) {
         struct None : ChildChannel
         {
            void send( char, std::string_view ) override {}
         } none;
         session_.childOf( none );
         ::alarm( 5 );
         work( channel );
      } );
   }

   void again( const Line& line )
   {
      try {
         session_.run( line );
      } catch( const InputError& ) { // it is done already
      }
   }

   /// What the line leaves, and how many calls it makes.
   std::pair<Values, U64> undisturbed( const Line& line )
   {
      std::pair<Values, U64> end;
      const ChildEnd child = inCopy( [ & ]( ChildChannel& channel ) {
         U64 calls = 0;
         session_.listenerIs(
            [ & ]( const Session&, const Sim::Record& record ) { calls += isCall( record ); } );
         session_.run( line );
         for( const auto& [ name, value ] : valuesOf( session_ ) )
            channel.send( 'V', name + "\t" + value );
         channel.send( 'N', std::to_string( calls ) );
      } );
      for( const auto& [ form, text ] : child.lines )
         if( const std::size_t tab = text.find( '\t' ); form == 'V' )
            end.first[ text.substr( 0, tab ) ] = text.substr( tab + 1 );
         else
            end.second = std::stoull( text );
      return end;
   }

   /// The agent dies behind the call, and the new one gets the rest of the line's inputs. Returns what differs then.
   std::vector<std::string> deathAt(
      const Line& line, U64 call, Restart kind, const Values& expected )
   {
      const ChildEnd child = inCopy( [ & ]( ChildChannel& channel ) {
         U64 calls = 0;
         session_.listenerIs( [ & ]( const Session&, const Sim::Record& record ) {
            if( !isCall( record ) || ++calls != call ) // also those of the new agent
               return;
            // Its stack is left behind, and with it what it would still have done.
            std::optional<Vormel::LockAnchor> lock; // released in calls of the SDK
            if( !Vormel::activityLock().heldByThisThread() )
               lock.emplace( Vormel::activityLock() );
            session_.agent().restart( kind );
            again( line );
            for( const std::string& text : differencesOf( expected, valuesOf( session_ ) ) )
               channel.send( 'D', text );
            channel.send( 'E', "end" );
            ::_exit( 0 );
         } );
         session_.run( line );
      } );
      if( child.lines.empty() || child.lines.back().first != 'E' )
         return { child.how + ": " + child.errorText };
      std::vector<std::string> texts;
      for( const auto& [ form, text ] : child.lines )
         if( form == 'D' )
            texts.push_back( text );
      return texts;
   }

   std::string scenario() const { return std::filesystem::path( GetParam() ).stem().string(); }

   /// Runs the scenario. `visit` comes before each line on a switch that is as an agent has made it.
   void walk( const std::function<void( const Line&, const Command& )>& visit )
   {
      ScenarioFile file( GetParam() );
      bool foreign = false;
      while( const std::optional<Line> line = file.next() ) {
         if( line->words.empty() )
            continue;
         Words words( *line );
         const Command& command = takeCommand( words );
         foreign =
            ( foreign && command.name != "switch" ) || isForeign( command, commandText( *line ) );
         if( session_.hasAgent() && !foreign )
            visit( *line, command );
         session_.run( *line );
      }
   }

   Vormel::LockAnchor lock_{ Vormel::activityLock() };
   std::ofstream nothing_{ "/dev/null" };
   Console console_{ nothing_, nothing_, {} };
   Session session_{ console_ };
};

TEST_P( RestartTest, TheChipsEndAsIfTheAgentHadNeverDied )
{
   const U64 step = fromEnvironment( "STRATA_DEATHS", 97 );
   U64 deaths = 0;
   U64 at = 0;
   std::map<std::string, U64> wrong;
   walk( [ & ]( const Line& line, const Command& command ) {
      if( !command.isEvent() )
         return;
      const auto [ expected, calls ] = undisturbed( line );
      for( U64 call = 1; call <= calls; ++call )
         for( const Restart kind : { Restart::cold, Restart::warm } ) {
            if( ++at % step != 0 )
               continue;
            ++deaths;
            const std::string where = scenario() + " " + commandText( line );
            for( const std::string& what : deathAt( line, call, kind, expected ) )
               if( !isAccepted( where, what ) )
                  ++wrong[ where + ( kind == Restart::cold ? " cold: " : " warm: " ) + what ];
         }
   } );
   for( const auto& [ text, times ] : wrong )
      ADD_FAILURE() << times << " times " << text;
   std::cout << "deaths tried: " << deaths << "\n";
}

/// Where a scenario sets a mark, the agent starts again over the chips as they are. "PACKET: what becomes of it from CALL"
/// for each packet that fares otherwise meanwhile.
TEST_P( RestartTest, PacketsAreForwardedMeanwhileAsBefore )
{
   NEEDS_SOLVER();
   const U64 every = fromEnvironment( "STRATA_WATCHED", 1 );
   U64 marks = 0;
   walk( [ & ]( const Line& line, const Command& command ) {
      if( command.name != "mark" || ++marks % every != 0 )
         return;
      const Line restart = splitLine( "test", 1, "restart warm" );
      Words words( restart );
      const Act act = takeCommand( words ).act( session_, words );
      for( const Transient& transient : runWatched( session_, act, words, {} ) ) {
         const std::string what =
            transient.packet + ": " + transient.meanwhile + " from " + transient.call;
         EXPECT_TRUE( isAccepted( scenario() + " restart warm", what ) )
            << placeText( line ) << " " << what;
      }
   } );
}

TEST( Restart, IsRefusedInARecordingAndListsWhatItRemoves )
{
   const std::string file = scenarioFile( "switch hsdk ports 4\nbring-up\nrestart cold\n" );
   const Outcome refused =
      runLine( { "record", file.c_str(), "-o", ( file + ".recording" ).c_str() } );
   EXPECT_EQ( refused.status, 2 );
   EXPECT_THAT( refused.err, testing::HasSubstr( "a recording is one of a single agent" ) );
   EXPECT_THAT(
      runText(
         "switch hsdk ports 4\nset pbr.pbrEnabled true\nbring-up\n"
         "call handleTcamEntryVlanFlood false\ncall handleTcamEntryL3Recirc true\n"
         "call handleTcamEntryL3Recirc false\nset helper.virtualRouterMacAddr 02:00:00:00:00:09\n"
         "call handleTcamEntryL2FennicToCpu\nset helper.virtualRouterMacAddr 00:00:00:00:00:00\n"
         "restart warm\n" )
         .out,
      testing::HasSubstr( "removed" ) );
}

TEST( Restart, AnInputIsTheCauseOnlyOfWhatFollowsFromIt )
{
   const std::string out = runText( "switch hsdk ports 4\ninterface Ethernet1-4 unit 0 port 1\n"
                                    "bring-up\nrouter 02:00:a1:00:00:01\nvlan 1 svi\n"
                                    "set miscConfig.unknownMacDropTrafficClass[3] true\n"
                                    "route 10.1.0.1/32 via cpu\nrestart warm\n"
                                    "explain in Ethernet1 dmac router ipv4 dst 10.1.0.1\n"
                                    "explain in Ethernet1 vlan 1 priority 3 dmac "
                                    "02:00:00:00:00:77 ipv4\n",
      { "--quiet" } )
                              .out;
   EXPECT_THAT( out, testing::HasSubstr( "written by 'restart warm'\n" ) );
   EXPECT_THAT( out, testing::Not( testing::HasSubstr( "inserted Ethernet4" ) ) );
   EXPECT_THAT(
      out, testing::ContainsRegex( "installed by 'restart warm' \\(record [0-9]+\\)\n" ) );
   EXPECT_THAT(
      out, testing::ContainsRegex( "installed by 'restart warm' \\(record [0-9]+\\), after\n"
                                   " +miscConfig.unknownMacDropTrafficClass\\[3\\]" ) );
}

std::vector<std::string> files()
{
   std::vector<std::string> names;
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) )
      if( entry.path().extension() == ".scenario" )
         names.push_back( entry.path().string() );
   return names;
}

INSTANTIATE_TEST_SUITE_P(
   Scenarios, RestartTest, testing::ValuesIn( files() ), []( const auto& instance ) {
      std::string name = std::filesystem::path( instance.param ).stem();
      std::erase( name, '-' );
      return name;
   } );

} // namespace
} // namespace Strata::Tool
