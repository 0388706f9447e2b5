#include "platform/runtime/Errors.h"
#include "tests/sim/SimTest.h"

#include <algorithm>

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
   EXPECT_EQ( faults.armed().front().text(),
      "call-number " + std::to_string( hardware.shim().calls() + 3 ) + " code BCM_E_BUSY" );
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

TEST_F( FaultsTest, LoseACallRepeatItOrThrow )
{
   const Ref<SimTcamEntryManager> manager = hardware.tcamManager();
   const U32 id = manager->baseEntryId();
   const auto entry = [ & ] { return hardware.chip( 0 ).group( "main" )->find( id ); };
   const auto struck = [ this ]( RecordKind kind ) {
      const Record& record = *std::ranges::find( hardware.transcript().records().rbegin(),
         hardware.transcript().records().rend(), kind, &Record::kind );
      return record.text.substr( record.text.find( " -> " ) ) + "|" + record.field( "rc" ) + "|" +
             record.field( "fault" ) + "|" + record.field( "write" );
   };
   const auto inject = [ this ]( const std::string& call, FaultKind kind ) {
      faults.inject( { .call = call, .kind = kind } );
      return faults.armed().back().text();
   };
   EXPECT_EQ( inject( "getEntry", FaultKind::lost ), "getEntry lost" );
   EXPECT_EQ( manager->getEntry( 0, id, "one", {} ), id );
   EXPECT_EQ( entry(), nullptr );
   EXPECT_EQ( struck( RecordKind::entry ), " -> 1001, lost (injected)||lost|" );
   manager->getEntry( 0, id, "one", {} );

   inject( "bcm_field_action_add", FaultKind::lost );
   EXPECT_EQ( addAction( 0, id, FieldAction::Drop ), ok );
   EXPECT_EQ( struck( RecordKind::call ), " -> lost (injected)|BCM_E_NONE|lost|" );
   faults.inject( { .call = "bcm_field_action_add", .code = sdkCode( "7" ) } );
   EXPECT_EQ( addAction( 0, id, FieldAction::Drop ), 7 );
   EXPECT_EQ( struck( RecordKind::call ), " -> 7 (injected)|7||" );
   EXPECT_TRUE( entry()->claim.actions.empty() );
   inject( "bcm_field_lock", FaultKind::throws );
   EXPECT_THROW( lockAndUnlock( 0 ), InjectedException );
   EXPECT_FALSE( hardware.chip( 0 ).fieldLocked );
   EXPECT_EQ( struck( RecordKind::call ), " -> throws (injected)||throws|" );
   addAction( 0, id, FieldAction::Drop );
   inject( "bcm_field_lock", FaultKind::twice );
   EXPECT_EQ( lockAndUnlock( 0 ), code( SdkCode::Busy ) );
   EXPECT_EQ( struck( RecordKind::call ), " -> BCM_E_BUSY, twice (injected)|BCM_E_BUSY|twice|" );
   EXPECT_TRUE( hardware.chip( 0 ).fieldLocked );

   inject( "installEntry", FaultKind::twice );
   EXPECT_EQ( manager->installEntry( 0, id ), ok );
   EXPECT_EQ( struck( RecordKind::entry ), " -> twice (injected)|BCM_E_NONE|twice|changed" );
   for( const FaultKind kind : { FaultKind::lost, FaultKind::throws, FaultKind::twice } ) {
      inject( "releaseEntry", kind );
      try {
         manager->releaseEntry( 0, id );
      } catch( const InjectedException& thrown ) {
         EXPECT_STREQ( thrown.what(), "an injected exception of releaseEntry on unit 0" );
      }
      EXPECT_EQ( entry() != nullptr, kind != FaultKind::twice );
   }
   breaches();
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
   EXPECT_EQ( refusal( { .call = "releaseEntry", .kind = FaultKind::lost } ), "accepted" );
   EXPECT_EQ( sdkCode( "not-found" ), SdkCode::NotFound );
   EXPECT_EQ( sdkCode( "BCM_E_UNAVAIL" ), sdkCode( "-16" ) );
   EXPECT_THROW( sdkCode( "BCM_E_UNAVAILABLE_" ), Vormel::ValueError );
}

} // namespace Strata::Sim
