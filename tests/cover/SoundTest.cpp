// Proofs against packets: whatever the words, tables and bytes of a packet are, what it presents to the Field Processor is
// something that the formula has, and the entry that it wins is not proved to have no packet.
//
// STRATA_FRAMES: the number of frames for each switch. STRATA_WATCHED: every how many scenarios are tried, and that part of
// the frames.
#include "cover/Solver.h"
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/cover/PacketDice.h"
#include "tests/packet/PacketTest.h"
#include "tests/sim/EveryProfile.h"
#include "tool/ScenarioRun.h"
#include "tool/packet/EntryCover.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// What packets present to the stages of a unit.
struct Presented
{
   U32 unit;
   FieldStage stage;
   auto operator<=>( const Presented& ) const = default;
};

std::vector<FieldQualifier> qualifiersOf( const FieldKey& key, const PortBitmap& all )
{
   std::vector<FieldQualifier> qualifiers;
   for( const auto& [ role, name ] : Vormel::enumTable<Qualifier> )
      if( const auto value = comparesValue( role ) ? key.value( role ) : std::nullopt ) {
         FieldQualifier qualifier{ .role = role, .data = *value, .mask = ~U64{ 0 } };
         if( role == Qualifier::DstPort )
            qualifier = { .role = role,
               .data = *value >> 32,
               .mask = 0xFFFFFFFF,
               .port = *value & 0xFFFFFFFF,
               .portMask = 0xFFFFFFFF };
         qualifiers.push_back( qualifier );
      }
   if( key.arrivalPort != FieldKey::stackPort ) {
      FieldQualifier from{ .role = Qualifier::InPorts };
      from.ports.add( key.arrivalPort );
      from.allPorts = all;
      qualifiers.push_back( from );
   }
   return qualifiers;
}

U64 soundEvery()
{
   return fromEnvironment( "STRATA_WATCHED", 1 );
}

class Sound
{
 public:
   explicit Sound( Tool::Session& session ) : session_( session ) {}

   void check( U64 seed )
   {
      watchAllStages();
      const ForwardingTables tables = session_.packets().tables();
      const std::vector<Coverage> all =
         Tool::entryCover( session_, session_.agent().hardware().units() );
      send( seed );
      session_.packets().tables() = tables;
      for( const Coverage& about : all )
         if( const auto at = won_.find( { about.unit, about.range, about.id } );
             at != won_.end() ) {
            EXPECT_NE( about.outcome, Outcome::proved )
               << about.name << " " << testing::PrintToString( about.reasons ) << " " << at->second;
            ++winners;
         }
      for( const auto& [ place, presented ] : keys_ )
         admits( place, presented );
   }

   std::size_t winners = 0;
   std::size_t keys = 0;

 private:
   /// Ranges without entries are not looked up.
   void watchAllStages()
   {
      for( auto& [ unit, chip ] : session_.agent().hardware().chips() )
         for( FieldGroup& group : chip.groups() )
            if( group.entries().empty() ) {
               const U32 id = group.profile().base + group.profile().size - 1;
               group.roomIs( group.room() + 1 );
               group.claim( id, "last", {} );
               group.find( id )->claim.qualifierIs(
                  { .role = Qualifier::TunnelTerminated, .data = 0, .mask = 1 } );
               group.find( id )->claim.actionIs( { .role = FieldAction::DoNotCheckUrpf } );
               group.install( id );
            }
   }

   void run( const std::string& command )
   {
      const Tool::Line line = Tool::splitLine( "test", 1, command );
      Tool::Words words( line );
      try {
         Tool::takeCommand( words ).act( session_, words )( session_ );
      } catch( const Tool::InputError& ) {
         // It does not fit the switch.
      }
   }

   void send( U64 seed )
   {
      PacketDice dice( session_, seed );
      if( session_.packets().tables().tunnels.empty() )
         run( dice.tunnelRow() );
      for( U64 left = fromEnvironment( "STRATA_FRAMES", 400 ) / soundEvery(); left > 0; --left ) {
         if( left % 8 == 0 )
            run( dice.row() );
         try {
            send( dice.arrival() );
         } catch( const Tool::InputError& ) {
            // They make no packet.
         }
      }
   }

   void send( const Arrival& arrival )
   {
      Explanation explanation;
      const Verdict verdict = session_.packets().engine().explain( arrival, &explanation );
      for( const PassVerdict& pass : verdict.passes )
         for( const Winner& winner : pass.winners )
            won_.try_emplace(
               { pass.arrival.unit, winner.group, winner.id }, arrival.frame.text() );
      for( const PassExplanation& pass : explanation.passes )
         for( const RangeNote& range : pass.ranges )
            present( pass.arrival, range );
   }

