// A packet that is found wins its entry, an entry without one has none, and what is named as blocking it does.
//
// STRATA_RANDOM_STEPS: how many steps come before. STRATA_WATCHED: every how many of the contents that follow are solved.
#include "cover/Recipe.h"
#include "cover/Solver.h"
#include "desk/SwitchState.h"
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"
#include "tests/routing/Steps.h"
#include "tests/sim/EveryProfile.h"
#include "tests/tool/CommandLine.h"
#include "tool/ScenarioRun.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// The winner by comparing each entry with the packet, instead of by the index.
U32 winnerByWalk( const RangeNote& range )
{
   const auto winner = std::ranges::find_if( range.entries,
      []( const EntryNote& entry ) { return entry.entry->enabled && entry.failed == 0; } );
   return winner == range.entries.end() ? 0 : winner->id;
}

/// What is wrong with it; empty if nothing is.
std::string problemOf( Tool::Session& session, const Coverage& about )
{
   const std::string name =
      about.range + " " + about.name + " of unit " + std::to_string( about.unit ) + ": ";
   if( about.outcome == Outcome::unknown )
      return name + "unknown; " + testing::PrintToString( about.tried ) + "\n";
   if( about.outcome == Outcome::proved )
      return about.blockers.empty() && about.reasons.empty() ? name + "no packet, for no reason\n"
                                                             : "";
   Explanation explanation;
   tryPacket( session, about.rows, about.packet, &explanation );
   for( const PassExplanation& pass : explanation.passes )
      for( const RangeNote& range : pass.ranges )
         if( pass.arrival.port.unit == about.unit && range.group == about.range &&
             winnerByWalk( range ) == about.id )
            return "";
   return name + "does not win " + about.packet + "\n";
}

std::string problemsOf( Tool::Session& session, const std::vector<Coverage>& all )
{
   std::string problems;
   for( const Coverage& about : all )
      problems += problemOf( session, about );
   return problems;
}

const std::vector<U32>& unitsOf( Tool::Session& session )
{
   return session.agent().hardware().units();
}

/// On the profile, or each scenario on its own if that is empty.
void coverScenarios( const std::string& profile )
{
   std::ofstream nothing( "/dev/null" );
   std::size_t found = 0;
   for( const auto& file : std::filesystem::directory_iterator( "scenarios" ) ) {
      if( file.path().extension() != ".scenario" )
         continue;
      SCOPED_TRACE( file.path().string() );
      Tool::Console console( nothing, nothing, {} );
      Tool::runScenario(
         file.path().string(), console, { .profile = profile }, [ & ]( Tool::Session& session ) {
            if( !session.hasAgent() )
               return;
            const std::vector<Coverage> all = Tool::entryCover( session, unitsOf( session ) );
            found += static_cast<std::size_t>(
               std::ranges::count( all, Outcome::found, &Coverage::outcome ) );
            EXPECT_EQ( problemsOf( session, all ), "" );
         } );
   }
   EXPECT_GT( found, 200U );
}

TEST( Cover, EveryEntryOfEveryScenarioHasAPacketOrAProof )
{
   NEEDS_SOLVER();
   coverScenarios( "" );
}

TEST( Cover, AlsoOnChipsOfOtherKinds1 )
{
   NEEDS_SOLVER();
   coverScenarios( "hsdk" );
   coverScenarios( "acl" );
}

TEST( Cover, AlsoOnChipsOfOtherKinds2 )
{
   NEEDS_SOLVER();
   coverScenarios( "register" );
   coverScenarios( "fabric-vfi" );
}

class CoverTest : public PacketTest, public testing::WithParamInterface<std::string_view>
{
 protected:
   /// A switch on which all features are on.
   void bringUpAll()
   {
      bringUp( std::string( GetParam() ) );
      run( R"(set pbr.pbrEnabled true
set mlagStatus.peerMacAddr 02:00:a1:00:00:02
set mlagStatus.peerMacRoutingEnabled true
set mlagHwStatus.peerMacRoutingSupported true
set miscConfig.unknownMacDropTrafficClass[3] true
call handleMplsRouting true
call doUrpfHwInitStage1 true
call handlePeerMacRouting 02:00:a1:00:00:02 true)" );
   }
};

/// Shapes at random, also those that no packet has.
class ShapeDice
{
 public:
   ShapeDice( const Facts& facts, U64 seed ) : facts_( facts ), random_( seed ) {}

