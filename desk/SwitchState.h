// What the chips of a switch hold, as a value that can be kept and compared: entries, controls, registers, my-station
// entries, VLANs, room. It has the names of roles instead of an SDK's numbers, so switches that work alike are equal.
//
// Requires: the activity lock is held while a state is taken. A state refers to nothing of its switch.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "sim/switch/Cause.h"

#include <compare>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Sim {
class SimSwitch;
}

namespace Strata::Desk {

VORMEL_ENUM( PartKind, U8, chip, entry, control, portControl, portSwitchControl, reg, myStation,
   vlan, optionsProfile, room )

/// Which part of a switch. The unit is last, so that equal parts of the units are neighbours.
struct PartKey
{
   PartKind kind;
   U32 number = 0; // id of an entry, VLAN or profile; index; position of a role in its enum
   int port = 0;
   U32 unit = 0;

   auto operator<=>( const PartKey& ) const = default;
};

/// A value of a part, with the command that wrote it.
struct Field
{
   std::string name; // "Ttl", "state"; empty if the part is one value
   std::string value;
   Sim::Cause cause{};
};

struct Part
{
   std::string title;   // "main 34 \"VLAN flood\"", "control L3EgressMode"
   std::string name{};  // "VLAN flood", "L3EgressMode"; empty for what has only a number
   std::string range{}; // of an entry, or of a room
   std::vector<Field> fields{};
   std::string text{}; // all of it in one line
};

class SwitchState
{
 public:
   /// Of a switch without chips.
   SwitchState() = default;
   explicit SwitchState( const Sim::SimSwitch& hardware );
   /// Of parts that were kept elsewhere.
   explicit SwitchState( std::map<PartKey, Part> parts ) : parts_( std::move( parts ) ) {}

   const std::map<PartKey, Part>& parts() const { return parts_; }

 private:
   std::map<PartKey, Part> parts_;
};

/// A value that two states do not share: of a field, or of a whole part if only one of them has the part.
struct Difference
{
   PartKey key;
   std::string part;  // its title
   std::string field; // empty for a whole part
   std::optional<std::string> before{};
   std::optional<std::string> after{};
   Sim::Cause cause{}; // of the later value; empty without one
};

/// In the order of parts, and within a part in that of its fields. Empty if both hold the same, whatever caused it.
std::vector<Difference> differences( const SwitchState& before, const SwitchState& after );

} // namespace Strata::Desk
