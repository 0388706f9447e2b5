// The tables that other parts of an agent write into the chips: MAC addresses, spanning tree, multicast groups,
// properties of VLANs, routes, tunnels, policy-routing rules, labels. One set for all units of a switch, because
// an agent keeps them the same. Plain data, set before packets are sent; only MAC addresses are learned.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "platform/types/EthAddr.h"
#include "sim/packet/IpAddress.h"

#include <compare>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Strata::Sim {

using Vormel::EthAddr;

struct PortRef
{
   U32 unit = 0;
   U32 port = 0; // the chip's logical number

   auto operator<=>( const PortRef& ) const = default;
};

struct StationKey
{
   U16 vlanId = 0;
   EthAddr mac;

   auto operator<=>( const StationKey& ) const = default;
};

/// A member of the MAC table.
struct Station
{
   struct Group
   {
      U32 number;
      bool operator==( const Group& ) const = default;
   };
   struct Tunnel
   {
      std::string name;
      bool operator==( const Tunnel& ) const = default;
   };
   using Place = std::variant<PortRef, Tunnel, Group>;

   Place place;
   bool fixed = false; // configured: learning does not move it

   bool operator==( const Station& ) const = default;
};

VORMEL_ENUM( StpState, U8, forwarding, learning, blocking )

struct McastGroup
{
   bool everyPort = false; // all front-panel ports of all units
   bool everyTunnel = false;
   bool cpu = false;
   std::set<PortRef> ports;
   std::set<std::string> tunnels;
};

VORMEL_ENUM( UrpfMode, U8, off,
   loose, // the source has a route
   strict // and the route leads to the interface where the packet arrived
)

/// Properties of a VLAN, except members and routing flags, which the chip stores.
struct VlanProperties
{
   bool svi = false;        // it has a routed interface
   bool dropRouted = false; // packets that arrive in it and would be routed are dropped
   std::optional<U32> vni;  // VXLAN extends it under this number
   std::set<std::string> tunnels;
   U32 l3Class = 0; // class of its L3 interface
   UrpfMode urpf = UrpfMode::off;
   U32 mtu = 0; // longest IP packet that is routed into it, in bytes; 0: any
   EthAddr
      routerMac; // source of packets routed into it; zero: the MAC that the packet was addressed to
};

struct NextHop
{
   enum class Kind : U8
   {
      port,
      cpu,
      flood,  // the MAC is known, its port is not: flooded in the VLAN
      tunnel, // behind a VXLAN tunnel
   };
   Kind kind = Kind::cpu;
   U16 vlanId = 0;
   EthAddr mac;
   PortRef port;
   std::string tunnel;

   bool operator==( const NextHop& ) const = default;
};

struct Route
{
   std::vector<NextHop> nextHops; // at least one; each flow uses one of them
   U32 sourceClass = 0;           // of packets whose source it covers
};

/// Routes of both families; the longest prefix wins.
class RouteTable
{
 public:
   struct Found
   {
      IpPrefix prefix;
      const Route* route;
   };

   void routeIs( const IpPrefix& prefix, const Route& route );
   /// Returns whether there was one.
   bool routeDel( const IpPrefix& prefix );
   /// The route of this very prefix, or null.
   const Route* find( const IpPrefix& prefix ) const;
   std::optional<Found> lookup( const IpAddress& address ) const;
   /// Longest prefixes first.
   std::vector<Found> all() const;

 private:
   std::map<U32, std::map<IpAddress, Route>, std::greater<>> byLength_;
};

struct SteeringRule
{
   std::optional<PortRef> port; // where the packet arrives
   std::optional<IpPrefix> source;
   std::optional<IpPrefix> destination;
   NextHop nextHop;
};

struct Tunnel
{
   IpAddress local;
   IpAddress remote;
   NextHop underlay; // a port
};

struct LabelRule
{
   std::optional<U32> swap;        // else the label is popped
   std::optional<NextHop> nextHop; // none: the packet behind the popped label is looked up
};

struct ForwardingTables
{
   std::map<StationKey, Station> stations;
   std::map<std::pair<PortRef, U16>, StpState> stp; // VLAN 0: all VLANs without their own state
   std::map<PortRef, U16> nativeVlan;               // of untagged packets; 1 where there is none
   std::set<PortRef> openFlowPorts;
   std::map<U32, McastGroup> l2Groups;
   std::map<IpAddress, std::set<U16>> mcastRoutes; // group to the VLANs that it is routed into
   std::map<U16, VlanProperties> vlans;
   RouteTable routes;
   std::map<std::string, Tunnel> tunnels;
   std::map<std::string, SteeringRule> steering;
   std::map<U32, LabelRule> labels;

   /// Returns the defaults for a VLAN without properties; likewise below.
   const VlanProperties& vlan( U16 vlanId ) const;
   StpState stpState( PortRef port, U16 vlanId ) const;
   U16 untaggedVlan( PortRef port ) const;
   std::optional<U16> vlanOfVni( U32 vni ) const;
   /// The tunnel between these, or null.
   const std::pair<const std::string, Tunnel>* tunnelBetween(
      const IpAddress& local, const IpAddress& remote ) const;
};

} // namespace Strata::Sim
