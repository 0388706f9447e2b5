// A simulated switch with its agent, for tests of the slice. The activity lock is held for the test.
#pragma once

#include "agent/Agent.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace Strata {

using Vormel::EthAddr;
using Vormel::IntfId;

/// Thrown by an assertion in these tests, in place of the end of the process.
struct Died
{
   std::string text;
};

class SwitchTest : public testing::Test
{
 protected:
   SwitchTest()
   {
      Vormel::assertionHookIs(
         []( const auto& failure ) { throw Died{ std::string( failure.text ) }; } );
   }
   ~SwitchTest() override
   {
      Vormel::assertionHookIs( nullptr );
      if( agent ) // fails if the test has left an FP lock held
         agent->hardware().critic().ends();
   }

   Tool::Agent& make( const std::string& profile, std::vector<U32> units = { 0, 1 } )
   {
      agent.reset();
      Tool::AgentConfig config;
      config.hardware.profile = profile;
      config.hardware.units = std::move( units );
      agent.emplace( config );
      return *agent;
   }

   RoutingStatusHelper& helper() { return *agent->helper(); }
   Sim::Transcript& transcript() { return agent->hardware().transcript(); }

   /// The texts of the records of a kind after record number `from`, one on each line.
   std::string texts( Sim::RecordKind kind, U64 from = 0 )
   {
      std::string all;
      for( const Sim::Record& record : transcript().records() )
         if( record.kind == kind && record.number > from )
            all += record.text + "\n";
      return all;
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   std::optional<Tool::Agent> agent;
};

} // namespace Strata