   void present( const Arrival& arrival, const RangeNote& range )
   {
      const Chip& chip = session_.agent().hardware().chip( arrival.port.unit );
      for( const FieldGroup& group : chip.groups() )
         if( group.profile().name == range.group ) {
            FieldRule rule;
            rule.qualifiers = qualifiersOf( range.presented, chip.ports() );
            rule.actionIs( { .role = FieldAction::CopyToCpu } );
            keys_[ { arrival.port.unit, group.profile().stage } ].try_emplace(
               rule.text(), std::pair{ rule, arrival.frame.text() } );
         }
   }

   /// A key as the qualifiers that only it matches, and a frame that presents it.
   using Key = std::pair<FieldRule, std::string>;

   void admits( const Presented& place, const std::map<std::string, Key>& all )
   {
      constexpr std::size_t most = 200; // that one solver is quick with
      std::vector<Key> some;
      for( const auto& [ text, key ] : all ) {
         some.push_back( key );
         if( some.size() == most || text == all.rbegin()->first ) {
            admits( place, some );
            some.clear();
         }
      }
   }

   /// Each key as an entry, those with the most values first, so that what a packet lacks counts as well.
   void admits( const Presented& place, std::vector<Key>& rules )
   {
      std::ranges::stable_sort(
         rules, std::greater(), []( const auto& rule ) { return rule.first.qualifiers.size(); } );
      const U32 size = static_cast<U32>( rules.size() );
      FieldGroup group( { "keys", {}, 1, size, size, place.stage } );
      for( U32 id = 1; id <= size; ++id ) {
         group.claim( id, "key", {} );
         group.find( id )->claim = rules[ id - 1 ].first;
         group.install( id );
      }
      const Facts facts( session_.agent().hardware(), session_.packets().tables(), place.unit );
      Solver solver( facts, group );
      for( U32 id = 1; id <= size; ++id ) {
         const Solver::Answer answer = solver.find( id );
         EXPECT_TRUE( answer.shape || answer.limited )
            << testing::PrintToString( answer.reasons ) << testing::PrintToString( answer.blockers )
            << " of unit " << place.unit << " stage " << static_cast<int>( place.stage ) << ": "
            << rules[ id - 1 ].first.text() << "\n   " << rules[ id - 1 ].second;
      }
      keys += size;
   }

   Tool::Session& session_;
   std::map<std::tuple<U32, std::string, U32>, std::string> won_;
   std::map<Presented, std::map<std::string, Key>> keys_;
};

class SoundTest : public PacketTest, public testing::WithParamInterface<std::string_view>
{
};

TEST_P( SoundTest, WhatPacketsPresentIsNotExcluded )
{
   NEEDS_SOLVER();
   bringUp( std::string( GetParam() ) );
   run( R"(set pbr.pbrEnabled true
call handleMplsRouting true
call doUrpfHwInitStage1 true
call handleVlanRoutingState 30 ip4,ip6,mcast)" );
   // Each takes something away that packets need, or lets fewer have it.
   const std::vector<std::function<void()>> changes{ [] {},
      [ & ] {
         run( "no vlan 1 members Ethernet1-8" );
         chip().controlIs( 2, SwitchControl::L3EgressMode, 0 );
         chip().portControlIs( 1, PortControl::IP4, 0 );
      },
      [ & ] {
         run( R"(call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 true 20 false true true
call addMyStationTcamEntry 0 2 02:00:a1:00:00:99 true 77 true false false)" );
         chip().vlan( 10 )->flags.insert( VlanFlag::vlanIp6RoutingOff );
      } };
   std::size_t keys = 0;
   std::size_t winners = 0;
   for( std::size_t change = 0; change < changes.size(); ++change ) {
      changes[ change ]();
      Sound sound( session );
      sound.check( change );
      keys += sound.keys;
      winners += sound.winners;
   }
   EXPECT_GT( keys, 800 / soundEvery() );
   EXPECT_GT( winners, 20 / soundEvery() );
}

INSTANTIATE_TEST_SUITE_P( EveryProfile, SoundTest, everyProfile(), profileSuffix );

TEST( Sound, WhatPacketsPresentIsNotExcludedBehindScenarios )
{
   NEEDS_SOLVER();
   std::ofstream nothing( "/dev/null" );
   U64 number = 0;
   for( const auto& [ scenario, profile ] : std::map<std::string, std::string>{ { "two-units", "" },
           { "recipe-vxlan-gateway", "" }, { "urpf", "" }, { "mpls", "fabric-vfi" },
           { "vlan-routing", "register" }, { "unknown-mac-drop", "acl" } } ) {
      if( number++ % soundEvery() != 0 )
         continue;
      SCOPED_TRACE( scenario );
      Tool::Console console( nothing, nothing, {} );
      std::size_t keys = 0;
      Tool::runScenario( "scenarios/" + scenario + ".scenario", console, { .profile = profile },
         [ & ]( Tool::Session& session ) {
            Sound sound( session );
            sound.check( 5 );
            keys = sound.keys;
         } );
      EXPECT_GT( keys, 100 / soundEvery() );
   }
}

} // namespace
} // namespace Strata::Cover
