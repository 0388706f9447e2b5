// How a packet comes to present a key to a stage of the Field Processor: where it arrives, its headers, what the tables
// say about it, and what becomes of it. The solver chooses one; a recipe makes a packet and table rows of it.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <cstddef>

namespace Strata::Cover {

/// What is in a frame.
VORMEL_ENUM( Payload, U8, arpRequest, arpReply, ipv4, ipv6, mpls, other )

/// The destination that the lookups choose.
VORMEL_ENUM( Fate, U8,
   flooded,       // in its VLAN
   toPort,        // the MAC address is known on a port
   toGroup,       // the MAC address is that of a multicast group
   toTunnel,      // the MAC address is known behind a tunnel
   hopPort,       // a next hop on a port
   hopCpu,        // a next hop at the CPU
   hopFlood,      // a next hop whose port is not known
   hopVxlanFlood, // the same in a VLAN that VXLAN extends
   hopTunnel,     // a next hop behind a tunnel
   lost,          // it is to be routed, and dropped
   ended )        // neither routed nor bridged: a label or ARP that ends here

/// For experiments; nothing looks behind it.
inline constexpr U32 usualEtherType = 0x88B5;

struct Shape
{
   std::size_t arrival = 0; // index in Facts::arrivals
   std::size_t vlan = 0;    // index in Facts::vlans, of the received frame
   std::size_t domain = 0;  // the same, of the frame that is forwarded
   Payload payload = Payload::other;
   Payload inner = Payload::other; // in a tunnel
   bool tunnel = false;            // it ends a tunnel
   bool popped = false; // an explicit null label is popped, and what is behind it looked up
   bool popsV6 = false;
   bool switched = false;   // by a label
   bool steered = false;    // by policy routing
   bool blocked = false;    // dropped by spanning tree, and looked up nevertheless
   bool tagged = false;     // inside the tunnel, which drops it
   bool tooLong = false;    // for the VLAN that it is routed into
   bool replicated = false; // there is a route for its multicast group
   bool checked = false;    // for its reverse path
   Fate fate = Fate::flooded;
   std::size_t port = 0; // index in Facts::destinations, of toPort and hopPort
   U32 group = 0;        // of toGroup

   U64 dstMac = 0;
   U64 innerMac = 0;
   U32 etherType = 0;
   U32 dstIp = 0; // IPv4
   U32 protocol = 0;
   U32 l4Port = 0;
   U32 ttl = 0;      // of the received packet
   U32 innerTtl = 0; // of the packet in a tunnel or behind a label
   U32 priority = 0;

   // The rows of the two VLANs, and of the arrival.
   bool svi = false;
   bool dropRouted = false;
   bool vxlan = false;
   bool domainSvi = false;
   bool domainDropRouted = false;
   U32 l3Class = 0;
   bool openFlow = false;
   U32 sourceClass = 0;
};

} // namespace Strata::Cover
