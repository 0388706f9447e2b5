// Every value that the chips hold is part of their state, and nothing else is.
#include "desk/SwitchState.h"
#include "sim/chip/RegisterLayout.h"
#include "tests/sim/SimTest.h"
#include "tests/tool/CommandLine.h"

#include <functional>
#include <nlohmann/json.hpp>

namespace Strata::Desk {
namespace {

using Sim::Qualifier;
using testing::ElementsAre;
using testing::IsEmpty;
using Tool::runLine;
using Tool::runText;

class SwitchStateTest : public Sim::SimTest
{
 protected:
   SwitchStateTest() : SimTest( "register" )
   {
      main.claim( id, "web", {} );
      Sim::FieldEntry& entry = *main.find( id );
      entry.claim.qualifierIs( { .role = Qualifier::Ttl, .data = 1, .mask = 0xFF } );
      entry.claim.qualifierIs( { .role = Qualifier::InPorts,
         .ports = *PortBitmap::parse( "1-2" ),
         .allPorts = *PortBitmap::parse( "1-3" ) } );
      entry.claim.actionIs(
         { .role = FieldAction::RedirectPort, .parameter0 = 1, .parameter1 = 2 } );
      entry.claim.actionIs( { .role = FieldAction::CopyToCpu } );
      main.install( id );
      chip.vlanIs( 10 );
      chip.controlIs( SwitchControl::L3EgressMode, 0 );
   }

   /// The differences that a change makes, as "part|field|before|after".
   std::vector<std::string> rows( const std::function<void()>& change )
   {
      const SwitchState before( hardware );
      change();
      std::vector<std::string> rows;
      for( const Difference& row : differences( before, SwitchState( hardware ) ) ) {
         EXPECT_EQ( row.key.unit, 4 );
         rows.push_back( row.part + "|" + row.field + "|" + row.before.value_or( "-" ) + "|" +
                         row.after.value_or( "-" ) );
      }
      return rows;
   }

