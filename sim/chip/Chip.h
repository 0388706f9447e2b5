// One simulated chip: everything that was programmed into a unit. It uses neither entities nor
// locks: SDK operations change it while the activity lock is released, so only the thread that
// drives the switch may access it.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkShimInterface.h"
#include "platform/types/PortBitmap.h"
#include "sim/chip/ChipProfile.h"
#include "sim/chip/FieldGroup.h"
#include "sim/chip/MyStationTable.h"
#include "sim/sdk/SdkCodes.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Sim {

/// A VLAN of a chip. `otherFlags` and `rest` belong to the chip, and the slice must not change them.
struct ChipVlan
{
   std::set<VlanFlag> flags;
   U32 otherFlags = 0;
   std::array<std::byte, 252> rest{};
   PortBitmap members;
   PortBitmap untagged;

   /// "vlanIp4RoutingOff, vlanIp6RoutingOff"; "none" without a flag.
   std::string flagsText() const;
};

class Chip
{
 public:
   /// `firstLogicalPort` is the logical number of the first front-panel port.
   Chip( U32 unit, U32 modId, const ChipProfile& profile, U32 frontPanelPorts,
      U32 firstLogicalPort = 1 );
   Chip( const Chip& ) = delete;
   Chip& operator=( const Chip& ) = delete;

   U32 unit() const { return unit_; }
   U32 modId() const { return modId_; }
   const ChipProfile& profile() const { return profile_; }

   // Ports. Sets of ports use logical numbers, which are unique in the switch for front-panel ports; operations
   // on one port use the SDK's number, which starts at 1 on each unit. Both numbers of an internal port are the same.
   const PortBitmap& frontPanelPorts() const { return frontPanel_; }
   /// Front panel, CPU, loopback and recirculation.
   const PortBitmap& ports() const { return ports_; }
   /// The same set by the SDK's numbers.
   PortBitmap sdkPorts() const;
   bool hasPort( int sdkPort ) const { return logicalPort( sdkPort ).has_value(); }
   /// None for a port that the chip does not have.
   std::optional<U32> logicalPort( int sdkPort ) const;
   /// Requires: the chip has the port.
   U32 sdkPort( U32 logicalPort ) const;
   /// The front-panel ports that are up, initially all; the contents of the unit record.
   const PortBitmap& activePorts() const { return active_; }
   void portActiveIs( int sdkPort, bool active );

   // Properties that differ between units of one kind.
   bool resolvesHigigTrunksAsLag;
   bool trapsTtlExceptions() const { return trapsTtlExceptions_; }
   /// ValueError for a change after routing has been on, because entries depend on the answer.
   void trapsTtlExceptionsIs( bool traps );

   // Switch controls; Param for a value outside the control's range. A chip-wide write goes to all
   // ports; a port that was written individually since then has its own value.
   SdkCode controlIs( SwitchControl control, int value );
   SdkCode controlIs( int port, SwitchControl control, int value );
   int control( SwitchControl control ) const;
   int control( int port, SwitchControl control ) const;
   /// The values that were written chip-wide, and for single ports.
   const std::map<SwitchControl, int>& controls() const { return controls_; }
   const std::map<std::pair<int, SwitchControl>, int>& portSwitchControls() const
   {
      return portSwitchControls_;
   }

   SdkCode portControlIs( int port, PortControl control, int value );
   const std::map<std::pair<int, PortControl>, int>& portControls() const { return portControls_; }

   // Registers, as raw values; RegisterLayout.h has their fields.
   U64 registerValue( Register reg ) const { return registers_[ static_cast<std::size_t>( reg ) ]; }
   void registerIs( Register reg, U64 value )
   {
      registers_[ static_cast<std::size_t>( reg ) ] = value;
   }

   MyStationTable& myStation() { return myStation_; }
   const MyStationTable& myStation() const { return myStation_; }

   // VLANs. The members of a new one are all front-panel ports, untagged, and the CPU.
   void vlanIs( U16 vlanId );
   void vlanDel( U16 vlanId ) { vlans_.erase( vlanId ); }
   const std::map<U16, ChipVlan>& vlans() const { return vlans_; }
   /// Null if it does not exist.
   ChipVlan* vlan( U16 vlanId );

   // IPv4 options profiles by id, with their actions.
   SdkCode ipOptionsProfileCreate( IpOptionAction action, int& profile );
   SdkCode ipOptionsProfileDestroy( int profile );
   const std::map<int, IpOptionAction>& ipOptionsProfiles() const { return ipOptionsProfiles_; }

   // For a new agent. What other parts of an agent set stays: VLANs and their ports, ports that are up, the room of ranges,
   // the unit's properties.
   /// As after a reset: nothing is programmed any more.
   void reset();
   /// What is programmed stays, and nothing of it is claimed.
   void abandon();
   /// Removes the entries and IPv4 options profiles that nothing has claimed since. Returns their names.
   std::vector<std::string> sweep();

   // The origins of chip state.
   void causeIs( const ChipPlace& place, Cause cause ) { causes_[ place ] = std::move( cause ); }
   /// Null if it has not been written since the chip was made.
   const Cause* cause( const ChipPlace& place ) const;

   // The Field Processor.
   bool fieldLocked = false;
   std::vector<FieldGroup>& groups() { return groups_; }
   const std::vector<FieldGroup>& groups() const { return groups_; }
   /// Null if there is no such range.
   FieldGroup* group( std::string_view name );
   /// The range that contains the id, or null.
   FieldGroup* groupOf( U32 entryId );
   /// Whether a claim of the entry failed without an error of the caller; for entry 0, whether any claim on the
   /// unit did.
   bool wasTurnedAway( U32 entryId ) const;

 private:
   void resetRegisters();

   U32 unit_;
   U32 modId_;
   const ChipProfile& profile_;
   U32 firstLogicalPort_;
   bool trapsTtlExceptions_ = false;
   bool hasRouted_ = false; // routing has been on, so entries depend on trapsTtlExceptions
   PortBitmap frontPanel_;
   PortBitmap ports_;
   PortBitmap active_;
   std::map<SwitchControl, int> controls_;
   std::map<std::pair<int, SwitchControl>, int> portSwitchControls_;
   std::map<std::pair<int, PortControl>, int> portControls_;
   std::array<U64, roleNames<Register>.size()> registers_;
   MyStationTable myStation_;
   std::map<U16, ChipVlan> vlans_;
   std::map<int, IpOptionAction> ipOptionsProfiles_;
   std::set<int> abandonedProfiles_; // of those
   std::map<ChipPlace, Cause> causes_;
   std::vector<FieldGroup> groups_;
};

/// The chips of a switch by unit number.
using Chips = std::map<U32, Chip>;

} // namespace Strata::Sim
