// The object that owns the slice's hardware state: inputs, ids of installed entries, router MACs, and which
// routing features are on.
//
// Everything runs on the agent's reactor thread with the activity lock held. Operations that touch hardware
// release the lock for the length of each SDK call. An SDK call that fails ends the agent. All operations
// can be repeated: an entry that exists is claimed and installed again.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/sdk/SdkShimInterface.h"
#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/Mlag.h"
#include "platform/state/PortSwTable.h"
#include "platform/state/StrataCommonSmData.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "platform/types/PortBitmap.h"
#include "routing/RoutingState.h"
#include "routing/RoutingStatusHelperAttributes.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Strata {

using Vormel::EthAddr;
using Vormel::IntfId;
using Vormel::Ref;

/// The value of ipOptionsProfile while no IPv4 options profile exists.
constexpr S32 noIpOptionsProfile = -1;

/// Whether an interface checks the source of routed packets.
enum class UrpfStatus : U8
{
   off,
   loose,
   strict,
};

class VORMEL_EXPORT RoutingStatusHelper : public Vormel::Entity
{
   VORMEL_ENTITY( RoutingStatusHelper, STRATA_ROUTING_STATUS_HELPER_ATTRIBUTES )
   VORMEL_SIZE_OF_LIBRARY

   /// Keeps a reference to each input; null inputs are stored as null. Does not touch hardware; init() does.
   RoutingStatusHelper( const std::string& name, const Ref<StrataCommonSmData>& scsd,
      const Ref<StrataTcamGroupManager>& tcamGroupManager,
      const Ref<const StrataPbrInfo>& strataPbrInfo, bool fabricMode,
      const Ref<const Mlag::Status>& mlagStatus,
      const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
      const Ref<Lag::Recirc::RecircFeatureStatus>& recircStatus,
      const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
      const Ref<const IntfVlanId::Table>& intfVlanIdTable,
      const Ref<StrataUrpfCommonData>& strataUrpfCommonData,
      const Ref<const VirtualPortStatus>& virtualPortStatus,
      const Ref<PortSwTable>& portSwTablePtr );

   std::string entityName() const override { return "RoutingStatusHelper"; }

   /// Raises the counter, re-programs the flood entries, publishes; returns the new value. A delta of 0 has no effect.
   U32 reprogramVlanFloodRequiredInc( U32 delta );

   // Chip initialisation (ChipInit.cpp, ChipRegisters.cpp)

   /// Brings the chips' L3 engine up (`enable`) or down. Either way sends L3 exceptions to the CPU and makes
   /// the entries that must exist from the start; only the L2 multicast CPU and MPLS drop entries depend on
   /// `enable`. `initHw` is only traced. A unit above 255 that would need TTL-check entries is a ValueError, and
   /// nothing is written. Publishes ttlCheckTcamManager, useLb, allPortsL2Mc, l3Initializing, l3CleaningUp and
   /// the entry ids.
   void init( bool enable, bool initHw );
   /// init( enable, true ).
   void l3Init( bool enable );
   /// Sends MPLS label misses and TTL errors to the CPU, on chips that control them by CPU_CONTROL_M.
   void initCpuControlM();
   /// Programs the uRPF and IGMP controls and the ingress configuration register of the single unit.
   void doWriteIngConfig();
   /// Packets that the CPU sends are never copied back to it. Single unit.
   void doNotCopyPacketFromCpuToCpu();

   // Next hop to CPU (ExceptionEntries.cpp)

   /// Copies packets whose next hop is the CPU to it, on every unit. The id is fixed and therefore not recorded.
   void initializeNextHopToCpuTcam();

   // Flood entries (FloodEntries.cpp, VxlanFloodEntries.cpp)

   /// Routed packets to be flooded in their VLAN go to the ports of vlanFloodPbmp(), through the loopback
   /// port (useLb), or to the CPU (vfiForwarding). Records tcamEntryVlanFlood.
   void handleTcamEntryVlanFlood( bool create );
   /// The same for packets of policy routing; the entry is enabled while policy routing is. Never made in fabric
   /// mode or an ACL group. Records tcamEntryVlanFloodPbr.
   void handleTcamEntryVlanFloodPbr( bool create );
   /// Enables or disables the policy-routing entry, if there is one, on every unit.
   void handleEnableTcamEntryVlanFloodPbr( bool enable );
   /// Routed floods in a VXLAN VLAN take a second pass, on chips that need one. Records tcamEntryVlanFloodVxlan.
   void handleTcamEntryVlanFloodVxlan( bool create );
   /// Routed floods in a VXLAN VLAN in one pass. Records tcamEntryVxlanEncapFlood.
   void handleTcamEntryVxlanEncapFlood( bool create );

