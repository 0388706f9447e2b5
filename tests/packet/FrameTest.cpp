// How frames are parsed and rewritten, and that the parser survives damaged frames.
#include "sim/packet/Frame.h"
#include "tests/packet/PacketTest.h"
#include "tool/packet/PacketDesk.h"
#include "tool/packet/PacketWords.h"

#include <filesystem>
#include <fstream>
#include <random>

namespace Strata {
namespace {

using Sim::Bytes;
using Sim::Frame;

class FrameTest : public PacketTest
{
 protected:
   FrameTest() { run( "switch hsdk ports 4" ); }

   Frame frame( const std::string& text )
   {
      const Tool::Line line = Tool::splitLine( "test", 1, text );
      Tool::Words words( line );
      return Tool::takeFrame( session, words );
   }
};

const char* const built[] = {
   "vlan 10 priority 5 ethertype 0x88b5",
   "dmac ff:ff:ff:ff:ff:ff arp request from 10.1.0.5 for 10.1.0.1",
   "arp reply from 10.1.0.5 for 10.1.0.1",
   "ipv4 src 10.1.0.5 dst 10.2.0.9 ttl 7 options icmp",
   "ipv4 bad-checksum udp sport 1 dport 2 length 300",
   "ipv4 igmp",
   "vlan 20 ipv6 src 2001:db8::5 ttl 9 tcp dport 443",
   "ipv6 hop-by-hop icmp",
   "mpls 100 ttl 3 mpls 200 ipv4 udp",
   "ipv4 udp vxlan 5030 vlan 7 ipv6 udp vxlan 6 arp request",
};

TEST_F( FrameTest, TextsDescribeTheLayersOfAFrame )
{
   const std::string macs = "02:00:00:00:00:01 -> 02:00:00:00:00:02";
   EXPECT_EQ( frame( built[ 0 ] ).text(), macs + " vlan 10 priority 5, EtherType 0x88b5" );
   EXPECT_EQ( frame( built[ 2 ] ).text(), macs + ", ARP reply from 10.1.0.5 to 10.1.0.1" );
   EXPECT_EQ(
      frame( built[ 3 ] ).text(), macs + ", IPv4 10.1.0.5 -> 10.2.0.9 ttl 7 options, ICMP" );
   EXPECT_TRUE( frame( built[ 3 ] ).headers().ip->options );
   EXPECT_FALSE( frame( built[ 4 ] ).headers().ip->checksumRight );
   EXPECT_EQ( frame( built[ 4 ] ).bytes().size(), 300u );
   EXPECT_EQ( frame( built[ 6 ] ).text(),
      macs + " vlan 20, IPv6 2001:db8::5 -> 2001:db8::2 ttl 9, TCP 40000 -> 443" );
   EXPECT_TRUE( frame( built[ 7 ] ).headers().ip->options );
   EXPECT_EQ( frame( built[ 8 ] ).text(), macs + ", MPLS label 100 ttl 3, MPLS label 200 ttl 64" );
   EXPECT_NE( frame( built[ 9 ] ).text().find( "VXLAN 5030 [ " + macs + " vlan 7, IPv6" ),
      std::string::npos );
   const Frame two = frame( "priority 1 vlan 10 dei vlan 20 priority 3 ipv4 udp" );
   const std::string ip = ", IPv4 10.0.0.1 -> 10.0.0.2 ttl 64, UDP 40000 -> 53";
   EXPECT_EQ( two.text(), macs + " vlan 10 priority 1 dei vlan 20 priority 3" + ip );
   EXPECT_EQ( retagged( two, std::nullopt ).text(), macs + " vlan 20 priority 3" + ip );
   EXPECT_EQ( untagged( two ).text(), macs + ip );
   const Frame three = tagged( two, { 9 } );
   EXPECT_EQ( three.text(), macs + " vlan 9 vlan 10 priority 1 dei vlan 20 priority 3, EtherType "
                                   "0x8100 (no more than 2 VLAN tags are parsed)" );
   EXPECT_FALSE( three.headers().ip );
}

TEST_F( FrameTest, ACutCaptureIsParsedByItsLengthOnTheWire )
{
   const Frame whole = frame( "ipv4 udp dport 5000 length 124" );
   const auto cut = [ & ]( std::size_t size ) {
      Bytes bytes = whole.bytes();
      bytes.resize( size );
      return Frame( bytes, whole.length() );
   };
   for( const std::size_t size : { 96u, 38u } ) // to the end of the ports
      EXPECT_EQ( cut( size ).text(),
         whole.text() + " (the capture holds " + std::to_string( size ) + " of 124 bytes)" );
   EXPECT_FALSE( cut( 37 ).headers().l4 );
   EXPECT_TRUE( cut( 37 ).headers().ip );
   EXPECT_FALSE( cut( 33 ).headers().ip );
   EXPECT_EQ( retagged( cut( 96 ), { { 7 } } ).length(), 128u );
   EXPECT_EQ( padded( Frame( Bytes( 20 ), 50 ) ).length(), Sim::shortestFrame );
   const Frame outer = encapsulated( cut( 96 ), {} );
   EXPECT_EQ( outer.headers().problem, "the capture holds 146 of 174 bytes" );
   EXPECT_EQ( decapsulated( outer ), cut( 96 ) );
}

TEST_F( FrameTest, TunnelHeadersCopyTheInnerClassAndHaveNoUdpChecksum )
{
   Bytes inner = frame( "ipv4 udp" ).bytes();
   inner[ 15 ] = 0xb9;
   const Bytes v4 = encapsulated( Frame( inner ), {} ).bytes();
   EXPECT_EQ( v4[ 15 ], 0xb9 );
   EXPECT_EQ( v4[ 20 ], 0x40 );
   EXPECT_EQ( Bytes( v4.begin() + 40, v4.begin() + 42 ), Bytes( 2 ) );
   const auto address = *Sim::IpAddress::parse( "2001:db8::1" );
   const Frame v6 = encapsulated( Frame( inner ), { {}, {}, address, address, 77 } );
   EXPECT_EQ( v6.headers().ip->trafficClass, 0xb9 );
   EXPECT_EQ( decapsulated( v6 ), Frame( inner ) );
   EXPECT_EQ( Bytes( v6.bytes().begin() + 60, v6.bytes().begin() + 62 ), Bytes( 2 ) );
}

TEST_F( FrameTest, RewritingChangesOnlyTheFieldsThatItMust )
{
   for( const char* const text : built ) {
      const Frame before = frame( text );
      const auto tag = before.headers().tag;
      EXPECT_EQ( retagged( retagged( before, std::nullopt ), tag ), before ) << text;
      EXPECT_EQ( retagged( retagged( before, { { 99, 1 } } ), tag ), before ) << text;
      const Frame outer = encapsulated( before, { {}, {}, *Sim::IpAddress::parse( "192.0.2.1" ),
                                                   *Sim::IpAddress::parse( "192.0.2.2" ), 77 } );
      EXPECT_EQ( decapsulated( outer ), before ) << text;
      EXPECT_TRUE( outer.headers().ip->checksumRight );
      if( !before.headers().ip )
         continue;
      const Frame after = oneHopLess( before );
      EXPECT_EQ( after.headers().ip->ttl, before.headers().ip->ttl - 1 ) << text;
      EXPECT_EQ( after.headers().ip->checksumRight, before.headers().ip->checksumRight ) << text;
   }
   const Frame labels = frame( "mpls 100 ttl 3 mpls 200 ipv4 dst 10.2.0.9 udp dport 53" );
   EXPECT_NE(
      relabelled( oneHopLess( labels ), 300 ).text().find( "label 300 ttl 2, MPLS label 200" ),
      std::string::npos );
   const Frame ip = relabelled( relabelled( labels, std::nullopt ), std::nullopt );
   EXPECT_NE(
      ip.text().find( "IPv4 10.0.0.1 -> 10.2.0.9 ttl 64, UDP 40000 -> 53" ), std::string::npos )
      << ip.text();
}

TEST_F( FrameTest, AFrameThatIsCutShortIsReported )
{
   const auto problem = [ & ]( const std::string& text, std::size_t size ) {
      Bytes bytes = frame( text ).bytes();
      bytes.resize( size );
      return Frame( bytes ).headers().problem;
   };
   EXPECT_THROW( Frame( Bytes( 13 ) ), Vormel::ValueError );
   EXPECT_EQ( problem( built[ 0 ], 16 ), "the VLAN tag is cut short" );
   EXPECT_EQ( problem( built[ 1 ], 30 ), "the ARP header is cut short or malformed" );
   EXPECT_EQ( problem( built[ 3 ], 30 ), "the IPv4 header is cut short or malformed" );
   EXPECT_EQ( problem( built[ 4 ], 100 ), "IPv4 announces 286 bytes, and 86 are there" );
   EXPECT_EQ( problem( built[ 6 ], 50 ), "the IPv6 header is cut short or malformed" );
   EXPECT_EQ( problem( built[ 8 ], 16 ), "the MPLS header is cut short or malformed" );
   EXPECT_EQ( problem( built[ 8 ], 22 ), "" ); // labels are parsed, whatever follows them
}

/// A frame, the bytes that are changed in it, and a part of its text after the change.
struct Bent
{
   const char* frame;
   std::size_t at;
   Bytes bytes;
   const char* text;
};

// In an untagged frame IP begins at byte 14, the payload of IPv4 at 34, the payload of IPv6 at 54.
const Bent bents[] = {
   { "arp request", 20, { 0, 3 }, ", ARP operation 3" },
   { "arp request", 14, { 0, 6 }, "(the ARP message is not for Ethernet and IPv4)" },
   { "ipv4 options udp", 34, { 0, 0x44, 0x55, 0x66 },
      "UDP 40000 -> 53" }, // bytes behind the last option
   { "ipv4 udp", 16, { 0, 19 }, ", EtherType 0x0800 (IPv4 announces 19 bytes, less than its" },
   { "ipv4 udp", 16, { 5, 0 }, "UDP 40000 -> 53 (IPv4 announces 1280 bytes, and 46 are there)" },
   { "ipv4 udp vxlan 5030 ipv4", 16, { 5, 0 }, "UDP 40000 -> 4789 (IPv4 announces 1280 bytes" },
   { "ipv4 udp length 60", 16, { 0, 20 }, "(the UDP header is cut short or malformed)" }, // padding
   { "ipv4 udp", 38, { 0, 4 }, "(UDP announces 4 bytes, less than its header)" },
   { "ipv4 udp", 38, { 1, 0 }, "(UDP announces 256 bytes, and 8 are there)" },
   { "ipv4 udp", 20, { 0x20, 0, 64, 17, 0, 0, 10, 0, 0, 2, 10, 0, 0, 1, 0x9c, 0x40, 0, 53, 1, 0 },
      "UDP 40000 -> 53" }, // in a first fragment the UDP length may be greater
   { "ipv6 hop-by-hop udp", 55, { 9 }, "(an IPv6 extension header announces 80 bytes, and" },
   { "ipv4 udp vxlan 5030 ipv4", 42, { 0 }, "(the VXLAN header says that its VNI is not valid)" },
   { "ipv4 udp vxlan 5030 ipv4", 20, { 0x20 }, "UDP 40000 -> 4789" }, // no tunnel in fragments
};

TEST_F( FrameTest, WrongLengthsAreReportedAndIgnored )
{
   for( const Bent& bent : bents ) {
      Bytes bytes = frame( bent.frame ).bytes();
      std::ranges::copy( bent.bytes, bytes.begin() + static_cast<std::ptrdiff_t>( bent.at ) );
      const Frame parsed( bytes );
      EXPECT_NE( parsed.text().find( bent.text ), std::string::npos ) << parsed.text();
      EXPECT_FALSE( parsed.headers().vxlan );
   }
   const Frame labelled = frame( "mpls 100 ipv4 bad-checksum" );
   EXPECT_FALSE( relabelled( labelled, std::nullopt ).headers().ip->checksumRight );
   EXPECT_EQ( relabelled( labelled, std::nullopt ).headers().ip->ttl, 64 );
}

TEST_F( FrameTest, DamagedFramesAreParsedAndForwarded )
{
   bringUp( "register" );
   std::mt19937 random( 4 );
   for( int i = 0; i < 6000; ++i ) {
      Bytes bytes = frame( built[ random() % std::size( built ) ] ).bytes();
      if( random() % 4 == 0 ) // to the router, so that more stages see it
         std::ranges::copy( agent().helper()->routerMacAddr().bytes(), bytes.begin() );
      for( unsigned bend = random() % 4; bend > 0; --bend )
         bytes[ random() % bytes.size() ] = static_cast<U8>( random() );
      if( random() % 2 == 0 )
         bytes.resize( 14 + random() % bytes.size() );
      const Frame bent( bytes );
      EXPECT_FALSE( bent.text().empty() );
      const U32 port = static_cast<U32>( 1 + random() % 8 );
      EXPECT_FALSE( engine().send( { { 0, port }, bent } ).passes.empty() );
   }
}

TEST_F( FrameTest, CaptureFilesContainFramesUnchanged )
{
   bringUp( "hsdk" );
   const std::string file = testing::TempDir() + "packets.pcap";
   run( "capture cpu " + file );
   EXPECT_THROW( run( "capture cpu " + file + "2" ), Tool::InputError );
   EXPECT_THROW( run( "capture Ethernet1 " + file ), Tool::InputError );
   send( "in Ethernet1 dmac router ethertype 0x88b5" );
   send( "in Ethernet1 dmac 00:00:00:00:77:77 ethertype 0x88b5" ); // not for the CPU
   const Sim::Verdict last =
      send( "in Ethernet1 vlan 10 dmac router ipv4 dst 10.99.0.1 ttl 9 bad-checksum options" );
   send( "in Ethernet1 pcap tests/packet/frames/frames.pcap frame 29" ); // cut
   run( "no capture" );
   EXPECT_EQ( Tool::frameInFile( file, 2 ), last.passes.front().cpu->frame );
   EXPECT_EQ( Tool::frameInFile( file, 3 ).headers().problem, "the capture holds 20 of 74 bytes" );
   EXPECT_THROW( Tool::frameInFile( file, 4 ), Vormel::ValueError );
   std::filesystem::resize_file( file, std::filesystem::file_size( file ) - 5 );
   run( "expect error \"behind frame 2: \" packet in Ethernet1 pcap " + file + " frame 3" );
   std::fstream( file, std::ios::in | std::ios::out | std::ios::binary ).seekp( 20 ).put( 113 );
   run(
      "expect error \"does not contain Ethernet frames (link type 113)\" packet in Ethernet1 pcap " +
      file );
   std::fstream( file, std::ios::in | std::ios::out | std::ios::binary ).seekp( 20 ).put( 1 );
   EXPECT_EQ( session.failures(), 0u );
   EXPECT_EQ( outcome( send( "in Ethernet1 pcap " + file + " frame 1" ) ), "cpu:0" );
   std::filesystem::remove( file );
   EXPECT_THROW( run( "packet in Ethernet1 pcap " + file ), Tool::InputError );
   EXPECT_THROW( run( "packet in Ethernet1 hex 0011" ), Tool::InputError );
}

TEST_F( FrameTest, FramesThatAreTooLongAreRefused )
{
   std::string nested = "packet in port 1";
   for( int i = 0; i < 20000; ++i )
      nested += " ipv4 udp vxlan 5";
   EXPECT_THROW( run( nested + " ipv4" ), Tool::InputError );
   const std::string longest( std::size_t{ 2 } * 9216, '0' );
   EXPECT_NO_THROW( run( "packet in port 1 hex " + longest ) );
   EXPECT_THROW( run( "packet in port 1 hex " + longest + "00" ), Tool::InputError );
}

TEST_F( FrameTest, ACopyOfTheProcessWritesNoCaptures )
{
   run( "interface Ethernet1-2 unit 0 port 1" );
   const std::string file = testing::TempDir() + "captured.pcap";
   run( "capture Ethernet2 " + file +
        "\npacket in Ethernet1 ipv4 ttl 11\n"
        "expect dead \"no\" packet in Ethernet1 ipv4 ttl 22\n"
        "packet in Ethernet1 ipv4 ttl 33\nno capture" );
   EXPECT_EQ( Tool::frameInFile( file, 2 ).headers().ip->ttl, 33 );
   EXPECT_THROW( Tool::frameInFile( file, 3 ), Vormel::ValueError );
   std::filesystem::remove( file );
}

} // namespace
} // namespace Strata
