#include "tool/shell/Guide.h"

namespace Strata::Tool {

namespace {

struct Meaning
{
   std::string_view word; // may begin with its command: "pcap frames"
   std::string_view text;
};

// In the order of the words; the first that fits is taken, so a word with its command precedes the word alone.
constexpr Meaning meanings[] = {
   { "no", "undo or remove" },
   { "show", "what the switch and the slice have" },
   { "expect", "what must be so; if it is not, the run fails" },
   { "poke", "change a chip without the slice" },
   { "cold", "the chips are reset first" },
   { "warm", "the chips stay as they are, and the new agent adopts what it claims" },
   { "reactors", "start or stop what follows the inputs" },
   { "expect no", "what must not have happened" },
   // Ends of a line.
   { "--json", "as JSON" },
   { "|", "only some rows: include, exclude, begin, count" },
   { "include", "rows with the text" },
   { "exclude", "rows without it" },
   { "begin", "from the first row with the text" },
   { "count", "the number of rows" },
   // The switch.
   { "switch units", "how many chips, or their numbers; 1 by default" },
   { "switch ports", "how many front-panel ports each chip has" },
   { "switch with", "a capability that the chips have" },
   { "switch without", "a capability that the chips lack" },
   { "fabric", "whether the helper drives a fabric unit" },
   { "switch name", "of the helper" },
   { "seed", "of the SDK's numbers" },
   { "traps-ttl-exceptions", "whether the chip traps TTL exceptions itself" },
   { "ip-options-profile", "whether the unit has an IPv4 options profile" },
   { "higig-trunks-as-lag", "whether stack trunks count as LAGs" },
   { "room", "how many entries fit into a range" },
   { "unit port", "a port that goes up or down" },
   { "unit", "one unit; all without it" },
   { "logical", "the first logical port number" },
   { "routed", "layer 3: packets are routed" },
   { "bridged", "layer 2: packets are switched" },
   { "programmed", "its next hops are in hardware" },
   { "l3-egress", "it uses L3 egress objects" },
   // Forwarding tables.
   { "svi", "the VLAN has a routed interface" },
   { "drop-routed", "packets that would be routed are dropped" },
   { "vlan vxlan", "the VNI, then the tunnels that extend the VLAN" },
   { "l3-class", "the class of its L3 interface" },
   { "urpf", "reverse-path check: off, loose or strict" },
   { "mtu", "longest IP packet in bytes, 0 for any" },
   { "members", "its front-panel ports, just these" },
   { "tagged", "the members that send tagged frames, just these" },
   { "untagged", "the members that send untagged frames" },
   { "no mac learned", "all addresses that were learned" },
   { "group", "an L2 multicast group" },
   { "flood", "flooded in a VLAN" },
   { "via", "the next hop" },
   { "route class", "the class of sources in the prefix" },
   { "local", "the address of this end" },
   { "remote", "the address of the other end" },
   { "tunnel", "through a VXLAN tunnel" },
   { "pbr in", "packets that arrive there" },
   { "pbr from", "packets from these addresses" },
   { "pbr to", "packets to these addresses" },
   { "swap", "replace the label" },
   { "pop", "remove the label" },
   // Packets.
   { "-v", "with every entry and all state" },
   { "in", "where the packet arrives" },
   { "port", "by its number in the chip" },
   { "cpu", "the port of the CPU" },
   { "loopback", "the loopback port" },
   { "recirculation", "the recirculation port" },
   { "higig", "the stack link" },
   { "probe", "a packet that has a name" },
   { "hex", "the frame in hexadecimal bytes" },
   { "cover pcap", "write the packets to captures in this directory" },
   { "pcap", "a frame of a capture file" },
   { "frame", "which frame of the file" },
   { "frames", "some frames, as in 5-9" },
   { "summary", "one row for each outcome" },
   { "drops", "packets that leave on no port, with the reasons" },
   { "hits", "which entries have won packets, and which have not" },
   { "dmac", "destination MAC address" },
   { "smac", "source MAC address" },
   { "router", "the helper's router MAC" },
   { "virtual-router", "the helper's virtual router MAC" },
   { "priority", "of the VLAN tag, 0 to 7" },
   { "dei", "drop-eligible, in the VLAN tag" },
   { "ethertype", "a payload that a chip does not parse" },
   { "arp", "request or reply" },
   { "request", "who has the address" },
   { "reply", "the answer" },
   { "from", "the sender's address" },
   { "for", "the target's address" },
   { "mpls", "a label" },
   { "ipv4", "an IPv4 packet" },
   { "ipv6", "an IPv6 packet" },
   { "src", "source address" },
   { "dst", "destination address" },
   { "ttl", "time to live, or hop limit" },
   { "options", "with IPv4 options" },
   { "hop-by-hop", "with a hop-by-hop header" },
   { "bad-checksum", "with a wrong header checksum" },
   { "udp", "over UDP" },
   { "tcp", "over TCP" },
   { "icmp", "over ICMP" },
   { "igmp", "over IGMP" },
   { "protocol", "another IP protocol, by number" },
   { "main", "the range of most entries" },
   { "ttl-check", "the range for expired packets, where VFIs forward" },
   { "php-lsp-ping", "the range that is looked up before forwarding" },
   { "peer-mac-arp", "the range for ARP to the MLAG peer's router" },
   { "urpf-single-wide", "a range of reverse-path checks" },
   { "urpf-double-wide", "a range of reverse-path checks" },
   { "sport", "source port" },
   { "dport", "destination port" },
   { "vxlan", "the VNI, then a whole frame" },
   { "length", "of the frame in bytes, without its tags" },
   { "vlan", "a VLAN, 1 to 4094" },
   { "mac", "a MAC address" },
   // Faults and expectations.
   { "any", "whichever call comes" },
   { "call-number", "the call with this number" },
   { "nth", "which of the calls, 1 for the next" },
   { "code", "what the call returns" },
   { "always", "not once, but from now on" },
   { "changed", "only what differs from the start" },
   { "absent", "there is none" },
   { "-", "no value" },
   { "set none", "no object" },
   { "expect attribute none", "no object" },
   { "expect notification none", "no object" },
   { "none", "not one" },
   { "redundant", "writes of what the chip has" },
   { "times", "how often" },
   { "queue", "the CPU queue" },
   { "because", "a part of the reason" },
   { "is", "the whole text" },
   { "with", "a part of the text" },
   { "without", "an input that is left out" },
   { "installed", "in hardware" },
   { "enabled", "in hardware, and it matches" },
   { "disabled", "in hardware, but it does not match" },
   { "claimed", "reserved, not in hardware" },
   { "other-flags", "the flags that are not the slice's" },
   { "empty", "without an address" },
   { "up", "the port's link works" },
   { "down", "the port's link does not work" },
};

} // namespace

std::string_view meaningOf( std::string_view command, std::string_view word )
{
   const std::string whole = std::string( command ) + ' ' + std::string( word );
   for( const Meaning& meaning : meanings )
      if( meaning.word == word || meaning.word == whole )
         return meaning.text;
   return {};
}

} // namespace Strata::Tool