   // Loopback and recirculation entries (LoopbackEntries.cpp)

   /// Packets that return from the loopback port are forwarded in their VLAN; the entries exist while useLb is true.
   /// Records tcamEntryLbRecircL2Uc and tcamEntryLbRecirc.
   void handleTcamEntryLb();
   /// Second passes into and out of tunnels, on chips that need them. Records tcamEntryL3RecircAfterDecap and
   /// tcamEntryL3RecircForEncap.
   void handleTcamEntryL3Recirc( bool create );

   // L2 multicast and the CPU (L2McastCpuEntries.cpp)

   /// The entries that implement the reserved multicast groups. Records the five tcamEntry...Mcast attributes.
   void handleTcamEntryL2McastCpu( bool create );
   /// Known L2 multicast that a tunnel delivers skips the CPU while VXLAN is on. Records
   /// tcamEntrySkipL2McastPktFromCoreToCpu.
   void programSkipL2McastPktFromCoreToCpu( bool vxlanEnabled );

   // MPLS (MplsEntries.cpp)

   /// MPLS to a router MAC is dropped while MPLS routing is off, and otherwise gets its own CPU queue. Records
   /// tcamEntryMplsPkt and tcamEntryMplsActionDrop.
   void handleTcamEntryMplsTrafficDrop( bool create );

   /// Turns MPLS routing on or off: the action of the entry above, and the LSP ping entry. Publishes
   /// mplsRoutingEnabled.
   void handleMplsRouting( bool enable );
   /// LSP ping requests whose last label the previous hop has popped go to the CPU. Records vfpEntryPhpLspPing.
   void handleTcamEntryMplsPhpLspPing( bool create );

   // Global routing (GlobalRouting.cpp)

   /// Turns IPv4 and IPv6 routing of the whole chip on or off. Controls are written only when the first family is
   /// turned on or the last one off.
   /// Publishes routing4Enabled, routing6Enabled and ipOptionsProfile. The first time routing is turned on in
   /// a process, STRATA_SMALLTABLES_ENABLE in the environment ends it.
   void handleRouting( bool enable, bool enable6 );
   /// The same controls for the port of an interface. Requires: the interface has a port.
   void programSwitchCtrlPortSet( IntfId intf );

   // Routing per VLAN (VlanRouting.cpp). VLAN ids are 1 to 4094. Operations that keep state per VLAN refuse others
   // with a ValueError, skip units without the VLAN, and forget a VLAN that exists on no unit.
   // handleVlanRoutingState keeps no state and passes the low 16 bits to the SDK.

   /// Rewrites the VLAN's routing flags on every unit and keeps all other flags. It keeps no state: whichever
   /// operation writes a VLAN's flags last determines them.
   void handleVlanRoutingState( U32 vlanId, RoutingState state );
   /// Off: a VLAN routes whenever routing is on. On: each VLAN routes according to its own state. Applies the
   /// change to every known VLAN.
   /// Publishes perVlanRoutingEnabled.
   void handlePerVlanRouting( bool enable );
   /// Records that the VLAN routes, or not, and applies it.
   void enableVlanRouting( U32 vlanId, bool enable );
   /// Records the families of which the VLAN's interface has an address. With neither, the CPU leaves the VLAN.
   void handleIpAddressState( U32 vlanId, bool ip4, bool ip6 );
   /// Takes the CPU port out of the VLAN or puts it back, tagged. Does nothing if the state is unchanged.
   void handleVlanCpuPort( U32 vlanId, bool block );

   // Router MACs (MyStation.cpp)

