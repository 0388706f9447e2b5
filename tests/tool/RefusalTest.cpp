// Every command is refused behind every word: these lines are made of the words that the parsers offer, so a new
// command is tested without a row here. The mistakes of refusals.txt, which users make, are reported with place, cause
// and remedy.
#include "platform/runtime/Activity.h"
#include "platform/runtime/Trace.h"
#include "tests/tool/CommandLine.h"
#include "tool/Session.h"
#include "tool/shell/Completion.h"
#include "tool/words/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <ranges>
#include <set>
#include <sstream>

namespace Strata::Tool {
namespace {

class Refusals : public testing::Test
{
 protected:
   void run( const std::string& text )
   {
      std::istringstream lines( text );
      for( std::string line; std::getline( lines, line ); )
         session_.run( splitLine( "test", 1, line ) );
   }

   /// Tries the line `before`, which may be incomplete, and the line with a wrong word; then the same behind each word
   /// that fits.
   void walk( const std::string& before, std::size_t depth = 0 )
   {
      refuse( before );
      refuse( before + " %" );
      std::size_t taken = 0;
      for( const std::string& word : candidates( before ) )
         if( taken < widths[ std::min( depth, widths.size() - 1 ) ] && depth < deepest &&
             takes( before + " " + word ) ) {
            ++taken;
            walk( before + " " + word, depth + 1 );
         }
   }

   /// The whole state of the session, also state that no command shows.
   std::string state()
   {
      out_.str( {} );
      for( const Command& command : commands() )
         if( command.name.starts_with( "show " ) &&
             command.name != "show room" ) // which copies the process
            run( std::string( command.name ) + " --json" );
      for( const std::string& name : session_.agent().objectNames() )
         run( "show snapshot " + name );
      std::ostringstream text;
      text << out_.str();
      const Sim::SimSwitch& hardware = std::as_const( session_ ).agent().hardware();
      for( const auto& [ unit, chip ] : hardware.chips() ) {
         text << chip.activePorts().toString() << chip.resolvesHigigTrunksAsLag;
         for( const auto& [ id, vlan ] : chip.vlans() )
            text << ' ' << vlan.otherFlags;
         for( const Sim::FieldGroup& group : chip.groups() )
            for( const auto& [ id, entry ] : group.entries() )
               text << ' ' << entry.hits;
      }
      for( const Vormel::TraceHandle* const handle : Vormel::traceHandles() )
         text << ' ' << handle->levels();
      text << session_.agent().hardware().transcript().lastNumber()
           << session_.agent().clock().now() << session_.counts().expectations
           << session_.packets().engine().summary( session_.packets().last()->verdict );
      return text.str();
   }

   Vormel::LockAnchor lock_{ Vormel::activityLock() };
   std::ostringstream out_;
   Console console_{ out_, out_, { false, true, true, false, {} } }; // quiet: tables alone
   Session session_{ console_ };
   U32 refused_ = 0;

 private:
   static constexpr std::array<std::size_t, 4> widths{ 500, 3, 2, 1 }; // words tried, by depth
   static constexpr std::size_t deepest = 12;

   /// The words that are offered, and words of the kinds that cannot be offered.
   std::vector<std::string> candidates( const std::string& before ) const
   {
      std::vector<std::string> words = completions( session_, before + " " );
      for( const char* const word :
         { "1", "100", "true", "5s", "02:00:00:00:00:05", "10.1.0.0/16", "10.1.0.1", "239.1.1.1",
            "Ethernet1", "Port-Channel1", "T", "0-4", "word", "ApiStrata=4" } )
         words.emplace_back( word );
      return words;
   }

   /// Parses the line, which may be incomplete. False if a word does not fit.
   bool takes( const std::string& text ) const
   {
      Offers offers;
      const Line line = splitLine( "test", 1, text );
      Words words( line );
      words.offersTo( offers );
      try {
         takeCommand( words ).act( session_, words );
         return true;
      } catch( const InputError& error ) {
         return error.column() > text.size();
      }
   }

