#include "messages/Messages.h"
#include "messages/L3Status.h"
#include "messages/L3Types.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/EntityType.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Strata {
namespace {

TEST( MessagesTest, TheLibraryDeclaresAllSixInTheirOrder )
{
   std::string all;
   for( const Vormel::SyslogHandle* handle : Vormel::syslogHandles() )
      if( std::string( handle->key() ).find( '_' ) != std::string::npos &&
          handle->rate().factor == 1.0 && handle->rate().minInterval == 0.0 )
         all +=
            std::to_string( static_cast<int>( handle->severity() ) ) + " " + handle->key() + "\n";
   EXPECT_EQ( all.substr( 0, all.find( "UNKNOWN_UCAST" ) + 29 ),
      "6 STRATA_CONFIG_CHANGE\n"
      "3 STRATA_UNEXPECTED_RESTART\n"
      "3 STRATA_URPF_HW_RESOURCE_FULL\n"
      "6 STRATA_RESERVED_HOST_TABLE_EXCEEDED\n"
      "3 HARDWARE_UNKNOWN_MAC_DROP_FEATURE_UNSUPPORTED\n"
      "4 UNKNOWN_UCAST_PACKET_RECEIVED" );
   // One object in the library, so that an agent can compare its address.
   EXPECT_EQ( STRATA_CONFIG_CHANGE.recommendedAction(), &Vormel::NoActionRequired[ 0 ] );
}

TEST( MessagesTest, ArgumentsAreRenderedAsTextFirst )
{
   std::vector<std::string> raised;
   Vormel::syslogSinkIs( [ & ]( const auto& record ) { raised.emplace_back( record.text ); } );
   Vormel::logMessage( UNKNOWN_UCAST_PACKET_RECEIVED, U16( 3 ) );
   Vormel::logMessage( HARDWARE_UNKNOWN_MAC_DROP_FEATURE_UNSUPPORTED, U16( 3 ), "unit 0" );
   Vormel::syslogSinkIs( {} );
   ASSERT_EQ( raised.size(), 2u );
   EXPECT_EQ(
      raised[ 0 ], "Received unknown unicast packet for lossless priority 3 on the switch" );
   EXPECT_EQ( raised[ 1 ], "Cannot program unknown MAC drop for traffic class 3 on unit 0." );
}

/// Each of `greater` has one field that is greater than in `value`.
template<class T>
void expectFieldsToCount( const T& value, const std::vector<T>& greater )
{
   const T same = value;
   EXPECT_EQ( value, same );
   EXPECT_EQ( hashValue( value, 7 ), hashValue( same, 7 ) );
   EXPECT_NE( hashValue( value, 7 ), hashValue( value, 8 ) );
   for( const T& other : greater ) {
      SCOPED_TRACE( toText( other ) );
      EXPECT_LT( value, other );
      EXPECT_NE( toText( value ), toText( other ) );
      EXPECT_NE( hashValue( value, 7 ), hashValue( other, 7 ) );
   }
}

TEST( L3TypesTest, EveryFieldCountsInOrderTextAndHash )
{
   const EthAddr mac = *EthAddr::parse( "02:00:00:00:00:01" );
   const EthAddr mac2 = *EthAddr::parse( "02:00:00:00:00:02" );
   const IntfId intf( "Vlan10" );
   const L3IntfInfo info{ intf, 10, 1, mac, 1500, 7 };
   EXPECT_EQ( toText( info ), "Vlan10 vlan 10 vrf 1 mac 02:00:00:00:00:01 mtu 1500 hw 7" );
   expectFieldsToCount<L3IntfInfo>(
      info, { { IntfId( "Vlan11" ), 10, 1, mac, 1500, 7 }, { intf, 11, 1, mac, 1500, 7 },
               { intf, 10, 2, mac, 1500, 7 }, { intf, 10, 1, mac2, 1500, 7 },
               { intf, 10, 1, mac, 1501, 7 }, { intf, 10, 1, mac, 1500, 8 } } );
   EXPECT_EQ( toText( L3IntfFlowKey{ 10, mac } ), "vlan 10 mac 02:00:00:00:00:01" );
   expectFieldsToCount<L3IntfFlowKey>( { 10, mac }, { { 11, mac }, { 10, mac2 } } );
   EXPECT_EQ( toText( L3IntfFlowInfo{ 7, 2 } ), "hw 7 flows 2" );
   expectFieldsToCount<L3IntfFlowInfo>( { 7, 2 }, { { 8, 2 }, { 7, 3 } } );
   const MplsTunnelKey key( { 16, 17 }, 5, 3 );
   EXPECT_EQ( toText( MplsTunnelKeyAndL3Intf{ key, 9 } ), "labels 16/17 exp 5 ttl 3 hw 9" );
   expectFieldsToCount<MplsTunnelKey>(
      key, { { { 17, 16 }, 5, 3 }, { { 16, 18 }, 5, 3 }, { { 16, 17, 0 }, 5, 3 },
              { { 16, 17 }, 6, 3 }, { { 16, 17 }, 5, 4 } } );
   expectFieldsToCount<MplsTunnelKeyAndL3Intf>(
      { key, 9 }, { { key, 10 }, { { { 16, 17 }, 5, 4 }, 9 } } );
}

template<class T>
void expectHashesToDiffer( const std::vector<T>& values )
{
   std::set<U64> hashes;
   for( const T& value : values )
      hashes.insert( hashValue( value, 7 ) );
   EXPECT_EQ( hashes.size(), values.size() ) << toText( values.front() );
}

// Fields that share a word of the hash neither overlap nor lose their ends.
TEST( L3TypesTest, TheFirstAndTheLastBitOfEachFieldCountInTheHash )
{
   const EthAddr none;
   const EthAddr first = EthAddr::fromNumber( 1 );
   const EthAddr last = EthAddr::fromNumber( U64{ 1 } << 47 );
   constexpr U32 top = 0x80000000;
   const IntfId intf;
   expectHashesToDiffer<L3IntfInfo>( { {}, { IntfId( "Loopback0" ), 0, 0, none, 0, 0 },
      { IntfId( "Management0" ), 0, 0, none, 0, 0 }, { intf, 1, 0, none, 0, 0 },
      { intf, 0x8000, 0, none, 0, 0 }, { intf, 0, 1, none, 0, 0 }, { intf, 0, top, none, 0, 0 },
      { intf, 0, 0, first, 0, 0 }, { intf, 0, 0, last, 0, 0 }, { intf, 0, 0, none, 1, 0 },
      { intf, 0, 0, none, top, 0 }, { intf, 0, 0, none, 0, 1 }, { intf, 0, 0, none, 0, top } } );
   expectHashesToDiffer<L3IntfFlowKey>(
      { {}, { 1, none }, { 0x8000, none }, { 0, first }, { 0, last } } );
   expectHashesToDiffer<L3IntfFlowInfo>( { {}, { 1, 0 }, { top, 0 }, { 0, 1 }, { 0, top } } );
   const MplsTunnelKey key( { 0 }, 0, 0 );
   expectHashesToDiffer<MplsTunnelKeyAndL3Intf>(
      { { key, 0 }, { key, 1 }, { key, top }, { { { 1 }, 0, 0 }, 0 }, { { { 0, 0 }, 0, 0 }, 0 } } );
   expectHashesToDiffer<MplsTunnelKey>( { { { 0 }, 0, 0 }, { { 1 }, 0, 0 }, { { 0x80000 }, 0, 0 },
      { { 0, 0 }, 0, 0 }, { { 0 }, 1, 0 }, { { 0 }, 4, 0 }, { { 0 }, 0, 1 }, { { 0 }, 0, 0x80 } } );
}

TEST( L3TypesTest, ATunnelsLabelsHaveRanges )
{
   const MplsTunnelKey widest( { 0xFFFFF, 2, 3, 4, 5, 6, 7, 0 }, 7, 255 );
   EXPECT_EQ( widest.labelCount(), 8u );
   EXPECT_EQ( widest.label( 0 ), 0xFFFFFu );
   EXPECT_EQ( widest.label( 7 ), 0u );
   EXPECT_THROW( widest.label( 8 ), Vormel::RangeError );
   EXPECT_THROW( MplsTunnelKey( { 1, 2 }, 0, 0 ).label( 2 ), Vormel::RangeError );
   EXPECT_THAT(
      [] {
         MplsTunnelKey( { 1, 2 }, 0, 0 ).label( 5 );
      },
      testing::ThrowsMessage<Vormel::RangeError>(
         "cannot access index 5 of an array with size 2" ) );
   EXPECT_EQ( MplsTunnelKey( { 1 }, 0, 0 ).labelCount(), 1u );
   const auto refusal = []( std::vector<U32> labels, U8 exp ) {
      try {
         const MplsTunnelKey key( labels, exp, 0 );
      } catch( const Vormel::ValueError& error ) {
         return std::string( error.what() );
      }
      return std::string( "none" );
   };
   const std::string labels = "MplsTunnelKey: a number of labels of ";
   EXPECT_EQ( refusal( {}, 0 ), labels + "0 is not 1 to 8" );
   EXPECT_EQ( refusal( { 1, 2, 3, 4, 5, 6, 7, 8, 9 }, 0 ), labels + "9 is not 1 to 8" );
   EXPECT_EQ( refusal( { 1, 0x100000 }, 0 ), "MplsTunnelKey: label 1048576 is not 0 to 1048575" );
   EXPECT_EQ( refusal( { 1 }, 8 ), "MplsTunnelKey: exp 8 is not 0 to 7" );
   EXPECT_EQ( refusal( {}, 8 ), labels + "0 is not 1 to 8" ); // the first of two mistakes
}

TEST( L3StatusTest, ATableIsFullOnceAllOfItsKnownSizeIsInUse )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   using S = L3Status;
   const std::map<std::string, bool ( S::* )() const> tables{ { "l3Intf", &S::l3IntfFull },
      { "host", &S::hostFull }, { "route", &S::routeFull }, { "nexthop", &S::nexthopFull },
      { "ecmp", &S::ecmpFull }, { "myStation", &S::myStationFull },
      { "mplsTunnel", &S::mplsTunnelFull } };
   for( const auto& [ name, full ] : tables ) {
      SCOPED_TRACE( name );
      const auto status = Vormel::make<L3Status>();
      const auto set = [ & ]( const char* what, U64 value ) {
         status->entityType().attribute( name + what ).write( *status, value );
      };
      set( "Used", 3 );
      EXPECT_FALSE( ( status.get()->*full )() );
      set( "Max", 4 );
      EXPECT_FALSE( ( status.get()->*full )() );
      for( const U64 max : { 3u, 2u } ) {
         set( "Max", max );
         for( const auto& [ other, otherFull ] : tables )
            EXPECT_EQ( ( status.get()->*otherFull )(), other == name ) << other;
      }
   }
}

} // namespace
} // namespace Strata
