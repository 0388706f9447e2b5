// A shim and a manager that are compiled after an SDK's headers: the headers that they include may not use a name of
// the SDK.
#include "tests/conformance/MacroNames.h"

#include "conformance/Port.h"
#include "platform/runtime/ChangeWatcher.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Reactor.h"
#include "platform/runtime/Snapshot.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"
#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/ObservedShim.h"
#include "platform/sdk/SdkShimInterface.h"
#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/L3State.h"
#include "platform/state/Mlag.h"
#include "platform/state/PortSwTable.h"
#include "platform/state/StrataCommonSmData.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/L3PeerMacArpRedirectSm.h"
#include "routing/reactors/RoutingStatusSm.h"
#include "routing/reactors/UnknownMacDropLoggingSm.h"
#include "tests/conformance/ForwardingManager.h"

#include <string_view>
#include <type_traits>

namespace Strata {

// The headers do not undefine a macro of the SDK.
#define TEXT( ... ) #__VA_ARGS__
#define EXPANDED( ... ) TEXT( __VA_ARGS__ )
static_assert(
   std::string_view( EXPANDED( FIELD_ACTION VLAN_FLAG MEMORY_FIELD SDK_OPERATION PROMISE ROW ) ) ==
   EXPANDED( VENDOR VENDOR VENDOR VENDOR VENDOR VENDOR ) );
static_assert(
   std::string_view( EXPANDED( bcmFieldActionDrop CPU_CONTROL_Mr VALIDf soc_mem_write ) ) ==
   EXPANDED( VENDOR VENDOR VENDOR VENDOR ) );

// Beside an SDK's macros, the names of the operations are still the texts of the tables.
static_assert( roleName( SdkOperation::memoryWrite ) == "soc_mem_write" );
static_assert( roleName( Memory::MyStationTcam ) == "MY_STATION_TCAMm" );

namespace {

/// Overrides every operation, as an agent's shim does.
class Shim final : public ForwardingShim
{
 public:
   using ForwardingShim::ForwardingShim;

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return next().method arguments; \
   }
#include "platform/sdk/SdkOperations.def"
};
static_assert( !std::is_abstract_v<Shim> && !std::is_abstract_v<Conformance::ForwardingManager> );

} // namespace
} // namespace Strata
