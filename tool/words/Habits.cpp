#include "tool/words/Habits.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace Strata::Tool {

namespace {

struct Habit
{
   std::string_view words; // the first of a line, or a command and the wrong word behind it
   std::string_view instead;
};

// The first that fits is taken, so a word that begins another one precedes it, and a line its beginning.
constexpr Habit habits[] = {
   // Modes and files.
   { "configure", "there are no modes: type the command itself" },
   { "enable", "there are no modes: type the command itself" },
   { "end", "there are no modes: type the command itself" },
   { "write", "nothing is saved: put the lines into a file for 'strata-l3 run FILE'" },
   { "copy", "nothing is saved: put the lines into a file for 'strata-l3 run FILE'" },
   { "reload", "'switch PROFILE' makes a fresh switch" },
   { "clear mac", "'no mac learned' forgets all addresses that were learned" },
   { "clear", "'mark' starts a new window, 'switch PROFILE' a fresh switch" },
   { "debug", "'trace HANDLE=LEVEL' sets the level of a trace" },
   { "ping", "'packet in PORT FRAME' sends a packet" },
   { "traceroute", "'explain in PORT FRAME' shows the way of a packet" },
   // Ports and VLANs.
   { "interface switchport", "'vlan ID members PORTS' puts ports into a VLAN" },
   { "interface no", "'set INTERFACE.forwardingModel routed' makes a port routed" },
   { "interface shutdown", "'unit N port N down' takes a port down" },
   { "interface channel-group", "'lag LAG INTERFACES' makes a LAG" },
   { "switchport", "'vlan ID members PORTS' puts ports into a VLAN" },
   { "no switchport", "'set INTERFACE.forwardingModel routed' makes a port routed" },
   { "shutdown", "'unit N port N down' takes a port down" },
   { "no shutdown", "'unit N port N up' brings a port up" },
   { "channel-group", "'lag LAG INTERFACES' makes a LAG" },
   { "port-channel", "'lag LAG INTERFACES' makes a LAG" },
   { "vlan untagged", "members send untagged frames unless they are 'tagged' as well" },
   { "vlan vni", "'vlan ID vxlan VNI TUNNELS' gives the VLAN a VNI" },
   { "vlan ip", "'route ADDRESS/32 via cpu' makes an address one of the router's own" },
   { "vlan name", "VLANs have no names; 'note TEXT' is a remark" },
   { "spanning-tree", "'stp PORT STATE' sets the state of a port" },
   { "mac-address-table", "'mac MAC vlan ID PORT' makes an entry of the MAC table" },
   { "svi", "'vlan ID svi' gives a VLAN a routed interface" },
   { "mtu", "'vlan ID mtu BYTES' sets that of a routed interface" },
   // Layer 3.
   { "ip address", "'route ADDRESS/32 via cpu' makes an address one of the router's own" },
   { "ip routing", "'router MAC' turns routing on" },
   { "ip", "'router MAC' turns routing on, 'route PREFIX via NEXTHOP' makes a route" },
   { "ipv6", "'router MAC' turns routing on, 'route PREFIX via NEXTHOP' makes a route" },
   { "arp", "a next hop has its MAC address: 'route PREFIX via PORT mac MAC vlan ID'" },
   { "ecmp", "a route with several next hops: 'route PREFIX via NEXTHOP via NEXTHOP'" },
   { "bgp", "there are no routing protocols: 'route PREFIX via NEXTHOP' makes a route" },
   { "ospf", "there are no routing protocols: 'route PREFIX via NEXTHOP' makes a route" },
   { "acl", "ACLs are another part's of an agent; 'show entries' lists the entries of this one" },
   { "urpf", "'vlan ID urpf strict' checks the sources of a routed interface's packets" },
   { "vxlan", "'tunnel' makes a tunnel, 'vlan ID vxlan VNI TUNNELS' extends a VLAN; "
              "docs/recipes.md has a gateway" },
   { "mlag", "'set mlagStatus.ATTRIBUTE' sets what its agent reports; "
             "docs/recipes.md has a member of a pair" },
   // What is shown.
   { "show ip", "'show routes' lists the routes" },
   { "show ipv6", "'show routes' lists the routes" },
   { "show arp", "'show routes' lists the next hops with their MAC addresses" },
   { "show mac-address-table", "'show macs' lists the MAC addresses" },
   { "show port-channel", "'show lags' lists the LAGs" },
   { "show spanning-tree", "'show forwarding' lists the states that were set" },
   { "show vxlan", "'show forwarding' lists the tunnels and the VLANs that they extend" },
   { "show mlag", "'show attributes mlagStatus' shows what its agent reports" },
   { "show logging", "'show transcript' has the log messages" },
   { "show running-config", "'show forwarding' and 'show attributes changed' show what was set" },
   { "show version", "'strata-l3 --version' prints it" },
};

/// Whether the line begins with the words, each of which may be cut behind its second letter.
bool fits( std::string_view words, std::string_view line )
{
   std::istringstream wanted{ std::string( words ) };
   std::istringstream typed{ std::string( line ) };
   for( std::string whole, word; wanted >> whole; )
      if( !( typed >> word ) || word.size() < 2 || !whole.starts_with( word ) )
         return false;
   return true;
}

} // namespace

std::string habitText( std::string_view command, std::string_view words )
{
   const auto found = std::ranges::find_if( habits, [ & ]( const Habit& habit ) {
      return habit.words.starts_with( command ) &&
             fits( habit.words.substr( command.size() ), words );
   } );
   return found == std::end( habits ) ? std::string() : "; " + std::string( found->instead );
}

} // namespace Strata::Tool
