// Reports: well-formed pages whose links lead somewhere, with the numbers of the run's JSON.
#include "desk/SwitchState.h"
#include "report/Chronicle.h"
#include "report/Html.h"
#include "report/StateRows.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/tool/CommandLine.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <vector>

namespace Strata::Report {
namespace {

using testing::HasSubstr;
using testing::Not;
using Tool::contentsOf;
using Tool::runLine;
using Tool::scenarioFile;

/// A page, taken apart: its elements are closed in order, or it says what is wrong.
struct PageParts
{
   std::string problem;
   std::set<std::string> ids;
   std::vector<std::string> links;
   std::map<std::string, std::size_t> figures;
   std::vector<int> headings; // levels

   explicit PageParts( const std::string& html )
   {
      std::vector<std::string> open;
      for( std::size_t at = html.find( '<' ); at != html.npos; at = html.find( '<', at ) ) {
         const std::size_t end = html.find( '>', at );
         const std::string tag = html.substr( at + 1, end - at - 1 );
         at = end;
         const std::string name = tag.substr( 0, tag.find( ' ' ) );
         if( name.front() == '/' ) {
            if( open.empty() || "/" + open.back() != name )
               problem += "<" + tag + "> closes nothing; ";
            else
               open.pop_back();
         } else if( name != "!DOCTYPE" && name != "meta" && name != "br" ) {
            open.push_back( name );
            if( name.size() == 2 && name.front() == 'h' && name != "hr" )
               headings.push_back( name[ 1 ] - '0' );
         }
         if( const std::string id = attribute( tag, "id" );
             !id.empty() && !ids.insert( id ).second )
            problem += "the id " + id + " is there twice; ";
         if( const std::string link = attribute( tag, "href" ); !link.empty() )
            links.push_back( link );
         if( const std::string figure = attribute( tag, "data-figure" ); !figure.empty() )
            figures[ figure ] = std::stoul( html.substr( end + 1 ) );
      }
      if( !open.empty() )
         problem += "<" + open.back() + "> is not closed; ";
      for( const std::string& link : links )
         if( link.front() != '#' || !ids.contains( link.substr( 1 ) ) )
            problem += link + " leads nowhere; ";
      for( std::size_t i = 1; i < headings.size(); ++i )
         if( headings[ i ] > headings[ i - 1 ] + 1 )
            problem += "a heading is two levels deeper; ";
      if( std::ranges::count( headings, 1 ) != 1 )
         problem += "there is not one h1; ";
   }

   static std::string attribute( const std::string& tag, const std::string& name )
   {
      const std::string start = " " + name + "=\"";
      const std::size_t at = tag.find( start );
      if( at == tag.npos )
         return {};
      return tag.substr(
         at + start.size(), tag.find( '"', at + start.size() ) - at - start.size() );
   }
};

std::string pageOf( const std::string& file )
{
   return runLine( { "report", file.c_str(), "-o", "-" } ).out;
}

/// What the overview says, counted in the JSON of the same run.
std::map<std::string, std::size_t> figuresIn( const std::string& json )
{
   std::map<std::string, std::size_t> figures;
   std::istringstream lines( json );
   for( std::string line; std::getline( lines, line ); ) {
      const auto object = nlohmann::json::parse( line );
      if( object.contains( "child" ) )
         continue;
      const std::string kind = object.at( "kind" );
      const std::string write = object.value( "write", "" );
      figures[ "calls" ] += kind == "call" || kind == "entry" ? 1 : 0;
      figures[ "notifications" ] += kind == "notify" ? 1 : 0;
      figures[ "writes" ] += write.empty() ? 0 : 1;
      figures[ "redundant" ] += write == "redundant" ? 1 : 0;
      if( kind == "expect" )
         ++figures[ object.at( "held" ) == true ? "held" : "failed" ];
   }
   return figures;
}

TEST( Report, EachScenarioHasAWellFormedPageOfBoundedSizeWithTheNumbersOfItsJson )
{
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) ) {
      if( entry.path().extension() != ".scenario" )
         continue;
      const std::string file = entry.path();
      const std::string page = pageOf( file );
      const std::string json = runLine( { "run", "--json", file.c_str() } ).out;
      const PageParts parts( page );
      EXPECT_EQ( parts.problem, "" ) << file;
      EXPECT_LE( page.size(), 3 * json.size() ) << file;
      for( const auto& [ name, count ] : figuresIn( json ) )
         if( count > 0 ) {
            EXPECT_EQ( parts.figures.contains( name ) ? parts.figures.at( name ) : 0, count )
               << file << ": " << name;
         }
      EXPECT_THAT( page, AllOf( Not( HasSubstr( "<script" ) ), Not( HasSubstr( "://" ) ) ) );
   }
}

