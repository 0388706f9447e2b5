// A whole simulated switch: chips, the SDK shim, the entry managers, and every input object that an
// agent hands to the slice. One at a time per process, because there is one shim.
//
// Requires: the activity lock is held while a switch is made, used and destroyed, and objects that call its
// shim or its entry managers are destroyed before it.
#pragma once

#include "platform/runtime/Ref.h"
#include "platform/sdk/ObservedShim.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/L3State.h"
#include "platform/state/Mlag.h"
#include "platform/state/StrataCommonSmData.h"
#include "sim/sdk/SimShim.h"
#include "sim/sdk/TcamManagers.h"
#include "sim/switch/Hardware.h"
#include "sim/switch/Recorder.h"
#include "sim/switch/SimPortSwTable.h"

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

constexpr U32 maxUnits = 64;

struct SimSwitchConfig
{
   std::string profile = "hsdk";
   std::optional<ChipProfile> chip{}; // in place of a profile by its name
   std::vector<U32> units{ 0 };       // 1 to 64 unit numbers, each up to 65535
   std::optional<U32>
      ports{};                // front-panel ports of a unit, 1 to 256; by default as in the profile
   std::optional<U64> seed{}; // of the SDK's numbers; by default different in every process
   /// Capabilities in which the chip differs from its profile, by name (capabilityNames()).
   std::map<std::string, bool> capabilities{};
   bool record = true; // notifications, traces, log messages and fatal lines go to the transcript
};

/// Units 0 to count - 1.
std::vector<U32> unitNumbers( U32 count );

// The input objects of the slice and the objects that it writes: name in scenarios, accessor, type, and what its
// constructor is given.
// clang-format off
#define STRATA_SIM_OBJECTS( OBJECT ) \
   OBJECT( "scsd", scsd, StrataCommonSmData, &observed_ ) \
   OBJECT( "features", features, Features ) \
   OBJECT( "miscConfig", miscConfig, StrataMiscConfig ) \
   OBJECT( "pbr", pbrInfo, StrataPbrInfo ) \
   OBJECT( "sourceIpLookup", sourceIpLookup, BastleSourceIpLookupConfig ) \
   OBJECT( "l2Mcast", l2McastTableAllocation, L2McastTableAllocationEnt ) \
   OBJECT( "urpf", urpfCommonData, StrataUrpfCommonData ) \
   OBJECT( "ethIntfStatusDir", ethIntfStatusDir, Interface::EthIntfStatusDir ) \
   OBJECT( "intfVlanId", intfVlanIdTable, IntfVlanId::Table ) \
   OBJECT( "virtualPorts", virtualPortStatus, VirtualPortStatus ) \
   OBJECT( "hwStatus", hwStatus, HwStatus ) \
   OBJECT( "nexthops", nexthopStatusDir, NexthopStatusDir ) \
   OBJECT( "mlagStatus", mlagStatus, Mlag::Status ) \
   OBJECT( "mlagHwStatus", mlagHwStatus, Mlag::Hardware::Status ) \
   OBJECT( "recircStatus", recircStatus, ::Lag::Recirc::RecircFeatureStatus )
// clang-format on

class SimSwitch
{
 public:
   /// ValueError when the configuration is invalid. Sets the process's shim and the sinks of traces, log
   /// messages and fatal lines; the destructor restores them.
   explicit SimSwitch( const SimSwitchConfig& config );
   SimSwitch( const SimSwitch& ) = delete;
   SimSwitch& operator=( const SimSwitch& ) = delete;
   ~SimSwitch();

   const ChipProfile& profile() const { return profile_; }
   /// In ascending order.
   const std::vector<U32>& units() const { return units_; }
   U32 portsPerUnit() const { return ports_; }
   U64 seed() const { return seed_; }

   Transcript& transcript() { return transcript_; }
   /// Sets the cause of later changes; the changed state records it.
   void causeIs( std::string cause ) { cause_ = { std::move( cause ), {}, 0 }; }
   // For a new agent, with the inputs as they are.
   /// Resets the chips.
   void reset();
   /// Leaves the chips as they are, with nothing claimed; what the new agent claims under the same name it adopts.
   void abandon();
   /// Removes what the new agent has not claimed. Returns the names, with their units.
   std::vector<std::string> sweep();

   /// Records the current command as the cause of state that it changes without the slice.
   void pokes( U32 unit, const ChipPlace& place ) { chip( unit ).causeIs( place, cause_ ); }
   Critic& critic() { return critic_; }
   Faults& faults() { return faults_; }
   SimShim& shim() { return shim_; }
   /// The process's shim, which counts and times the calls and passes them to shim().
   ObservedShim& observedShim() { return observed_; }
   const SdkNumbers& numbers() const { return numbers_; }
   Chips& chips() { return chips_; }
   const Chips& chips() const { return chips_; }
   /// ValueError when there is no such unit.
   Chip& chip( U32 unit );
   const Chip& chip( U32 unit ) const;

