// What programs read: every line and row has the members that docs/json.md lists, with values of the kinds that it
// states.
#include "tests/tool/CommandLine.h"
#include "tool/words/Command.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace Strata::Tool {
namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;

/// The values of the members, by object and member.
using Page = std::map<std::string, std::map<std::string, std::string>>;

std::vector<std::string> split( const std::string& text, const std::string& between )
{
   std::vector<std::string> parts;
   for( std::size_t at = 0; at != text.npos; ) {
      const std::size_t end = text.find( between, at );
      parts.push_back( text.substr( at, end - at ) );
      at = end == text.npos ? end : end + between.size();
   }
   return parts;
}

Page readPage()
{
   Page page;
   std::ifstream file( "docs/json.md" );
   for( std::string line; std::getline( file, line ); ) {
      const std::vector<std::string> cells = split( line, " | " );
      if( cells.size() < 4 || cells[ 1 ].front() != '`' )
         continue;
      const std::string member = cells[ 1 ].substr( 1, cells[ 1 ].size() - 2 );
      for( const std::string& name : split( cells[ 0 ].substr( 2 ), ", " ) )
         page[ name ][ member ] = cells[ 2 ];
   }
   return page;
}

class Checker
{
 public:
   void line( const Json& object )
   {
      members( "`" + object.at( "kind" ).get<std::string>() + "`", object, true );
      if( object.at( "kind" ) == "command" )
         command_ = object.at( "text" );
      if( object.at( "kind" ) == "show" )
         rows( object.at( "rows" ) );
   }
   const std::set<std::string>& seen() const { return seen_; }
   const Page& page() const { return page_; }

 private:
   void rows( const Json& all )
   {
      const std::vector<std::string> words = split( command_, " " );
      const std::string name = command_ == "show entries hits" ? command_
                               : words[ 0 ] == "show"          ? words[ 0 ] + " " + words[ 1 ]
                                                               : words[ 0 ];
      if( name == "show snapshot" )
         return;
      for( const Json& row : all )
         if( name == "show transcript" )
            line( row );
         else
            members( "`" + name + "`", row, false );
   }

   void members( const std::string& name, const Json& object, bool line )
   {
      SCOPED_TRACE( name + " " + object.dump() );
      seen_.insert( name );
      std::map<std::string, std::string> known = page_[ name ];
      if( line )
         known.merge( std::map( page_[ "every line" ] ) );
      const auto any = known.find( "*" );
      for( const auto& [ member, value ] : object.items() ) {
         const auto at = known.contains( member ) ? known.find( member ) : any;
         if( at == known.end() )
            ADD_FAILURE() << "the page has no " << member;
         else
            EXPECT_TRUE( fits( at->second, value ) ) << member << " is " << value;
      }
      for( const auto& [ member, value ] : known )
         EXPECT_TRUE(
            object.contains( member ) || member == "*" || value.ends_with( " or absent" ) )
            << member;
   }

   bool fits( const std::string& kinds, const Json& value )
   {
      for( const std::string& kind : split( kinds, " or " ) )
         if( fitsOne( kind, value ) )
            return true;
      return false;
   }

   bool fitsOne( const std::string& kind, const Json& value )
   {
      const std::string list = "list of ";
      if( kind.starts_with( list ) )
         return value.is_array() && std::ranges::all_of( value, [ & ]( const Json& item ) {
            return fitsOne( kind.substr( list.size() ), item );
         } );
      if( kind.starts_with( '`' ) && value.is_object() ) {
         members( kind, value, false );
         return true;
      }
      return kind == "number"        ? value.is_number()
             : kind == "text"        ? value.is_string()
             : kind == "truth value" ? value.is_boolean()
             : kind == "object"      ? value.is_object()
             : kind == "null"        ? value.is_null()
                                     : false;
   }

   Page page_ = readPage();
   std::set<std::string> seen_;
   std::string command_;
};

