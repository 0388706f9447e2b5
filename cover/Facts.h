// What of a unit decides how packets come to its entries, apart from the entries: the ports and VLANs by which they
// arrive, my-station entries, controls, capabilities. Other parts of the agent own the tables, so these are not here.
//
// Requires: the activity lock is held.
#pragma once

#include "sim/packet/PacketEngine.h"

#include <optional>
#include <string>
#include <vector>

namespace Strata::Cover {

/// A port by which a packet may arrive, or the stack link.
struct ArrivalPlace
{
   Sim::PortRef port;
   bool stack = false;
   U32 keyPort = 0; // as entries see it
   U32 sdkPort = 0;
   bool cpu = false;
   bool frontPanel = false;
   bool up = true;
   bool ipv4 = false; // routing is on
   bool ipv6 = false;
   bool usesRoutes = false;        // L3EgressMode
   bool looksUpSource = false;     // L2TrafficSrcIpLookup
   bool checksReversePath = false; // L3InterfaceUrpfEnable, or the chip has no such control
   std::vector<bool> inVlan{};     // by index in Facts::vlans
};

struct VlanPlace
{
   U16 id = 0;
   bool exists = true; // false for the number of a VLAN that could be made
   bool ipv4 = true;   // routing is not switched off
   bool ipv6 = true;
   bool multicast = false;
   /// The first VLAN that exists with its routing flags, my-station entries, CPU port, and none, one or several ports.
   bool isFirstOfKind = false;
   std::optional<Sim::PortRef> onlyPort{}; // the member of a VLAN with one front-panel port
   Sim::VlanProperties row{};
};

struct StationPlace
{
   U64 mac = 0;
   U64 mask = 0;
   U32 vlan = 0;
   U32 vlanMask = 0;
   U32 port = 0;
   U32 portMask = 0;
   bool outsideTunnels = true; // it is looked up for packets outside tunnels
   bool ipv4 = false;
   bool ipv6 = false;
   bool mpls = false;
   bool arp = false;

   /// Whether packets that arrive there may meet it.
   bool isMetFrom( const ArrivalPlace& arrival ) const;
   bool isMetIn( U16 vlanId ) const { return ( ( vlanId ^ vlan ) & vlanMask ) == 0; }
};

/// How the words of packets name ports.
enum class PortNames : U8
{
   interfaces, // "Ethernet1"
   numbers,    // "port 1", which is the same port while interfaces come and go
};

/// Where a packet comes in.
struct PacketPlace
{
   Sim::PortRef port;
   bool stack = false; // by the stack link of the port's unit
   U16 vlan = 1;
};

struct Facts
{
   /// With a place, its port and its VLAN stand for those of their kinds.
   Facts( const Sim::SimSwitch& hardware, const Sim::ForwardingTables& tables, U32 unit,
      PortNames names = PortNames::interfaces, const std::optional<PacketPlace>& place = {} );

   const Sim::SimSwitch& hardware;
   const Sim::ForwardingTables& tables;
   U32 unit;
   PortNames names;
   const Sim::Chip& chip;

   std::vector<ArrivalPlace> arrivals;
   std::vector<VlanPlace> vlans; // one of each kind; the last ones may not exist
   // Of the place.
   std::optional<std::size_t> placeArrival;
   std::size_t placeVlan = 0;
   std::vector<StationPlace> stations;
   std::vector<Sim::PortRef> destinations; // all ports of all units
   bool routesOutOfTunnels;                // in the pass that ends them
   bool checksReversePath4;                // where the port does
   bool checksReversePath6;
   bool trapsTtl; // packets whose TTL has expired are dropped before the entries are looked up

   /// The values of the DstPort qualifier.
   U64 dstPort( Sim::PortRef port ) const;
   U64 cpuHop() const;
   U64 floodHop() const;
   U64 vxlanFloodHop() const;
   U64 tunnelHop() const;

   bool isCpu( Sim::PortRef port ) const;

   /// "Ethernet1", "loopback unit 4", "port 9", as in a command.
   std::string portWords( Sim::PortRef port ) const;
   /// "Ethernet1", "higig"
   std::string arrivalWords( const ArrivalPlace& arrival ) const;

 private:
   std::string unitWords( U32 ofUnit ) const; // " unit 4", if there are several
   std::vector<Sim::PortRef> frontPanelMembers( U16 vlanId ) const;
   void addVlans( const std::optional<PacketPlace>& entrance );
   void addArrivals();
   void addStations();
   void addDestinations();
};

} // namespace Strata::Cover
