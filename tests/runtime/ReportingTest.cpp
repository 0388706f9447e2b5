// Formats, traces, system log messages and assertions.
#include "platform/runtime/Assert.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <iomanip>
#include <string>
#include <syslog.h>

namespace Vormel {
namespace {

template<class... Args>
std::string formatError( const char* fmt, const Args&... args )
{
   try {
      return "no error: " + format( fmt, args... );
   } catch( const Error& error ) {
      return error.what();
   }
}

TEST( FormatTest, EveryConversionTakesTextAndHexTakesIntegersInTheirOwnWidth )
{
   EXPECT_EQ( format( "%d/%s %u%% %d", "a", 7, U8{ 3 }, true ), "a/7 3% 1" );
   EXPECT_EQ(
      format( "%x %02x %02x %4x", -1, U8{ 10 }, 0x1ff, S64{ 11 } ), "ffffffff 0a 1ff    b" );
   EXPECT_EQ( format( "%s", "%d" ), "%d" ); // arguments are not formats
}

TEST( FormatTest, MistakesNameTheFormat )
{
   EXPECT_EQ( formatError( "TTL %d" ), "format \"TTL %d\": takes 1 arguments, not 0" );
   EXPECT_EQ( formatError( "100%% %d", 1, 2 ), "format \"100%% %d\": takes 1 arguments, not 2" );
   EXPECT_EQ( formatError( "%x", "a" ), "format \"%x\": %x takes an integer, not 'a'" );
   for( const char* fmt : { "%f", "%", "%0", "%2d" } )
      EXPECT_EQ( formatError( fmt, 1 ).find( std::string( "format \"" ) + fmt ), 0u ) << fmt;
}

class TraceTest : public testing::Test
{
 protected:
   TraceHandle apple{ "FruitApple" };
   TraceHandle pear{ "FruitPear" };
   std::string log;

   void SetUp() override
   {
      traceSinkIs( [ this ]( const TraceRecord& record ) {
         log +=
            format( "%s %d %s %s\n", record.handle, record.level, record.function, record.text );
      } );
   }
   void TearDown() override { traceSinkIs( nullptr ); }