   Sim::Chip& chip = hardware.chip( 4 );
   Sim::FieldGroup& main = *chip.group( "main" );
   const U32 id = main.profile().base + 3;
   const std::string title = "main " + std::to_string( id ) + " \"web\"";
};

TEST_F( SwitchStateTest, TellsEachValueOfAnEntry )
{
   Sim::FieldRule& hardwareRule = *main.find( id )->hardware;
   const auto changed = [ & ]( const std::string& fields ) {
      return ElementsAre( title + "|" + fields );
   };
   EXPECT_THAT(
      rows( [ & ] { hardwareRule.qualifiers[ 0 ].mask = 0x7F; } ), changed( "Ttl|1/0xff|1/0x7f" ) );
   EXPECT_THAT( rows( [ & ] { hardwareRule.qualifiers[ 1 ].allPorts.remove( 3 ); } ),
      changed( "InPorts|1-2 of 1-3|1-2 of 1-2" ) );
   EXPECT_THAT( rows( [ & ] { hardwareRule.actions[ 0 ].parameter1 = 3; } ),
      changed( "do RedirectPort|mod 1 port 2|mod 1 port 3" ) );
   EXPECT_THAT(
      rows( [ & ] { hardwareRule.actions.pop_back(); } ), changed( "do CopyToCpu|yes|-" ) );
   EXPECT_THAT( rows( [ & ] { hardwareRule.actionIs( { .role = FieldAction::Drop } ); } ),
      changed( "do Drop|-|yes" ) );
   EXPECT_THAT(
      rows( [ & ] { main.enable( id, false ); } ), changed( "state|installed|disabled" ) );
   // Neither order nor hits nor a claim that is not installed.
   EXPECT_THAT( rows( [ & ] {
      std::ranges::reverse( hardwareRule.qualifiers );
      std::ranges::reverse( hardwareRule.actions );
      main.find( id )->hits = 7;
      main.find( id )->claim.actionIs( { .role = FieldAction::DoNotLearn } );
   } ),
      IsEmpty() );
}

TEST_F( SwitchStateTest, TellsWholePartsThatComeAndGo )
{
   EXPECT_THAT( rows( [ & ] { main.release( id ); } ),
      ElementsAre( title + "||Ttl 1/0xff; InPorts 1-2 => RedirectPort mod 1 port 2; CopyToCpu|-",
         testing::HasSubstr( "room of main|used|" ) ) );
   EXPECT_THAT( rows( [ & ] { main.claim( id + 1, "next", {} ); } ),
      ElementsAre( "main " + std::to_string( id + 1 ) + " \"next\"||-|claimed",
         testing::HasSubstr( "room of main|used|" ) ) );
   EXPECT_THAT( rows( [ & ] { chip.vlanDel( 10 ); } ),
      ElementsAre(
         testing::HasSubstr( "VLAN 10||flags none; other flags 0x5; rest 0a*252; ports " ) ) );
}

TEST_F( SwitchStateTest, TellsEachValueBesideEntries )
{
   const std::vector<std::pair<std::function<void()>, std::string>> changes{
      { [ & ] { chip.controlIs( SwitchControl::L3EgressMode, 1 ); }, "control L3EgressMode||0|1" },
      { [ & ] { chip.controlIs( 2, SwitchControl::L3EgressMode, 0 ); },
         "control L3EgressMode of port 2||-|0" },
      { [ & ] { chip.portControlIs( 3, PortControl::IP6, 0 ); }, "control IP6 of port 3||-|0" },
      { [ & ] {
          chip.registerIs( Register::IngConfig64,
             Sim::registerFieldSet(
                chip.registerValue( Register::IngConfig64 ), RegisterField::Ip4UrpfOnL3Iif, 1 ) );
       },
         "register ING_CONFIG_64r|IP4_URPF_ON_L3_IIFf|0|1" },
      { [ & ] {
          chip.registerIs( Register::CpuControlM, chip.registerValue( Register::CpuControlM ) ^ 1 );
       },
         "register CPU_CONTROL_Mr|other bits|0x80000001|0x80000000" },
      { [ & ] { chip.vlan( 10 )->flags.insert( VlanFlag::vlanIp6RoutingOff ); },
         "VLAN 10|flags|none|vlanIp6RoutingOff" },
      { [ & ] { chip.vlan( 10 )->otherFlags = 2; }, "VLAN 10|other flags|0x5|0x2" },
      { [ & ] { chip.vlan( 10 )->rest[ 1 ] = std::byte{ 0xAB }; },
         "VLAN 10|rest|0a*252|0a*1 ab*1 0a*250" },
      { [ & ] { chip.vlan( 10 )->members.remove( 5 ); }, "VLAN 10|ports|0,5-8|0,6-8" },
      { [ & ] { chip.vlan( 10 )->untagged.remove( 6 ); }, "VLAN 10|untagged ports|5-8|5,7-8" },
      { [ & ] { chip.portActiveIs( 1, false ); }, "chip|active ports|5-8|6-8" },
      { [ & ] { chip.resolvesHigigTrunksAsLag = true; },
         "chip|resolves HiGig trunks as LAGs|no|yes" },
      { [ & ] {
          int profile;
          chip.ipOptionsProfileCreate( IpOptionAction::CopyCPUAndDrop, profile );
       },
         "options profile 1||-|CopyCPUAndDrop" },
      { [ & ] {
          MemoryEntry entry;
          Sim::memoryFieldSet( entry, MemoryField::VlanId, 10 );
          chip.myStation().write( 3, entry );
       },
         "my-station 3||-|invalid" },
      { [ & ] { main.roomIs( main.capacity() - 1 ); }, "room of main|room|" },
   };
   for( const auto& [ change, expected ] : changes )
      EXPECT_THAT( rows( change ), ElementsAre( testing::StartsWith( expected ) ) );
}

TEST( SwitchState, SwitchesThatWorkAlikeAreEqualWhateverTheSdksNumbers )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const auto stateWith = []( U64 seed ) {
      Tool::AgentConfig config;
      config.hardware.ports = 4;
      config.hardware.seed = seed;
      Tool::Agent agent( config );
      agent.bringUp();
      return SwitchState( agent.hardware() );
   };
   const SwitchState one = stateWith( 1 );
   EXPECT_GT( one.parts().size(), 20 );
   EXPECT_THAT( differences( one, stateWith( 2 ) ), IsEmpty() );
}

constexpr const char* start =
   "switch hsdk units 2 ports 4\ninterface Ethernet1-2 unit 0 port 1\nbring-up\n";

TEST( Changes, AreSinceTheMarkAndNameTheCommand )
{
   const auto outcome = runText( std::string( start ) + R"(mark
expect changes none
set Ethernet2.forwardingModel routed
expect changes 2
show changes
show changes | include "vlan flood pbr" | count
set Ethernet2.forwardingModel routed
expect changes 2
mark
expect changes none
expect changes 1
)",
      { "--quiet" } );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.out, testing::HasSubstr( "by set Ethernet2.forwardingModel routed" ) );
   EXPECT_THAT( outcome.out, testing::HasSubstr( "\n  1 row\n" ) );
   EXPECT_THAT( outcome.out, testing::HasSubstr( "1-4 -> 1,3-4\n" ) );
   EXPECT_THAT( outcome.out, testing::HasSubstr( "found     0; 'show changes' lists them" ) );
}

