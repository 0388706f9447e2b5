// The metrics are read with a strict reader of the format, also as the example agent serves them.
#include "tests/routing/Fixture.h"

#include "platform/runtime/ChangeWatcher.h"
#include "routing/Metrics.h"

#include <cmath>
#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Strata {
namespace {

using Labels = std::map<std::string, std::string>;

struct Sample
{
   std::string suffix;
   Labels labels;
   double value;
};

struct Family
{
   std::map<std::string, std::string> about; // TYPE, UNIT, HELP
   std::vector<Sample> samples;

   /// The value of the sample that has the labels.
   double at( const std::string& suffix, const Labels& labels = {} ) const
   {
      for( const Sample& sample : samples )
         if( sample.suffix == suffix && sample.labels == labels )
            return sample.value;
      throw std::runtime_error( "no sample " + suffix );
   }
};

/// Reads the OpenMetrics text format, and refuses whatever the format does not allow.
class MetricsReader
{
 public:
   explicit MetricsReader( const std::string& text )
   {
      std::istringstream lines( text );
      while( std::getline( lines, line_ ) ) {
         require( !ended_, "a line behind the end" );
         require( !lines.eof(), "a last line without its end" );
         if( line_ == "# EOF" )
            ended_ = true;
         else if( line_.starts_with( "# " ) )
            about();
         else
            sample();
      }
      require( ended_, "no end" );
      for( const auto& [ name, family ] : families )
         checkFamily( name, family );
   }

   std::map<std::string, Family> families;

 private:
   void require( bool holds, const std::string& what ) const
   {
      if( !holds )
         throw std::runtime_error( what + ": " + line_ );
   }

   void about()
   {
      static const std::regex form(
         R"(# (TYPE|UNIT|HELP) ([a-zA-Z_:][a-zA-Z0-9_:]*) ((?:[^\\\n]|\\[\\n"])+))" );
      std::smatch part;
      require( std::regex_match( line_, part, form ), "not a description" );
      if( part[ 2 ] != name_ ) {
         name_ = part[ 2 ];
         require( families.try_emplace( name_ ).second, "a family that was there before" );
      }
      Family& family = families.at( name_ );
      require( family.samples.empty(), "a description behind a sample" );
      require( family.about.try_emplace( part[ 1 ], part[ 3 ] ).second, "a second description" );
   }

   void sample()
   {
      static const std::regex form(
         R"(([a-zA-Z_:][a-zA-Z0-9_:]*)(?:\{(.+)\})? ([0-9]+(?:\.[0-9]+)?(?:e[+-]?[0-9]+)?))" );
      std::smatch part;
      require( std::regex_match( line_, part, form ), "not a sample" );
      const std::string full = part[ 1 ];
      require( !name_.empty() && full.starts_with( name_ ), "a sample of another family" );
      Sample sample{ full.substr( name_.size() ), labels( part[ 2 ] ), std::stod( part[ 3 ] ) };
      require( series_.insert( { full, sample.labels } ).second, "a series that was there before" );
      families.at( name_ ).samples.push_back( std::move( sample ) );
   }

   Labels labels( std::string text ) const
   {
      static const std::regex form(
         R"x(([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\\n]|\\[\\n"])*)"(,?))x" );
      Labels all;
      std::smatch part;
      bool more = !text.empty();
      while( more ) {
         require( std::regex_search( text, part, form, std::regex_constants::match_continuous ),
            "not a label" );
         std::string value;
         const std::string escaped = part[ 2 ];
         for( std::size_t i = 0; i < escaped.size(); ++i )
            if( escaped[ i ] != '\\' )
               value += escaped[ i ];
            else
               value += escaped[ ++i ] == 'n' ? '\n' : escaped[ i ];
         require( all.emplace( part[ 1 ], value ).second, "a label twice" );
         more = part[ 3 ].length() != 0;
         text = part.suffix();
      }
      require( text.empty(), "text behind the labels" );
      return all;
   }

   void checkFamily( const std::string& name, const Family& family ) const
   {
      const auto about = [ & ]( const std::string& what ) {
         const auto at = family.about.find( what );
         return at == family.about.end() ? std::string() : at->second;
      };
      const auto must = [ & ]( bool holds, const std::string& what ) {
         if( !holds )
            throw std::runtime_error( name + ": " + what );
      };
      must( !about( "HELP" ).empty(), "no help" );
      if( const std::string unit = about( "UNIT" ); !unit.empty() )
         must( name.ends_with( "_" + unit ), "the name does not end with the unit" );
      must( !name.ends_with( "_total" ), "the name ends with a suffix of its samples" );
      const std::string type = about( "TYPE" );
      for( const Sample& sample : family.samples )
         if( type == "counter" )
            must( sample.suffix == "_total", "a counter's sample " + sample.suffix );
         else if( type == "gauge" )
            must( sample.suffix.empty(), "a gauge's sample " + sample.suffix );
      if( type == "histogram" )
         must( histogramHolds( family.samples ), "buckets" );
      else
         must( type == "counter" || type == "gauge", "type " + type );
   }

   /// For each set of labels: buckets with rising bounds and counts up to +Inf, then the count, which is the last
   /// bucket's, then the sum.
   static bool histogramHolds( const std::vector<Sample>& samples )
   {
      for( auto at = samples.begin(); at != samples.end(); ) {
         double bound = -1;
         double count = 0;
         Labels labels = at->labels;
         labels.erase( "le" );
         for( ; at != samples.end() && at->suffix == "_bucket" && !std::isinf( bound ); ++at ) {
            const double next = std::stod( at->labels.at( "le" ) );
            Labels others = at->labels;
            others.erase( "le" );
            if( others != labels || next <= bound || at->value < count )
               return false;
            bound = next;
            count = at->value;
         }
         if( !std::isinf( bound ) || samples.end() - at < 2 || at->suffix != "_count" ||
             at->value != count || at->labels != labels )
            return false;
         if( ( ++at )->suffix != "_sum" || at->labels != labels )
            return false;
         ++at;
      }
      return true;
   }

   std::string line_;
   std::string name_; // of the family that is read
   std::set<std::pair<std::string, Labels>> series_;
   bool ended_ = false;
};