TEST( Report, TextsAreEscaped )
{
   EXPECT_EQ( escaped( "<b a=\"1\" c='2'>&\n" ), "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;\n" );
   EXPECT_EQ( escaped( "\x01 \xC3\xA4 \xFF \xC0\x80 \xED\xA0\x80" ),
      "\uFFFD \u00E4 \uFFFD \uFFFD\uFFFD \uFFFD\uFFFD\uFFFD" );
   const std::string page =
      pageOf( scenarioFile( "switch hsdk\nnote \"<script>alert( 1 )</script> & 'x'\"\n" ) );
   EXPECT_THAT( page, HasSubstr( "&lt;script&gt;alert( 1 )&lt;/script&gt; &amp; &#39;x&#39;" ) );
   EXPECT_EQ( PageParts( page ).problem, "" );
}

/// Eight lines, of which the last one's packet is routed to the CPU.
const std::string routedToCpu = "switch hsdk ports 8\n"
                                "interface Ethernet1-2 unit 0 port 1\n"
                                "bring-up\n"
                                "router 02:00:a1:00:00:01\n"
                                "vlan 10 svi members Ethernet1-2\n"
                                "native-vlan 10 Ethernet1-2\n"
                                "route 10.1.0.1/32 via cpu\n"
                                "packet in Ethernet1 dmac router ipv4 dst 10.1.0.1\n";

TEST( Report, APacketShowsTheWinnerItsCauseAndWhatWouldBeWithoutIt )
{
   const std::string page = pageOf( scenarioFile( routedToCpu + "show entries\n" ) );
   const PageParts parts( page );
   EXPECT_EQ( parts.problem, "" );
   EXPECT_THAT( page, HasSubstr( "1034 &quot;NextHop to Cpu&quot; wins <a href=\"#m1-1034\">" ) );
   EXPECT_THAT( page, HasSubstr( "installed by <a href=\"#e3\">#e3</a> <code>bring-up</code>" ) );
   EXPECT_THAT( page, HasSubstr( "<b>Without &quot;NextHop to Cpu&quot;</b> <a "
                                 "href=\"#m1-1034\">#m1-1034</a>: leaves on no port" ) );
   EXPECT_TRUE( parts.ids.contains( "p1" ) && parts.ids.contains( "m1-1034" ) );
   EXPECT_EQ( parts.figures.at( "packets" ), 1U );
   // The packet hit one entry.
   EXPECT_THAT( page.substr( page.find( "<tr id=\"m1-1034\"" ), 500 ),
      HasSubstr( "do CopyToCpu</td><td>1</td>" ) );
   EXPECT_THAT(
      page.substr( page.find( "<tr id=\"m1-1024\"" ), 500 ), HasSubstr( "</td><td>never</td>" ) );
   // The entry is as it was.
   EXPECT_THAT( page, Not( HasSubstr( "disabled by" ) ) );
}