TEST( Diff, NamesTheFirstCallThatDiffersAndWhatTheChipsHold )
{
   const std::string dir = testing::TempDir();
   const auto file = [ & ]( const std::string& name, const std::string& end ) {
      std::ofstream( dir + name ) << start << end;
      return dir + name;
   };
   const std::string a = file( "a.scenario", "set Ethernet1.forwardingModel routed\nshow units\n" );
   const std::string b = file( "b.scenario", "set Ethernet2.forwardingModel routed\n" );
   const auto diff = []( const std::string& one, const std::string& other, bool json = false ) {
      std::vector<const char*> words{ "diff", one.c_str(), other.c_str() };
      if( json )
         words.push_back( "--json" );
      return runLine( words );
   };
   const auto same = diff( a, a );
   EXPECT_EQ( same.status, 0 ) << same.err;
   EXPECT_THAT( same.out, testing::StartsWith( "Hardware calls: the same, " ) );
   EXPECT_THAT( same.out, testing::HasSubstr( "hold at the end: the same" ) );
   const auto text = diff( a, b );
   EXPECT_EQ( text.status, 1 );
   EXPECT_THAT( text.out, testing::HasSubstr( "by " + b + ":4: set Ethernet2" ) );
   EXPECT_THAT( text.out, testing::HasSubstr( "do RedirectPbmp" ) );
   const auto json = nlohmann::ordered_json::parse( diff( a, b, true ).out );
   EXPECT_EQ( json[ "divergence" ][ "before" ].size(), 5 );
   EXPECT_EQ(
      json[ "divergence" ][ "first" ][ "line" ], a + ":4: set Ethernet1.forwardingModel routed" );
   EXPECT_EQ( json[ "changes" ].size(), 2 );
   // Calls that write what the chips hold already.
   const std::string write = "call doWriteIngConfig\n";
   const auto again = diff( file( "e.scenario", write ), file( "f.scenario", write + write ) );
   EXPECT_EQ( again.status, 1 );
   EXPECT_THAT( again.out, testing::HasSubstr( "hold at the end: the same" ) );
   // One of them goes on.
   const auto longer =
      nlohmann::ordered_json::parse( diff( file( "c.scenario", "" ), b, true ).out );
   EXPECT_EQ( longer[ "divergence" ][ "first" ], nullptr );
   EXPECT_EQ( diff( a, file( "d.scenario", "no such command\n" ) ).status, 2 );
}

} // namespace
} // namespace Strata::Desk
