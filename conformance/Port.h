// The conformance kit: checks whether an implementation of the platform interfaces keeps the promises that the slice
// relies on.
//
//    Conformance::Port port;
//    port.scsd = scsd;                                  // with shim, unit table, chip attributes
//    port.ranges = Conformance::rangesOf( tcamManager, tcamGroupManager );
//    port.tcamGroupManager = tcamGroupManager;
//    const Conformance::Report report = Conformance::examine( port );
//    std::cout << report.text();
//
// Requires: no slice runs on the switch, which is fresh or in a lab. The kit releases every entry that it claims and
// restores every register, memory entry, VLAN record and row of the port table that it writes. Switch controls cannot
// be read through the shim: without the hook for that they keep the values that the slice writes at bring-up. A
// register or VLAN record whose read is not available is written with zeros. The CPU port remains a member of the
// VLAN, and IPv4 and IPv6 remain enabled on the ports, as with the slice.
#pragma once

#include "conformance/Report.h"
#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/PortSwTable.h"
#include "platform/state/StrataCommonSmData.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Conformance {

/// A range of entry ids and its purpose.
struct ManagedRange
{
   std::string name; // in the report
   Ref<StrataBoundedTcamEntryManager> manager;
   std::optional<TcamGroup> group; // none: the slice's main range
   // The number of ids that may be used, from the manager's first one on.
   U32 freeOffset = 0;
   U32 freeEntries = 0;
};

/// The slice's main range and the assigned ranges of the group manager, with as many ids as the slice uses.
std::vector<ManagedRange> rangesOf( const Ref<StrataBoundedTcamEntryManager>& tcamManager,
   const Ref<StrataTcamGroupManager>& tcamGroupManager );

/// The state of an entry in hardware.
struct InstalledEntry
{
   U32 qualifiers = 0;
   U32 actions = 0;
   bool enabled = false;
   // Empty if the port does not report them.
   std::optional<PortBitmap> inPorts{};     // the arrival ports that match its port sets
   std::optional<PortBitmap> actionPorts{}; // of its action with a port bitmap
};

struct Port
{
   /// The data that the agent will give to the slice: the shim and the unit table. Its chips are in strataAttributes().
   Ref<StrataCommonSmData> scsd;
   std::vector<ManagedRange> ranges;
   Ref<StrataTcamGroupManager> tcamGroupManager; // null: the switch has none
   Ref<PortSwTable> portSwTable;                 // null: the agent has none; tried with `ports`

   U16 vlan =
      1; // exists on every unit; preferably with flags or settings that do not belong to the slice
   std::optional<U16> missingVlan;    // exists on no unit
   std::optional<U32> myStationIndex; // an index of the my-station memory that may be written
   std::vector<StrataPort>
      ports; // ports on which IPv4 and IPv6 may be enabled; one on each unit is enough

   /// Also makes wrong calls, which the slice never makes: claims outside a range or under another name, qualifiers on
   /// unclaimed ids. Set it to false for a port that ends the process at such calls.
   bool provoke = true;
   // The SDK's codes for wrong calls; without them, any failure is accepted.
   std::optional<int> notFoundCode;
   std::optional<int> configCode;

   // State that the interfaces do not show. Each hook is optional: a promise that return codes cannot prove is not
   // tried without its hook (Promises.def).
   /// Empty if the entry is not in hardware.
   std::function<std::optional<InstalledEntry>( U32 unit, U32 entry )> installedEntry;
   /// Makes the installed entry win one packet.
   std::function<void( U32 unit, U32 entry )> hitEntry;
   /// Whether the unit's Field Processor lock is held.
   std::function<bool( U32 unit )> fieldLocked;
   /// The value of a switch control, by the SDK's number.
   std::function<int( U32 unit, int control )> switchControlValue;
   /// The value of a port control, by the SDK's numbers of port and control.
   std::function<int( U32 unit, int port, int control )> portControlValue;
   /// The members of a VLAN.
   std::function<PortBitmap( U32 unit, U16 vlan )> vlanMembers;
   /// Advances the activity manager's clock by that time, and runs the timers that are due. Not needed for a RealClock
   /// or a ManualClock.
   std::function<void( double seconds )> runClock;
};

/// Tries every promise that the port allows. Requires: the activity lock is held, and the port's shim is the process's.
Report examine( const Port& port );

} // namespace Strata::Conformance