TEST( Report, WritersAreThoseThatChangedARowAndRowsHaveAnchors )
{
   const std::string page = pageOf(
      scenarioFile( routedToCpu + "call l3Init true\n"
                                  "call handleVlanRoutingState 10 ip4,ip6\n"
                                  "call handleVlanRoutingState 10 ip4,ip6\n"
                                  "explain in Ethernet1 dmac router ipv4 dst 10.1.0.1\n" ) );
   EXPECT_EQ( PageParts( page ).problem, "" );
   const auto line = [ & ]( const std::string& start, const std::string& text ) {
      const std::size_t at = page.find( text, page.find( start ) );
      return page.substr( at, page.find( '\n', at ) - at );
   };
   const std::string bringUp = "<a href=\"#e3\">#e3</a> <code>bring-up</code> <a href=\"#r17\">";
   const std::string vlan =
      "<a href=\"#e10\">#e10</a> <code>call handleVlanRoutingState 10 ip4,ip6</code> "
      "<a href=\"#r364\">#r364</a>; changed nothing since: <a href=\"#e11\">#e11</a><";
   // Of a packet, at the time of the packet.
   EXPECT_THAT( line( "id=\"p1\"", "installed by " ),
      AllOf( HasSubstr( bringUp ), Not( HasSubstr( "#e9" ) ) ) );
   EXPECT_THAT( line( "id=\"p2\"", "installed by " ),
      AllOf( HasSubstr( bringUp ),
         HasSubstr( "since: <a href=\"#e3\">#e3</a>, <a href=\"#e9\">#e9</a>" ) ) );
   EXPECT_THAT( line( "id=\"p2\"", "VLAN 10 has" ),
      HasSubstr( "<a href=\"#m1-VLAN-10\">#m1-VLAN-10</a><p class=\"by\">written by " + vlan ) );
   EXPECT_THAT( line( "id=\"p2\"", "my-station 1 " ),
      HasSubstr(
         "<a href=\"#m1-L3EgressMode\">#m1-L3EgressMode</a><p class=\"by\">written by <a href=\"#e4\">#e4</a> "
         "<code>router 02:00:a1:00:00:01</code> <a href=\"#r280\">#r280</a> <a href=\"#r271\">#r271</a>" ) );
   // Of a row, and of the call that changed it.
   EXPECT_THAT( line( "id=\"m1\"", "<tr id=\"m1-1034\"" ), HasSubstr( bringUp ) );
   EXPECT_THAT( line( "id=\"m1\"", "<tr id=\"m1-VLAN-10\"" ), HasSubstr( vlan ) );
   EXPECT_THAT( line( "id=\"m1\"", "<tr id=\"m1-L3UcastTtl1ToCpu\"" ),
      HasSubstr( "since: <a href=\"#e3\">#e3</a> (3 writes), <a href=\"#e4\">#e4</a>, " ) );
   EXPECT_THAT(
      line( "id=\"e3\"", "<li id=\"r219\"" ), HasSubstr( "<a href=\"#m1-IP4-of-port-2\">" ) );
   EXPECT_THAT( line( "id=\"m1\"", "<tr id=\"m1-IP4-of-port-1\"" ),
      HasSubstr( "<a href=\"#r206\">#r206</a> <a href=\"#r219\">#r219</a></td>" ) );
}

TEST( Report, PacketsThatGoToTheCpuAreNotLostAndThoseThatAreLostAreListed )
{
   const std::string page =
      pageOf( scenarioFile( routedToCpu + "packet in Ethernet1 dmac router arp request\n"
                                          "explain in Ethernet2 dmac router ipv4 dst 10.1.0.1\n"
                                          "explain in Ethernet2 dmac router vlan 77 ipv4\n" ) );
   const PageParts parts( page );
   EXPECT_EQ( parts.problem, "" );
   EXPECT_THAT( page,
      AllOf( HasSubstr( "<b data-figure=\"packets\">4</b> 2 only explained" ),
         HasSubstr( ">to the CPU alone, queue 0: main 1034 &quot;NextHop to Cpu&quot;</span>" ),
         HasSubstr( "2 of 4 packets (2 only explained) went neither to a port nor to the CPU:" ),
         HasSubstr(
            "<li><a href=\"#p2\">#p2</a> <b>ARP request: 0.0.0.0 asks for 0.0.0.0 in Ethernet1</b>: on no "
            "port: dropped by main 1039 &quot;drop ucast arp request with dmac=bridgeMac&quot; <a "
            "href=\"#m1-1039\">#m1-1039</a>, installed by <a href=\"#e4\">" ),
         HasSubstr( "<li><a href=\"#p4\">#p4</a> (only explained) <b>" ),
         HasSubstr( ": on no port: there is no VLAN 77" ),
         HasSubstr( "<b>learning</b><div>02:00:00:00:00:01 in VLAN 10 is on Ethernet1<" ),
         HasSubstr( "<b>learning</b><div>not learned, since it was only explained: 02:" ) ) );
   EXPECT_THAT( pageOf( scenarioFile( routedToCpu ) ),
      HasSubstr( "<p>None of 1 packet: all went to a port or to the CPU.<" ) );
}

