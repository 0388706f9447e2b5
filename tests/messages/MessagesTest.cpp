#include "messages/Messages.h"
#include "messages/L3Status.h"
#include "messages/L3Types.h"

#include "platform/runtime/Activity.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Strata {
namespace {

TEST( MessagesTest, AllSixExistOnceTheLibraryIsLoadedInTheirOrder )
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

TEST( L3TypesTest, ValuesHaveOrderTextAndRanges )
{
   const MplsTunnelKey key( { 16, 17 }, 5, 0 );
   EXPECT_EQ( toText( MplsTunnelKeyAndL3Intf{ key, 9 } ), "labels 16/17 exp 5 ttl 0 hw 9" );
   EXPECT_LT( key, MplsTunnelKey( { 16, 18 }, 5, 0 ) );
   EXPECT_EQ( hashValue( key, 0 ), hashValue( MplsTunnelKey( { 16, 17 }, 5, 0 ), 0 ) );
   EXPECT_THROW( MplsTunnelKey( { 0x100000 }, 0, 0 ), Vormel::ValueError );
   EXPECT_THROW( MplsTunnelKey( { 1 }, 8, 0 ), Vormel::ValueError );
   EXPECT_THROW( MplsTunnelKey( { 1, 2, 3, 4, 5, 6, 7, 8, 9 }, 0, 0 ), Vormel::ValueError );
   EXPECT_THROW( key.label( 2 ), Vormel::RangeError );
}

TEST( L3StatusTest, ATableIsFullOnlyWhenItsSizeIsKnown )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   const auto status = Vormel::make<L3Status>();
   EXPECT_FALSE( status->hostFull() );
   status->hostMaxIs( 2 );
   status->hostUsedIs( 2 );
   EXPECT_TRUE( status->hostFull() );
   EXPECT_FALSE( status->routeFull() );
}

} // namespace
} // namespace Strata