/// A switch of which every command has something to show.
constexpr const char* scenario = R"(switch register
call init true true
call handleRouting true false
show options-profiles
switch hsdk ports 4
bring-up
call handleVlanCpuPort 1 true
lint
switch hsdk units 2 ports 8 seed 1
interface Ethernet1-4 unit 0 port 1
lag Port-Channel1 Ethernet3-4
nexthop flows programmed
trace *=9
bring-up
restart warm
set features.feature[x] true
set miscConfig.unknownMacDropTrafficClass[3] true
set miscConfig.syslogTimeout 5
hits "L2 unknown mac drop traffic-class 3" unit 0 40
advance 10s
poke my-station 34 MAC_ADDRf 02:00:00:00:00:0b
set Ethernet1.forwardingModel routed
set helper.routerMacAddr 02:00:00:00:00:0a
vlan 10 svi members Ethernet1-2
native-vlan 10 Ethernet1-2
mac 02:00:00:00:00:01 vlan 10 Ethernet2
route 10.2.0.0/16 via Ethernet2 mac 02:00:00:00:00:03 vlan 10
route 10.3.0.0/16 via cpu
tunnel t1 local 10.9.0.1 remote 10.9.0.2 via Ethernet2 mac 02:00:00:00:00:04 vlan 10
vlan 20 vxlan 5020 t1
pbr p from 10.4.0.0/16 via flood mac 02:00:00:00:00:05 vlan 10
mpls 17 pop
l2mcast 7 Ethernet1 tunnel t1 cpu
mac 03:00:00:00:00:02 vlan 10 group 7
mroute 225.1.1.1 vlan 10
openflow Ethernet2
stp Ethernet2 forwarding vlan 10
packet in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9
packet in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9 ttl 1
packet in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.8.0.9 bad-checksum
explain in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9 ttl 1
explain in Ethernet1 dmac ff:ff:ff:ff:ff:ff arp request from 10.1.0.1 for 10.1.0.5
probe routed in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9
cover
transient call installTcamEntryForNonRoutableToCpu bridgeMac
pcap tests/packet/frames/frames.pcap in Ethernet1
pcap tests/packet/frames/frames.pcap in Ethernet1 summary
plan call handleTcamEntryMplsTrafficDrop false
plan -v stp Ethernet1 blocking
explain probe routed wants nexthopToCpu
explain probe routed after stp Ethernet1 blocking
call routedIntf Ethernet1
note text
expect attribute useLb true
fault bcm_field_action_add
expect dead "API ERROR" call handleTcamEntryMplsTrafficDrop true
no fault
fault bcm_field_lock throws
expect error "an injected exception" call handleTcamEntryMplsTrafficDrop true
fault releaseEntry lost
call handleTcamEntryMplsTrafficDrop false
fault getEntry
call handleTcamEntryMplsTrafficDrop true
fault bcm_field_unlock code BCM_E_UNAVAIL
call handleMplsRouting true
expect dead "still held at the end" switch hsdk
fault bcm_field_lock nth 99
)";

TEST( Json, EveryMemberIsOfTheKindThatThePageStates )
{
   std::string text = scenario;
   for( const Command& command : commands() )
      if( command.name.starts_with( "show " ) )
         text += std::string( command.name ) + "\n";
   text += "show entries hits\nshow attributes changed\nshow attributes scsd\nno such command\n";
   const std::string file = testing::TempDir() + "json.scenario";
   std::ofstream( file ) << text;
   const Outcome outcome = runLine( { "run", "--json", file.c_str() } );
   EXPECT_EQ( outcome.status, 2 ) << outcome.err;
   Checker checker;
   std::istringstream lines( outcome.out );
   for( std::string line; std::getline( lines, line ); )
      checker.line( Json::parse( line ) );
   std::istringstream help( runLine( { "shell", "--json" }, "help\nhelp route\n" ).out );
   for( std::string line; std::getline( help, line ); )
      checker.line( Json::parse( line ) );
   const std::string other = scenarioFile( "switch hsdk\nbring-up\n" );
   checker.line( Json::parse(
      runLine( { "diff", other.c_str(), "scenarios/routing.scenario", "--json" } ).out ) );
   std::set<std::string> unseen;
   for( const auto& [ name, members ] : checker.page() )
      if( !checker.seen().contains( name ) )
         unseen.insert( name );
   EXPECT_THAT( unseen, testing::UnorderedElementsAre( "every line", "`died`", "`broken`" ) )
      << outcome.err;
}

TEST( Json, QualifiersAndActionsAreInTheWordsOfTheSdk )
{
   const std::string shown = runLine( { "shell", "--json", "--quiet" },
      "switch register ports 4 seed 1\nunit 0 traps-ttl-exceptions true\n"
      "set helper.routerMacAddr 02:00:00:00:00:0a\nbring-up\ncall doUrpfHwInitStage1 true\n"
      "interface Ethernet3 unit 0 port 3\ncall handleTcamEntryL2ToCpu\n"
      "call handlePeerMacArpRedirect 02:00:00:00:00:0b Ethernet3 true\nshow entries\n" )
                                .out;
   for( const char* const part : { R"({"field":"IpType","value":"ArpReply"})",
           R"({"field":"IngressStpState","value":"forward","mask":255})",
           R"({"field":"PacketRes","value":"L2UC"})", R"({"field":"InPorts","ports":[258]})",
           R"({"action":"RedirectPort","modId":0,"port":3})",
           R"({"action":"RedirectMcast","group":4095})",
           R"({"action":"DoNotCheckUrpf","value":1})" } )
      EXPECT_THAT( shown, HasSubstr( part ) );
}

TEST( Json, AListHasTheSameRowsInEachForm )
{
   for( const char* const name :
      { "profiles", "attributes", "operations", "commands", "messages" } ) {
      SCOPED_TRACE( name );
      const Json rows = Json::parse( runLine( { name, "--json" } ).out );
      const std::vector<std::string> page = split( runLine( { name, "--markdown" } ).out, "\n" );
      const std::string table = runLine( { name } ).out;
      ASSERT_EQ( page.size(), rows.size() + 3 ) << "two lines of the head, and the end";
      std::string head;
      for( const auto& [ key, value ] : rows.at( 0 ).items() )
         head += ( head.empty() ? "| " : " | " ) + key;
      EXPECT_EQ( page[ 0 ], head + " |" );
      for( std::size_t i = 0; i < rows.size(); ++i ) {
         const Json& first = rows[ i ].front();
         const std::string text = first.is_string() ? first.get<std::string>() : first.dump();
         EXPECT_THAT( page[ i + 2 ], testing::StartsWith( "| " + text + " |" ) );
         EXPECT_THAT( table, HasSubstr( text ) );
      }
   }
}

} // namespace
} // namespace Strata::Tool