TEST( Report, WhatWasDoneInACopyOfTheProcessSaysSo )
{
   const std::string copy = "<p class=\"note\">Done in a copy of the process";
   const std::string page =
      pageOf( scenarioFile( "switch hsdk\n"
                            "bring-up\n"
                            "plan router 02:00:a1:00:00:01\n"
                            "fault bcm_field_action_add code BCM_E_FAIL\n"
                            "expect dead \"API ERROR\" router 02:00:a1:00:00:01\n" ) );
   const auto event = [ & ]( int number ) {
      const std::size_t at = page.find( "<li id=\"e" + std::to_string( number ) + "\"" );
      return page.substr( at, page.find( "<li id=\"e", at + 1 ) - at );
   };
   EXPECT_THAT( event( 2 ), Not( HasSubstr( copy ) ) );
   EXPECT_THAT( event( 3 ), AllOf( HasSubstr( copy ), HasSubstr( "would make" ) ) );
   EXPECT_THAT(
      event( 5 ), AllOf( HasSubstr( copy ), HasSubstr( "in a copy of the process</span>" ) ) );
}

TEST( Report, MarksHaveTheTablesAndTheWritersOfTheirMoment )
{
   const std::string page = pageOf( scenarioFile( routedToCpu + "mark\n"
                                                                "advance 10s\n"
                                                                "no router\n"
                                                                "mark\n"
                                                                "route 10.1.0.2/32 via cpu\n" ) );
   EXPECT_EQ( PageParts( page ).problem, "" );
   const auto behind = [ & ]( const std::string& place ) {
      return page.substr( page.find( place ), 700 );
   };
   // The packet's links lead to the mark behind it.
   EXPECT_THAT( behind( "NextHop to Cpu&quot; wins" ), HasSubstr( "<a href=\"#m1-1034\">" ) );
   EXPECT_THAT( behind( "bridgeMac&quot; misses" ), HasSubstr( "<a href=\"#m1-10" ) );
   EXPECT_THAT( behind( "id=\"m2\"" ), Not( HasSubstr( "id=\"m2-1040\"" ) ) );
   EXPECT_THAT( page, HasSubstr( "removed by <a href=\"#e11\">#e11</a> <code>no router</code>" ) );
   EXPECT_THAT( behind( "L3EgressMode</a></th><td>1</td>" ),
      HasSubstr( "all that changed it: <a href=\"#e3\">#e3</a> <a href=\"#e4\">#e4</a>" ) );
   EXPECT_THAT( page, HasSubstr( "<caption>Routes at m1</caption>" ) );
   EXPECT_THAT( page, HasSubstr( "<b>Routes</b> as at <a href=\"#m1\">#m1</a>" ) );
   EXPECT_THAT( behind( "<caption>Routes at m3</caption>" ),
      HasSubstr( "<tr><td>10.1.0.1/32</td><td></td><td>the CPU</td><td></td></tr>"
                 "<tr><td>10.1.0.2/32</td><td></td><td>the CPU</td><td>new</td></tr></tbody>" ) );
   for( const std::string at : { "m1", "m2" } ) // which the removal of entries has changed
      EXPECT_THAT(
         page, HasSubstr( "<caption>Room for features that are off at " + at + "</caption>" ) );
   EXPECT_THAT( pageOf( scenarioFile( routedToCpu + "router 02:00:a1:00:00:09\nmark\n" ) ),
      HasSubstr( " (changed since by <a href=\"#e9\">#e9</a>)" ) );
   EXPECT_THAT( page, HasSubstr( "<small>11, at 10 s</small>" ) );
   EXPECT_THAT( behind( "<caption>Redundant writes" ), HasSubstr( "bcm_" ) );
}

