// The outcome of a packet, and the reasons.
#pragma once

#include "sim/chip/FieldGroup.h"
#include "sim/packet/FieldKey.h"
#include "sim/packet/ForwardingTables.h"
#include "sim/packet/Frame.h"
#include "sim/switch/Cause.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

/// A packet that comes in.
struct Arrival
{
   PortRef port;
   Frame frame;
   bool higig = false;                 // by the stack link of the unit; the port says nothing then
   std::optional<StationKey> source{}; // the source in the previous pass, in a further pass
};

struct Departure
{
   PortRef port;
   Frame frame;
   std::string tunnel; // the tunnel that it is encapsulated for, or empty

   bool operator==( const Departure& ) const = default;
};

struct CpuCopy
{
   U32 unit;
   U32 queue;
   std::vector<std::string> reasons; // the entries, controls and groups that sent it
   Frame frame;

   bool operator==( const CpuCopy& ) const = default;
};

/// An entry that won its range.
struct Winner
{
   std::string group;
   U32 id;

   bool operator==( const Winner& ) const = default;
};

/// A station to be learned.
struct Learning
{
   StationKey key;
   Station::Place place;

   bool operator==( const Learning& ) const = default;
};

/// One pass through one chip.
struct PassVerdict
{
   PortRef arrival;
   std::vector<Departure> departures; // the internal ports by which it comes in again are not here
   std::optional<CpuCopy> cpu;
   // Why it leaves on no port; empty if it leaves, makes another pass, or is for the CPU.
   std::string drop;
   std::string dropReason; // the same without addresses, ports and the like
   std::vector<Winner> winners;
   std::optional<Learning> learning;

   bool operator==( const PassVerdict& ) const = default;
};

struct Verdict
{
   std::vector<PassVerdict> passes;
   bool loops = false; // it would have needed a further pass

   std::vector<const Departure*> departures() const;
   std::vector<const CpuCopy*> cpuCopies() const;
   /// Why it left on no port in its last pass; empty if it left on a port in any pass.
   std::string drop() const { return departures().empty() ? passes.back().drop : ""; }

   bool operator==( const Verdict& ) const = default;
};

/// The highest number of passes of a packet.
constexpr U32 maxPasses = 4;

// The explanation of a verdict. It refers to state of the chip, so it is valid until that changes.

/// A step of a pass: a lookup and its result.
struct StageNote
{
   std::string_view stage; // "my-station"
   std::string text;
   std::optional<ChipPlace> culprit{}; // the state that keeps the chip from routing
};

/// An entry of a range that was looked at.
struct EntryNote
{
   U32 id;
   const FieldEntry* entry; // in hardware
   bool won = false;
   U32 fitted = 0; // of its qualifiers
   U32 failed = 0; // of its qualifiers
   U32 bits = 0;   // that those that fitted compare
   // The first qualifier that failed; null if the entry is only disabled.
   const FieldQualifier* wanted = nullptr;
   std::string why; // "VLAN 10 has no SVI", where there are words for it
};

struct RangeNote
{
   std::string group;
   FieldKey presented;             // the packet's values
   std::vector<EntryNote> entries; // by id
};

/// State of the chip, other than entries, that was looked at.
struct StateNote
{
   ChipPlace place;
   U64 value;          // of a control or register, or the routing flags of a VLAN, a bit for each
   const Cause* cause; // null if nothing has written it

   /// "IP4 of port 1 is 1"
   std::string text() const;
   /// Requires: it is of a VLAN.
   std::set<VlanFlag> flags() const;
};

struct PassExplanation
{
   Arrival arrival;               // at the chip
   std::vector<StageNote> stages; // in order, up to the ranges
   std::vector<RangeNote> ranges;
   std::vector<StageNote> after; // what came of it
   std::vector<StateNote> state; // each once
};

struct Explanation
{
   std::vector<PassExplanation> passes;
};

} // namespace Strata::Sim
