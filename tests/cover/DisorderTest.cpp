// Writes in a wrong order, in events of the slice: transients are found where an evaluation of all packets behind each write
// finds them, and nowhere else.
//
// STRATA_DISORDERS: how many disorders of a step are tried.
#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/ForwardingTcamEntryManager.h"
#include "tests/FromEnvironment.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/cover/Onlooker.h"
#include "tests/cover/PacketDice.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/TableTrial.h"
#include "tool/packet/Transients.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {
namespace {

enum class Disorder : U8
{
   none,
   exchanged,     // with the next write
   delayed,       // to the end of the event
   removedEarly,  // before another entry is installed
   removedFirst,  // an entry that is rewritten
   switchedFirst, // enabled, or disabled, before it is rewritten
   cleared,       // of its actions, but for one that does nothing alone, before it is written
};

enum class Method : U8
{
   install,
   reinstall,
   remove,
   release,
   enable,
};

struct Write
{
   Method method;
   Sim::SimTcamEntryManager* manager;
   U32 unit;
   U32 id;
   bool enable = false;
   // Before it.
   bool installed = false;
   bool enabled = false;

   bool puts() const { return method <= Method::reinstall; }
   bool takes() const { return method == Method::remove || method == Method::release; }
   bool isOf( const Write& other ) const
   {
      return manager == other.manager && unit == other.unit && id == other.id;
   }
};

struct Fault
{
   Disorder disorder = Disorder::none;
   std::size_t at = 0;           // of the event's writes
   std::optional<Write> early{}; // that is made before it
   std::string range{};          // of that write
};

/// The writes to all ranges, which are made in another order than they are asked for.
class Writes
{
 public:
   explicit Writes( Sim::SimSwitch& hardware ) : hardware_( hardware ) {}

   void begin( const Fault& fault, Onlooker* onlooker )
   {
      fault_ = fault;
      onlooker_ = onlooker;
      all_.clear();
   }
   /// What is held back is made.
   void end()
   {
      if( held_ )
         make( *std::exchange( held_, std::nullopt ) );
   }
   const std::vector<Write>& all() const { return all_; }

   int perform( Write write )
   {
      const Sim::FieldEntry* const entry = entryOf( write );
      write.installed = entry && entry->installed();
      write.enabled = entry && entry->enabled;
      const bool faulty = all_.size() == fault_.at;
      all_.push_back( write );
      if( !faulty || fault_.disorder == Disorder::none ) {
         const int code = make( write );
         if( fault_.disorder == Disorder::exchanged )
            end();
         return code;
      }
      switch( fault_.disorder ) {
      case Disorder::none:
         break;
      case Disorder::exchanged:
      case Disorder::delayed:
         held_ = write;
         return 0;
      case Disorder::removedEarly:
         make( *fault_.early );
         break;
      case Disorder::removedFirst:
         make( { Method::remove, write.manager, write.unit, write.id } );
         write.method = Method::install;
         break;
      case Disorder::switchedFirst:
         make( { Method::enable, write.manager, write.unit, write.id, !write.enabled } );
         break;
      case Disorder::cleared:
         clear( write );
         break;
      }
      const int code = make( write );
      if( fault_.disorder == Disorder::switchedFirst && write.method == Method::reinstall )
         make( { Method::enable, write.manager, write.unit, write.id, write.enabled } );
      return code;
   }

 private:
   /// What is in hardware loses its actions; what is new does not have them at first.
   void clear( Write& write )
   {
      Sim::FieldEntry& entry = *entryOf( write );
      const Sim::FieldRule claim = entry.claim;
      if( write.installed )
         entry.claim = *entry.hardware;
      entry.claim.actions = { { .role = FieldAction::CosQCpuNew, .parameter0 = 1 } };
      make( { write.installed ? Method::reinstall : Method::install, write.manager, write.unit,
         write.id } );
      entryOf( write )->claim = claim;
   }