std::map<std::string, Family> readMetrics( const std::string& text )
{
   return MetricsReader( text ).families;
}

class MetricsTest : public SwitchTest
{
};

TEST_F( MetricsTest, MetricsHaveTheCallsTheDropsTheNotificationsAndTheRoom )
{
   make( "hsdk" );
   ObservedShim& observed = agent->hardware().observedShim();
   helper().unknownMacCountersPerTcIs( 5, 18'446'744'073'709'551'615U );
   agent->hardware().faults().inject(
      { .call = "bcm_switch_control_set", .code = Sim::SdkCode::Unavail } );
   helper().init( true, true );
   const U64 before = Vormel::changesPublished();
   const Vormel::ChangeWatcher first( agent->helper() ), second( agent->helper() );
   helper().unknownMacCountersPerTcIs( 3, 12 );
   helper().unknownMacCountersPerTcIs( 3, 12 ); // no change
   EXPECT_EQ( Vormel::changesPublished(), before + 1 ) << "one change of two subscribers";

   const std::string strange = "a \"b\\c\nd";
   const auto metrics = readMetrics( metricsText( observed, helper(), [ & ] {
      return std::vector<RangeRoom>{ { 0, "main", 7, 57 }, { 1, strange, 0, 2 } };
   } ) );
   const auto statistics = observed.statistics();
   ASSERT_GT( statistics.size(), 10u );
   const Family& times = metrics.at( "strata_l3_sdk_call_seconds" );
   U64 unavailable = 0;
   for( const SdkCallStatistics& call : statistics ) {
      const Labels labels{ { "operation", std::string( call.call ) } };
      EXPECT_EQ( metrics.at( "strata_l3_sdk_calls" ).at( "_total", labels ), call.calls );
      EXPECT_EQ(
         metrics.at( "strata_l3_sdk_call_failures" ).at( "_total", labels ), call.failures );
      EXPECT_EQ(
         metrics.at( "strata_l3_sdk_calls_unavailable" ).at( "_total", labels ), call.unavailable );
      EXPECT_EQ( times.at( "_count", labels ), call.calls );
      EXPECT_EQ( times.at( "_sum", labels ), call.seconds );
      unavailable += call.unavailable;
   }
   EXPECT_EQ( unavailable, 1u );
   EXPECT_EQ( times.samples.size(), statistics.size() * ( sdkCallTimeBounds.size() + 3 ) );
   const Family& drops = metrics.at( "strata_l3_unknown_mac_drop_packets" );
   EXPECT_EQ( drops.at( "_total", { { "class", "3" } } ), 12 );
   EXPECT_EQ( drops.at( "_total", { { "class", "5" } } ), 18'446'744'073'709'551'615.0 );
   EXPECT_EQ( metrics.at( "strata_l3_notifications" ).at( "_total" ), before + 1 );
   EXPECT_EQ( metrics.at( "strata_l3_room_used_entries" )
                 .at( "", { { "unit", "0" }, { "range", "main" } } ),
      7 );
   EXPECT_EQ( metrics.at( "strata_l3_room_left_entries" )
                 .at( "", { { "unit", "1" }, { "range", strange } } ),
      2 );
   EXPECT_EQ(
      readMetrics( metricsText( observed, helper() ) ).count( "strata_l3_room_left_entries" ), 0u );
}