   Shape shape()
   {
      Shape shape;
      do
         shape.arrival = below( facts_.arrivals.size() );
      while( std::ranges::count( facts_.arrivals[ shape.arrival ].inVlan, true ) == 0 );
      do
         shape.vlan = below( facts_.vlans.size() );
      while( !facts_.arrivals[ shape.arrival ].inVlan[ shape.vlan ] );
      shape.tunnel = facts_.chip.profile().attributes.vxlanSupported && oneIn( 4 );
      shape.domain = shape.tunnel ? below( facts_.vlans.size() ) : shape.vlan;
      shape.tunnel = shape.domain != shape.vlan;
      shape.payload = shape.tunnel ? Payload::ipv4 : payload();
      shape.inner = payload();
      shape.popped = oneIn( 4 );
      shape.popsV6 = oneIn( 2 );
      shape.steered = oneIn( 4 );
      shape.fate = static_cast<Fate>( below( Vormel::enumTable<Fate>.size() ) );
      if( !facts_.chip.profile().attributes.vxlanSupported &&
          ( shape.fate == Fate::toTunnel || shape.fate == Fate::hopTunnel ) )
         shape.fate = Fate::hopFlood;
      shape.port = below( facts_.destinations.size() );
      shape.group = static_cast<U32>( 1 + below( 4 ) );
      shape.dstMac = mac( shape.fate == Fate::toGroup );
      shape.innerMac = mac( shape.fate == Fate::toGroup );
      shape.etherType = 0x88B5;
      shape.dstIp = oneIn( 4 ) ? 0x7F000001 : 0x0A000001;
      shape.protocol = 17;
      shape.l4Port = oneIn( 4 ) ? 3503 : 53;
      shape.ttl = static_cast<U32>( below( 3 ) );
      shape.innerTtl = static_cast<U32>( below( 3 ) );
      shape.priority = oneIn( 2 ) ? 3 : 0;
      shape.svi = shape.domainSvi = true;
      shape.dropRouted = oneIn( 4 );
      shape.l3Class = static_cast<U32>( below( 4 ) );
      shape.openFlow = oneIn( 4 );
      return shape;
   }

 private:
   std::size_t below( std::size_t limit ) { return random_() % limit; }
   bool oneIn( std::size_t number ) { return below( number ) == 0; }
   Payload payload() { return static_cast<Payload>( below( Vormel::enumTable<Payload>.size() ) ); }
   U64 mac( bool group )
   {
      if( group )
         return 0x01005E010203;
      const std::size_t which = below( facts_.stations.size() + 2 );
      return which < facts_.stations.size()    ? facts_.stations[ which ].mac
             : which == facts_.stations.size() ? 0xFFFFFFFFFFFF
                                               : 0x020000000002;
   }

   const Facts& facts_;
   std::mt19937_64 random_;
};

TEST_P( CoverTest, NoPacketWinsAnEntryThatIsProvedToHaveNone )
{
   NEEDS_SOLVER();
   bringUpAll();
   const auto winners = [ & ]( const Facts& facts, U64 seed ) {
      ShapeDice dice( facts, seed );
      std::set<std::pair<std::string, U32>> won;
      for( int i = 0; i < 400; ++i ) {
         const Recipe recipe( facts, dice.shape() );
         const Trial trial = Tool::tryPacket( session, recipe.rows(), recipe.packet() );
         if( trial.verdict )
            for( const PassVerdict& pass : trial.verdict->passes )
               for( const Winner& winner : pass.winners )
                  won.emplace( winner.group, winner.id );
      }
      return won;
   };
   std::size_t proofs = 0;
   std::size_t others = 0;
   // Each takes something away that packets need to be routed.
   const std::vector<std::function<void()>> changes{ [ & ] {},
      [ & ] { chip().portControlIs( 1, PortControl::IP4, 0 ); },
      [ & ] {
         for( const U16 vlanId : std::array<U16, 5>{ 1, 10, 20, 30, 100 } )
            chip().vlan( vlanId )->flags.insert( VlanFlag::vlanIp6RoutingOff );
      },
      [ & ] { chip().controlIs( SwitchControl::L3EgressMode, 0 ); },
      [ & ] {
         for( U32 index = 0; index < 4; ++index )
            chip().myStation().write( index, {} );
      } };
   for( std::size_t change = 0; change < changes.size(); ++change ) {
      changes[ change ]();
      const ForwardingTables tables = session.packets().tables();
      const Facts facts( agent().hardware(), tables, 0 );
      const auto won = winners( facts, 7 );
      for( const Coverage& about : Tool::entryCover( session, { 0 } ) ) {
         const bool isProved = about.outcome == Outcome::proved;
         EXPECT_FALSE( isProved && won.contains( { about.range, about.id } ) )
            << change << ": " << about.name << testing::PrintToString( about.reasons );
         EXPECT_EQ( problemOf( session, about ), "" );
         ( isProved ? proofs : others ) += 1;
      }
   }
   EXPECT_GT( proofs, 4U );
   EXPECT_GT( others, 20U );
}