   int traced( int value )
   {
      VORMEL_TRACE( pear, 1, "inner " << value );
      return value + 1;
   }
};

TEST_F( TraceTest, ArgumentsAreEvaluatedOnlyWhenTheLevelIsOn )
{
   apple.levelIs( 4 );
   int evaluated = 0;
   for( U32 level = 0; level <= TraceHandle::maxLevel; ++level )
      VORMEL_TRACE_AS( apple, level, "f", ++evaluated );
   EXPECT_EQ( log, "FruitApple 0 f 1\nFruitApple 1 f 2\nFruitApple 2 f 3\nFruitApple 3 f 4\n"
                   "FruitApple 4 f 5\n" );
   EXPECT_EQ( evaluated, 5 );
   EXPECT_THROW( apple.levelIs( 10 ), ValueError );
}

TEST_F( TraceTest, APieceOfATraceMayTraceItself )
{
   apple.levelIs( 9 );
   pear.levelIs( 9 );
   VORMEL_TRACE( apple, 9, "outer " << std::hex << 255 << " " << traced( 1 ) << U8{ 65 } << true );
   VORMEL_TRACE( apple, 9, 255 );
   EXPECT_EQ( log, "FruitPear 1 traced inner 1\nFruitApple 9 TestBody outer ff 2411\n"
                   "FruitApple 9 TestBody 255\n" );
}

TEST_F( TraceTest, AStreamIsUsedAgainOnceItsTraceHasEnded )
{
   TraceStream& outer = traceBegin();
   TraceStream& inner = traceBegin();
   EXPECT_NE( &inner, &outer );
   traceEnd( apple, 0, "f", inner << 1 );
   EXPECT_EQ( &traceBegin(), &inner );
   traceEnd( apple, 0, "f", inner << 2 );
   traceEnd( apple, 0, "f", outer << 3 );
   EXPECT_EQ( &traceBegin(), &outer );
   traceEnd( apple, 0, "f", outer );
   EXPECT_EQ( log, "FruitApple 0 f 1\nFruitApple 0 f 2\nFruitApple 0 f 3\nFruitApple 0 f \n" );
}

TEST_F( TraceTest, ValuesAreWrittenAsAStreamWritesThem )
{
   apple.levelIs( 1 );
   const char* const none = nullptr;
   VORMEL_TRACE_AS( apple, 1, "f",
      S64{ -9 } << U64{ 18446744073709551615u } << ' ' << none << std::string( "s" ) << 'c'
                << static_cast<signed char>( -1 ) );
   VORMEL_TRACE_AS( apple, 1, "f",
      std::hex << short{ -1 } << ' ' << -1 << ' ' << std::showbase << 16 << std::dec
               << std::setw( 4 ) << "a" << std::setw( 3 ) << 7 << 1.5 << std::setw( 1 ) << "" );
   EXPECT_EQ( log, "FruitApple 1 f -918446744073709551615 (null)sc-1\n"
                   "FruitApple 1 f ffff ffffffff 0x10   a  71.5 \n" );
}

TEST_F( TraceTest, ASinkMayTraceWhileItHasARecord )
{
   apple.levelIs( 1 );
   pear.levelIs( 1 );
   traceSinkIs( [ this ]( const TraceRecord& record ) {
      if( record.handle == "FruitApple" )
         traced( 1 );
      log += std::string( record.text ) + "\n";
   } );
   VORMEL_TRACE( apple, 1, "outer" );
   EXPECT_EQ( log, "inner 1\nouter\n" );
}

TEST_F( TraceTest, SettingsApplyAsAWholeOrNotAtAll )
{
   traceLevelsIs( "Fruit*=7,*P?ar=off" );
   EXPECT_EQ( apple.levels(), 0xffu );
   EXPECT_EQ( pear.levels(), 0u );
   for( const char* settings : { "", "FruitApple", "FruitApple=10", "=1", "Fruit=1",
           "FruitApple=1,FruitPlum=1", "FruitApple=1," } )
      EXPECT_THROW( traceLevelsIs( settings ), ValueError ) << settings;
   EXPECT_EQ( apple.levels(), 0xffu );
   EXPECT_EQ( traceHandle( "FruitPear" ), &pear );
   {
      const TraceHandle plum( "FruitPlum" );
      EXPECT_EQ( traceHandles().back(), &plum );
   }
   EXPECT_EQ( traceHandle( "FruitPlum" ), nullptr );
}

TEST_F( TraceTest, AnExceptionOfASinkIsReportedAndTheTracedCodeContinues )
{
   apple.levelIs( 1 );
   traceSinkIs( []( const TraceRecord& ) { throw Error( "disk full" ); } );
   testing::internal::CaptureStderr();
   VORMEL_TRACE( apple, 1, "red" );
   traceSinkIs( []( const TraceRecord& ) { throw 1; } );
   VORMEL_TRACE( apple, 1, "red" );
   traceSinkIs( nullptr );
   VORMEL_TRACE( apple, 1, "red" );
   EXPECT_EQ( testing::internal::GetCapturedStderr(),
      "a trace of FruitApple was lost: disk full\na trace of FruitApple was lost\n"
      "FruitApple 1 TestBody red\n" );
}

class SyslogTest : public testing::Test
{
 protected:
   ManualClock clock;
   std::string log;

