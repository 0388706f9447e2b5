// A replay finds no divergence where the slice does what is recorded, and the first one where it does not.
#include "sim/chip/ChipProfile.h"
#include "tests/tool/CommandLine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

namespace Strata::Desk {
namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;
using Tool::Outcome;
using Tool::runLine;

std::string testFile( const char* ending )
{
   return testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() +
          ending;
}

std::vector<std::string> scenarios()
{
   std::vector<std::string> files;
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) )
      if( entry.path().extension() == ".scenario" )
         files.push_back( entry.path().string() );
   return files;
}

/// Records the scenario, on the profile if it is not empty, and replays it.
Outcome recordAndReplay( const std::string& scenario, const std::string& profile = {} )
{
   const std::string file = testFile( ".recording" );
   std::vector<const char*> record{ "record", scenario.c_str(), "-o", file.c_str() };
   if( !profile.empty() )
      record.insert( record.end(), { "--profile", profile.c_str() } );
   runLine( record );
   return runLine( { "replay", file.c_str() } );
}

TEST( Replay, EveryScenarioIsReplayedAsRecorded )
{
   for( const std::string& scenario : scenarios() ) {
      const Outcome outcome = recordAndReplay( scenario );
      EXPECT_EQ( outcome.status, 0 ) << scenario << outcome.out << outcome.err;
      EXPECT_THAT( outcome.out, HasSubstr( ", no divergence" ) );
   }
}

TEST( Replay, EveryScenarioIsReplayedAsRecordedOnEveryOtherChip )
{
   for( const std::string& scenario : scenarios() )
      for( const std::string_view profile : Sim::chipProfileNames() ) {
         const Outcome outcome = recordAndReplay( scenario, std::string( profile ) );
         EXPECT_EQ( outcome.status, 0 )
            << scenario << " on " << profile << outcome.out << outcome.err;
      }
}

TEST( Replay, TheShippedRecordingIsThatOfItsScenario )
{
   const std::string recording = "scenarios/recordings/tutorial.recording";
   const Outcome replayed = runLine( { "replay", recording.c_str() } );
   EXPECT_EQ( replayed.status, 0 )
      << replayed.out << replayed.err << "'make update' writes it again";
   EXPECT_EQ( replayed.err, "" );
   EXPECT_EQ(
      runLine( { "diff", recording.c_str(), "scenarios/recordings/tutorial.scenario" } ).status,
      0 );
   // And the page about it tells what it shows.
   const std::string page = Tool::contentsOf( "docs/recording-tour.md" );
   EXPECT_THAT( page, HasSubstr( replayed.out.substr( recording.size() ) ) );
   std::istringstream shown(
      runLine( { "twin", recording.c_str(), "scenarios/recordings/tables.scenario" },
         "explain in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9\n" )
         .out );
   std::size_t found = 0;
   for( std::string line; std::getline( shown, line ); )
      found += page.find( "    " + line + "\n" ) != page.npos ? 1 : 0;
   EXPECT_GE( found, 10 );
}

using Records = std::vector<Json>;

/// Records of a small agent, and its replay with some of them changed.
class ReplayTest : public testing::Test
{
 protected:
   ReplayTest()
   {
      const std::string scenario =
         Tool::scenarioFile( "switch register ports 4\n"
                             "interface Ethernet1 unit 0 port 1 routed\n"
                             "bring-up\n"
                             "call handleRouting true true\n"
                             "set miscConfig.unknownMacDropTrafficClass[1] true\n"
                             "set miscConfig.syslogTimeout 5\n"
                             "advance 6s\n" );
      EXPECT_EQ( runLine( { "record", scenario.c_str(), "-o", file_.c_str() } ).status, 0 );
      std::istringstream lines( Tool::contentsOf( file_ ) );
      for( std::string line; std::getline( lines, line ); )
         records.push_back( Json::parse( line ) );
   }