   /// Runs the line if the parser refuses it. A line that it accepts is not run.
   void refuse( const std::string& text )
   {
      const Line line = splitLine( "test", 1, text );
      try {
         Words words( line );
         takeCommand( words ).act( session_, words );
      } catch( const InputError& ) {
         ++refused_;
         EXPECT_THROW( session_.run( line ), InputError ) << text;
      }
   }
};

TEST_F( Refusals, ChangeNothing )
{
   run( "switch hsdk units 2 ports 8\nbring-up\ninterface Ethernet1-8 unit 0 port 1 routed\n"
        "lag Port-Channel1 Ethernet5-6\nvlan 10 svi members Ethernet1-4\nnexthop word programmed\n"
        "tunnel T local 192.0.2.1 remote 192.0.2.2 via Ethernet1 mac 00:00:00:00:08:08 vlan 10\n"
        "pbr word via cpu\nroute 10.1.0.0/16 via cpu\nmac 02:00:00:00:00:05 vlan 10 Ethernet1\n"
        "fault getEntry nth 9\nset routerMacAddr 02:00:00:00:00:07\nmark\n"
        "packet in Ethernet1 ipv4\nprobe word in Ethernet1 ipv4" );
   const std::string before = state();
   for( const Command& command : commands() ) {
      const U32 refusedBefore = refused_;
      walk( std::string( command.name ) );
      EXPECT_GT( refused_, refusedBefore ) << command.name;
      const std::string after = state();
      const auto differs = std::ranges::mismatch( before, after ).in1;
      ASSERT_TRUE( after == before )
         << command.name << " acts before its line is parsed; the state differs at '"
         << std::string( differs, before.end() ).substr( 0, 80 ) << "'";
   }
}

/// A row of refusals.txt: "LINE => COLUMN CAUSE ... REMEDY", or a command that describes the switch.
struct Row
{
   std::string line;
   U32 column = 0; // 0 for words of a command line
   std::string cause;
   std::string remedy;

   explicit Row( const std::string& text ) : line( text.substr( 0, text.find( " => " ) ) )
   {
      if( line.size() == text.size() )
         return;
      std::istringstream told( text.substr( line.size() + 4 ) );
      told >> column >> std::ws;
      std::getline( told, cause );
      const std::size_t dots = std::min( cause.find( " ... " ), cause.size() );
      remedy = cause.substr( std::min( dots + 5, cause.size() ) );
      cause.resize( dots );
      EXPECT_FALSE( cause.empty() || remedy.empty() ) << text;
   }
   bool isCommandLine() const { return line.starts_with( "strata-l3" ); }
};

std::vector<Row> rows()
{
   std::ifstream table( "tests/tool/refusals.txt" );
   std::vector<Row> all;
   for( std::string text; std::getline( table, text ); )
      all.emplace_back( text );
   EXPECT_GT(
      std::ranges::count_if( all, []( const Row& row ) { return !row.cause.empty(); } ), 120 );
   return all;
}

void expectTold( const std::string& told, const Row& row )
{
   EXPECT_THAT( told, testing::HasSubstr( row.cause ) ) << row.line;
   EXPECT_THAT( told, testing::HasSubstr( row.remedy ) ) << row.line;
}

TEST_F( Refusals, NamePlaceCauseAndRemedy )
{
   std::set<std::string_view> untried;
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands )
         untried.insert( command.name );
   const std::vector<Command>& ofShell = themes().back().commands;
   for( const Row& row : rows() ) {
      if( row.isCommandLine() )
         continue;
      if( row.cause.empty() ) {
         run( row.line );
         continue;
      }
      std::erase_if(
         untried, [ & ]( std::string_view name ) { return row.line.starts_with( name ); } );
      try {
         Line line = splitLine( "test", 1, row.line );
         line.typed = std::ranges::any_of( ofShell,
            [ & ]( const Command& command ) { return row.line.starts_with( command.name ); } );
         session_.run( line );
         ADD_FAILURE() << row.line << ": accepted silently";
      } catch( const InputError& error ) {
         EXPECT_EQ( error.column(), row.column ) << row.line;
         expectTold( error.problem(), row );
      }
   }
   EXPECT_THAT( untried, testing::IsEmpty() );
}

TEST( CommandLine, MistakesAreReportedWithCauseAndRemedy )
{
   for( const Row& row : rows() ) {
      if( !row.isCommandLine() )
         continue;
      const Line line = splitLine( "test", 1, row.line );
      std::vector<const char*> arguments;
      for( const Word& word : line.words | std::views::drop( 1 ) )
         arguments.push_back( word.text.c_str() );
      const Outcome outcome = runLine( arguments );
      EXPECT_EQ( outcome.status, 2 ) << row.line;
      expectTold( outcome.err, row );
   }
}

} // namespace
} // namespace Strata::Tool
