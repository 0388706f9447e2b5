// The kinds of chips that can be simulated, as constant data. To add one, write its function in ChipProfile.cpp and
// list it in chipProfiles().
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/ChipInfo.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/sdk/TcamEntryManager.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

enum class Qualifier : U8;

/// The stage at which a group is looked up while a packet passes through the chip.
enum class FieldStage : U8
{
   lookup, // before the forwarding tables
   urpf,   // when the reverse path is checked
   final,  // when the destination is known
};

/// A range of entry ids in a group of the Field Processor, with its own manager.
struct FieldGroupProfile
{
   std::string name;             // "main", "ttl-check", ...
   std::optional<TcamGroup> key; // its key in the group manager; the main range has none
   U32 base;                     // the first entry id
   U32 size;                     // number of ids
   U32 room;                     // number of entries that fit into the hardware of one unit
   FieldStage stage = FieldStage::final;
   bool acl = false; // its key has no class fields and no port bitmap
};

/// Numbers of internal ports. Front-panel ports are 1 to the configured number.
struct SpecialPorts
{
   int cpu = 0;
   std::optional<int> loopback;
   std::optional<int> recirculation; // a separate port for recirculation
};

struct ChipProfile
{
   std::string name;
   std::string description; // one line for lists
   ChipAttributes attributes;
   SpecialPorts specialPorts;
   U32 frontPanelPorts; // default number
   std::vector<FieldGroupProfile> groups;
   U32 myStationEntries;
   U32 ipOptionsProfiles; // number of profiles that fit into the chip
   U32 l2McastGroups = 4096;
   U32 cpuQueues = 48;
   bool hasIpOptionsProfile = false;
   bool resolvesHigigTrunksAsLag = false;
   // Settings that the agent configures on switches with this chip.
   bool fabricMode = false;
   bool vfiForwarding = false;
   bool vxlanEnabled = false;

   /// Changes a capability of `attributes` by name; ValueError, with the nearest name, when there is
   /// none.
   void capabilityIs( std::string_view capability, bool value );

   // Whether the chip has the control, register, action or qualifier; the shim returns BCM_E_UNAVAIL otherwise.
   bool supports( SwitchControl control ) const;
   bool supports( Register reg ) const;
   bool supports( FieldAction action ) const;
   bool supports( Qualifier qualifier ) const;
};

constexpr U32 maxFrontPanelPorts = 256;

/// The names of the chip's attributes, including "usesHsdk".
std::span<const std::string_view> capabilityNames();

std::span<const ChipProfile> chipProfiles();
std::vector<std::string_view> chipProfileNames();
/// ValueError, with the nearest name, when there is no such profile.
const ChipProfile& chipProfile( std::string_view name );

} // namespace Strata::Sim
