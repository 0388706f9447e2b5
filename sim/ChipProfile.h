// Kinds of chips that can be simulated, as data. Nothing here changes while a switch runs.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/ChipInfo.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/tcam/TcamEntryManager.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

enum class Qualifier : U8;

/// When a group is looked up on a packet's way through the chip.
enum class FieldStage : U8
{
   lookup, // before the forwarding tables
   urpf,   // when the reverse path is checked
   final,  // when the destination is known
};

/// A range of entry ids in a group of the Field Processor that has a manager of its own.
struct FieldGroupProfile
{
   std::string name;             // "main", "ttl-check", ...
   std::optional<TcamGroup> key; // how the group manager knows it; the main group has none
   U32 base;                     // the first entry id
   U32 size;                     // how many ids
   U32 room;                     // how many entries the hardware of one unit has room for
   FieldStage stage = FieldStage::final;
   bool acl = false; // its key has no class fields and no port bitmap
};

/// Port numbers that are no front-panel port's. Front-panel ports are 1 to the configured number.
struct SpecialPorts
{
   int cpu = 0;
   std::optional<int> loopback;
   std::optional<int> recirculation; // a port of its own for recirculation
};

struct ChipProfile
{
   std::string name;
   std::string description; // one line for people
   ChipAttributes attributes;
   SpecialPorts specialPorts;
   U32 frontPanelPorts; // unless configured otherwise
   std::vector<FieldGroupProfile> groups;
   U32 myStationEntries;
   U32 ipOptionsProfiles; // how many the chip can hold
   U32 l2McastGroups = 4096;
   U32 cpuQueues = 48;
   bool hasIpOptionsProfile = false;
   bool resolvesHigigTrunksAsLag = false;
   // What the agent configures on switches with this chip.
   bool fabricMode = false;
   bool vfiForwarding = false;
   bool vxlanEnabled = false;

   /// Changes a capability of `attributes` by name; ValueError, with the nearest one, when there is
   /// none.
   void capabilityIs( std::string_view capability, bool value );

   bool supports( SwitchControl control ) const;
   bool supports( Register reg ) const;
   bool supports( FieldAction action ) const;
   bool supports( Qualifier qualifier ) const;
};

constexpr U32 maxFrontPanelPorts = 256;

/// The names of the chip's attributes, "usesHsdk" included.
std::span<const std::string_view> capabilityNames();

std::span<const ChipProfile> chipProfiles();
std::vector<std::string_view> chipProfileNames();
/// ValueError, with the nearest name, when there is no such profile.
const ChipProfile& chipProfile( std::string_view name );

} // namespace Strata::Sim