TEST( Report, FailuresAndTheEndOfTheRunAreShown )
{
   const std::string page = testing::TempDir() + "FailuresAndTheEnd.html";
   std::filesystem::remove( page );
   const std::string file =
      scenarioFile( "switch hsdk\nexpect attribute useLb true\ncall init maybe true\n" );
   const Tool::Outcome outcome = runLine( { "report", file.c_str(), "-o", page.c_str() } );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( contentsOf( page ), AllOf( HasSubstr( "<dt>found</dt><dd>false</dd>" ),
                                       HasSubstr( "&#39;maybe&#39; is not true or false" ) ) );
   EXPECT_EQ( runLine( { "report", file.c_str(), "-o", file.c_str() } ).status, 2 );
   std::ofstream( page ) << "precious\n";
   EXPECT_THAT( runLine( { "report", file.c_str(), "-o", page.c_str() } ).err,
      HasSubstr( "exists and is not a page" ) );
   EXPECT_EQ( contentsOf( page ), "precious\n" );
   const std::string deadly =
      scenarioFile( "switch hsdk\nfault bcm_switch_control_set code BCM_E_FAIL\nbring-up\n" );
   const std::string last = page + ".dead";
   EXPECT_EXIT( runLine( { "report", deadly.c_str(), "-o", last.c_str() },
                   Tool::Terminal{ std::cin, std::cout, std::cerr } ),
      testing::ExitedWithCode( 3 ), "the agent died here" );
   EXPECT_THAT( contentsOf( last ), HasSubstr( "the agent died here" ) );
   EXPECT_EQ( PageParts( contentsOf( last ) ).problem, "" );
}

TEST( Report, RowsSayWhatHasChangedAndFoldPorts )
{
   const std::string page = pageOf( scenarioFile( "switch hsdk ports 8\n"
                                                  "interface Ethernet1-4 unit 0 port 1\n"
                                                  "bring-up\n"
                                                  "mark\n"
                                                  "set Ethernet1.forwardingModel routed\n"
                                                  "mark\n"
                                                  "vlan 10 members Ethernet1-2\n" ) );
   EXPECT_EQ( PageParts( page ).problem, "" );
   EXPECT_THAT( page,
      testing::ContainsRegex(
         "IP4 of port 1-4</a></th><td>1</td><td><a href=\"#e3\">#e3</a> <code>bring-up</code>"
         "<details><summary>4 records</summary>( <a href=\"#r[0-9]+\">#r[0-9]+</a>){4}</details></td>" ) );
   const std::size_t second = page.find( "<article id=\"m2\"" );
   const std::string row = page.substr( page.find( "id=\"m2-1024\"", second ), 1500 );
   EXPECT_THAT( row, HasSubstr( ">changed</b>, was RedirectPbmp" ) );
   EXPECT_THAT( row, HasSubstr( "all that changed it: <a href=\"#e3\">#e3</a> <a href=\"#e5\">" ) );
   EXPECT_THAT( page.substr( page.find( "id=\"m1-1024\"" ), 400 ), HasSubstr( ">new</b>" ) );
   EXPECT_THAT( page, HasSubstr( "main</a></th><td>11 used, 42 left of 53</td>" ) );
}

