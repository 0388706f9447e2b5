// Proofs against packets: whatever the words, tables and bytes of a packet are, what it presents to the Field Processor is
// something that the formula has, and the entry that it wins is not proved to have no packet.
//
// STRATA_FRAMES: the number of frames for each switch. STRATA_WATCHED: every how many scenarios are tried, and that part of
// the frames.
#include "cover/Solver.h"
#include "sim/chip/MyStationTable.h"
#include "tests/FromEnvironment.h"
#include "tests/packet/PacketTest.h"
#include "tests/sim/EveryProfile.h"
#include "tool/ScenarioRun.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// Rows, frames and ports at random, of addresses, VLANs and numbers that the switch knows or nearly knows.
class PacketDice
{
 public:
   PacketDice( Tool::Session& session, U64 seed ) : session_( session ), random_( seed )
   {
      for( const auto& [ unit, chip ] : hardware().chips() ) {
         for( const auto& [ id, vlan ] : chip.vlans() )
            vlans_.insert( id );
         for( const U32 port : chip.ports() )
            ports_.push_back( { unit, port } );
         const Facts facts( hardware(), session.packets().tables(), unit );
         for( const StationPlace& station : facts.stations )
            macs_.push_back( macText( station.mac ) );
      }
   }

   /// A row of the tables. The VLANs stay, because those that are there belong to the state of the switch.
   std::string row()
   {
      const std::string no = oneIn( 4 ) ? "no " : "";
      switch( below( 10 ) ) {
      case 0:
         return oneIn( 8 ) ? "no route " + prefix() : "route " + prefix() + hops();
      case 1:
         return no.empty()
                   ? "pbr rule in " + port() + ( oneIn( 2 ) ? " to " + prefix() : "" ) + hop()
                   : "no pbr rule";
      case 2:
         return no + "mac " + mac() + " vlan " + vlan() + ( no.empty() ? place() : "" );
      case 3:
         return no + "mroute " + group() + ( no.empty() && oneIn( 2 ) ? " vlan " + vlan() : "" );
      case 4:
         return "l2mcast 5 " + ( oneIn( 2 ) ? port() : "cpu" );
      case 5:
         return oneIn( 3 )
                   ? "no stp " + port()
                   : "stp " + port() + pick( { " blocking", " learning" } ) + " vlan " + vlan();
      case 6:
         return no + "openflow " + port();
      case 7:
         return no + "mpls " + label() +
                ( no.empty()
                      ? oneIn( 2 ) ? " pop" + ( oneIn( 2 ) ? hop() : "" ) : " swap 20" + hop()
                      : "" );
      case 8:
         return "no vlan " + vlan() + pick( { " svi", " drop-routed", " vxlan", " urpf", " mtu" } );
      default:
         return "vlan " + vlan() +
                pick( { " svi", " svi drop-routed", " svi l3-class 3", " svi mtu 300",
                   " svi urpf loose", " svi urpf strict", " vxlan 5030", " vxlan 5031" } );
      }
   }

   std::string tunnelRow()
   {
      return "tunnel dice local 192.0.2.1 remote 192.0.2.2 via " + port() +
             " mac 00:00:00:00:08:08 vlan " + vlan();
   }

   /// InputError for words that make no packet.
   Arrival arrival()
   {
      const Tool::Line line = Tool::splitLine( "test", 1, frame( 0 ) );
      Tool::Words words( line );
      Frame taken = Tool::takeFrame( session_, words );
      if( oneIn( 6 ) ) { // what no words make
         Bytes bytes = taken.bytes();
         const std::size_t end = std::min<std::size_t>( bytes.size(), 70 );
         bytes[ 12 + below( end - 12 ) ] ^= static_cast<U8>( 1U << below( 8 ) );
         taken = Frame( std::move( bytes ) );
      }
      const PortRef at = ports_[ below( ports_.size() ) ];
      return oneIn( 10 ) ? Arrival{ { at.unit, 0 }, taken, true } : Arrival{ at, taken };
   }

   std::size_t below( std::size_t limit ) { return random_() % limit; }

 private:
   bool oneIn( std::size_t number ) { return below( number ) == 0; }
   std::string pick( const std::vector<std::string>& of ) { return of[ below( of.size() ) ]; }
   SimSwitch& hardware() { return session_.agent().hardware(); }