   /// The index of the first call of this name behind that of another.
   std::size_t find( std::string_view call, std::string_view behind = {} ) const
   {
      bool seen = behind.empty();
      for( std::size_t i = 0; i < records.size(); ++i ) {
         const Json& record = records[ i ];
         seen = seen || record.value( "operation", "" ) == behind;
         if( seen && record.value( "call", "" ) == call )
            return i;
      }
      ADD_FAILURE() << call;
      return 0;
   }
   void insert( std::size_t at, const Records& what )
   {
      records.insert(
         records.begin() + static_cast<std::ptrdiff_t>( at ), what.begin(), what.end() );
   }
   void erase( std::size_t at, std::size_t count )
   {
      const auto begin = records.begin() + static_cast<std::ptrdiff_t>( at );
      records.erase( begin, begin + static_cast<std::ptrdiff_t>( count ) );
   }

   /// Numbers the records anew.
   Outcome replay( std::vector<const char*> options = {} )
   {
      std::map<U64, U64> numbers;
      for( const Json& record : records )
         numbers.try_emplace( record.at( "n" ), numbers.size() + 1 );
      std::ofstream out( file_ );
      U64 number = 0;
      for( Json record : records ) {
         for( const char* const member : { "of", "cause" } )
            if( record.contains( member ) && record.at( member ) != 0 )
               record[ member ] = numbers[ record.at( member ) ];
         record[ "n" ] = ++number;
         out << record.dump() << '\n';
      }
      out << cutLine;
      out.close();
      options.insert( options.begin(), { "replay", file_.c_str() } );
      return runLine( options );
   }

   Records records;
   std::string cutLine;

 private:
   const std::string file_ = testFile( ".recording" );
};

TEST_F( ReplayTest, AChangedArgumentIsMarkedAndItsEventNamed )
{
   const std::size_t at = find( "bcm_switch_control_set", "handleRouting" );
   records[ at + 2 ][ "arguments" ][ "value" ] = 7;
   records[ at + 2 ][ "arguments" ][ "unit" ] = 3;
   const Outcome outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT(
      outcome.out, HasSubstr( "The first divergence, in call handleRouting( true, true )" ) );
   EXPECT_THAT( outcome.out,
      HasSubstr(
         "recorded     bcm_switch_control_set( unit 3, control L3UcTtlErrToCpu, value 7 )  (line " +
         std::to_string( at + 3 ) + ")\n" ) );
   EXPECT_THAT( outcome.out,
      HasSubstr(
         "today        bcm_switch_control_set( unit 0, control L3UcTtlErrToCpu, value 1 )\n" ) );
   // Five records before it; the units differ, so the later call is not this one's change.
   EXPECT_EQ( std::ranges::count( outcome.out, '\n' ), 1 + 4 + 2 + 1 + 1 ) << outcome.out;
   EXPECT_THAT( outcome.out, HasSubstr( "differing    unit, value\n" ) );
}

TEST_F( ReplayTest, GoesOnBehindEachDivergence )
{
   const std::size_t at = find( "bcm_switch_control_set", "handleRouting" );
   const Records call( { records[ at ], records[ at + 1 ] } );
   records[ at ][ "arguments" ][ "value" ] = 7; // changed
   Records further = call;                      // recorded, and not made
   further[ 0 ][ "arguments" ][ "control" ] = "HashL2Dual";
   further[ 0 ][ "n" ] = 100'001;
   further[ 1 ][ "n" ] = 100'002;
   further[ 1 ][ "of" ] = 100'001;
   insert( at + 4, further );
   erase( at + 8, 2 ); // made, and not recorded
   const Outcome outcome = replay( { "--all", "--json" } );
   EXPECT_EQ( outcome.status, 1 );
   std::istringstream lines( outcome.out );
   Records found;
   for( std::string line; std::getline( lines, line ); )
      found.push_back( Json::parse( line ) );
   ASSERT_EQ( found.size(), 4 ) << outcome.out;
   EXPECT_EQ( found[ 0 ].at( "differing" ), Json( { "value" } ) );
   EXPECT_EQ( found[ 1 ].at( "recorded" ).at( "arguments" ).at( "control" ), "HashL2Dual" );
   EXPECT_EQ( found[ 2 ].at( "recorded" ).at( "call" ), "bcm_switch_control_set" );
   EXPECT_NE(
      found[ 2 ].at( "recorded" ).at( "arguments" ), found[ 2 ].at( "today" ).at( "arguments" ) );
   EXPECT_EQ( found[ 3 ].at( "kind" ), "end" );
   EXPECT_EQ( found[ 3 ].at( "why" ), "" );
}

