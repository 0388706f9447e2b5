// Takes packets, ports and next hops from the words of a line.
#pragma once

#include "platform/types/EthAddr.h"
#include "sim/packet/PacketEngine.h"
#include "tool/words/Words.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class PacketDesk;
class Session;

/// The names of ports, other than interfaces.
std::span<const std::string_view> portWords();

/// The properties of a VLAN in a line. Such a word ends a list of ports or tunnels.
constexpr std::array<std::string_view, 8> vlanProperties{
   "svi", "drop-routed", "vxlan", "l3-class", "urpf", "mtu", "members", "tagged" };

/// Takes an interface by its name, or `port N`, `cpu`, `loopback`, `recirculation` with `[unit N]`.
Sim::PortRef takePort( const Session& session, Words& words );

/// Takes a word of a list of ports: a port, or `Ethernet1-4`, or a LAG, which means all of its ports.
std::vector<Sim::PortRef> takePorts( const Session& session, Words& words );

/// Takes `via` and a next hop.
Sim::NextHop takeNextHop( const Session& session, Words& words );
/// Takes one or more, each once.
std::vector<Sim::NextHop> takeNextHops( const Session& session, Words& words );

/// Takes the name of a tunnel that exists.
std::string takeTunnel( const Session& session, Words& words );

Sim::IpAddress takeAddress( Words& words, std::string_view what );
/// Takes a prefix of unicast addresses with its length and without host bits.
Sim::IpPrefix takePrefix( Words& words );
U16 takeVlanId( Words& words );
/// Takes the id of a VLAN that exists on some unit.
U16 takeVlan( const Session& session, Words& words );
/// Takes the MAC address of one station: neither zero nor a group's.
Vormel::EthAddr takeStationMac( Words& words, std::string_view what );
/// A VXLAN network identifier, 24 bits.
U32 takeVni( Words& words );
/// An MPLS label, 20 bits.
U32 takeLabel( Words& words, std::string_view what );

/// Takes a port, or a LAG, which means its first member with a port: frames that are forwarded there leave
/// on the first member that may send.
Sim::PortRef takePortOrLag( const Session& session, Words& words );

/// The place where packets come in.
struct Entrance
{
   Sim::PortRef port;
   bool higig = false;
};

/// Takes `in PORT|higig [unit N]`.
Entrance takeEntrance( const Session& session, Words& words );

/// Takes the name of a probe that exists.
std::string takeProbe( const Session& session, Words& words );

/// Takes an entrance, then the frame; or `probe NAME`.
Sim::Arrival takeArrival( const Session& session, Words& words );

/// ValueError for a frame that is longer than ports accept.
Sim::Frame checkedFrame( Sim::Frame frame );

/// Takes a frame: its layers from the outside in, or `hex BYTES`, or `pcap FILE [frame N]`.
Sim::Frame takeFrame( const Session& session, Words& words );

/// InputError, once, if a file could not be written; the packets were nevertheless sent.
void checkCaptures( PacketDesk& desk, const Words& words );

} // namespace Strata::Tool
