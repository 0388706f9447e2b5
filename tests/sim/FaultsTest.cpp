#include "platform/runtime/Errors.h"
#include "tests/sim/SimTest.h"

namespace Strata::Sim {

using testing::ElementsAre;
using testing::HasSubstr;

class FaultsTest : public SimTest
{
 protected:
   int lockAndUnlock( U32 unit )
   {
      const int rc = call( &SdkShimInterface::fieldLock, unit );
      if( rc == ok )
         bareCall( &SdkShimInterface::fieldUnlock, unit );
      return rc;
   }
   std::string refusal( const Fault& fault )
   {
      try {
         hardware.faults().inject( fault );
      } catch( const Vormel::ValueError& error ) {
         return error.what();
      }
      return "accepted";
   }

   Faults& faults = hardware.faults();
};

TEST_F( FaultsTest, ApplyToTheCallThatTheyName )
{
   const int busy = code( SdkCode::Busy );
   faults.inject( { .call = "bcm_field_lock", .unit = 4, .nth = 2, .code = SdkCode::Busy } );
   EXPECT_EQ( faults.armed().front().text(), "bcm_field_lock nth 2 unit 4 code BCM_E_BUSY" );
   std::vector<int> codes;
   for( const U32 unit : { 4u, 0u, 4u, 4u } )
      codes.push_back( lockAndUnlock( unit ) );
   EXPECT_THAT( codes, ElementsAre( ok, ok, busy, ok ) );
   EXPECT_TRUE( faults.armed().empty() );
   EXPECT_FALSE( hardware.chip( 4 ).fieldLocked );

   faults.inject(
      { .call = "", .callNumber = hardware.shim().calls() + 3, .code = SdkCode::Busy } );
   EXPECT_EQ( faults.armed().front().text(), "any call call-number " +
                                                std::to_string( hardware.shim().calls() + 3 ) +
                                                " code BCM_E_BUSY" );
   EXPECT_EQ( lockAndUnlock( 0 ), ok );
   EXPECT_EQ( lockAndUnlock( 0 ), busy );

   faults.inject( { .call = "bcm_field_lock", .nth = 2, .code = SdkCode::Busy, .always = true } );
   codes.clear();
   for( int i = 0; i < 4; ++i )
      codes.push_back( lockAndUnlock( 0 ) );
   EXPECT_THAT( codes, ElementsAre( ok, busy, busy, busy ) );
   faults.clear();
   EXPECT_EQ( lockAndUnlock( 0 ), ok );
}

TEST_F( FaultsTest, ApplyToEntryManagersToo )
{
   const Ref<SimTcamEntryManager> manager = hardware.tcamManager();
   const U32 id = manager->baseEntryId();
   faults.inject( { .call = "getEntry" } );
   EXPECT_EQ( manager->getEntry( 0, id, "one", {} ), 0u );
   EXPECT_EQ( call( &SdkShimInterface::fieldQualifyTtl, 0, id, U8{ 0 }, U8{ 1 } ),
      code( SdkCode::NotFound ) );
   EXPECT_EQ( manager->getEntry( 0, id, "one", {} ), id );
   addAction( 0, id, FieldAction::Drop );
   faults.inject( { .call = "installEntry", .code = SdkCode::Full } );
   EXPECT_EQ( manager->installEntry( 0, id ), code( SdkCode::Full ) );
   EXPECT_FALSE( hardware.chip( 0 ).group( "main" )->find( id )->installed() );
   EXPECT_EQ( lines( RecordKind::entry ).back(),
      "entry  main installEntry unit 0 id 1001 -> BCM_E_FULL (injected)" );
   EXPECT_TRUE( breaches().empty() );
}

TEST_F( FaultsTest, AreRefusedIfTheyCannotApply )
{
   EXPECT_THAT( refusal( { .call = "bcm_field_qualify_Tll" } ),
      HasSubstr( "did you mean 'bcm_field_qualify_Ttl'?" ) );
   EXPECT_THAT( refusal( { .call = "releaseEntry" } ), HasSubstr( "returns nothing" ) );
   EXPECT_THAT(
      refusal( { .call = "installEntry", .callNumber = 1 } ), HasSubstr( "no call number" ) );
   EXPECT_THAT( refusal( { .call = "getEntry", .nth = 0 } ), HasSubstr( "counted from 1" ) );
   EXPECT_THAT(
      refusal( { .call = "getEntry", .code = SdkCode::None } ), HasSubstr( "not an error" ) );
   EXPECT_EQ( sdkCode( "not-found" ), SdkCode::NotFound );
   EXPECT_EQ( sdkCode( "BCM_E_UNAVAIL" ), sdkCode( "-16" ) );
   EXPECT_THROW( sdkCode( "BCM_E_UNAVAILABLE_" ), Vormel::ValueError );
}

} // namespace Strata::Sim