   int make( const Write& write )
   {
      const int code = [ & ] {
         switch( write.method ) {
         case Method::install:
            return write.manager->installEntry( write.unit, write.id );
         case Method::reinstall:
            return write.manager->reinstallEntry( write.unit, write.id );
         case Method::remove:
            write.manager->removeEntry( write.unit, write.id );
            return 0;
         case Method::release:
            write.manager->releaseEntry( write.unit, write.id );
            return 0;
         case Method::enable:
            return write.manager->enableEntry(
               write.unit, write.id, write.enable, hardware_.shim().fieldEntryEnableMode() );
         }
         return -1;
      }();
      EXPECT_EQ( code, 0 ) << static_cast<int>( fault_.disorder ) << " of " << write.id;
      if( onlooker_ )
         onlooker_->look();
      return code;
   }

   Sim::FieldEntry* entryOf( const Write& write )
   {
      return hardware_.chip( write.unit ).group( write.manager->profile().name )->find( write.id );
   }

   Sim::SimSwitch& hardware_;
   Fault fault_;
   Onlooker* onlooker_ = nullptr;
   std::vector<Write> all_;
   std::optional<Write> held_;
};

/// A range's manager, which leaves its writes to those of all ranges.
class DisorderlyManager final : public ForwardingTcamEntryManager
{
 public:
   DisorderlyManager( const Ref<Sim::SimTcamEntryManager>& next, std::shared_ptr<Writes> writes )
      : ForwardingTcamEntryManager( next ),
        manager_( *next ),
        writes_( std::move( writes ) )
   {}
   const Vormel::EntityType& entityType() const override { return next().entityType(); }

   int installEntry( U32 unit, U32 id ) override { return perform( Method::install, unit, id ); }
   int reinstallEntry( U32 unit, U32 id ) override
   {
      return perform( Method::reinstall, unit, id );
   }
   void removeEntry( U32 unit, U32 id ) override { perform( Method::remove, unit, id ); }
   void releaseEntry( U32 unit, U32 id ) override { perform( Method::release, unit, id ); }
   int enableEntry( U32 unit, U32 id, bool enable, int /* mode */ ) override
   {
      return perform( Method::enable, unit, id, enable );
   }

 private:
   int perform( Method method, U32 unit, U32 id, bool enable = false )
   {
      return writes_->perform( { method, &manager_, unit, id, enable } );
   }

   Sim::SimTcamEntryManager& manager_;
   std::shared_ptr<Writes> writes_;
};

/// Lets the onlooker look behind each call that may change a chip.
class WatchedShim final : public ForwardingShim
{
 public:
   WatchedShim() : ForwardingShim( sdkShimInUse() ) { sdkShimIs( this ); }
   WatchedShim( const WatchedShim& ) = delete;
   WatchedShim& operator=( const WatchedShim& ) = delete;
   ~WatchedShim() override { sdkShimIs( &next() ); }

   Onlooker* onlooker = nullptr;

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      const int code = next().method arguments; \
      if( onlooker && !std::string_view( #method ).starts_with( "field" ) ) \
         onlooker->look(); \
      return code; \
   }
#include "platform/sdk/SdkOperations.def"
};

/// The disorders that leave the chip as it would be without.
std::vector<Fault> disordersOf( const std::vector<Write>& writes )
{
   std::vector<Fault> all;
   for( std::size_t at = 0; at < writes.size(); ++at ) {
      const Write& write = writes[ at ];
      const auto isSame = [ & ]( const Write& other ) { return other.isOf( write ); };
      const auto later = writes.begin() + static_cast<std::ptrdiff_t>( at ) + 1;
      const bool isLast = std::none_of( later, writes.end(), isSame );
      if( isLast && later != writes.end() ) {
         all.push_back( { Disorder::exchanged, at } );
         all.push_back( { Disorder::delayed, at } );
      }
      if( write.puts() && write.installed ) {
         all.push_back( { Disorder::switchedFirst, at } );
         if( write.enabled )
            all.push_back( { Disorder::removedFirst, at } );
      }
      if( write.puts() || ( write.takes() && write.installed ) )
         all.push_back( { Disorder::cleared, at } );
      for( auto removal = later; removal != writes.end(); ++removal )
         if( removal->takes() && removal->installed &&
             std::none_of( writes.begin(), removal,
                [ & ]( const Write& other ) { return other.isOf( *removal ); } ) )
            all.push_back( { Disorder::removedEarly, at,
               Write{ Method::remove, removal->manager, removal->unit, removal->id } } );
   }
   return all;
}

class DisorderTest : public PacketTest
{
 protected:
   /// Events that lead back to the first.
   using Cycle = std::vector<Lines>;