   static std::string macText( U64 number )
   {
      Vormel::EthAddr mac;
      for( U32 i = 0; i < Vormel::EthAddr::size; ++i )
         mac.byteIs( i, static_cast<U8>( number >> ( 40 - 8 * i ) ) );
      return mac.toString();
   }

   std::string vlan()
   {
      return std::to_string(
         *std::next( vlans_.begin(), static_cast<std::ptrdiff_t>( below( vlans_.size() ) ) ) );
   }
   std::string port()
   {
      const PortRef ref = ports_[ below( ports_.size() ) ];
      return "port " + std::to_string( hardware().chip( ref.unit ).sdkPort( ref.port ) ) +
             " unit " + std::to_string( ref.unit );
   }
   std::string mac()
   {
      if( !macs_.empty() && oneIn( 2 ) )
         return pick( macs_ );
      return pick( { "02:00:00:00:00:02", "00:00:00:00:09:09", "ff:ff:ff:ff:ff:ff",
         "01:80:c2:00:00:02", "01:00:5e:01:02:03", "33:33:01:02:03:04", "00:00:00:00:00:00" } );
   }
   std::string group()
   {
      return pick( { "239.1.2.3", "225.1.2.3", "224.0.0.5", "ff1e::102:304" } );
   }
   std::string v4()
   {
      return pick( { "10.0.0.1", "10.1.0.1", "10.2.0.1", "10.3.0.1", "10.9.0.1", "127.0.0.1",
         "169.254.1.1", "0.0.0.0", "255.255.255.255", "239.1.2.3", "192.0.2.1" } );
   }
   std::string v6()
   {
      return pick(
         { "2001:db8::1", "2001:db8:2::1", "fe80::1", "::1", "ff1e::102:304", "ff02::1" } );
   }
   std::string prefix()
   {
      return pick( { "10.0.0.0/8", "10.2.0.0/16", "10.3.0.1/32", "0.0.0.0/0", "169.254.0.0/16",
         "2001:db8::/32", "2001:db8:2::/48", "::/0", "fe80::/16" } );
   }
   std::string label() { return pick( { "16", "17", "20" } ); }
   std::string tunnel()
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      return tunnels.empty() ? "none" : tunnels.begin()->first;
   }
   std::string hop()
   {
      const std::string behind = " mac 02:00:00:00:00:03 vlan " + vlan();
      switch( below( 5 ) ) {
      case 0:
         return " via cpu";
      case 1:
         return " via flood" + behind;
      case 2:
         return " via tunnel " + tunnel() + behind;
      default:
         return " via " + port() + behind;
      }
   }
   std::string hops()
   {
      return hop() + ( oneIn( 4 ) ? hop() : "" ) + ( oneIn( 3 ) ? " class 5" : "" );
   }
   std::string place()
   {
      return oneIn( 3 ) ? " group 5" : oneIn( 4 ) ? " tunnel " + tunnel() : " " + port();
   }

   std::string l4( U32 depth )
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      if( depth == 0 && !tunnels.empty() && oneIn( 2 ) )
         return " udp vxlan " + pick( { "5030", "5031", "77" } ) + " " + frame( 1 );
      return pick(
         { "", " tcp", " udp", " udp dport 3503", " tcp dport 179", " udp dport 4789", " icmp" } );
   }
   std::string ip( bool isV6, U32 depth )
   {
      const auto& tunnels = session_.packets().tables().tunnels;
      std::string text = isV6 ? "ipv6" : "ipv4";
      const std::string behind = l4( depth );
      if( behind.find( "vxlan" ) != behind.npos && !isV6 && !oneIn( 6 ) ) {
         const Tunnel& ends = tunnels.begin()->second;
         text += " src " + ends.remote.toString() + " dst " + ends.local.toString();
      } else {
         text += ( oneIn( 3 ) ? " src " + ( isV6 ? v6() : v4() ) : "" ) +
                 ( oneIn( 4 ) ? "" : " dst " + ( isV6 ? v6() : v4() ) );
      }
      if( oneIn( 3 ) )
         text += " ttl " + pick( { "0", "1", "2", "255" } );
      if( oneIn( 12 ) )
         text += isV6 ? " hop-by-hop" : pick( { " options", " bad-checksum" } );
      return text + behind;
   }
   std::string frame( U32 depth )
   {
      std::string text = "dmac " + mac();
      if( oneIn( 20 ) )
         text += " smac 01:00:5e:00:00:09";
      if( !oneIn( 4 ) && ( depth == 0 || oneIn( 8 ) ) )
         text += " vlan " + vlan() + ( oneIn( 8 ) ? " vlan 7" : "" );
      if( depth == 0 && oneIn( 4 ) )
         text += " priority " + pick( { "1", "5", "7" } );
      text += " ";
      switch( below( 8 ) ) {
      case 0:
         return text + pick( { "arp request", "arp reply" } );
      case 1:
         return text + "mpls " + pick( { "0", "2", "3", label() } ) +
                ( oneIn( 4 ) ? " ttl 1" : "" ) + ( oneIn( 4 ) ? " mpls " + label() : "" ) +
                ( oneIn( 2 ) ? " ipv4 dst " + v4() : " ipv6 dst " + v6() );
      case 2:
         return text + "ethertype " + pick( { "0x88b5", "0x8808", "0x888e", "0x800", "0x806" } );
      case 3:
      case 4:
         return text + ip( true, depth );
      default:
         return text + ip( false, depth );
      }
   }

   Tool::Session& session_;
   std::mt19937_64 random_;
   std::set<U16> vlans_;
   std::vector<PortRef> ports_;
   std::vector<std::string> macs_;
};

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
      const U32 unit = arrival.port.unit;
      const Chip& chip = session_.agent().hardware().chip( unit );
      for( const Winner& winner : verdict.passes.front().winners )
         won_.try_emplace( { unit, winner.group, winner.id }, arrival.frame.text() );
      for( const RangeNote& range : explanation.passes.front().ranges )
         for( const FieldGroup& group : chip.groups() )
            if( group.profile().name == range.group ) {
               FieldRule rule;
               rule.qualifiers = qualifiersOf( range.presented, chip.ports() );
               rule.actionIs( { .role = FieldAction::CopyToCpu } );
               keys_[ { unit, group.profile().stage } ].try_emplace(
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

#define NEEDS_PROOFS() \
   if( !Solver::available() ) \
   GTEST_SKIP() << "this build has no solver"

class SoundTest : public PacketTest, public testing::WithParamInterface<std::string_view>
{
};

TEST_P( SoundTest, WhatPacketsPresentIsNotExcluded )
{
   NEEDS_PROOFS();
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
   NEEDS_PROOFS();
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

/// Entries by hand, the first of their range.
class PossibleTest : public PacketTest
{
 protected:
   Coverage covered( const std::vector<FieldQualifier>& qualifiers,
      const std::string& range = "main", U32 behind = 0 )
   {
      FieldGroup& group = *chip().group( range );
      const U32 id = group.profile().base + behind;
      group.release( id );
      group.claim( id, "by hand", {} );
      for( const FieldQualifier& qualifier : qualifiers )
         group.find( id )->claim.qualifierIs( qualifier );
      group.find( id )->claim.actionIs(
         { .role = range == "main" ? FieldAction::CopyToCpu : FieldAction::DoNotCheckUrpf,
            .parameter0 = range == "main" ? 0U : 1U } );
      group.install( id );
      return Tool::entryCover( session, { 0 }, range ).at( behind );
   }
   static FieldQualifier bit( Qualifier role, U64 value )
   {
      return { .role = role, .data = value, .mask = 1 };
   }
   static FieldQualifier exact( Qualifier role, U64 value )
   {
      return { .role = role, .data = value, .mask = ~U64{ 0 } };
   }
   FieldQualifier from( std::initializer_list<U32> ports )
   {
      FieldQualifier qualifier{ .role = Qualifier::InPorts };
      for( const U32 port : ports )
         qualifier.ports.add( port );
      qualifier.allPorts = chip().ports();
      return qualifier;
   }
};

TEST_F( PossibleTest, PacketsAreDroppedThatAreTooLongForAnotherVlan )
{
   NEEDS_PROOFS();
   bringUp( "hsdk" );
   const Coverage about = covered(
      { bit( Qualifier::L3Routable, 1 ), bit( Qualifier::Drop, 1 ), exact( Qualifier::Ttl, 64 ),
         exact( Qualifier::InterfaceClassL2, 0 ), bit( Qualifier::TunnelTerminated, 0 ),
         { .role = Qualifier::DstPort, .mask = 0xFF, .port = 4, .portMask = 0xFF } } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, ArpThatNoWordsMakeEndsHereToo )
{
   NEEDS_PROOFS();
   bringUp( "hsdk" );
   run( "call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 false 0 false true true" );
   for( const FieldIpType type : { FieldIpType::ArpRequest, FieldIpType::ArpReply } )
      covered( { exact( Qualifier::IpType, static_cast<U64>( type ) ) }, "main",
         type == FieldIpType::ArpReply );
   const Coverage about =
      covered( { exact( Qualifier::EtherType, etherTypeArp ), bit( Qualifier::MyStationHit, 1 ),
                  bit( Qualifier::Drop, 1 ), bit( Qualifier::IngressStpState, 1 ),
                  bit( Qualifier::TunnelTerminated, 0 ) },
         "main", 2 );
   EXPECT_EQ( about.outcome, Outcome::unknown ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, TunnelsEndInTheVlanThatTheyArriveIn )
{
   NEEDS_PROOFS();
   bringUp( "hsdk" );
   run( "no vlan 1 members Ethernet7\ncall handleVlanRoutingState 30 ip4,ip6,mcast" );
   const Coverage about = covered( { bit( Qualifier::TunnelTerminated, 1 ), from( { 7 } ),
      exact( Qualifier::PacketRes, static_cast<U64>( PacketResult::L3MCKNOWN ) ) } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
}

TEST_F( PossibleTest, TunnelsEndInAVlanThatOnlyAStationNames )
{
   NEEDS_PROOFS();
   bringUp( "hsdk" );
   run( R"(call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 true 100 false false true
call addMyStationTcamEntry 0 2 02:00:a1:00:00:99 true 50 false false true)" );
   const Coverage about = covered( { bit( Qualifier::TunnelTerminated, 1 ),
      bit( Qualifier::MyStationHit, 1 ), exact( Qualifier::InterfaceClassL2, 0 ) } );
   EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
   EXPECT_FALSE( agent().hardware().chip( 0 ).vlans().contains( 50 ) );
}

TEST_F( PossibleTest, PortsAreToldApartByTheirStation )
{
   NEEDS_PROOFS();
   run( "switch hsdk ports 140\nrouter 02:00:a1:00:00:01\nbring-up" );
   run( "call addMyStationTcamEntry 0 5 02:00:a1:00:00:55 false 0 true false true" );
   MemoryEntry entry = chip().myStation().entries().at( 5 );
   memoryFieldSet( entry, MemoryField::IngressPortNum, 1U );
   memoryFieldSet( entry, MemoryField::IngressPortNumMask, 0x7FU );
   chip().myStation().write( 5, entry );
   for( const U64 hit : { 0U, 1U } ) {
      const Coverage about = covered( { from( { 1, 129 } ), bit( Qualifier::MyStationHit, hit ),
         bit( Qualifier::TunnelTerminated, 0 ), exact( Qualifier::DstMac, 0x0200A1000055 ) } );
      EXPECT_EQ( about.outcome, Outcome::found ) << testing::PrintToString( about.reasons );
   }
}

TEST_F( PossibleTest, OnePortChecksTheReversePath )
{
   NEEDS_PROOFS();
   bringUp( "register" );
   run( "call doUrpfHwInitStage1 true" );
   chip().controlIs( SwitchControl::L3InterfaceUrpfEnable, 0 );
   chip().controlIs( 3, SwitchControl::L3InterfaceUrpfEnable, 1 );
   const auto outcome = [ & ]( U32 port ) {
      return covered( { bit( Qualifier::L3Routable, 1 ), from( { port } ) }, "urpf-single-wide" )
         .outcome;
   };
   EXPECT_EQ( outcome( 3 ), Outcome::found );
   EXPECT_EQ( outcome( 2 ), Outcome::proved );
}

} // namespace
} // namespace Strata::Cover