   /// Writes one entry of the my-station memory: frames to the MAC (with the VLAN, or from the CPU port, if given)
   /// are for the router. `routing` terminates IPv4, IPv6 and MPLS. With vlanIdValid, VLAN ids 0 to 4095 are written
   /// as given; others are a ValueError, and nothing is written.
   static void addMyStationTcamEntry( U32 unit, U32 index, const EthAddr& mac, bool vlanIdValid,
      U32 vlanId, bool ingressPortCpu, bool arpTermination, bool routing );
   /// Clears one entry.
   static void removeMyStationTcamEntry( U32 unit, U32 index );
   /// Reads one entry back, twice, and fails an assertion if a field differs from the expected value.
   static void verifyMyStationTcamEntry( U32 unit, U32 index, bool valid, const EthAddr& mac,
      bool vlanIdValid, U32 vlanId, bool ingressPortCpu, bool expectArpTermination, bool routing );
   /// Installs or removes the two entries of the MLAG peer's MAC, if the chip can route for it. Publishes
   /// peerRouterMacAddr and both indexes.
   void handlePeerMacRouting( const EthAddr& mac, bool add );
   /// Fails an assertion if the indexes or the hardware do not match the MLAG state.
   void verifyPeerMacRoutingStatus();

   // Entries of a router MAC (L2OnlyTrapEntries.cpp, VxlanEntries.cpp, ArpEntries.cpp)

   /// Packets to routerMacAddr that are not routed go to the CPU. Does nothing while all entries have that MAC in
   /// hardware (tcamEntryRouterMac), and withdraws all entries if the MAC is zero. After one of the operations below
   /// is called by name, tcamEntryRouterMac is zero unless all entries have the same MAC. Publishes tcamEntryRouterMac.
   void handleTcamEntryL2ToCpu();
   /// The same for virtualRouterMacAddr.
   void handleTcamEntryL2FennicToCpu();
   /// Makes the trap and ARP entries of a MAC kind, or removes them if the MAC is zero. Records
   /// tcamEntryTrapCpuForL2Only and tcamEntryTrapCpuFromCpu.
   void installTcamEntryForNonRoutableToCpu( MacType macType );
   /// Tunnelled packets for the router that are not routed go to the CPU. Records tcamEntryL3Vxlan.
   void installTcamEntryForL3Vxlan( MacType macType );
   /// Tunnelled packets for stations are not trapped. Records tcamEntryL2Vxlan.
   void programL2VxlanTcam( MacType macType );
   // Unlike the operations above, the two of ARP make their entries also while the MAC is zero, to match that address.

   /// ARP replies to the MAC go to the CPU, on units that do not send them there themselves. Actions are added
   /// only while no id is recorded. Records tcamEntryArpReply.
   void handleTcamEntryArpReplyToCpu( MacType macType );
   /// Unicast ARP requests to routerMacAddr are dropped. Records tcamEntryArpReqUnicast.
   void handleTcamEntryArpReqUnicastDrop();

   // ARP for the MLAG peer (PeerMacArpRedirectEntries.cpp)

   /// ARP packets to `mac` that arrive on any port outside the peer link leave on the peer link: on its port, or on
   /// the first member of the LAG that has a port. Without such a port, or without `enable`, the entry is removed.
   /// Does nothing if the result is unchanged. Records peerMacArpRedirect.
   void handlePeerMacArpRedirect( const EthAddr& mac, IntfId peerLink, bool enable );

   // uRPF (UrpfEntries.cpp)

   /// The manager of the uRPF entries for the configured width; null when none is assigned.
   Ref<StrataBoundedTcamEntryManager> getUrpfTcamEntryManager();
   /// Makes or releases the exemption entry of a family on the single unit. Returns false, after a log message, when
   /// there is no room for it. Releasing finds the manager by the recorded id, also when the width has changed
   /// since. Records in strataUrpfCommonData. Requires: strataUrpfCommonData is not null.
   bool handleTcamEntryUrpf( bool enable, bool ipv4 );
   /// Runs handleTcamEntryUrpf for IPv4, then for IPv6 unless IPv4 failed.
   bool doUrpfHwInitStage1( bool enable );
   /// Ends the agent: uRPF per interface is handled in another part of it, so this is never called.
   void handleUrpf( IntfId intf, U32 vrf, UrpfStatus oldStatus, UrpfStatus newStatus );

   // Unknown-MAC drop (UnknownMacDropEntries.cpp)

   /// Makes the pair of drop entries of a traffic class (0 to 7), or removes it. Making a pair that exists
   /// ends the agent; removing one that does not exist has no effect. Records tcamEntryVlanFloodDrop.
   void handleTcamEntryVlanFloodDrop( U16 tc, bool create );
   /// Returns the lower of the pair's two consecutive ids.
   U32 createTcamEntryVlanFloodTc( U16 tc );
   void deleteTcamEntryVlanFloodTc( U16 tc, U32 id );
   /// Stores the hits of both entries on all units in unknownMacCountersPerTc, and logs a message when the number
   /// has risen. Does nothing for a class without entries.
   void updateUnknownMacDropCounters( U16 tc );
   /// Sets the class's counter to 0.
   void resetUnknownMacDropCounters( U16 tc );

