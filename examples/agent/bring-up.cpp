// A whole agent in one main: brings the slice up on the tiny chip, switches routing on, makes an interface routed.
// The porting guide explains the steps. `bring-up FILE [BYTES]` also records all of it in the file, which BYTES limits.
// `bring-up --metrics SOCKET` goes on until it is killed, and serves its metrics on the local socket.
#include "MetricsServer.h"
#include "TinyEntryManager.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/Clock.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "recording/Recorder.h"
#include "routing/Metrics.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/RoutingStatusSm.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tiny {
VORMEL_ENTITY_TYPE( EntryManager, TINY_ENTRY_MANAGER_ATTRIBUTES )
}

using namespace Strata;
using Vormel::make;

namespace {

/// The agent's loop: waits without the activity lock, then runs the timers that are due and answers the reader.
template<class Text>
[[noreturn]] void serve( const Tiny::MetricsServer& server, Vormel::RealClock& clock, Text text )
{
   for( ;; ) {
      int reader = -1;
      {
         const Vormel::UnlockAnchor released( Vormel::activityLock() );
         const double wait = std::clamp( clock.nextExpiry() - clock.now(), 0.0, 3600.0 );
         reader = server.request( static_cast<int>( wait * 1000 ) + 1 );
      }
      clock.runDue();
      if( reader >= 0 )
         Tiny::MetricsServer::answer( reader, metricsContentType, text() );
   }
}

} // namespace

int main( int argc, char** argv )
{
   const std::vector<std::string> arguments( argv + 1, argv + argc );
   const bool serves = arguments.size() == 2 && arguments[ 0 ] == "--metrics";
   if( !serves && !arguments.empty() && arguments[ 0 ].starts_with( "--" ) ) {
      std::cerr << "bring-up [FILE [BYTES]] or bring-up --metrics SOCKET\n";
      return 2;
   }
   // 1. Once per process: the shim, the activity lock on the reactor thread, the clock that timers run on.
   Tiny::Chip chip;
   Tiny::Shim shim( chip );
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Recorder recorder( !serves && !arguments.empty() ? arguments[ 0 ] : "",
      !serves && arguments.size() > 1 ? std::stoull( arguments[ 1 ] )
                                      : 0 );       // without a file it passes everything on
   ObservedShim observed( recorder.shim( shim ) ); // counts and times the calls
   sdkShimIs( &observed );
   const auto clock = std::make_shared<Vormel::RealClock>();
   Vormel::activityManager().clockIs( clock );
   recorder.clock( *clock );

   // 2. Inputs. An interface's logical port number comes before its port, and both before its forwarding model.
   const auto scsd = Tiny::sharedData( shim ); // chip attributes and unit table
   const auto interfaces = make<Interface::EthIntfStatusDir>();
   const auto addInterface = [ & ]( IntfId intf, U32 port ) {
      scsd->intfToLogicalPortIs( intf, port );
      scsd->strataIntfToPortIs( intf, StrataPort( 0, static_cast<int>( port ), port ) );
      const auto status = make<Interface::EthIntfStatus>( intf );
      interfaces->intfStatusIs( intf, status );
      status->forwardingModelIs( Interface::ForwardingModel::bridged );
   };
   for( U32 port = 1; port <= 3; ++port )
      addInterface( IntfId::ethernet( port ), port );
   const auto mlagStatus = make<Mlag::Status>();
   const auto mlagHwStatus = make<Mlag::Hardware::Status>();
   const auto miscConfig = make<StrataMiscConfig>();
   recorder.sharedData( scsd );
   recorder.input( "ethIntfStatusDir", interfaces );
   recorder.input( "mlagStatus", mlagStatus );
   recorder.input( "mlagHwStatus", mlagHwStatus );
   recorder.input( "miscConfig", miscConfig );

   // 3. The helper, then the two inputs that its constructor does not take, then the chip.
   const Tiny::Log silent;
   const auto helper = make<RoutingStatusHelper>( "routing", scsd, /* tcamGroupManager */ nullptr,
      /* strataPbrInfo */ nullptr, /* fabricMode */ false, mlagStatus, mlagHwStatus,
      /* recircStatus */ nullptr, interfaces, /* intfVlanIdTable */ nullptr,
      /* strataUrpfCommonData */ nullptr, /* virtualPortStatus */ nullptr,
      /* portSwTablePtr */ nullptr );
   recorder.helper( helper );
   helper->tcamManagerIs( recorder.manager( "main", make<Tiny::EntryManager>( chip, silent ) ) );
   helper->l2McastTableAllocationIs( make<L2McastTableAllocationEnt>() );
   recorder.call( "init", true, true );
   recorder.call( "l3Init", true );
   recorder.call( "doWriteIngConfig" );

   // 4. The reactors. They follow the inputs from here on; ports that were there before are handled once.
   const auto reactor = recorder.make( "RoutingStatusSm", RoutingStatusSmIs, scsd,
      /* features */ nullptr, miscConfig, helper, /* strataPbrInfo */ nullptr, interfaces,
      /* bastleSourceIpLookupConfig */ nullptr, /* hwStatus */ nullptr,
      /* nexthopStatusDir */ nullptr );
   recorder.run( "handleStrataIntfToPort", [ & ] { reactor->handleStrataIntfToPort(); } );
   const auto redirect = recorder.make( "L3PeerMacArpRedirectSm", l3PeerMacArpRedirectSmFactory,
      scsd, mlagStatus, mlagHwStatus, helper );

   // 5. Configuration: the router's MAC, its my-station entry, routing on.
   helper->routerMacAddrIs( EthAddr::fromNumber( 0x0200a1000001 ) );
   recorder.call( "handleTcamEntryL2ToCpu" );
   recorder.call(
      "addMyStationTcamEntry", 0, 1, helper->routerMacAddr(), false, 0, false, true, true );
   helper->routerMacIndexIs( 1 );
   recorder.call( "handleRouting", true, true );

   // 6. Events: every change of an input drives the slice.
   addInterface( IntfId::ethernet( 4 ), 4 );
   interfaces->intfStatus( IntfId::ethernet( 2 ) )
      ->forwardingModelIs( Interface::ForwardingModel::routed );
   std::cout << "routed floods reach ports " << helper->vlanFloodPbmp() << '\n';

   // 7. The agent's loop: events with the lock held, the lock released while it waits, timers when they are due.
   clock->runDue();
   if( serves )
      try {
         serve( Tiny::MetricsServer( arguments[ 1 ] ), *clock, [ & ] {
            return metricsText( observed, *helper, [ & ] {
               const U64 used = chip.entries.size();
               return std::vector<RangeRoom>{
                  { 0, "main", used, Tiny::EntryManager::size - used } };
            } );
         } );
      } catch( const std::runtime_error& error ) {
         std::cerr << error.what() << '\n';
         return 2;
      }
   return helper->vlanFloodPbmp() == *PortBitmap::parse( "1,3-4" ) ? 0 : 1;
}