TEST_F( MetricsTest, ACallIsCountedInTheBucketOfItsTime )
{
   make( "hsdk", { 0 } );
   for( int i = 0; i < 100; ++i ) {
      SdkShimInterface& shim = agent->hardware().observedShim();
      ObservedShim observed( shim );
      observed.preCall();
      {
         const Vormel::UnlockAnchor released( Vormel::activityLock() );
         observed.switchControlSet(
            0, observed.switchControl( SwitchControl::V4L3DstMissToCpu ), 1 );
      }
      const Family times =
         readMetrics( metricsText( observed, helper() ) ).at( "strata_l3_sdk_call_seconds" );
      const double seconds = times.samples.back().value;
      for( const Sample& sample : times.samples )
         if( sample.suffix == "_bucket" ) {
            EXPECT_EQ( sample.value, seconds <= std::stod( sample.labels.at( "le" ) ) ? 1 : 0 )
               << seconds << " in " << sample.labels.at( "le" );
         }
   }
}

#ifdef STRATA_EXAMPLE_AGENT
/// What the agent answers; empty if it does not listen.
std::string answerOf( const std::string& path )
{
   const int server = ::socket( AF_UNIX, SOCK_STREAM, 0 );
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   std::string all;
   if( ::connect( server, reinterpret_cast<const sockaddr*>( &address ), sizeof address ) == 0 ) {
      const std::string_view request = "GET /metrics HTTP/1.1\r\nHost: agent\r\n\r\n";
      EXPECT_EQ( ::send( server, request.data(), request.size(), 0 ),
         static_cast<ssize_t>( request.size() ) );
      char part[ 4096 ];
      while( const ssize_t size = ::recv( server, part, sizeof part, 0 ) ) {
         if( size < 0 )
            break;
         all.append( part, static_cast<std::size_t>( size ) );
      }
   }
   ::close( server );
   return all;
}

TEST( MetricsExampleTest, TheExampleAgentServesItsMetrics )
{
   const std::string path = testing::TempDir() + "metrics-example";
   const pid_t agent = ::fork();
   if( agent == 0 ) {
      ::dup2( STDERR_FILENO, STDOUT_FILENO );
      ::execl( STRATA_EXAMPLE_AGENT, "bring-up", "--metrics", path.c_str(), nullptr );
      ::_exit( 127 );
   }
   std::vector<std::string> answers;
   for( int i = 0; i < 1000 && answers.size() < 2; ++i ) {
      if( const std::string answer = answerOf( path ); !answer.empty() )
         answers.push_back( answer );
      else
         std::this_thread::sleep_for( std::chrono::milliseconds( 10 ) );
   }
   ::kill( agent, SIGTERM );
   ::waitpid( agent, nullptr, 0 );
   ASSERT_EQ( answers.size(), 2u ) << "it answers more than once";
   for( const std::string& answer : answers ) {
      EXPECT_THAT( answer, testing::StartsWith( "HTTP/1.1 200 OK\r\n" ) );
      EXPECT_THAT( answer,
         testing::HasSubstr( std::string( "\r\nContent-Type: " ) + metricsContentType + "\r\n" ) );
      const auto metrics = readMetrics( answer.substr( answer.find( "\r\n\r\n" ) + 4 ) );
      EXPECT_GT( metrics.at( "strata_l3_room_used_entries" )
                    .at( "", { { "unit", "0" }, { "range", "main" } } ),
         3 );
      EXPECT_GT( metrics.at( "strata_l3_sdk_calls" )
                    .at( "_total", { { "operation", "bcm_switch_control_set" } } ),
         3 );
      EXPECT_GT( metrics.at( "strata_l3_notifications" ).at( "_total" ), 3 );
   }
}
#endif

} // namespace
} // namespace Strata