TEST( Report, FindingsNameTheEntryAtTheEndOfEachSwitch )
{
   NEEDS_SOLVER();
   const std::string file = scenarioFile(
      "switch hsdk ports 8\nbring-up\ncall handleVlanCpuPort 1 true\nswitch acl ports 4\n"
      "switch hsdk ports 4\nbring-up\ncall handleVlanCpuPort 1 true\n" );
   const std::string page = pageOf( file );
   EXPECT_EQ( PageParts( page ).problem, "" );
   std::size_t from = 0;
   for( const std::string part :
      { "<h4>Switch 1: hsdk, 1 unit of 8 ports</h4>",
         "<a href=\"#m1-1033\">#m1-1033</a> <b>l2 mcast flood</b>: no effect: no packet",
         "packets tried</summary><p>The entry takes each of them. With it and without it the same comes out:</p>"
         "<ul><li>leaves on ",
         "</li><li>mac 01:00:5e:01:02:03 vlan 1 group 3; in port ",
         "<h4>Switch 2: acl, 1 unit of 4 ports</h4><p>Nothing: each entry",
         "<h4>Switch 3: hsdk, 1 unit of 4 ports</h4>",
         "<a href=\"#m3-1033\">#m3-1033</a> <b>l2 mcast flood</b>: no " } ) {
      from = page.find( part, from );
      ASSERT_NE( from, page.npos ) << part;
   }
   EXPECT_THAT( runLine( { "report", file.c_str(), "-o", "-", "--no-lint" } ).out,
      Not( HasSubstr( "<b>l2 mcast flood</b>" ) ) );
}

TEST( Report, FramesOfACaptureHaveRowsAndOnePictureOfEachKind )
{
   const std::string start = "switch hsdk ports 8\ninterface Ethernet1-4 unit 0 port 1\nbring-up\n"
                             "vlan 10 members Ethernet1-4\nnative-vlan 10 Ethernet1-4\n";
   const std::string file = scenarioFile(
      start + "pcap tests/packet/frames/frames.pcap in Ethernet1\n"
              "pcap tests/packet/frames/frames.pcap in Ethernet1 frames 12-13 summary\n" );
   const std::string page = pageOf( file );
   const PageParts parts( page );
   EXPECT_EQ( parts.problem, "" );
   EXPECT_LE( page.size(), 3 * runLine( { "run", "--json", file.c_str() } ).out.size() );
   EXPECT_TRUE( parts.ids.contains( "e6-f29" ) && !parts.ids.contains( "e7-f12" ) );
   EXPECT_EQ( parts.figures.at( "packets" ), 8U );
   EXPECT_THAT( page,
      AllOf( HasSubstr( "<tr id=\"e6-f12\"><td><a href=\"#e6-f12\">12</a></td><td>Ethernet2-4; CPU "
                        "queue 0: flood in VLAN 10 <a href=\"#p2\">" ),
         HasSubstr( "The same entries won frames 10,12,21, which ended alike." ),
         HasSubstr( "<a href=\"#p7\">#p7</a> frame 12: Ethernet2-4; CPU queue" ) ) );

   // Frames that each fare otherwise, because their sources are other group addresses.
   const std::string capture = testing::TempDir() + "FramesOfACapture.pcap";
   std::ofstream out( capture, std::ios::binary );
   const auto numbers = [ & ]( std::initializer_list<U32> values ) {
      for( const U32 value : values )
         out.write( reinterpret_cast<const char*>( &value ), sizeof value );
   };
   numbers( { 0xA1B2C3D4, 0x00040002, 0, 0, 65535, 1 } );
   for( char i = 0; i < 105; ++i ) {
      numbers( { 0, 0, 60, 60 } );
      out << std::string( 6, '\2' ) + std::string( 5, '\1' ) + i + std::string( 48, '\0' );
   }
   out.close();
   const std::string many = pageOf( scenarioFile( start + "pcap " + capture + " in Ethernet1\n" ) );
   const PageParts manyParts( many );
   EXPECT_EQ( manyParts.problem, "" );
   EXPECT_EQ( manyParts.figures.at( "packets" ), mostFramePictures );
   EXPECT_THAT( many, HasSubstr( "01:01:01:01:01:64 is a group address</td></tr>" ) );
   EXPECT_THAT( many, HasSubstr( "01:01:01:01:01:63 is a group address <a href=\"#p100\">" ) );
}

