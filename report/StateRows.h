// What the chips held at a moment, as rows of tables: equal rows of units and of ports are one, and each says what has
// changed since an earlier moment.
#pragma once

#include "desk/SwitchState.h"
#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "sim/switch/Cause.h"

#include <string>
#include <vector>

namespace Strata::Report {

VORMEL_ENUM( Section, U8, entries, controls, registers, myStation, vlans, room )
VORMEL_ENUM( RowChange, U8, none, made, changed, gone )

struct StateRow
{
   Section section{};
   U32 number = 0;     // id of an entry or VLAN, index
   std::string name{}; // "VLAN flood", "L3EgressMode"
   std::string range{};
   std::string state{};               // of an entry
   std::vector<std::string> values{}; // lines
   RowChange change = RowChange::none;
   std::string was{};  // what it had before, if it has changed or gone
   Sim::Cause cause{}; // of its latest value, for equal rows that of the first
   std::vector<U32> ports{};
   std::vector<U32> units{};
};

/// What writes to it are said to be about, for each of its ports: "L3EgressMode", "IP4 of port 1", "1034" for an entry.
std::vector<std::string> targetsOf( const StateRow& row );

/// In the order of sections. Parts that are as the chip came are left out, except entries, VLANs and room.
std::vector<StateRow> stateRows( const Desk::SwitchState& now, const Desk::SwitchState& before );

} // namespace Strata::Report
