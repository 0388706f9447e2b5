// Recordings as trace events: slices nest, arrows have both ends, counters count.
#include "tests/tool/CommandLine.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace Strata::Tool {
namespace {

using nlohmann::json;

/// The events of a trace, each checked on its own and in its place.
class TraceReader
{
 public:
   explicit TraceReader( const std::string& file )
   {
      const json all = json::parse( contentsOf( file ) );
      for( const json& event : all.at( "traceEvents" ) )
         read( event );
      EXPECT_TRUE( open_.empty() ) << "a slice has no end";
      EXPECT_EQ( started_, ended_ ) << "every arrow has both ends";
   }

   std::map<std::string, int> calls;   // by name, those within an input
   std::map<std::string, json> counts; // the last of each counter
   std::size_t arrows() const { return started_.size(); }

 private:
   void read( const json& event )
   {
      const std::string phase = event.at( "ph" );
      const double time = event.at( "ts" );
      if( phase == "s" ) { // it lies in the past: at the start of the input
         EXPECT_TRUE( started_.emplace( event.at( "id" ), 1 ).second );
         EXPECT_EQ( starts_[ event.at( "id" ) ], time );
         return;
      }
      EXPECT_GE( time, last_ );
      last_ = time;
      if( phase == "B" ) {
         if( event.at( "cat" ) == "call" && !open_.empty() )
            ++calls[ event.at( "name" ).get<std::string>().substr(
               0, event.at( "name" ).get<std::string>().find( '(' ) ) ];
         starts_[ event.at( "args" ).at( "record" ) ] = time;
         open_.push_back( event.at( "cat" ) );
      } else if( phase == "E" ) {
         ASSERT_FALSE( open_.empty() ) << "an end without a slice";
         open_.pop_back();
      } else if( phase == "f" ) {
         EXPECT_EQ( event.at( "bp" ), "e" );
         EXPECT_EQ( open_.back(), "call" ) << "an arrow ends in a call";
         ended_.emplace( event.at( "id" ), 1 );
      } else if( phase == "C" )
         counts[ event.at( "name" ) ] = event.at( "args" );
      else
         EXPECT_EQ( phase, "i" );
   }

   double last_ = 0;
   std::vector<std::string> open_; // categories of the slices
   std::map<int, double> starts_;
   std::map<int, int> started_;
   std::map<int, int> ended_;
};

TEST( ChromeTraceTest, CallsNestInInputsAndArrowsHaveBothEnds )
{
   const std::string file = testing::TempDir() + "chrome-trace.json";
   const auto redundantWrites = [ & ]( const std::string& more ) {
      const Outcome outcome = runText( "switch hsdk ports 4 units 2\nbring-up\n"
                                       "call handleVlanRoutingState 1 ip4\n"
                                       "call handleVlanRoutingState 1 ip4\n" +
                                          more,
         { "--chrome-trace", file.c_str(), "--quiet" } );
      EXPECT_EQ( outcome.status, 0 ) << outcome.err;
      return TraceReader( file ).counts.at( "redundant writes" ).at( "writes" ).get<int>();
   };
   const int writes = redundantWrites( "" );
   EXPECT_EQ( redundantWrites( "call handleVlanRoutingState 1 ip4\n" ), writes + 2 )
      << "one on each unit";
   EXPECT_EQ( redundantWrites( "call handleVlanRoutingState 1 ip6\n" ), writes );
   const Outcome outcome = runText( "switch hsdk ports 4 units 2\nunit 1 room main 40\nbring-up\n"
                                    "interface Ethernet1-2 unit 0 port 1\n"
                                    "set Ethernet1.forwardingModel routed\n"
                                    "call handleRouting true true\n"
                                    "call handleTcamEntryL2McastCpu false\n",
      { "--chrome-trace", file.c_str(), "--quiet" } );
   ASSERT_EQ( outcome.status, 0 ) << outcome.err;
   TraceReader trace( file );
   EXPECT_GT( trace.arrows(), 5u );
   EXPECT_GT( trace.calls[ "bcm_switch_control_set" ], 5 );
   const json before = trace.counts.at( "claimed entries" );
   EXPECT_EQ( before.at( "main unit 0" ), before.at( "main unit 1" ) );
   const json room = trace.counts.at( "room left" );
   EXPECT_EQ( room.at( "main unit 0" ).get<int>() + before.at( "main unit 0" ).get<int>(), 64 );
   EXPECT_EQ( room.at( "main unit 1" ).get<int>(), 40 - before.at( "main unit 1" ).get<int>() );
   const std::string other = testing::TempDir() + "chrome-trace.txt";
   std::ofstream( other ) << "something else";
   EXPECT_EQ( runText( "switch hsdk\n", { "--chrome-trace", other.c_str() } ).status, 2 );
   EXPECT_EQ( contentsOf( other ), "something else" );
   const Outcome directory =
      runText( "switch hsdk\n", { "--chrome-trace", testing::TempDir().c_str() } );
   EXPECT_THAT(
      directory.err, testing::HasSubstr( "' is a directory; give the trace another name" ) );
   EXPECT_FALSE( std::filesystem::exists( testing::TempDir() + ".recording" ) );

   // What comes before a line that cannot be run.
   std::filesystem::remove( file );
   EXPECT_EQ(
      runText( "switch hsdk\nbring-up\nnosuch\n", { "--chrome-trace", file.c_str() } ).status, 2 );
   EXPECT_GT( TraceReader( file ).calls[ "bcm_switch_control_set" ], 5 );
   EXPECT_FALSE( std::filesystem::exists( file + ".recording" ) );
   EXPECT_THAT( runText( "note x\n", { "--chrome-trace", file.c_str() } ).err,
      testing::HasSubstr( "the scenario has no 'switch' line" ) );

   // A recording's own times.
   EXPECT_EQ( runLine( { "replay", "scenarios/recordings/tutorial.recording", "--chrome-trace",
                          file.c_str() } )
                 .status,
      0 );
   const TraceReader recorded( file );
   EXPECT_GT( recorded.arrows(), 5u );
   EXPECT_EQ( recorded.counts.at( "room left" ).at( "main unit 0" ), 64 - 16 );
}

} // namespace
} // namespace Strata::Tool