   // Feature controls (GlobalRouting.cpp)

   /// Turns the use of two hash functions for a table on or off, on every unit. `control` is HashL2Dual or HashL3Dual.
   void programDualHash( SwitchControl control, bool on );
   /// Turns the lookup of the source of bridged IP packets in the L3 tables on or off, on every unit.
   void programL2TrafficRouting( bool on );

   // Flood ports (FloodPorts.cpp)

   /// The ports that receive routed floods, by logical port number. The mutator publishes nothing.
   const PortBitmap& vlanFloodPbmp() const
   {
      Vormel::checkActivityLock( "vlanFloodPbmp" );
      return floodPorts_.vlanFloodPbmp;
   }
   void vlanFloodPbmpIs( const PortBitmap& ports )
   {
      Vormel::checkActivityLock( "vlanFloodPbmp" );
      floodPorts_.vlanFloodPbmp = ports;
   }

   /// Sets the bitmap to a unit's active ports, without those of interfaces that are routed.
   void unitRecordIs( const UnitRecord& record );

   /// Whether the interface's forwarding model is routed; false for an unknown interface.
   bool routedIntf( IntfId intf );
   /// Whether the interface is a member of a LAG that is routed.
   bool routedLagMember( IntfId intf );
   /// Takes the port of an Ethernet interface, or of each LAG member, out of the bitmap if the interface is routed, and
   /// puts it back otherwise; then writes the bitmap into the entries once. Publishes routedPortsAndRoutedLagMember and
   /// reprogramVlanFloodRequired.
   void updateVlanFloodIgnoreIntf( IntfId intf );
   /// A port that goes down, or changes its speed, leaves the bitmap until it is active again. The port of an
   /// interface in routedPortsAndRoutedLagMember stays out. An interface that became routed while it had no port is
   /// not in there, so its port enters the bitmap until updateVlanFloodIgnoreIntf takes it out. An interface without
   /// a logical port number counts as port 1023.
   void updateVlanFloodTcamEntriesOnSpeedChange( IntfId intf, bool active );
   /// Takes the interface's port out of the bitmap if routedPortsAndRoutedLagMember is true for it, and puts it in
   /// otherwise. Runs inside the mutators of that attribute (its row is a MAP_STEP). Software only. Requires: the
   /// interface has a port.
   void updateVlanFloodPbmp( IntfId intf );
   /// Writes the bitmap into the flood entries that carry it, on the first unit. Runs inside the mutator of
   /// reprogramVlanFloodRequired (its row is a SCALAR_STEP).
   void reprogramVlanFloodEntries();
   /// Rewrites the port action of one flood entry on one unit and installs it again.
   void updateVlanFloodTcamEntryPbmp( U32 unit, bool pbr );

 private:
   VORMEL_HIDDEN ~RoutingStatusHelper() override;

   /// The shared data, for operations. Assertion "scsd()" when it is null.
   VORMEL_HIDDEN const StrataCommonSmData& shared() const;
   /// Traces, once, that the first unit's chip model is not in the table of chip attributes.
   VORMEL_HIDDEN void lookUpChip( const char* operation );

   // Port sets of a unit, by logical port number (PortSets.cpp).
   VORMEL_HIDDEN PortBitmap allPorts( U32 unit ) const;
   VORMEL_HIDDEN PortBitmap cpuPorts( U32 unit ) const;
   VORMEL_HIDDEN PortBitmap rxPorts( U32 unit ) const;
   VORMEL_HIDDEN std::optional<int> loopbackPort( U32 unit ) const;
   VORMEL_HIDDEN std::optional<int> recircPort( U32 unit ) const;
   VORMEL_HIDDEN PortBitmap loopbackPorts( U32 unit ) const;
   VORMEL_HIDDEN static PortBitmap portBitmap( int port );

   VORMEL_HIDDEN void initTtlCheck();
   VORMEL_HIDDEN void initLoopback();
   /// Whether the chip needs a second pass for tunnels and the helper makes the entries for it. If not, a level-1
   /// trace says that `operation` is skipped.
   VORMEL_HIDDEN bool routesTunnelsInTwoPasses( const char* operation ) const;

