// Faults of a port outside its shim and managers: missing objects, objects other than those that the slice gets, tables
// and clocks.
#include "platform/runtime/Clock.h"
#include "platform/sdk/ForwardingShim.h"
#include "sim/switch/SimPortSwTable.h"
#include "tests/conformance/Examined.h"
#include "tests/conformance/ForwardingManager.h"

#include <gtest/gtest.h>

#include <memory>

namespace Strata::Conformance {

TEST( PortBreach, AMissingObjectIsAFinding )
{
   Switch it;
   expectBroken( examine( Port() ), "oneShim", "the port's scsd" );
   Port port;
   port.scsd = Vormel::make<StrataCommonSmData>( nullptr );
   expectBroken( examine( port ), "oneShim", "scsd->sdkShim()" );
   it.port.ranges.front().manager = nullptr;
   expectBroken( examine( it.port ), "groupsAssigned", "main" );
}

TEST( PortBreach, AnotherShimLoopbackPortOrManagerThanTheSlicesIsFound )
{
   Switch it;
   ForwardingShim other( it.hardware.shim() );
   sdkShimIs( &other );
   StrataUnit unit = *it.port.scsd->units().find( 4 );
   unit.loopbackPort = 999;
   it.port.scsd->units().unitIs( 4, unit );
   it.port.ranges.back().manager = Vormel::make<ForwardingManager>( it.port.ranges.back().manager );
   const Report report = examine( it.port );
   expectBroken( report, "oneShim", "sdkShim()" );
   expectBroken( report, "loopbackPortIsAPort", "( unit 4 )" );
   expectBroken( report, "groupsAssigned", "boundedTcamEntryManager( " );
}

TEST( PortBreach, APortTableThatConfusesUnitsIsFound )
{
   struct Faulty : Sim::SimPortSwTable
   {
      PortSwEntry entry( const StrataPort& port ) const override
      {
         return SimPortSwTable::entry( { 0, port.sdkPort(), 1 } );
      }
      void entryCommit( const StrataPort& port, const PortSwEntry& entry ) override
      {
         SimPortSwTable::entryCommit( { 0, port.sdkPort(), 1 }, entry );
      }
   };
   Switch it;
   it.port.portSwTable = Vormel::make<Faulty>();
   expectBroken( examine( it.port ), "portTableKeeps", "entryCommit( port 0/1" );
}

TEST( PortBreach, AClockThatDoesNotAdvanceOrGoesBackIsFound )
{
   struct Backwards : Vormel::Clock
   {
      double now() const override { return 1000.0 - ++asked; }
      mutable int asked = 0;
   };
   Switch it;
   Vormel::activityManager().clockIs( std::make_shared<Backwards>() );
   it.port.runClock = []( double ) {};
   const Report report = examine( it.port );
   Vormel::activityManager().clockIs( std::make_shared<Vormel::RealClock>() );
   expectBroken( report, "clockNeverGoesBack", "now()" );
   expectBroken( report, "timersFireOnce", "a timer due at" );
}

} // namespace Strata::Conformance