TEST( Report, TransientsAreShownWithTheCallsAndTheReasonThatAcceptsThem )
{
   NEEDS_SOLVER();
   const std::string start =
      "switch hsdk ports 4\ninterface Ethernet1-4 unit 0 port 1\nvlan 10 svi\nbring-up\n"
      "probe request in Ethernet1 dmac 02:00:a1:00:00:01 vlan 10 arp request\n";
   const std::string file = scenarioFile( start + "transient router 02:00:a1:00:00:01\n" );
   std::ofstream( std::filesystem::path( file ).replace_extension( ".transients" ) )
      << "* => request => the order is prescribed\n";
   const std::string page = pageOf( file );
   const PageParts parts( page );
   EXPECT_EQ( parts.problem, "" );
   EXPECT_THAT(
      page, AllOf( HasSubstr( "during 1 command, behind" ),
               HasSubstr( "<b class=\"by\">accepted</b> request while <code>transient router" ),
               HasSubstr( "<dt>accepted</dt><dd>the order is prescribed</dd>" ),
               HasSubstr( "<b class=\"bad\">transient</b> main: drop ucast arp request" ),
               HasSubstr( "<dt>from</dt><dd><code>main installEntry unit 0 id 1040</code> <a "
                          "href=\"#r" ),
               HasSubstr( "<p>Packets that meanwhile fared otherwise: <a href=\"#t1\">" ),
               Not( HasSubstr( "<caption>Transients" ) ) ) );

   // The same command, which the option watches.
   const std::string plain = scenarioFile( start + "router 02:00:a1:00:00:01\n" );
   const auto transients = [ & ]( std::vector<const char*> options ) {
      options.insert( options.begin(), { "report", plain.c_str(), "-o", "-" } );
      return PageParts( runLine( options ).out ).ids.contains( "t1" );
   };
   EXPECT_TRUE( transients( { "--transients" } ) );
   EXPECT_THAT(
      page, testing::ContainsRegex( "<b data-figure=\"transients\">[0-9]+</b> [0-9]+ accepted" ) );
   EXPECT_FALSE( transients( {} ) );
   // What an act ends with is told as if it was not watched.
   const std::string deadly =
      scenarioFile( "switch hsdk\nfault bcm_switch_control_set code BCM_E_FAIL\nbring-up\n" );
   const std::string dead = testing::TempDir() + "TransientsAreShown.html";
   EXPECT_EXIT( runLine( { "report", deadly.c_str(), "-o", dead.c_str(), "--transients" },
                   Tool::Terminal{ std::cin, std::cout, std::cerr } ),
      testing::ExitedWithCode( 3 ), "the agent died here" );
   EXPECT_THAT(
      runLine( { "report", "scenarios/recordings/tutorial.recording", "-o", "-", "--transients" } )
         .err,
      HasSubstr( "a recording has no commands to watch" ) );
}

TEST( Report, ARecordingShowsItsInputsAndWhatItsTwinHolds )
{
   const std::string recording = "scenarios/recordings/tutorial.recording";
   const std::string tables = testing::TempDir() + "ARecordingShows.scenario";
   std::ofstream( tables ) << contentsOf( "scenarios/recordings/tables.scenario" )
                           << "explain in Ethernet1 dmac router ipv4 src 10.1.0.5 dst 10.2.0.9\n";
   const std::string page =
      runLine( { "report", recording.c_str(), tables.c_str(), "-o", "-" } ).out;
   const PageParts parts( page );
   EXPECT_EQ( parts.problem, "" );
   EXPECT_LE( page.size(), 3 * contentsOf( recording ).size() );
   EXPECT_EQ( parts.figures.at( "calls" ), 434U ); // as `diff` counts them
   EXPECT_GT( parts.figures.at( "redundant" ), 0U );
   EXPECT_THAT( page, HasSubstr( "IPv4 routing is off in VLAN 10" ) );
   EXPECT_THAT( page, HasSubstr( "<code>call handleVlanRoutingState( 10, off )</code> <a "
                                 "href=\"#r996\">" ) );
   EXPECT_EQ( runLine( { "report", tables.c_str(), tables.c_str(), "-o", "-" } ).status, 2 );
}

} // namespace
} // namespace Strata::Report