   struct Step
   {
      Lines commands;
      std::vector<EntryPacket> before{};
      std::vector<EntryPacket> after{};
      Cover::Memory memory{};
      std::vector<Fault> faults{};
      std::vector<Onlooker::Fate> end{};
      std::multiset<std::string> transients{};
   };

   void act( const Lines& commands )
   {
      for( const std::string& command : commands ) {
         const Line line = splitLine( "test", 1, command );
         Words words( line );
         takeCommand( words ).act( session, words )( session );
      }
      writes_->end();
   }

   std::vector<Step> rehearse( const Cycle& cycle, std::mt19937_64& random )
   {
      std::vector<Step> steps;
      for( const Lines& commands : cycle ) {
         Step step{ commands };
         step.before = entryPackets( session );
         step.memory = session.packets().entryPackets();
         writes_->begin( {}, nullptr );
         act( commands );
         step.after = entryPackets( session );
         step.faults = disordersOf( writes_->all() );
         std::ranges::shuffle( step.faults, random );
         std::map<std::pair<std::string, Disorder>, std::size_t> seen;
         std::vector<std::pair<std::size_t, Fault>>
            turns; // the first of each disorder of each range, the second of each, ...
         for( Fault& fault : step.faults ) {
            fault.range = writes_->all()[ fault.at ].manager->profile().name;
            turns.emplace_back( ++seen[ { fault.range, fault.disorder } ], fault );
         }
         std::ranges::stable_sort( turns, {}, &std::pair<std::size_t, Fault>::first );
         step.faults = { Fault{} };
         for( const auto& [ turn, fault ] : turns )
            step.faults.push_back( fault );
         steps.push_back( std::move( step ) );
      }
      return steps;
   }

   void watch( Step& step, const Fault& fault )
   {
      session.packets().entryPackets() = step.memory;
      Onlooker onlooker( session );
      for( const auto* const packets : { &step.before, &step.after } )
         for( const EntryPacket& packet : *packets )
            onlooker.add( packet.commands(),
               [ & ] { return sceneOf( session, packet.rows, packet.packet ); } );
      for( const auto& [ name, probe ] : session.probes() )
         onlooker.add( { "explain probe " + name }, [ &arrival = probe.arrival, this ] {
            return Scene{ session.packets().tables(), arrival };
         } );
      onlooker.look();
      writes_->begin( fault, &onlooker );
      WatchedShim shim;
      shim.onlooker = &onlooker;
      const Line line = splitLine( "test", 1, "transient" );
      std::multiset<std::string> reported;
      for( const Transient& transient :
         runWatched( session, [ & ]( Session& ) { act( step.commands ); }, Words( line ), {} ) )
         reported.insert( Onlooker::text(
            transient.commands.back(), transient.meanwhile, transient.from, transient.to ) );
      writes_->begin( {}, nullptr );
      const std::string where = step.commands.back() + ": disorder " +
                                std::to_string( static_cast<int>( fault.disorder ) ) + " of " +
                                std::to_string( fault.at );
      EXPECT_EQ( reported, onlooker.meanwhile( true ) ) << where;
      if( fault.disorder == Disorder::none ) {
         step.end = onlooker.last();
         step.transients = onlooker.meanwhile( false );
      }
      EXPECT_TRUE( onlooker.last() == step.end ) << where;
      const std::multiset<std::string> seen = onlooker.meanwhile( false );
      if( !std::ranges::includes( step.transients, seen ) )
         ++visible_[ fault.range ][ fault.disorder ];
   }

   void run( const Cycle& cycle, U64 tried, std::mt19937_64& random )
   {
      std::vector<Step> steps = rehearse( cycle, random );
      tried = fromEnvironment( "STRATA_DISORDERS", tried );
      for( std::size_t round = 0; round <= tried; ++round )
         for( Step& step : steps ) {
            if( round < step.faults.size() )
               watch( step, step.faults[ round ] );
            else
               act( step.commands );
         }
   }

