// Captures that say what became of each frame, and whole captures that come in.
#include "tests/packet/PacketTest.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Strata {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A frame of a pcapng file.
struct NotedFrame
{
   std::string interface;
   U64 nanoseconds;
   Sim::Bytes bytes;
   U32 length;
   std::string comment;
};

/// Reads the blocks of a pcapng file and checks their form.
class BlockReader
{
 public:
   explicit BlockReader( const std::string& file )
   {
      std::ifstream in( file, std::ios::binary );
      all_.assign( std::istreambuf_iterator<char>( in ), {} );
      std::size_t at = 0;
      while( at < all_.size() ) {
         const U32 type = number( at ), length = number( at + 4 );
         require( length % 4 == 0 && at + length <= all_.size(), "length" );
         require( number( at + length - 4 ) == length, "length at the end" );
         require( ( type == 0x0A0D0D0A ) == ( at == 0 ), "one section" );
         if( type == 0x0A0D0D0A )
            require(
               number( at + 8 ) == 0x1A2B3C4D && number( at + 12 ) == 1, "byte order, version" );
         else if( type == 1 )
            addInterface( at, length );
         else if( type == 6 )
            addFrame( at, length );
         else
            require( false, "a block of another type" );
         at += length;
      }
   }

   std::vector<NotedFrame> frames;

 private:
   static void require( bool holds, const std::string& what )
   {
      if( !holds )
         throw std::runtime_error( what );
   }
   U32 number( std::size_t at ) const
   {
      U32 value = 0;
      std::memcpy( &value, all_.substr( at, sizeof value ).data(), sizeof value );
      return value;
   }
   /// The text of an option, of which there is at most one.
   std::string option( std::size_t at, std::size_t end, U16 wanted ) const
   {
      while( at + 4 <= end ) {
         const U32 head = number( at );
         const U32 size = head >> 16;
         if( ( head & 0xFFFF ) == wanted )
            return all_.substr( at + 4, size );
         if( head == 0 )
            return {};
         at += 4 + ( size + 3 ) / 4 * 4;
      }
      throw std::runtime_error( "the options have no end" );
   }
   void addInterface( std::size_t at, U32 length )
   {
      require( ( number( at + 8 ) & 0xFFFF ) == 1 && number( at + 12 ) == 0, "Ethernet, no limit" );
      require( option( at + 16, at + length - 4, 9 ) == "\x09", "nanoseconds" );
      interfaces_.push_back( option( at + 16, at + length - 4, 2 ) );
   }
   void addFrame( std::size_t at, U32 length )
   {
      NotedFrame frame;
      frame.interface = interfaces_.at( number( at + 8 ) );
      frame.nanoseconds = U64( number( at + 12 ) ) << 32 | number( at + 16 );
      const U32 size = number( at + 20 );
      frame.length = number( at + 24 );
      frame.bytes.assign( all_.begin() + static_cast<S64>( at ) + 28,
         all_.begin() + static_cast<S64>( at ) + 28 + size );
      frame.comment = option( at + 28 + ( size + 3 ) / 4 * 4, at + length - 4, 1 );
      frames.push_back( std::move( frame ) );
   }

   std::string all_;
   std::vector<std::string> interfaces_;
};

class CaptureTest : public PacketTest
{
 protected:
   static std::string file( const std::string& ending )
   {
      return testing::TempDir() + "capture-test-" +
             testing::UnitTest::GetInstance()->current_test_info()->name() + ending;
   }
};