TEST_F( ReplayTest, MissingAndFurtherCallsAtTheEndOfAnEventAreDivergences )
{
   std::size_t returned = find( "bcm_switch_control_set", "handleRouting" );
   while( records[ returned ].at( "record" ) != "returned" )
      ++returned;
   std::size_t last = returned;
   while( records[ last ].at( "record" ) != "begin" )
      --last;
   const Records all = records;
   erase( last, 2 );
   Outcome outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT(
      outcome.out, HasSubstr( "today        " + all[ last ].at( "call" ).get<std::string>() ) );
   records = all;
   Records further( { all[ last ], all[ last + 1 ] } );
   further[ 0 ][ "n" ] = 100'001;
   further[ 1 ][ "n" ] = 100'002;
   further[ 1 ][ "of" ] = 100'001;
   insert( returned, further );
   outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "today        returned\n" ) );
   // A further call at the end of an input, with a call of the agent behind it.
   records = all;
   std::size_t changed = 0;
   for( std::size_t i = 0; i < all.size(); ++i )
      if( all[ i ].at( "record" ) == "input" &&
          all[ i ].value( "attribute", "" ) == "unknownMacDropTrafficClass" )
         changed = i;
   while( records[ changed ].value( "call", "" ) != "installEntry" )
      ++changed;
   records.resize( changed );
   records.push_back( { { "record", "call" }, { "n", 200'001 }, { "operation", "l3Init" },
      { "arguments", { "true" } } } );
   outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "recorded     nothing further in this event\n" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "today        main.installEntry(" ) );
   // Likewise in the event of a timer, which has no end of its own.
   records = all;
   erase( find( "hitsForEntry" ), 2 );
   outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( ", in a timer expires at 5 s" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "today        main.hitsForEntry(" ) );
}

TEST_F( ReplayTest, AnswersAreTheRecordedOnes )
{
   // A register that had another value, and a chip that lacks a control.
   const std::size_t read = find( "soc_reg32_get" );
   Json& others = records[ read + 1 ][ "results" ][ "value" ][ "other" ];
   others = others.get<U64>() ^ 4;
   Outcome outcome = replay();
   EXPECT_THAT( outcome.out, HasSubstr( "recorded     soc_reg32_set(" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "differing    value.other\n" ) );
   std::size_t write = read;
   while( records[ write ].value( "call", "" ) != "soc_reg32_set" )
      ++write;
   records[ write ][ "arguments" ][ "value" ][ "other" ] = others;
   const std::size_t control = find( "bcm_switch_control_set", "handleRouting" );
   records[ control + 1 ][ "code" ] = "unavailable";
   outcome = replay();
   EXPECT_EQ( outcome.status, 0 ) << outcome.out;
   // An error of the chip ends the slice's process, as it has ended the recorded one.
   records[ control + 1 ][ "code" ] = -16; // which is the simulated chip's code for unavailable
   records[ control + 1 ][ "text" ] = "no such luck";
   outcome = replay();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, HasSubstr( "API ERROR:no such luck" ) );
   erase( control + 2, records.size() - control - 2 );
   outcome = replay();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "; the recorded agent ended there, too\n" ) );
}

TEST_F( ReplayTest, ARecordingMayEndWithinAnyCall )
{
   const Records all = records;
   std::size_t calls = 0;
   for( std::size_t i = 0; i < all.size(); ++i ) {
      if( all[ i ].at( "record" ) != "begin" || ++calls % 7 != 0 )
         continue;
      records.assign( all.begin(), all.begin() + static_cast<std::ptrdiff_t>( i ) + 1 );
      const Outcome outcome = replay();
      EXPECT_EQ( outcome.status, 0 ) << outcome.out;
      EXPECT_THAT( outcome.out, HasSubstr( "; the recording ends within " ) );
   }
   EXPECT_GT( calls, 100 );
   cutLine = R"({"record":"end","n":)";
   const Outcome outcome = replay();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.err, HasSubstr( "is cut off\n" ) );
}