   void SetUp() override
   {
      syslogClockIs( &clock );
      syslogSinkIs(
         [ this ]( const SyslogRecord& record ) { log += syslogLine( record ) + "\n"; } );
   }
   void TearDown() override
   {
      syslogClockIs( nullptr );
      syslogSinkIs( nullptr );
   }
};

TEST_F( SyslogTest, RepeatsWithinTheIntervalAreHeldBack )
{
   SyslogHandle fruit( "FRUIT", Severity::warning, "%d of %s", "", NoActionRequired, { 10.0 } );
   SyslogHandle always( "ALWAYS", Severity::info, "always", "", NoActionRequired );
   for( const double time : { 0.0, 0.5, 9.0, 10.0, 19.0 } ) {
      clock.advanceTo( time );
      logMessage( fruit, time, U16{ 3 } );
   }
   logMessage( always );
   logMessage( always );
   EXPECT_EQ( log, "%FRUIT-4: 0 of 3\n%FRUIT-4: 10 of 3\n%ALWAYS-6: always\n%ALWAYS-6: always\n" );
   EXPECT_EQ( fruit.suppressed(), 3u );
}

TEST_F( SyslogTest, RaisingAMessageNeverFails )
{
   SyslogHandle fruit( "FRUIT", Severity::error, "%d", "", NoActionRequired );
   logMessage( fruit );
   EXPECT_EQ( log, "%FRUIT-3: format \"%d\": takes 1 arguments, not 0\n" );
   syslogSinkIs( []( const SyslogRecord& ) { throw Error( "disk full" ); } );
   testing::internal::CaptureStderr();
   logMessage( fruit, 1 );
   syslogSinkIs( []( const SyslogRecord& ) { throw 1; } );
   logMessage( fruit, 1 );
   syslogSinkIs( nullptr );
   logMessage( fruit, 1 );
   EXPECT_EQ( testing::internal::GetCapturedStderr(),
      "message FRUIT was lost: disk full\nmessage FRUIT was lost\n%FRUIT-3: 1\n" );
}

TEST_F( SyslogTest, TheSystemGetsKeySeverityAndText )
{
   SyslogHandle fruit( "FRUIT", Severity::error, "%s", "", NoActionRequired );
   syslogSinkIs( syslogToSystem );
   ::openlog( "orchard", LOG_PERROR, LOG_USER );
   testing::internal::CaptureStderr();
   logMessage( fruit, "100% ripe" );
   EXPECT_EQ( testing::internal::GetCapturedStderr(), "orchard: %FRUIT-3: 100% ripe\n" );
   ::closelog();
}

struct Orchard
{
   static void pick( const std::string&, int* ) { VORMEL_ASSERT( EOF == 2 ); }
};

TEST( AssertTest, TheHookSeesTheExpressionAndASignatureWithoutBlanksBeforeReferences )
{
   assertionHookIs( []( const AssertionFailure& failure ) {
      throw Error( failure.signature + ": " + std::string( failure.text ) );
   } );
   testing::internal::CaptureStderr();
   EXPECT_THROW( Orchard::pick( "", nullptr ), Error );
   const std::string report = testing::internal::GetCapturedStderr();
   assertionHookIs( nullptr );
   EXPECT_NE( report.find( "ReportingTest.cpp:" ), report.npos );
   // The macro EOF is not expanded.
   EXPECT_NE( report.find( "string&, int*): Assertion 'EOF == 2' failed.\n" ), report.npos )
      << report;
   EXPECT_EQ( signatureText( "void f(const A &, B *)" ), "void f(const A&, B*)" );
   EXPECT_EQ( signatureText( "void Strata::f(Strata::A, Strata::B)" ), "void Strata::f(A, B)" );
   EXPECT_EXIT( VORMEL_ASSERT( !report.size() ), testing::KilledBySignal( SIGABRT ),
      "Assertion '!report.size\\(\\)' failed\\.\n$" );
}

TEST( AssertTest, TheFatalSinkGetsTheLineBesideStandardErrorAndMayFail )
{
   std::string got;
   assertionHookIs( []( const AssertionFailure& ) { throw Error( "hook" ); } );
   testing::internal::CaptureStderr();
   fatalSinkIs( [ &got ]( std::string_view line ) {
      fatalSinkIs( {} ); // a sink may remove itself
      got += line;
   } );
   EXPECT_THROW( Orchard::pick( "", nullptr ), Error );
   fatalSinkIs( []( std::string_view ) { throw Error( "disk full" ); } );
   fatalLine( "the end" );
   fatalSinkIs( []( std::string_view ) { throw 1; } );
   fatalLine( "really" );
   EXPECT_TRUE( fatalSinkIs( {} ) );
   assertionHookIs( nullptr );
   EXPECT_EQ( testing::internal::GetCapturedStderr(),
      got + "\nthe end\nthe fatal sink failed: disk full\nreally\nthe fatal sink failed\n" );
   EXPECT_TRUE( got.ends_with( "Assertion 'EOF == 2' failed." ) ) << got;
}

} // namespace
} // namespace Vormel