/// STRATA_RANDOM_STEPS, as for the other tests of random steps; each profile makes a quarter.
U32 steps( U32 usual )
{
   return static_cast<U32>( fromEnvironment( "STRATA_RANDOM_STEPS", usual ) / 4 );
}

/// What the answers for a range depend on, apart from the forwarding tables.
std::string contentsOf( const Desk::SwitchState& state, U32 unit, const FieldGroup& group )
{
   using Desk::PartKind;
   static const std::set<std::string> asked{ "IngConfig64", "IP4", "IP6", "L2TrafficSrcIpLookup",
      "L3EgressMode", "L3InterfaceUrpfEnable" };
   std::string text = group.profile().name;
   for( const auto& [ key, part ] : state.parts() )
      if( key.unit == unit && ( key.kind == PartKind::chip || key.kind == PartKind::myStation ||
                                 key.kind == PartKind::vlan || asked.contains( part.name ) ) )
         text += " " + part.title + " " + part.text;
   for( const auto& [ id, entry ] : group.entries() )
      if( entry.active() )
         text += " " + std::to_string( id ) + " " + entry.hardware->text();
   return text;
}

TEST_P( CoverTest, NothingIsUnknownWhateverTheStepsBefore )
{
   NEEDS_SOLVER();
   run( "switch " + std::string( GetParam() ) +
        " units 1,4 ports 16\nrouter 02:00:a1:00:00:01\nbring-up" );
   StepGenerator generator( 11 );
   const U64 every = fromEnvironment( "STRATA_WATCHED", 1 );
   std::set<std::string> solved; // equal contents are solved once
   for( U32 step = steps( 500 ); step > 0; --step ) {
      apply( generator.next( agent().hardware() ), agent() );
      const Desk::SwitchState state( agent().hardware() );
      for( auto& [ unit, chip ] : agent().hardware().chips() )
         for( const FieldGroup& group : chip.groups() )
            if( solved.insert( contentsOf( state, unit, group ) ).second &&
                solved.size() % every == 0 ) {
               EXPECT_EQ( problemsOf(
                             session, Tool::entryCover( session, { unit }, group.profile().name ) ),
                  "" );
            }
   }
   EXPECT_GT( solved.size(), 10U );
}

INSTANTIATE_TEST_SUITE_P( EveryProfile, CoverTest, everyProfile(), profileSuffix );

TEST_F( PacketTest, AnEffectIsLookedForInEachKindOfVlan )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   run( "call handleVlanCpuPort 10 true" ); // the only VLAN where copies are for the entries alone
   std::vector<std::string> without;
   for( const Coverage& about : Tool::entryCover( session, { 0 }, "main" ) )
      if( about.outcome == Outcome::found && !about.hasEffect )
         without.push_back( about.name );
   EXPECT_THAT( without, testing::IsEmpty() );
}

TEST_F( PacketTest, VlansWithOtherPortsAreNotSearchedAgain )
{
   NEEDS_SOLVER();
   const auto trials = [ this ]( U32 vlans ) {
      bringUp( "hsdk" );
      for( U32 at = 0; at < vlans; ++at )
         run( "vlan " + std::to_string( 200 + at ) + " members Ethernet" +
              std::to_string( 1 + at % 4 ) + "-" + std::to_string( 5 + at / 4 ) );
      for( const auto& [ id, vlan ] : chip().vlans() )
         run( "call handleVlanCpuPort " + std::to_string( id ) + " true" );
      U32 number = 0;
      const ForwardingTables tables = session.packets().tables();
      FieldGroup& group = *chip().group( "main" );
      RangeCover cover( agent().hardware(), tables, 0, group,
         [ &, evaluate = Tool::packetTrials( session ) ](
            const std::vector<std::string>& rows, const std::string& packet ) {
            ++number;
            return evaluate( rows, packet );
         } );
      const auto& entries = group.entries();
      const auto flood = std::ranges::find_if(
         entries, []( const auto& entry ) { return entry.second.name == "l2 mcast flood"; } );
      EXPECT_FALSE( cover.of( flood->first ).hasEffect );
      return number;
   };
   EXPECT_LT( trials( 16 ), 2 * trials( 0 ) );
}