   VORMEL_HIDDEN void makeL2McastCpuTx();
   VORMEL_HIDDEN void makeMcastRsvdMacRx();
   VORMEL_HIDDEN void makeL2McastCpuRx();
   VORMEL_HIDDEN void makeL2McastCpuAndFlood();
   VORMEL_HIDDEN void makeL2McastFlood();
   VORMEL_HIDDEN void makeLbRecircL2Uc();
   VORMEL_HIDDEN void makeLbRecirc();
   VORMEL_HIDDEN void makeL3RecircAfterDecap();
   VORMEL_HIDDEN void makeL3RecircForEncap();

   VORMEL_HIDDEN bool policyRoutingEnabled( const char* operation ) const;
   VORMEL_HIDDEN bool terminatesTunnels( const char* operation ) const;
   VORMEL_HIDDEN EthAddr macOf( MacType macType ) const;
   VORMEL_HIDDEN void installVxlanEntries( MacType macType );
   VORMEL_HIDDEN void makeTrapEntries( MacType macType );
   VORMEL_HIDDEN void removeTrapEntries( MacType macType );
   VORMEL_HIDDEN void withdrawTrap( MacType macType );
   VORMEL_HIDDEN void removeL3Vxlan( MacType macType );
   VORMEL_HIDDEN void removeL2Vxlan( MacType macType );
   VORMEL_HIDDEN void installNoted( MacType macType );
   VORMEL_HIDDEN void noteIpOptionsProfile( U32 unit, S32 profile );
   VORMEL_HIDDEN bool vlanIsThere( U32 vlanId );
   VORMEL_HIDDEN void forgetVlan( U32 vlanId );
   VORMEL_HIDDEN void applyVlanRouting( U32 vlanId );

   bool chipLookedUp_ = false;

   struct FloodPorts
   {
      PortBitmap vlanFloodPbmp;
   };
   FloodPorts floodPorts_;
   VORMEL_HIDDEN void floodPortIs( U32 port, bool flooded );

   struct WrittenMacs
   {
      // The MAC that each entry of a router MAC kind was last written with; zero when the entry is gone.
      EthAddr l3Vxlan, l2Vxlan, trap, arpReply, arpRequest;
      // True while handleTcamEntryL2ToCpu or handleTcamEntryL2FennicToCpu runs: these set the note themselves.
      bool handled = false;
   };
   struct Trap
   {
      Vormel::SlotArray<MacType, WrittenMacs> written;
      // The note of the virtual router MAC; that of the router MAC is tcamEntryRouterMac.
      EthAddr fennicMac;
   };
   Trap trap_;
   VORMEL_HIDDEN void noteMacIs( MacType macType, const EthAddr& mac );
   VORMEL_HIDDEN void noteWritten(
      MacType macType, EthAddr WrittenMacs::*entry, const EthAddr& mac );
   VORMEL_HIDDEN void noteCommonMac( MacType macType );

   struct InPorts
   {
      U16 unit;
      PortBitmap ports;

      bool operator==( const InPorts& ) const = default;
   };
   struct ArpRedirect
   {
      EthAddr mac;
      StrataPort port; // the port that ARP is redirected to
      std::vector<InPorts> inPorts;

      bool operator==( const ArpRedirect& ) const = default;
      void forget()
      {
         mac = {};
         port = {};
         inPorts.clear();
      }
   };
   ArpRedirect arpRedirect_; // the redirect in hardware
   // Used again by the next event of the peer link, which allocates nothing then.
   ArpRedirect arpRedirectRoom_;
   VORMEL_HIDDEN void makeArpRedirect(
      const Ref<StrataBoundedTcamEntryManager>& manager, const ArpRedirect& wanted );

   struct VlanRouting
   {
      bool enabled = false;
      bool addressesKnown = false;
      bool ip4 = false; // the VLAN's interface has an address
      bool ip6 = false;
      std::optional<bool> cpuBlocked;
   };
   /// What is known of the VLAN, which it makes known. Valid until it is called for another VLAN.
   VORMEL_HIDDEN VlanRouting& vlanRouting( U32 vlanId );
   std::vector<std::optional<VlanRouting>> vlanRouting_; // by VLAN id

   struct LagMember
   {
      IntfId intf;
      bool belongs; // according to the member's own row
   };
   std::vector<LagMember>
      lagMembersRoom_; // used again by the next LAG event, which allocates nothing then
};

} // namespace Strata