TEST_F( ReplayTest, FilesThatAreNoRecordingsAreRefusedWithTheirLine )
{
   struct Case
   {
      std::function<void( Records& )> bend;
      const char* text;
   };
   const Records all = records;
   const std::vector<Case> cases{
      { []( Records& r ) { r[ 0 ][ "format" ] = 2; },
         ":1: has format 2; this version reads format 1" },
      { []( Records& r ) { r.erase( r.begin() ); },
         ":1: is not a recording: its first record is not a header" },
      { []( Records& r ) { r.resize( 1 ); }, ": has no unit: " },
      { []( Records& r ) { r[ 1 ][ "ports" ] = "many"; }, ":2: 'ports' cannot be \"many\"" },
      { []( Records& r ) { r[ 1 ].erase( "modId" ); },
         ":2: a record 'unit' needs 'modId', a number" },
      { []( Records& r ) { r[ 2 ][ "type" ] = "Nosuch"; },
         ":3: has an object of the type 'Nosuch'" },
      { []( Records& r ) { r[ 2 ][ "attributes" ][ "floodingModId" ] = 256; }, ":3: " },
      { []( Records& r ) {
          r[ 2 ] = Json::array();
          r[ 2 ] = { { "n", 3 } };
       },
         ":3: the record has no 'record'" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.value( "type", "" ) == "RoutingStatusHelper" )
                record[ "attributes" ][ "routing4Enabled" ] = true;
       },
         "the helper's 'routing4Enabled' was true; a replay needs a recording from before the helper's init" },
      { []( Records& r ) {
          Json deep;
          for( int i = 0; i < 200; ++i )
             deep = Json::array( { deep } );
          r[ 3 ][ "object" ] = deep;
       },
         ":4: this line is nested too deeply" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.value( "attribute", "" ) == "syslogTimeout" )
                record[ "value" ] = -1;
       },
         "syslogTimeout" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.at( "record" ) == "call" )
                record[ "operation" ] = "bogus";
       },
         "bogus" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.contains( "code" ) )
                record[ "code" ] = "bogus";
       },
         "'code' cannot be \"bogus\"" },
      { []( Records& r ) {
          const auto end =
             std::ranges::find( r, "end", []( const Json& one ) { return one.at( "record" ); } );
          r.erase( end );
       },
         "the call has no record 'end', and is not the last" },
      { []( Records& r ) {
          const auto call =
             std::ranges::find( r, "call", []( const Json& one ) { return one.at( "record" ); } );
          r.erase( call ); // of the recorder: the agent has called the helper itself
          for( Json& record : r )
             if( record.contains( "cause" ) )
                record[ "cause" ] = 0;
       },
         "has no cause: the agent has called the slice without the recorder" },
      { []( Records& r ) { r[ 0 ][ "continues" ] = true; }, ":1: continues an older file" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.at( "record" ) == "make" )
                record[ "what" ] = "AnotherSm";
       },
         "has the reactor 'AnotherSm'; a replay knows RoutingStatusSm and L3PeerMacArpRedirectSm" },
      { []( Records& r ) {
          for( Json& record : r )
             if( record.at( "record" ) == "question" )
                record[ "answer" ] = "perhaps";
       },
         "' cannot be \"perhaps\"" },
   };
   for( const Case& bent : cases ) {
      records = all;
      bent.bend( records );
      const Outcome outcome = replay();
      EXPECT_EQ( outcome.status, 2 ) << bent.text << outcome.out;
      EXPECT_THAT( outcome.err, HasSubstr( bent.text ) );
   }
   // What a newer writer adds is passed over.
   records = all;
   records[ 3 ][ "colour" ] = "red";
   insert( 4, { { { "record", "weather" }, { "n", 100'001 } } } );
   const Outcome newer = replay();
   EXPECT_EQ( newer.status, 0 );
   EXPECT_THAT( newer.err,
      HasSubstr(
         "line 4: the member 'colour' of 'state' is unknown to this version, like 1 more: passed over\n" ) );
   const Outcome none = runLine( { "replay", "/nosuch.recording" } );
   EXPECT_EQ( none.status, 2 );
   EXPECT_THAT( none.err, HasSubstr( "/nosuch.recording: cannot be read: No such file" ) );
}

} // namespace
} // namespace Strata::Desk