TEST_F( PacketTest, FoundPacketsAreWrittenToCaptures )
{
   NEEDS_SOLVER();
   const std::string directory = testing::TempDir() + "FoundPacketsAreWrittenToCaptures";
   std::filesystem::remove_all( directory );
   std::filesystem::create_directory( directory );
   bringUp( "acl" );
   const std::string last = directory + "/main-1041-unit-0.pcapng";
   std::ofstream( last ) << "of another";
   EXPECT_THROW( run( "cover main pcap " + directory ), Tool::InputError );
   EXPECT_EQ( std::distance( std::filesystem::directory_iterator( directory ), {} ), 1 )
      << "no file is written";
   std::filesystem::remove( last );
   run( "cover main pcap " + directory );
   std::size_t files = 0;
   for( const Coverage& about : Tool::entryCover( session, { 0 }, "main" ) ) {
      if( about.outcome != Outcome::found )
         continue;
      ++files;
      const std::string file = directory + "/main-" + std::to_string( about.id ) + "-unit-0.pcapng";
      EXPECT_TRUE( Tool::frameInFile( file, 1 ) ==
                   Tool::sceneOf( session, about.rows, about.packet ).arrival.frame );
      const std::string contents = Tool::contentsOf( file );
      EXPECT_THAT( contents, testing::HasSubstr( ": what becomes of it: " ) );
      EXPECT_THAT( contents, testing::HasSubstr( "\nexplain " + about.packet + "\n" ) );
      for( const std::string& row : about.rows )
         EXPECT_THAT( contents, testing::HasSubstr( "\nneeds " + row + "\n" ) );
      EXPECT_THAT( contents, testing::HasSubstr( "\nmain " + std::to_string( about.id ) + " \"" +
                                                 about.name + "\" wins: " ) );
   }
   EXPECT_EQ( std::distance( std::filesystem::directory_iterator( directory ), {} ), files );
   EXPECT_GT( files, 5U );
}

TEST_F( PacketTest, OneEntryIsCoveredAlone )
{
   NEEDS_SOLVER();
   const auto names = [ this ]( const std::string& words ) {
      out.str( {} );
      run( words + " --json" );
      std::vector<std::string> all;
      for( const auto& row : nlohmann::json::parse( out.str().substr( out.str().find( "\n[" ) ) ) )
         all.push_back( row[ "entry" ] );
      return all;
   };
   const std::string none = " the entries, of which none";
   run( "switch hsdk units 2 ports 8" );
   out.str( {} );
   run( "cover\nlint urpf-single-wide" );
   EXPECT_THAT(
      out.str(), testing::HasSubstr( "Packets for" + none + " is in hardware; 'bring-up'" ) );
   EXPECT_THAT(
      out.str(), testing::HasSubstr( "Findings about" + none + " is in hardware; 'bring-up'" ) );
   bringUp( "hsdk" );
   using testing::ElementsAre;
   EXPECT_THAT( names( "cover nexthopToCpu" ), ElementsAre( "NextHop to Cpu" ) );
   EXPECT_THAT( names( "cover main 33 unit 0" ), ElementsAre( "NextHop to Cpu" ) );
   EXPECT_THAT( names( R"(cover "vlan flood")" ), ElementsAre( "vlan flood" ) );
   EXPECT_GT( names( "cover main" ).size(), 10U );
   run( "set virtualRouterMacAddr 02:00:a1:00:00:01\ncall handleTcamEntryL2FennicToCpu" );
   const std::string shadowed = "trap to cpu for l2 only with dmac=fennicMac";
   EXPECT_THAT( names( "lint" ), testing::Contains( shadowed ) );
   EXPECT_THAT( names( "lint l2OnlyFennicCpuRx" ), testing::Each( shadowed ) );
   EXPECT_THAT( names( "lint l2OnlyFennicCpuRx" ), testing::Not( testing::IsEmpty() ) );
   EXPECT_THAT( names( "lint nexthopToCpu" ), testing::IsEmpty() );
   EXPECT_THROW( run( "cover vlanFloodingDrop" ), Tool::InputError ) << "it is not in hardware";
   out.str( {} );
   run( "lint urpf-single-wide" );
   EXPECT_THAT(
      out.str(), testing::HasSubstr( none + " of urpf-single-wide is in hardware; 'show room'" ) );
}

/// The page says what its commands say, apart from the packets that the solver chose.
TEST( Cover, ThePageTellsWhatTheFindingsAre )
{
   NEEDS_SOLVER();
   const std::string page = Tool::contentsOf( "docs/cover.md" );
   std::istringstream lines( page );
   std::string typed = "quiet\n";
   const std::string prompt = "strata-l3> ";
   for( std::string line; std::getline( lines, line ); )
      if( line.starts_with( prompt ) )
         typed += line.substr( prompt.size() ) + "\n";
   const std::string shown = Tool::runLine( { "shell" }, typed ).out;
   for( const std::string name :
      { "main: trap to cpu for l2 only with dmac=fennicMac\n  its packets",
         "main: l3 vxlan with dmac=fennicMac\n  proved", "  found    ArpRequest instead of",
         "  found    route 10.9.0.1/32" } ) {
      const std::size_t at = page.find( name );
      ASSERT_NE( at, page.npos );
      EXPECT_THAT( shown, testing::HasSubstr( page.substr( at, page.find( "```", at ) - at ) ) );
   }
}

} // namespace
} // namespace Strata::Cover
