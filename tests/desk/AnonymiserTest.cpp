// Addresses become others, one to one and alike where they were alike; everything else stays as it is.
#include "desk/Anonymiser.h"
#include "platform/types/EthAddr.h"
#include "tests/tool/CommandLine.h"

#include <algorithm>
#include <arpa/inet.h>
#include <bit>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <set>

namespace Strata::Desk {
namespace {

using testing::HasSubstr;
using Tool::contentsOf;
using Tool::runLine;
using Vormel::EthAddr;
using Bytes = std::vector<U8>;

const Anonymiser anonymiser( "a key" );

TEST( SipHash, HasTheValuesOfItsDefinition )
{
   Bytes text( 15 );
   std::iota( text.begin(), text.end(), U8{ 0 } );
   const SipKey key{ 0x0706050403020100, 0x0f0e0d0c0b0a0908 };
   EXPECT_EQ( sipHash( key, {} ), 0x726fdb47dd0e0e31 );
   EXPECT_EQ( sipHash( key, text ), 0xa129ca6149be45e5 );
}

/// A family of addresses as texts; the bytes of a text.
struct Family
{
   std::string ( *textOf )( const Bytes& );
   Bytes ( *bytesOf )( const std::string& );
   std::size_t size;
   U32 leastShared; // the fewest first bits that are kept
   std::vector<std::string> reserved;
};

template<int System, std::size_t Size>
Family ipFamily( const std::vector<std::string>& reserved )
{
   return { []( const Bytes& bytes ) {
              char text[ INET6_ADDRSTRLEN ];
              return std::string( inet_ntop( System, bytes.data(), text, sizeof text ) );
           },
      []( const std::string& text ) {
         Bytes bytes( Size );
         EXPECT_EQ( inet_pton( System, text.c_str(), bytes.data() ), 1 ) << text;
         return bytes;
      },
      Size, 0, reserved };
}

Family macFamily()
{
   return { []( const Bytes& bytes ) {
              EthAddr mac;
              for( U32 i = 0; i < 6; ++i )
                 mac.byteIs( i, bytes[ i ] );
              return mac.toString();
           },
      []( const std::string& text ) {
         const auto bytes = EthAddr::parse( text )->bytes();
         return Bytes( bytes.begin(), bytes.end() );
      },
      6, 8, { "00:00:00:00:00:00", "01:80:c2:00:00:00" } };
}

U32 sharedBits( const Bytes& a, const Bytes& b )
{
   U32 shared = 0;
   for( std::size_t i = 0; i < a.size(); ++i, shared += 8 )
      if( a[ i ] != b[ i ] )
         return shared + static_cast<U32>( std::countl_zero( static_cast<U8>( a[ i ] ^ b[ i ] ) ) );
   return shared;
}

TEST( Anonymiser, MapsOneToOneAndKeepsWhatAddressesShare )
{
   std::mt19937 random( 1 );
   for( const Family& family :
      { macFamily(), ipFamily<AF_INET, 4>( { "0.0.0.0", "127.0.0.1", "169.254.0.1", "224.0.0.1" } ),
         ipFamily<AF_INET6, 16>( { "::", "fe80::1", "ff02::1", "::ffff:0.0.0.0" } ) } ) {
      std::map<Bytes, Bytes> others;
      std::set<U32> lastChanges;
      for( const std::string& text : family.reserved )
         others[ family.bytesOf( text ) ] = family.bytesOf( text );
      std::size_t same = 0;
      while( others.size() < 400 ) {
         Bytes bytes( family.size );
         std::ranges::generate( bytes, [ & ] { return static_cast<U8>( random() ); } );
         // Most share many bits with another.
         const Bytes& near =
            std::next( others.begin(), static_cast<std::ptrdiff_t>( random() % others.size() ) )
               ->first;
         std::copy_n( near.begin(), random() % family.size, bytes.begin() );
         const std::string text = family.textOf( bytes );
         const Bytes other = family.bytesOf( anonymiser.text( text ) );
         others[ bytes ] = other;
         same += other == bytes ? 1 : 0;
         lastChanges.insert( U32{ other.back() } ^ bytes.back() );
         if( family.size == 6 ) {
            EXPECT_EQ( other[ 0 ] & 3, bytes[ 0 ] & 3 ) << text;
         }
      }
      EXPECT_LT( same, 350 ); // the reserved ones: half of all MAC addresses are those of groups
      EXPECT_GT( lastChanges.size(), 30 ); // other bits before, other changes
      for( const auto& [ a, otherA ] : others )
         for( const auto& [ b, otherB ] : others )
            if( const U32 shared = sharedBits( a, b ); shared >= family.leastShared ) {
               EXPECT_EQ( sharedBits( otherA, otherB ), shared ) << family.textOf( a );
            }
   }
}

TEST( Anonymiser, LeavesReservedAddressesAndMasks )
{
   for( const char* const text : { "00:00:00:00:00:00", "ff:ff:ff:ff:ff:ff", "01:80:c2:00:00:0e",
           "01:00:5E:01:02:03", "33:33:00:00:00:01", "3333.0000.0001", "0.1.2.3", "127.0.0.1",
           "169.254.7.9", "224.0.0.5", "240.1.2.3", "255.255.255.255", "255.255.252.0", "::", "::1",
           "fe80::7", "FE80::A", "febf::1", "ff02::1:2", "::ffff:127.0.0.1" } )
      EXPECT_EQ( anonymiser.text( text ), text );
   // No others become reserved ones.
   for( const char* const text :
      { "1.2.3.4", "126.1.2.3", "128.0.0.1", "169.253.1.1", "169.255.1.1", "223.1.1.1", "::1:2:3",
         "fec0::1", "fe00::1", "::fffe:1.2.3.4", "00:00:00:01:02:03" } )
      EXPECT_NE( anonymiser.text( text ), text );
}

TEST( Anonymiser, FindsAddressesInTexts )
{
   const auto other = []( const char* address ) { return anonymiser.text( address ); };
   const std::string mac = other( "02:00:a1:00:00:01" );
   const std::string ip = other( "10.20.0.1" );
   const std::string ip6 = other( "2001:db8::7" );
   EXPECT_EQ(
      anonymiser.text( "mac:02:00:A1:00:00:01, 02:00:a1:00:00:01: [10.20.0.1]:179 by 10.20.0.1. "
                       "2001:db8::7: (2001:DB8:0:0::7): ip=2001:db8::7." ),
      "mac:" + mac + ", " + mac + ": [" + ip + "]:179 by " + ip + ". " + ip6 + ": (" + ip6 +
         "): ip=" + ip6 + "." );
   std::string dotted = mac;
   std::erase( dotted, ':' );
   EXPECT_EQ( other( "0200.a100.0001" ),
      dotted.substr( 0, 4 ) + "." + dotted.substr( 4, 4 ) + "." + dotted.substr( 8 ) );
   EXPECT_EQ( other( "::ffff:10.20.0.1" ), "::ffff:" + ip );
   // A prefix has no bits behind its length, an address beside a length has all of them.
   EXPECT_EQ( other( "10.20.0.0/14" ).substr( 0, 3 ), ip.substr( 0, 3 ) );
   EXPECT_THAT( other( "10.20.0.0/14" ), testing::EndsWith( ".0.0/14" ) );
   EXPECT_EQ( other( "10.20.0.1/14" ), ip + "/14" );
   EXPECT_THAT( other( "2001:db8::/32" ), testing::EndsWith( "::/32" ) );
   for( const char* const text :
      { "Strata::RoutingStatusHelper::init(bool, bool)", "0.1.0", "1.2.3.4.5", "12:34:56",
         "1.2.3.400", "ports 0-4,258", "x02:00:a1:00:00:01", "10.20.0.1st",
         "routing/chip/ChipInit.cpp:42", "ACL::a", "02:00:a1:00:00", "02:00:a1:00:00:01st" } )
      EXPECT_EQ( anonymiser.text( text ), text );
}

TEST( Anonymiser, MasksCoverTheMappedAddressesBeneath )
{
   const auto arguments = []( const std::string& call, const std::string& given ) {
      const auto record = nlohmann::ordered_json::parse( anonymiser.record(
         R"({"record":"begin","call":")" + call + R"(","arguments":{"unit":0,)" + given + "}}" ) );
      return record.at( "arguments" );
   };
   const auto masked = [ & ]( U64 mac, U64 mask ) {
      return EthAddr::parse( arguments( "bcm_field_qualify_DstMac",
                                R"("mac":")" + EthAddr::fromNumber( mac & mask ).toString() +
                                   R"(","mask":")" + EthAddr::fromNumber( mask ).toString() + '"' )
                                .at( "mac" )
                                .get<std::string>() )
         ->toNumber();
   };
   const U64 mac = 0x0200a1b2c3d4;
   const U64 whole = EthAddr::parse( anonymiser.text( "02:00:a1:b2:c3:d4" ) )->toNumber();
   for( const U32 length : { 8u, 9u, 24u, 37u, 48u } ) {
      const U64 mask = 0xffffffffffff << ( 48 - length ) & 0xffffffffffff;
      EXPECT_EQ( masked( mac, mask ), whole & mask ) << length;
   }
   EXPECT_EQ( masked( 0, 0x010000000000 ), 0 );
   const auto station = arguments( "soc_mem_write",
      R"("entry":{"MAC_ADDRf":"02:00:a1:00:00:00","MAC_ADDR_MASKf":"02:ff:ff:00:00:00","other":[3,167837696]})" )
                           .at( "entry" );
   EXPECT_THAT( station.at( "MAC_ADDRf" ).get<std::string>(), testing::EndsWith( ":00:00:00" ) );
   EXPECT_NE( station.at( "MAC_ADDRf" ), "02:00:a1:00:00:00" );
   EXPECT_EQ( station.at( "MAC_ADDR_MASKf" ), "02:ff:ff:00:00:00" );
   EXPECT_EQ( station.at( "other" ).dump(), "[3,167837696]" );
   U32 address = 0;
   inet_pton( AF_INET, anonymiser.text( "10.20.30.40" ).c_str(), &address );
   for( const U32 length : { 1u, 8u, 13u, 32u } ) {
      const U32 mask = 0xffffffff << ( 32 - length );
      const auto given =
         arguments( "bcm_field_qualify_DstIp", R"("data":)" + std::to_string( 0x0a141e28 & mask ) +
                                                  R"(,"mask":)" + std::to_string( mask ) );
      EXPECT_EQ( given.at( "data" ), ntohl( address ) & mask ) << length;
      EXPECT_EQ( given.at( "mask" ), mask );
   }
   EXPECT_EQ( arguments( "bcm_field_qualify_Ttl", R"("data":167772161,"mask":255)" ).at( "data" ),
      167772161 );
}

TEST( Anonymiser, LeavesEveryOtherByte )
{
   for( const char* const line :
      { R"({"record":"unknown" , "x":[1.50e+3, {"y":[]},true,null ],"z":{} })",
         R"({"name":"\u00e4\"\\\/\n","mask":"00:00:00:00:00:0f","a":"","n":18446744073709551615})" } )
      EXPECT_EQ( anonymiser.record( line ), line );
   const std::string mac = anonymiser.text( "02:00:a1:00:00:01" );
   EXPECT_EQ( anonymiser.record(
                 R"({"02:00:a1:00:00:01":["\u000a02:00:a1:00:00:01","\u00302:00:a1:00:00:01"]} )" ),
      R"({")" + mac + R"(":["\u000a)" + mac + R"(",")" + mac + R"("]} )" );
   std::string deep = "{\"a\":";
   for( const char bracket : { '[', ']' } )
      deep += std::string( 100'000, bracket );
   for( const std::string& line :
      { std::string( "{" ), std::string( "7" ), std::string(), deep + "}" } )
      EXPECT_THROW( anonymiser.record( line ), Vormel::ValueError );
}

class AnonymiseCommand : public testing::Test
{
 protected:
   Tool::Outcome anonymise( const std::string& in, std::vector<const char*> options = {} )
   {
      options.insert( options.begin(), { "anonymise", in.c_str(), "-o", out.c_str() } );
      return runLine( options );
   }

   const std::string base =
      testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name();
   const std::string out = base + ".copy";
};

TEST_F( AnonymiseCommand, CopiesARecordingWithOtherAddresses )
{
   const std::string recording = base + ".recording";
   runLine( { "record", "scenarios/router.scenario", "-o", recording.c_str(), "--quiet" } );
   std::filesystem::remove( out );
   const std::string before = contentsOf( recording );
   std::set<std::string> copies;
   for( const std::vector<const char*>& options : { std::vector<const char*>{}, {},
           { "--key", "one" }, { "--key", "one" }, { "--key", "two" } } ) {
      EXPECT_EQ( anonymise( recording, options ).err, "" );
      const std::string copy = contentsOf( out );
      EXPECT_THAT( copy, testing::Not( HasSubstr( "02:00:a1" ) ) );
      EXPECT_EQ( std::ranges::count( copy, '\n' ), std::ranges::count( before, '\n' ) );
      EXPECT_EQ( copy.size(), before.size() ); // MAC addresses are of one length
      copies.insert( copy );
   }
   EXPECT_EQ( copies.size(), 4 );
   EXPECT_THAT( before, HasSubstr( "02:00:a1" ) );
}

TEST_F( AnonymiseCommand, RefusesWithoutLeavingAnything )
{
   const std::string recording = base + ".recording";
   std::ofstream( recording ) << "{\"record\":\"header\",\"n\":1}\n{\"mac\":\n";
   std::ofstream( out ) << "{\"record\":\"header\",\"n\":2}\n";
   const std::string before = contentsOf( out );
   EXPECT_THAT(
      anonymise( recording ).err, HasSubstr( recording + ":2: this line is not a JSON object" ) );
   EXPECT_EQ( contentsOf( out ), before );
   EXPECT_THAT( anonymise( out ).err, HasSubstr( "would replace" ) );
   std::ofstream( out ) << "notes\n";
   EXPECT_THAT( anonymise( recording ).err, HasSubstr( "is not a recording" ) );
   EXPECT_EQ( contentsOf( out ), "notes\n" );
   EXPECT_THAT( anonymise( base + ".nosuch" ).err, HasSubstr( "No such file" ) );
   const auto files = std::filesystem::directory_iterator( testing::TempDir() );
   EXPECT_TRUE( std::ranges::none_of( files, [ & ]( const auto& entry ) {
      return entry.path().string().starts_with( out + ".draft-" );
   } ) );
}

} // namespace
} // namespace Strata::Desk