TEST_F( CaptureTest, ACommentSaysWhatBecameOfEachFrame )
{
   bringUp( "hsdk" );
   run( "advance 2250ms" );
   run( "capture Ethernet4 " + file( "-port.pcapng" ) );
   run( "capture cpu " + file( "-cpu.pcapng" ) );
   run( "capture drops " + file( "-drops.pcapng" ) );
   const Sim::Verdict routed =
      send( "in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9 udp" );
   const Sim::Verdict toCpu = send( "in Ethernet2 dmac router ipv4 dst 10.3.0.1 length 61" );
   send( "in Ethernet3 smac 01:00:00:00:00:01 ipv4" );
   send( "in Ethernet7 vlan 10 dmac 00:00:00:00:00:01 ipv4" );
   send( "in Ethernet1 dmac router arp request" );
   run( "no capture drops" );
   run( "no capture" );

   const auto port = BlockReader( file( "-port.pcapng" ) ).frames;
   ASSERT_EQ( port.size(), 1u );
   EXPECT_EQ( port[ 0 ].interface, "Ethernet4" );
   EXPECT_EQ( port[ 0 ].nanoseconds, 2'250'000'000u );
   EXPECT_EQ( port[ 0 ].bytes, routed.departures().at( 0 )->frame.bytes() );
   EXPECT_THAT( port[ 0 ].comment, StartsWith( "in Ethernet1: leaves on Ethernet4" ) );

   const auto cpu = BlockReader( file( "-cpu.pcapng" ) ).frames;
   ASSERT_EQ( cpu.size(), 1u );
   EXPECT_EQ( cpu[ 0 ].interface, "CPU of unit 0" );
   EXPECT_EQ( cpu[ 0 ].bytes, toCpu.cpuCopies().at( 0 )->frame.bytes() );
   EXPECT_EQ( cpu[ 0 ].length, 61u );
   EXPECT_THAT( cpu[ 0 ].comment, StartsWith( "in Ethernet2: CPU queue " ) );
   EXPECT_THAT( cpu[ 0 ].comment,
      HasSubstr( "\nmain 1034 \"NextHop to Cpu\" wins: DstPort mod 250/0xff port any => CopyToCpu\n"
                 "installed by 'bring-up' (record " ) );

   const auto drops = BlockReader( file( "-drops.pcapng" ) ).frames;
   ASSERT_EQ( drops.size(), 3u );
   EXPECT_EQ( drops[ 0 ].interface, "Ethernet3" );
   EXPECT_THAT( drops[ 0 ].comment, StartsWith( "in Ethernet3: dropped: " ) );
   EXPECT_EQ( drops[ 1 ].interface, "Ethernet7" );
   EXPECT_THAT( drops[ 1 ].comment, HasSubstr( "VLAN 10" ) );
   EXPECT_THAT( drops[ 2 ].comment, StartsWith( "in Ethernet1: dropped by main 1039 " ) );
   // Read back as any other capture.
   EXPECT_EQ( Tool::frameInFile( file( "-drops.pcapng" ), 2 ).bytes(), drops[ 1 ].bytes );
}

TEST_F( CaptureTest, StateThatKeepsTheChipFromRoutingIsInTheComment )
{
   bringUp( "hsdk" );
   run( "call handleVlanRoutingState 10 off\ncapture cpu " + file( ".pcapng" ) );
   send( "in Ethernet1 vlan 10 dmac router ipv4 dst 10.2.0.1" );
   const auto frames = BlockReader( file( ".pcapng" ) ).frames;
   ASSERT_EQ( frames.size(), 1u ) << "it is there at once";
   EXPECT_THAT(
      frames[ 0 ].comment, HasSubstr( "\nnot routed: IPv4 routing is off in VLAN 10, written by "
                                      "'call handleVlanRoutingState 10 off' (record " ) );
}

TEST_F( CaptureTest, DroppedPacketsGoToOneFileWithComments )
{
   bringUp( "hsdk" );
   run( "capture drops " + file( ".pcapng" ) );
   EXPECT_THROW( run( "capture drops " + file( "-2.pcapng" ) ), Tool::InputError );
   run( "no capture" );
   EXPECT_THROW( run( "no capture drops" ), Tool::InputError );
   EXPECT_THROW( run( "capture drops " + file( ".pcap" ) ), Tool::InputError );
}

TEST_F( CaptureTest, HitsAreCountedFromTheMarkForAWholeCapture )
{
   bringUp( "hsdk" );
   run( "capture cpu " + file( ".pcap" ) );
   for( int i = 0; i < 3; ++i )
      send( "in Ethernet2 dmac router ipv4 dst 10.3.0.1" );
   run( "no capture\nmark" );
   const auto rows = [ & ] {
      out.str( "" );
      run( "show entries hits --json" );
      return nlohmann::json::parse( out.str().substr( out.str().find( '[' ) ) );
   };
   const auto hitsOf = [ & ]( const nlohmann::json& all, int id ) {
      for( const auto& row : all )
         if( row[ "id" ] == id )
            return row[ "hits" ].get<int>();
      return -1;
   };
   EXPECT_EQ( hitsOf( rows(), 1034 ), 0 );
   run( "pcap " + file( ".pcap" ) + " in Ethernet2 summary" );
   const auto after = rows();
   EXPECT_EQ( after[ 0 ][ "id" ], 1034 ) << "those that were hit come first";
   EXPECT_EQ( hitsOf( after, 1034 ), 3 );
   EXPECT_EQ( hitsOf( after, 1024 ), 0 );
}

} // namespace
} // namespace Strata
