// Whatever the order of changes, chips and helper are in the state of the reference model after each change. A sequence
// that fails is shortened to the few steps that it needs.
//
// STRATA_RANDOM_STEPS: how many steps each test makes; STRATA_RANDOM_SEED: the first seed.
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "tests/FromEnvironment.h"
#include "tests/routing/ReferenceModel.h"
#include "tests/sim/EveryProfile.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <optional>
#include <span>

namespace Strata {
namespace {

constexpr std::size_t stepsOfASequence = 120;

/// Changes the expected state, to see that the difference is noticed.
using Distortion = std::function<void( SwitchState& )>;

/// What a run depends on, apart from its steps.
struct Scene
{
   std::string profile;
   U64 seed;
   Distortion distortion{};
};

std::string toText( std::span<const Step> steps )
{
   std::string text;
   for( const Step& step : steps )
      text += "   " + toText( step ) + "\n";
   return text;
}

/// A switch with its agent, the model of it, and the steps that were applied to both.
class Run
{
 public:
   explicit Run( const Scene& scene ) : scene_( scene ), agent_( config( scene ) )
   {
      Vormel::assertionHookIs( died );
      current_ = this;
      Sim::SimSwitch& hardware = agent_.hardware();
      hardware.transcript().keepIs( false );
      hardware.critic().collect();
      RoutingStatusHelper& helper = *agent_.helper();
      helper.init( true, true );
      helper.l3Init( true );
      if( scene.seed % 2 != 0 ) {
         helper.routerMacAddrIs( *Vormel::EthAddr::parse( "02:00:a1:00:00:99" ) );
         helper.handleRouting( true, true );
      }
      model_.emplace( agent_ );
   }
   Run( const Run& ) = delete;
   Run& operator=( const Run& ) = delete;
   ~Run()
   {
      current_ = nullptr;
      Vormel::assertionHookIs( nullptr );
   }

   Sim::SimSwitch& inputs() { return agent_.hardware(); }
   const std::vector<Step>& steps() const { return steps_; }

   /// Applies the step. Returns the differences from the model; empty if there is no difference.
   std::string make( const Step& step )
   {
      steps_.push_back( step );
      model_->happened( step, apply( step, agent_ ) );
      SwitchState expected = model_->expectedState();
      if( scene_.distortion )
         scene_.distortion( expected );
      std::string wrong = differences( expected, observedState( agent_ ) );
      for( const Sim::Breach& breach : inputs().critic().breaches() )
         wrong += breach.text() + "\n";
      return wrong;
   }

 private:
   static Tool::AgentConfig config( const Scene& scene )
   {
      Tool::AgentConfig config;
      config.hardware.profile = scene.profile;
      config.hardware.units = { 1, 4 };
      config.hardware.ports = 16;
      config.hardware.seed = scene.seed;
      config.hardware.record = false;
      if( scene.seed % 4 == 3 )
         config.hardware.capabilities[ "floodingPortSupported" ] = false;
      return config;
   }

   // An assertion within a notification ends the process, so the sequence is printed without being shortened.
   static void died( const Vormel::AssertionFailure& )
   {
      if( current_ )
         std::cerr << "profile " << current_->scene_.profile << ", seed " << current_->scene_.seed
                   << ", the last of these steps ends the agent:\n"
                   << toText( current_->steps_ );
   }

   static inline Run* current_ = nullptr;

   Scene scene_;
   Tool::Agent agent_;
   std::optional<ReferenceModel> model_;
   std::vector<Step> steps_;
};

/// A sequence up to the step that fails, and the differences then; both empty if no step fails.
struct Outcome
{
   std::vector<Step> steps;
   std::string wrong;
};

Outcome replay( const Scene& scene, std::span<const Step> steps )
{
   Run run( scene );
   for( const Step& step : steps )
      if( std::string wrong = run.make( step ); !wrong.empty() )
         return { run.steps(), std::move( wrong ) };
   return {};
}

Outcome drawn( const Scene& scene )
{
   Run run( scene );
   StepGenerator generator( scene.seed );
   for( std::size_t i = 0; i < stepsOfASequence; ++i )
      if( std::string wrong = run.make( generator.next( run.inputs() ) ); !wrong.empty() )
         return { run.steps(), std::move( wrong ) };
   return {};
}

/// Leaves out pieces, large ones first, without which the sequence still fails.
Outcome shortened( const Scene& scene, Outcome failing )
{
   int replays = 500;
   for( std::size_t piece = failing.steps.size() / 2; piece > 0; ) {
      bool shorter = false;
      for( std::size_t from = 0; from < failing.steps.size() && replays > 0; --replays ) {
         std::vector<Step> rest = failing.steps;
         const std::size_t to = std::min( from + piece, rest.size() );
         rest.erase( rest.begin() + static_cast<std::ptrdiff_t>( from ),
            rest.begin() + static_cast<std::ptrdiff_t>( to ) );
         Outcome outcome = replay( scene, rest );
         shorter = shorter || !outcome.wrong.empty();
         if( outcome.wrong.empty() )
            from += piece;
         else
            failing = std::move( outcome );
      }
      if( !shorter || piece > 1 )
         piece /= 2;
   }
   return failing;
}

class PathIndependenceTest : public testing::TestWithParam<std::string_view>
{
 protected:
   Vormel::LockAnchor lock{ Vormel::activityLock() };
};

TEST_P( PathIndependenceTest, TheSwitchAgreesWithTheModelAfterEachChange )
{
   const U64 first = fromEnvironment( "STRATA_RANDOM_SEED", 1 );
   const U64 sequences = 1 + fromEnvironment( "STRATA_RANDOM_STEPS", 12000 ) / stepsOfASequence;
   for( U64 seed = first; seed < first + sequences; ++seed ) {
      const Scene scene{ std::string( GetParam() ), seed };
      const Outcome failing = drawn( scene );
      if( failing.wrong.empty() )
         continue;
      const Outcome least = shortened( scene, failing );
      FAIL() << "seed " << seed << ", step " << failing.steps.size() << ":\n"
             << failing.wrong << "shortened to\n"
             << toText( least.steps ) << least.wrong;
   }
}

INSTANTIATE_TEST_SUITE_P( Profiles, PathIndependenceTest, everyProfile(), profileSuffix );

// A model that never expects one interface to be routed is noticed, and the sequence is shortened to the steps that
// show it.
TEST( PathIndependenceShrinkingTest, AFailingSequenceIsShortenedToTheStepsThatItNeeds )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Scene scene{ "hsdk", 1, []( SwitchState& expected ) {
                  expected.erase( "helper.routedPortsAndRoutedLagMember[Ethernet3]" );
               } };
   Outcome failing;
   for( ; failing.wrong.empty() && scene.seed < 50; ++scene.seed )
      failing = drawn( scene );
   --scene.seed;
   ASSERT_GT( failing.steps.size(), 6u );
   const Outcome least = shortened( scene, failing );
   EXPECT_LE( least.steps.size(), 5u ) << toText( least.steps );
   EXPECT_THAT( toText( least.steps ), testing::HasSubstr( "reactors start\n" ) );
   EXPECT_THAT( toText( least.steps ), testing::HasSubstr( "scsd.strataIntfToPort[Ethernet3]" ) );
   EXPECT_EQ( least.wrong,
      "helper.routedPortsAndRoutedLagMember[Ethernet3]: expected nothing, found 'true'\n" );
}

} // namespace
} // namespace Strata
