// How frames that another program has built (frames/make_frames.py) are parsed and forwarded.
#include "tests/packet/PacketTest.h"
#include "tool/packet/PacketDesk.h"

#include <cstddef>
#include <span>

namespace Strata {
namespace {

struct Expectation
{
   const char* text;    // a part of the frame's text
   const char* outcome; // of the frame that comes in
};

const std::string directory = "tests/packet/frames/";

// In the order of the file.
const Expectation plain[] = {
   { "IPv4 10.1.0.5 -> 10.2.0.9 ttl 64, UDP 1024 -> 5000", "E4" },
   { "vlan 10 priority 5, IPv4 10.1.0.5 -> 10.2.0.9 ttl 2, TCP 1024 -> 443", "E4" },
   { "ttl 1, UDP", "cpu:0" },
   { "ttl 64 options, UDP 1024 -> 5000", "cpu:0" },   // router alert
   { "ttl 64 options, ICMP", "cpu:0" },               // record route
   { "ttl 64 bad-checksum, UDP 1024 -> 5000", "E4" }, // the UDP checksum is not verified
   { "ttl 64, UDP", "E4" }, // a later fragment: its first bytes are not ports
   { "-> 10.99.0.1 ttl 64, TCP 1024 -> 80", "cpu:0" },
   { "-> 10.3.0.1 ttl 64, ICMP", "cpu:0" },
   { "ARP request: 10.1.0.5 asks for 10.1.0.1", "E2 E3 cpu:0" },
   { "ARP reply from 10.1.0.5 to 10.1.0.1", "cpu:0" },
   { "IPv4 0.0.0.0 -> 255.255.255.255 ttl 64, UDP 68 -> 67", "E2 E3 cpu:0" },
   { "IPv4 10.1.0.5 -> 224.0.0.5 ttl 1, protocol 89", "E2 E3 cpu:0" },
   { "IPv4 10.1.0.5 -> 239.1.2.3 ttl 1 options, IGMP", "E2 E3" },
   { "UDP 1024 -> 53", "E4" },
   { "UDP 1024 -> 5000", "E4" }, // with padding behind it
   { "protocol 47", "E4" },
   { "EtherType 0x88a8", "E2 E3" },
   { "01:80:c2:00:00:00, 802.3 length 38", "none" },
   { "01:80:c2:00:00:0e, EtherType 0x88cc", "none" },
   { "EtherType 0x8863", "E2 E3 cpu:0" },
   { "(the IPv4 header is cut short or malformed)", "cpu:0" },
   { "UDP 1024 -> 5000 (IPv4 announces 1400 bytes, and 60 are there)", "E4" },
   { " vlan 10 vlan 20 priority 3 dei, IPv4 10.1.0.5", "E4" },
   { " vlan 10 vlan 20 vlan 30, EtherType 0x8100 (no more than 2 VLAN tags are parsed)", "cpu:0" },
   { "EtherType 0x0800 (IPv4 announces 10 bytes, less than its header)", "cpu:0" },
   { "01:00:5e:00:00:09 -> 02:00:a1:00:00:01, IPv4", "none" },
   { "TCP 1024 -> 443 (the capture holds 38 of 118 bytes)", "E4" },
   { "EtherType 0x0800 (the capture holds 20 of 74 bytes)", "cpu:0" },
};

const Expectation layered[] = {
   { "IPv6 2001:db8:1::5 -> 2001:db8:2::9 ttl 64, UDP 1024 -> 5000", "E4" },
   { "ttl 1, UDP", "cpu:0" }, { "ttl 64 hop-by-hop, UDP 1024 -> 5000", "cpu:0" },
   { "TCP 1024 -> 179", "E4" }, // behind options for the destination
   { "protocol 44", "E4" }, { "-> 2001:db8:99::1 ttl 64, ICMPv6", "cpu:0" },
   { "-> ff02::1:ff00:1 ttl 255, ICMPv6", "E2 E3" },
   { "IPv6 fe80::5 -> ff02::16 ttl 1 hop-by-hop, ICMPv6", "E2 E3" },
   { "MPLS label 100 ttl 9, MPLS label 200 ttl 64", "cpu:0" }, // unknown
   { "MPLS label 300 ttl 1", "cpu:0" },
   { "IPv6 fe80::5 -> 2001:db8:2::9", "cpu:0" }, // its scope is the link
   { "UDP 1024 -> 5000", "E4" },                 // a first fragment
};

const Expectation tunnelled[] = {
   { "VXLAN 5030 [ 00:00:00:00:09:09 -> 00:00:00:00:07:07, IPv4 10.9.0.1 -> 10.7.0.7", "E7" },
   { "VXLAN 5999", "cpu:0" },
   { "VXLAN 5030 [ 00:00:00:00:09:09 -> 02:00:a1:00:00:01, IPv4 10.9.0.1 -> 10.2.0.9", "E4" },
   { "VXLAN 5030 [ 00:00:00:00:09:09 -> 00:00:00:00:07:07 vlan 7, IPv4", "none" },
   { "UDP 1024 -> 5000 (the capture holds 46 of 74 bytes) ] (the capture holds 96 of 124 bytes)",
      "E4" },
};

class ForeignFramesTest : public PacketTest
{
 protected:
   void come( const std::string& file, std::size_t before, const std::string& port,
      std::span<const Expectation> expectations )
   {
      std::size_t number = before;
      for( const Expectation& expected : expectations ) {
         const std::string from = directory + file + " frame " + std::to_string( ++number );
         SCOPED_TRACE( from );
         const Sim::Frame frame = Tool::frameInFile( directory + file, static_cast<U32>( number ) );
         EXPECT_NE( frame.text().find( expected.text ), std::string::npos ) << frame.text();
         EXPECT_EQ( outcome( send( "in " + port + " pcap " + from ) ), expected.outcome );
      }
      EXPECT_THROW( Tool::frameInFile( directory + file, 99 ), Vormel::ValueError );
   }
};

TEST_F( ForeignFramesTest, AreParsedAndForwarded )
{
   for( const char* const profile : { "hsdk", "register" } ) {
      SCOPED_TRACE( profile );
      bringUp( profile );
      come( "frames.pcap", 0, "Ethernet1", plain );
      come( "frames.pcapng", 0, "Ethernet1", layered );
   }
   bringUp( "hsdk" );
   come( "frames.pcapng", std::size( layered ), "Ethernet8", tunnelled );
}

} // namespace
} // namespace Strata
