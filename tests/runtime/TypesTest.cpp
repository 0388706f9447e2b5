// The value types: addresses, interface identifiers, port bitmaps, and the names of enumerations.
#include "platform/runtime/Enum.h"
#include "platform/runtime/Text.h"
#include "platform/state/StrataPort.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "platform/types/PortBitmap.h"
#include "routing/RoutingState.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>
#include <vector>

namespace Vormel {

enum Fruit : U8
{
   apple = 3,
   pear = 65,
};
VORMEL_ENUM_NAMES( Fruit, { apple, "apple" }, { pear, "pear" } )
enum Nameless : U8
{
   nameless = 65,
};

namespace {

using Strata::PortBitmap;

TEST( EthAddrTest, EveryByteCountsInComparisonAndHash )
{
   const EthAddr addr( 0x02, 0x00, 0xa1, 0x00, 0x00, 0x01 );
   for( U32 i = 0; i < EthAddr::size; ++i ) {
      EthAddr other = addr;
      other.byteIs( i, 0xfe );
      EXPECT_NE( addr, other );
      EXPECT_LT( addr, other );
      EXPECT_NE( std::hash<EthAddr>{}( addr ), std::hash<EthAddr>{}( other ) );
   }
   EXPECT_THROW( addr.byte( 6 ), RangeError );
   EXPECT_TRUE( EthAddr::broadcast.isBroadcast() && EthAddr::broadcast.isMulticast() );
   EXPECT_TRUE( EthAddr().isZero() && !addr.isZero() && !addr.isMulticast() );
}

TEST( EthAddrTest, ParsesBothNotationsAndNothingElse )
{
   const EthAddr addr( 0x02, 0x00, 0xa1, 0xab, 0x00, 0x01 );
   EXPECT_EQ( addr.toString(), "02:00:a1:ab:00:01" );
   EXPECT_EQ( EthAddr::fromNumber( 0xffff'0200'a1ab'0001 ), addr );
   for( const char* text : { "02:00:a1:ab:00:01", "02:00:A1:AB:00:01", "0200.a1ab.0001" } )
      EXPECT_EQ( EthAddr::parse( text ), addr ) << text;
   for( const char* text : { "", "02:00:a1:ab:00", "02:00:a1:ab:00:0g", "02:00:a1:ab:00:01 ",
           "02:00:a1:ab:00.01", "0200:a1ab:0001", "2:00:a1:ab:00:001", "02:00:a1:ab:00:-1" } )
      EXPECT_FALSE( EthAddr::parse( text ) ) << text;
}

TEST( IntfIdTest, OrderIsByKindThenByNumber )
{
   std::vector<IntfId> intfs;
   const std::vector<const char*> ordered{ "", "Ethernet2", "Ethernet3", "Ethernet3/1",
      "Ethernet3/1/2", "Ethernet3/2", "Ethernet10", "Port-Channel5", "Vlan1", "Vlan4094",
      "Loopback0", "Management0", "Management1/1" };
   for( const char* text : ordered )
      intfs.emplace_back( text );
   std::shuffle( intfs.begin(), intfs.end(), std::mt19937( 1 ) );
   std::ranges::sort( intfs );
   for( std::size_t i = 0; i < intfs.size(); ++i )
      EXPECT_EQ( toText( intfs[ i ] ), ordered[ i ] );
}

TEST( IntfIdTest, RefusesTextsThatAreNotInterfaces )
{
   for( const char* text :
      { "", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet1/0", "Ethernet1/", "Ethernet1/1/1/1",
         "Ethernet-1", "Ethernet1 ", "ethernet1", "Ethernet16777216", "Ethernet1/65536",
         "Port-Channel0", "Port-Channel1/1", "Vlan0", "Vlan4095", "Loopback", "Loopback0/1" } )
      EXPECT_FALSE( IntfId::parse( text ) ) << text;
   for( const std::string text : { "Ethernet16777215/65535/65535", "Port-Channel16777215",
           "Loopback16777215", "Management16777215/65535/65535" } )
      EXPECT_EQ( toText( IntfId( text ) ), text );
   EXPECT_THROW( IntfId( "Vlan4095" ), ValueError );
   EXPECT_THAT( [] { IntfId::ethernet( 1, 0, 2 ); },
      testing::ThrowsMessage<ValueError>( testing::StartsWith(
         "no interface is named 'Ethernet1/0/2': the first number must be 1 to 16777215" ) ) );
   EXPECT_THROW( IntfId::portChannel( 0 ), ValueError );
   EXPECT_TRUE( IntfId::vlan( 4094 ).isVlan() && IntfId().empty() );
   EXPECT_EQ( IntfId::ethernet( 3, 1, 2 ), IntfId( "Ethernet3/1/2" ) );
   EXPECT_EQ( IntfId::portChannel( 5 ), IntfId( "Port-Channel5" ) );
   EXPECT_EQ( IntfId::loopback( 7 ), IntfId( "Loopback7" ) );
   EXPECT_EQ( IntfId::management( 1, 2 ), IntfId( "Management1/2" ) );
   EXPECT_EQ(
      IntfId::parse( std::string_view( "Ethernet12" ).substr( 0, 9 ) ), IntfId::ethernet( 1 ) );
}

TEST( PortBitmapTest, AgreesWithASetOfPorts )
{
   std::mt19937 random( 1 );
   PortBitmap bitmap, other;
   std::set<U32> ports, others;
   for( U32 i = 0; i < 600; ++i ) {
      const U32 port = static_cast<U32>( random() ) % 1024;
      if( random() % 4 ) {
         bitmap.add( port );
         ports.insert( port );
      } else {
         bitmap.remove( port );
         ports.erase( port );
      }
      other.add( port / 2 );
      others.insert( port / 2 );
   }
   const auto expect = []( const PortBitmap& actual, const std::vector<U32>& expected ) {
      std::vector<U32> listed;
      for( const U32 port : actual )
         listed.push_back( port );
      EXPECT_EQ( listed, expected );
      EXPECT_EQ( actual.count(), expected.size() );
      EXPECT_EQ( PortBitmap::parse( actual.toString() ), actual );
   };
   const auto combined = [ & ]( auto algorithm ) {
      std::vector<U32> result;
      algorithm( ports, others, std::back_inserter( result ) );
      return result;
   };
   expect( bitmap, { ports.begin(), ports.end() } );
   expect( bitmap | other, combined( std::ranges::set_union ) );
   expect( bitmap & other, combined( std::ranges::set_intersection ) );
   expect( bitmap - other, combined( std::ranges::set_difference ) );
}

TEST( PortBitmapTest, TextWordsAndBounds )
{
   PortBitmap ports;
   EXPECT_EQ( ports.toString(), "-" );
   for( const U32 port : { 1u, 2u, 3u, 4u, 7u, 63u, 64u, 1022u, 1023u } )
      ports.add( port );
   EXPECT_EQ( ports.toString(), "1-4,7,63-64,1022-1023" );
   EXPECT_THROW( ports.add( 1024 ), RangeError );
   EXPECT_THROW( ports.contains( 1024 ), RangeError );
   for( const char* text : { "", "1,", ",1", "4-1", "1024", "0-4294967296", "1-", "1-2-3", "1 " } )
      EXPECT_FALSE( PortBitmap::parse( text ) ) << text;

   std::vector<U32> words( 32 );
   words[ 0 ] = 0x80000001;
   words[ 1 ] = 1;
   words[ 31 ] = 0x80000000;
   EXPECT_EQ( PortBitmap::fromWords( words ).toString(), "0,31-32,1023" );
   words.push_back( 0 );
   EXPECT_THAT( [ & ] { PortBitmap::fromWords( words ); },
      testing::ThrowsMessage<RangeError>( "cannot access index 1055 of an array with size 1024" ) );
}

TEST( StrataPortTest, ATextHasUnitPortAndPerhapsALogicalNumber )
{
   using Strata::StrataPort;
   EXPECT_EQ( StrataPort::parse( "1/2/3" ), StrataPort( 1, 2, 3 ) );
   EXPECT_EQ( StrataPort::parse( "1/2" ), StrataPort( 1, 2, 2 ) );
   EXPECT_EQ( StrataPort::parse( "0/2147483647/5" ), StrataPort( 0, 2147483647, 5 ) );
   for( const char* text :
      { "", "1", "1/", "/2", "1/2/", "1/2/3/", "1/2/3/4", "1,2", "1/2 ", "0/2147483648/5" } )
      EXPECT_FALSE( StrataPort::parse( text ) ) << text;
}

TEST( ListsTest, AWordThatIsMissingOrDoesNotFitTheOthersIsRefused )
{
   using Strata::RoutingState;
   EXPECT_EQ( RoutingState::parse( "off" ), RoutingState() );
   EXPECT_EQ( RoutingState::parse( "ip4,mcast" ), ( RoutingState{ true, false, true } ) );
   for( const char* text : { "off", "ip4", "ip4,ip6", "ip4,mcast", "ip4,ip6,mcast" } )
      EXPECT_EQ( toText( *RoutingState::parse( text ) ), text );
   for( const char* text : { "ip4,", "ip4,off", "off,ip4", ",ip4", "ip4,,ip6" } )
      EXPECT_EQ( RoutingState::parse( text ), std::nullopt ) << text;
   EXPECT_TRUE( Strata::IntfIdList::parse( "Ethernet1,Ethernet2" ) );
   EXPECT_FALSE( Strata::IntfIdList::parse( "Ethernet1," ) );
}

TEST( TextTest, OneByteValuesReadAsNumbersAndNamedOnesAsNames )
{
   EXPECT_EQ( toText( true ) + toText( U8{ 65 } ) + toText( nameless ), "16565" );
   EXPECT_EQ( toText( pear ) + toText( static_cast<Fruit>( 4 ) ), "pear4" );
   EXPECT_EQ( toText( static_cast<const char*>( nullptr ) ), "(null)" );
   EXPECT_EQ( enumParse<Fruit>( "apple" ), apple );
   EXPECT_FALSE( enumParse<Fruit>( "Apple" ) );
}

} // namespace
} // namespace Vormel
