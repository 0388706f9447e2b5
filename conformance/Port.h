// The conformance kit: examines an implementation of the platform interfaces for what the slice relies on.
//
//    Conformance::Port port;
//    port.scsd = scsd;                                  // with shim, unit table, chip attributes
//    port.ranges = Conformance::rangesOf( tcamManager, tcamGroupManager );
//    port.tcamGroupManager = tcamGroupManager;
//    const Conformance::Report report = Conformance::examine( port );
//    std::cout << report.text();
//
// It is meant for a fresh unit, or a switch in a lab, on which no slice runs. It releases every entry it claims
// and puts back every register, memory entry, VLAN record and row of the port table that it writes. Switch
// controls cannot be read through the shim: without the hook for that they keep the values that the slice writes
// at bring-up. A register or VLAN record whose read is not available is written with zeros. The CPU port stays a
// member of the VLAN, and IPv4 and IPv6 stay switched on at the ports, as the slice has them.
#pragma once

#include "conformance/Report.h"
#include "platform/state/PortSwTable.h"
#include "platform/state/StrataCommonSmData.h"
#include "platform/tcam/TcamEntryManager.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Conformance {

/// A range of entry ids and whom it serves.
struct ManagedRange
{
   std::string name; // in the report
   Ref<StrataBoundedTcamEntryManager> manager;
   std::optional<TcamGroup> group; // none: the slice's main range
   // The ids that may be tried, from the manager's first one on.
   U32 freeOffset = 0;
   U32 freeEntries = 0;
};

/// The slice's main range and those of the groups that are assigned, with as many ids as the slice uses.
std::vector<ManagedRange> rangesOf( const Ref<StrataBoundedTcamEntryManager>& tcamManager,
   const Ref<StrataTcamGroupManager>& tcamGroupManager );

/// What hardware holds of an entry.
struct InstalledEntry
{
   U32 qualifiers = 0;
   U32 actions = 0;
   bool enabled = false;
   // Empty where the port cannot tell.
   std::optional<PortBitmap> inPorts{};     // the arrival ports that its port sets let pass
   std::optional<PortBitmap> actionPorts{}; // of its action with a port bitmap
};

struct Port
{
   /// What the agent will hand to the slice: the shim, the unit table; its chips are in strataAttributes().
   Ref<StrataCommonSmData> scsd;
   std::vector<ManagedRange> ranges;
   Ref<StrataTcamGroupManager> tcamGroupManager; // null: the switch has none
   Ref<PortSwTable> portSwTable;                 // null: the agent has none; tried with `ports`

   U16 vlan = 1; // exists on every unit; best one with flags or settings that are not the slice's
   std::optional<U16> missingVlan;    // exists on none
   std::optional<U32> myStationIndex; // an index of the my-station memory that may be written
   std::vector<StrataPort> ports; // where IPv4 and IPv6 may be switched on; one a unit is enough

   /// Also makes the mistakes that the slice never makes: claims outside a range or under another name,
   /// qualifiers on unclaimed ids. False for a port that ends the process at them.
   bool provoke = true;
   // The SDK's codes for them; where they are not given, any failure will do.
   std::optional<int> notFoundCode;
   std::optional<int> configCode;

   // What the interfaces do not tell. Each is optional: a promise that only return codes would speak for is not
   // tried without its hook (Promises.def).
   /// Nothing when the entry is not in hardware.
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
   /// Lets that much time pass on the activity manager's clock, and runs what is due. Not needed for a RealClock
   /// or a ManualClock.
   std::function<void( double seconds )> runClock;
};

/// Tries every promise that the port allows. The activity lock is held, and the port's shim is the process's.
Report examine( const Port& port );

} // namespace Strata::Conformance