   // The entry managers by the name of their range ("main", "ttl-check", ...); null if the profile has no such range.
   Ref<SimTcamEntryManager> tcamManager( std::string_view group = "main" ) const;
   const std::vector<Ref<SimTcamEntryManager>>& tcamManagers() const { return tcamManagers_; }
   const Ref<SimTcamGroupManager>& tcamGroupManager() const { return tcamGroupManager_; }

   // The objects of the table above.
#define STRATA_SIM_OBJECT_ACCESSOR( name, accessor, Type, ... ) \
   const Ref<Type>& accessor() const \
   { \
      return accessor##_; \
   }
   STRATA_SIM_OBJECTS( STRATA_SIM_OBJECT_ACCESSOR )
#undef STRATA_SIM_OBJECT_ACCESSOR
   const Ref<SimPortSwTable>& portSwTable() const
   {
      return portSwTable_;
   }

   struct NamedObject
   {
      std::string_view name;
      const Vormel::EntityType& ( *type )();
      Ref<Entity> ( *in )( const SimSwitch& );
   };
   static std::span<const NamedObject> objects();
   /// An object by its name in scenarios, or an interface's status by the interface's name; null when nothing has
   /// that name.
   Ref<Entity> object( std::string_view name ) const;
   /// ValueError when the configuration is invalid.
   static void check( const SimSwitchConfig& config );

   /// Also writes this entity's changes to the transcript, under the given name, or its type's.
   void record( const Ref<const Entity>& entity, const std::string& name = {} )
   {
      recorder_.record( entity, name );
   }
   void forget( const Entity& entity )
   {
      recorder_.forget( entity );
   }

   /// ValueError unless the port exists and no other interface is on it.
   void checkInterface( Vormel::IntfId intf, U32 unit, int port ) const;
   /// Puts an Ethernet interface on a port: its status (bridged when it is new), its logical port
   /// number (by default the chip's own), the port itself, then the model.
   /// ValueError as for checkInterface().
   void addInterface( Vormel::IntfId intf, U32 unit, int port,
      std::optional<Interface::ForwardingModel> model = std::nullopt,
      std::optional<U32> logicalPort = std::nullopt );
   /// Takes the interface out of its LAG, then removes it in the reverse order.
   void removeInterface( Vormel::IntfId intf );
   /// ValueError for an interface that cannot be a LAG, and for invalid members.
   void checkLag( Vormel::IntfId lag, const std::vector<Vormel::IntfId>& members ) const;
   /// Makes the LAG, if it is new, and gives it exactly these members in this order; takes them out of other
   /// LAGs. ValueError as for checkLag().
   void lagIs( Vormel::IntfId lag, const std::vector<Vormel::IntfId>& members );
   void lagDel( Vormel::IntfId lag );
   /// The status of an interface of any kind, made when it does not exist.
   Ref<Interface::EthIntfStatus> intfStatus( Vormel::IntfId intf );
   /// Puts a next-hop entity into its directory and replaces one of the same name.
   void nexthopIs( const std::string& name, bool programmed, bool usesL3Egress );
   void nexthopDel( const std::string& name )
   {
      nexthopStatusDir_->entityDel( name );
   }
   /// Makes the VLAN on every unit, or removes it.
   void vlanIs( U16 vlanId );
   void vlanDel( U16 vlanId );
   /// Sets whether the unit has its own IPv4 options profile.
   void hasIpOptionsProfileIs( U32 unit, bool has );

 private:
   void makeManagers();
   void setUpObjects();
   void takeOutOfLag( Vormel::IntfId lag, Vormel::IntfId member );
   void removeStatus( Vormel::IntfId intf );

   ChipProfile profile_;
   std::vector<U32> units_;
   U32 ports_;
   U64 seed_;
   Transcript transcript_;
   Faults faults_;
   SdkNumbers numbers_;
   Chips chips_;
   Critic critic_{ chips_, transcript_ };
   Cause cause_;
   Hardware hardware_{ chips_, numbers_, critic_, faults_, transcript_, cause_ };
   SimShim shim_;
   ObservedShim observed_{ shim_ };
   std::vector<Ref<SimTcamEntryManager>> tcamManagers_;
   Ref<SimTcamGroupManager> tcamGroupManager_;
   Recorder recorder_{ transcript_, cause_ };
   class Sinks;
   std::unique_ptr<Sinks> sinks_;

#define STRATA_SIM_OBJECT_MEMBER( name, accessor, Type, ... ) \
   Ref<Type> accessor##_{ Vormel::make<Type>( __VA_ARGS__ ) };
   STRATA_SIM_OBJECTS( STRATA_SIM_OBJECT_MEMBER )
#undef STRATA_SIM_OBJECT_MEMBER
   Ref<SimPortSwTable> portSwTable_{ Vormel::make<SimPortSwTable>() };
};

} // namespace Strata::Sim