   void prepare( const std::string& profile )
   {
      bringUp( profile );
      Sim::SimSwitch& hardware = agent().hardware();
      hardware.critic().restIs( true );
      writes_ = std::make_shared<Writes>( hardware );
      for( const Ref<Sim::SimTcamEntryManager>& manager : hardware.tcamManagers() ) {
         const auto disorderly = Vormel::make<DisorderlyManager>( manager, writes_ );
         if( const auto group = manager->profile().key )
            hardware.tcamGroupManager()->managerIs( *group, disorderly );
         else
            agent().helper()->tcamManagerIs( disorderly );
      }
      session.probes().clear();
      Cover::PacketDice dice( session, 1 );
      while( session.probes().size() < 12 )
         try {
            session.probes().emplace(
               std::to_string( session.probes().size() ), Desk::Probe{ "", dice.arrival() } );
         } catch( const InputError& ) {
            // Words that make no packet.
         }
   }

   std::shared_ptr<Writes> writes_;
   std::map<std::string, std::map<Disorder, U32>> visible_;
};

TEST_F( DisorderTest, EachThatAPacketSeesIsATransientOfThatPacket )
{
   NEEDS_SOLVER();
   // The router's MAC address becomes that of the virtual router, and its own again.
   const Lines virtualMac{
      "set virtualRouterMacAddr 02:00:a1:00:00:99", "call handleTcamEntryL2FennicToCpu" };
   const Cycle macs{ { "set virtualRouterMacAddr 02:00:a1:00:00:01", virtualMac[ 1 ], "no router" },
      { "router 02:00:a1:00:00:01", virtualMac[ 0 ], virtualMac[ 1 ] } };
   const Lines features{ "set Ethernet7.forwardingModel routed", "set pbr.pbrEnabled true",
      "set miscConfig.unknownMacDropTrafficClass[3] true", "call handleMplsRouting true",
      "call doUrpfHwInitStage1 true", "set mlagStatus.peerMacRoutingEnabled true" };
   const Lines noFeatures{ "set mlagStatus.peerMacRoutingEnabled false",
      "call doUrpfHwInitStage1 false", "call handleMplsRouting false",
      "del miscConfig.unknownMacDropTrafficClass[3]", "set pbr.pbrEnabled false",
      "set Ethernet7.forwardingModel bridged" };
   // Entries are written as they are.
   const Lines again{ "call l3Init true", "call handleTcamEntryMplsPhpLspPing true",
      "set urpf.tcamEntryUrpf4 0", "set urpf.tcamEntryUrpf6 0", "call doUrpfHwInitStage1 true" };
   const Cycle links{
      { "lag Port-Channel1 Ethernet3 Ethernet2" }, { "lag Port-Channel1 Ethernet3" } };
   U64 seed = 20; // five kinds of disorders are seen then, in fewer turns than with others
   for( const std::string_view profile : Sim::chipProfileNames() ) {
      SCOPED_TRACE( profile );
      std::mt19937_64 random( ++seed ); // NOLINT(cert-msc51-cpp): the same at each run
      prepare( std::string( profile ) );
      PacketTest::run( R"(lag Port-Channel1 Ethernet3
set mlagStatus.peerLinkIntf Port-Channel1
set mlagStatus.peerMacAddr 02:00:a1:00:00:02
set mlagHwStatus.peerMacRoutingSupported true
set urpf.doubleWideMode )" +
                       std::string( seed % 2 == 0 ? "true" : "false" ) );
      run( macs, 4, random );
      run( { features, noFeatures }, 2, random );
      act( features );
      run( { again }, 20, random );
      run( links, 4, random );
   }
   U32 visible = 0;
   for( const auto& [ range, kinds ] : visible_ ) {
      EXPECT_GE( kinds.size(), range == "main" ? 5U : 3U ) << range;
      for( const auto& [ disorder, times ] : kinds )
         visible += times;
   }
   std::cout << "disorders that a packet sees: " << visible << ", of " << visible_.size()
             << " ranges\n";
   EXPECT_GE( visible, 60U );
   EXPECT_EQ( visible_.size(), Sim::chipProfile( "hsdk" ).groups.size() ) << "ranges";
}

} // namespace
} // namespace Strata::Tool
