#include "tests/tool/CommandLine.h"

#include "platform/runtime/Activity.h"
#include "tool/Session.h"
#include "tool/shell/Completion.h"
#include "tool/shell/Guide.h"
#include "tool/words/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Strata::Tool {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST( Shell, ALineThatCannotBeRunIsReportedAndTheNextOneIsRun )
{
   const Outcome outcome = runLine( { "shell" },
      "switch hsdk\n\n# nothing\ncall ini true true\nhelp vlan\nhelp route\nhelp nonsense\ncall init true true\n"
      "expect entry vlanFlooding installed\nquit\nexpect entry vlanFlooding absent\n" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.err, HasSubstr( "shell:4:6: " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "did you mean 'init'?" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "there is no command 'nonsense'" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "make a VLAN of all ports" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "NEXTHOP\n     PORT|LAG mac MAC vlan ID; cpu; " ) );
   EXPECT_THAT( outcome.out, HasSubstr( "held    expect entry vlanFlooding installed" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "absent" ) ) );
   EXPECT_EQ(
      runLine( { "shell" }, "switch hsdk\nexpect entry vlanFlooding installed" ).status, 1 );
   EXPECT_EQ(
      runLine( { "shell", "scenarios/mpls.scenario", "--quiet" }, "show flood" ).status, 0 );
   EXPECT_EQ( runLine( { "shell", "no/such.scenario" } ).status, 2 );
}

TEST( Shell, ALineThatIsRefusedChangesNothing )
{
   const std::string start = "switch hsdk ports 8\ninterface Ethernet1-8 unit 0 port 1\n"
                             "lag Port-Channel1 Ethernet5-6\nvlan 10 svi mtu 100\n";
   const std::string state =
      "show units\nshow interfaces\nshow lags\nshow vlans\nshow forwarding\nshow snapshot\n"
      "explain in Ethernet2 vlan 10 ipv4\n";
   const std::string before = runLine( { "shell", "--quiet" }, start + state ).out;
   for( const std::string line :
      { "vlan 50 svi members Ethernet1 mtu banana", "vlan 10 svi mtu 200 urpf bogus",
         "vlan 10 vxlan 5030 NOPE", "vlan 10 members Ethernet1 tagged Ethernet2",
         "unit 0 port 2 down now", "unit 0 room main 7 foo", "unit 0 traps-ttl-exceptions true foo",
         "no interface Ethernet7-9", "no interface Port-Channel1", "no lag Port-Channel7",
         "lag Port-Channel2 Ethernet1 x", "native-vlan 10 Ethernet1 Ethernet9",
         "openflow Ethernet1 x", "l2mcast 1 Ethernet1 x", "mroute 239.1.1.1 vlan 10 vlan 0",
         "trace ApiStrata=4 x", "interface Ethernet7-9 unit 0 port 7" } ) {
      const Outcome outcome = runLine( { "shell", "--quiet" }, start + line + "\n" + state );
      EXPECT_EQ( outcome.status, 2 ) << line;
      EXPECT_EQ( outcome.out, before ) << line;
   }
   EXPECT_THAT( runLine( { "shell" }, start + "packet in Ethernet1 ipv4 tlt 5" ).err,
      HasSubstr( "shell:5:26: nothing is expected here; did you mean 'ttl'?" ) );
}

TEST( Shell, ALineThatOnlyItsCopyOfTheProcessRefusesIsReportedInPlace )
{
   const Outcome outcome = runLine( { "shell" },
      "switch hsdk ports 4\ninterface Ethernet1 unit 0 port 1\n"
      "expect dead never capture Ethernet1 no/such/directory/file.pcap\nexpect no calls\n" );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT(
      outcome.err, HasSubstr( "shell:3:37: cannot write 'no/such/directory/file.pcap'" ) );
   EXPECT_THAT( outcome.out, HasSubstr( "held    expect no calls" ) );
}

TEST( Shell, TheCaretIsUnderTheWrongWord )
{
   const std::string start = "switch hsdk ports 8\ninterface Ethernet1-8 unit 0 port 1\nvlan 10\n";
   const std::string frames = "tests/packet/frames/frames.pcap";
   for( const auto& [ line, column ] : std::map<std::string, std::string>{
           { "switch hsdk units 65 ports 4", "19: a switch has 1 to 64 units" },
           { "switch hsdk ports 300 units 2", "19: a unit has 1 to 256 ports" },
           { "unit 0 port 9 down", "13: the front-panel ports of unit 0 are 1 to 8, not 9" },
           { "interface Ethernet9 unit 0 port 9 routed", "33: the front-panel ports" },
           { "interface Port-Channel1 unit 0 port 9", "11: Port-Channel1 cannot have a port" },
           { "interface Ethernet9 unit 0 port 8 logical 1023", "43: logical port numbers are 1" },
           { "lag Port-Channel1 Ethernet1 Ethernet9 routed", "29: there is no Ethernet9" },
           { "vlan 10 members Ethernet1 tagged Ethernet2 svi", "27: a tagged port must be" },
           { "no mac 02:00:00:00:00:05 vlan 10", "8: 02:00:00:00:00:05 is not known" },
           { "packet in port 99 unit 0 ipv4", "16: unit 0 has no port 99; it has 0-8,258-259" },
           { "packet in Ethernet1 ipv4 ttl 3 dst 10.0.0.1 ttl 4", "45: 'ttl' is given twice" },
           { "packet in Ethernet1 pcap no/such.pcap frame 3", "26: cannot read 'no/such.pcap'" },
           { "packet in Ethernet1 pcap " + frames + " frame 0", "64: frames count from 1" },
           { "packet in Ethernet1 pcap " + frames + " frame 99",
              "64: '" + frames + "' has no frame" },
           { "pcap " + frames + " in Ethernet1 frames 77-99",
              "58: '" + frames + "' has no frame 77" },
           { "vlan 10 members Ethernet1 cpu",
              "27: port 0 of unit 0 (CPU) is not a front-panel port" },
           { "vlan 10 tagged loopback",
              "16: port 258 of unit 0 (loopback) is not a front-panel port" },
        } )
      EXPECT_THAT(
         runLine( { "shell", "--quiet" }, start + line ).err, HasSubstr( "shell:4:" + column ) )
         << line;
}

TEST( Shell, ExpectedAndFoundPortsAreInTheWordsOfScenarios )
{
   const Outcome outcome = runLine( { "shell", "--quiet" },
      "switch hsdk ports 8\ninterface Ethernet1-7 unit 0 port 1\npacket in Ethernet7 ipv4\n"
      "expect departs Ethernet12-13\nexpect departs port 8 Ethernet1-6\n"
      "expect departs Ethernet3-5 Ethernet1-2 Ethernet1 with ttl\n" );
   EXPECT_THAT( outcome.err, HasSubstr( "Ethernet12 has no port" ) );
   EXPECT_THAT( outcome.out,
      AllOf( HasSubstr( "to leave on Ethernet3-5, Ethernet1, Ethernet2, Ethernet1 with" ),
         HasSubstr( "found     Ethernet1-6, port 8 of unit 0; 02:00:00:00:00:01 ->" ),
         Not( HasSubstr( "UDP 40000 -> 53; " ) ) ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "leave on port 8" ) ) ); // it held, in another order
}

TEST( Shell, CapturesContainTheFramesThatLeftAndPipesAreRefused )
{
   const std::string file = testing::TempDir() + "left.pcap";
   const std::string pipe = testing::TempDir() + "pipe.pcap";
   unlink( pipe.c_str() );
   ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
   const std::string start = "switch hsdk ports 8\ninterface Ethernet1-3 unit 0 port 1\n"
                             "vlan 10 members Ethernet1-3\nnative-vlan 10 Ethernet1-3\n";
   // The capture is read while it is being written.
   const Outcome two = runLine( { "shell", "--quiet" },
      start + "capture Ethernet2 " + file +
         "\npacket in Ethernet1 ipv4 ttl 7\npacket in Ethernet1 ipv4 ttl 8\n"
         "packet in Ethernet1 pcap " +
         file +
         " frame 2\nexpect departs Ethernet2-3 with \"ttl 8\"\nexpect error \"is being written\" pcap " +
         file + " in Ethernet3\nno capture\npcap " + file + " in Ethernet3 summary\n" );
   EXPECT_EQ( two.status, 0 ) << two.err;
   EXPECT_THAT( two.out, HasSubstr( "3  1-3     Ethernet1, Ethernet2" ) );
   // Frames that a capture has cut are reported, and so is a file that ends before the range.
   const std::string cut = "pcap tests/packet/frames/frames.pcap in Ethernet1 frames 29-40";
   EXPECT_THAT( runLine( { "shell", "--quiet" }, start + cut + "\n" + cut + " summary\n" ).out,
      AllOf( HasSubstr( "1 frame of tests/packet/frames/frames.pcap, which ends with frame 29" ),
         HasSubstr( "; the capture holds 20 of 74 bytes" ),
         HasSubstr( "; the capture holds a part of it" ) ) );
   for( const char* const line : { "packet in Ethernet1 pcap ", "capture Ethernet2 ", "pcap " } ) {
      const bool whole = std::string( line ) == "pcap ";
      const Outcome refused = runLine( { "shell" },
         start + line + pipe + ( whole ? " in Ethernet1" : "" ) + "\nexpect no calls\n" );
      EXPECT_THAT( refused.err, HasSubstr( "'" + pipe + "': " ) ) << line;
      EXPECT_THAT( refused.out, HasSubstr( "held    expect no calls" ) ) << line;
   }
   // A frame that cannot be written is reported at the line that sent it.
   rlimit before{};
   getrlimit( RLIMIT_FSIZE, &before );
   const auto withRoomFor = [ & ]( rlim_t bytes ) {
      const rlimit small{ bytes, before.rlim_max };
      const auto handler = std::signal( SIGXFSZ, SIG_IGN );
      setrlimit( RLIMIT_FSIZE, &small );
      Outcome outcome = runLine(
         { "shell", "--quiet" }, start + "capture Ethernet2 " + file +
                                    "\npacket in Ethernet1 ipv4\npacket in Ethernet1 ipv4\n" );
      setrlimit( RLIMIT_FSIZE, &before );
      std::signal( SIGXFSZ, handler );
      return outcome;
   };
   EXPECT_THAT( withRoomFor( 10 ).err, HasSubstr( "shell:5:19: cannot write '" + file ) );
   const Outcome full = withRoomFor( 40 );
   EXPECT_EQ( full.status, 2 );
   EXPECT_THAT(
      full.err, HasSubstr( "shell:6:1: the capture ends, because '" + file + "' cannot" ) );
   EXPECT_THAT( full.err, Not( HasSubstr( "shell:7" ) ) );
}

TEST( Shell, EveryShowCommandHasJson )
{
   U32 shown = 0;
   for( const Command& command : commands() ) {
      const std::string name( command.name );
      if( !name.starts_with( "show " ) )
         continue;
      const Outcome outcome = runLine(
         { "shell", "--quiet" }, "switch register\nvlan 10\nbring-up\n" + name + " --json" );
      EXPECT_EQ( outcome.status, 0 ) << name << outcome.err;
      EXPECT_EQ( nlohmann::json::parse( outcome.out ).is_array(), name != "show snapshot" ) << name;
      ++shown;
   }
   EXPECT_GT( shown, 10u );
   EXPECT_THAT( runLine( { "shell" }, "switch hsdk --json" ).err,
      HasSubstr( "shell:1:13: only commands that show something take --json" ) );
}

TEST( Shell, UniqueAbbreviationsAreWholeWordsAndFilesAreExact )
{
   const std::string start =
      "switch hsdk ports 8\nint Ethernet1-4 un 0 po 1\nla po1 et1-2\nvl 10 mem e3\n";
   const Outcome outcome = runLine( { "shell" },
      start + "sh in\nno la po1\nexpe err \"there is no LAG\" no lag Port-Channel1\n" );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   EXPECT_THAT( outcome.out,
      AllOf( HasSubstr( "> vlan 10 members Ethernet3\n" ), HasSubstr( "> show interfaces\n" ) ) );
   EXPECT_THAT( runLine( { "shell" }, start + "s\n" ).err,
      HasSubstr( "shell:5:1: 's' could be short for set, show, stp, switch\n" ) );
   // A complete word is not an abbreviation, and neither is a word of a text.
   EXPECT_THAT( runLine( { "shell" }, start + "note un\n" ).out, HasSubstr( "\nun\n" ) );
   const std::string file = testing::TempDir() + "abbreviated.scenario";
   std::ofstream( file ) << "switch hsdk\nsh int\n";
   EXPECT_EQ( runLine( { "run", file.c_str() } ).status, 2 );
   EXPECT_EQ( runLine( { "shell", file.c_str() } ).status, 2 );
   EXPECT_THAT( runText( "quit\n" ).err, HasSubstr( "'quit'; only the shell has it" ) );
}

TEST( Shell, TablesNameTheLagOfAPort )
{
   const std::string shown = runLine( { "shell", "--quiet" },
      "switch hsdk ports 8\ninterface Ethernet1-4 unit 0 port 1\nvlan 10\n"
      "lag Port-Channel1 Ethernet3-4\nmac 00:00:00:00:00:09 vlan 10 Port-Channel1\n"
      "route 10.1.0.0/16 via Port-Channel1 mac 00:00:00:00:00:08 vlan 10\n"
      "show macs\nshow macs --json\nshow routes --json\n" )
                                .out;
   EXPECT_THAT( shown, HasSubstr( "configured  Port-Channel1\n" ) );
   for( const std::string margin : { "\n      ", "\n         " } ) // of a row, of a next hop in it
      EXPECT_THAT( shown,
         HasSubstr( margin + R"("port": "Ethernet3",)" + margin + R"("lag": "Port-Channel1")" ) );
}

TEST( Shell, BriefFoldsWhatRepeats )
{
   const auto shown = []( std::vector<const char*> arguments ) {
      return runLine( arguments, "switch hsdk ports 8 units 4\nloud\nbring-up\n" ).out;
   };
   EXPECT_LT( shown( { "shell", "--brief" } ).size(), shown( { "shell" } ).size() / 2 );
}

TEST( Folding, ShowsTheFirstRoundAndTheLastLine )
{
   std::string text;
   Folding folding( [ & ]( const Toned& line ) { text += line.text + "\n"; } );
   for( const int port : { 1, 2, 3, 4 } ) {
      folding.add( { Tone::plain, "a 0x" + std::string( 1, static_cast<char>( 'a' + port ) ) } );
      folding.add( { Tone::plain, "b " + std::to_string( port ) } );
   }
   folding.add( { Tone::plain, "a 0x9" } );
   folding.add( { Tone::plain, "c" } );
   folding.add( { Tone::plain, "c" } );
   folding.flush();
   EXPECT_EQ( text,
      "a 0xb\nb 1\n  ...    the last 2 lines 3 times more, with other numbers, up to\n"
      "b 4\na 0x9\nc\nc\n" );
}

TEST( Shell, LinesAreColouredByTheirKind )
{
   const std::string text = "switch hsdk ports 4\nnote \"a note\"\nshow lags\n"
                            "expect attribute useLb false\nexpect attribute useLb true\n";
   const std::string shown = runText( text, { "--color", "always" } ).out;
   for( const std::string line : { "\033[1;36m> switch hsdk ports 4\033[0m\n",
           "\033[33ma note\033[0m\n", "\033[2m  none\033[0m\n",
           "\033[32m  held    expect attribute useLb false\033[0m\n", "\033[1;31m  FAILED  " } )
      EXPECT_THAT( shown, HasSubstr( line ) );
   EXPECT_THAT( shown, testing::ContainsRegex( "\033.1mLAGs[^\033]*\033.0m\n" ) );
   EXPECT_THAT( runText( text ).out, Not( HasSubstr( "\033" ) ) );
}

TEST( Shell, FiltersSelectRowsOfText )
{
   const auto shown = []( const std::string& line ) {
      const Outcome outcome = runLine( { "shell", "--quiet" },
         "switch hsdk ports 8\ninterface Ethernet1-4 unit 0 port 1\n" + line + "\n" );
      return outcome.out + outcome.err;
   };
   const std::string title = "Interfaces, and their ports as unit/port/logical port\n"
                             "  Interface  Model    Port   LAG\n";
   EXPECT_EQ(
      shown( "show interfaces | include net2" ), title + "  Ethernet2  bridged  0/2/2\n\n" );
   EXPECT_EQ( shown( "show interfaces |begin net2 |exclude net4" ),
      title + "  Ethernet2  bridged  0/2/2\n  Ethernet3  bridged  0/3/3\n\n" );
   EXPECT_EQ( shown( "show interfaces | count" ), "  4 rows\n" );
   // A row has all its lines; a section without rows is left out.
   EXPECT_THAT( shown( "show units | include urpf-double-wide" ), HasSubstr( "  hsdk  0 " ) );
   EXPECT_THAT( shown( "help | include spanning-tree" ),
      AllOf( HasSubstr( "Forwarding tables\n  stp " ), Not( HasSubstr( "Faults" ) ) ) );
   EXPECT_THAT( shown( "show interfaces --json | count" ), HasSubstr( "3:24: JSON has all rows" ) );
   EXPECT_THAT( shown( "show interfaces | grep x" ), HasSubstr( "3:19: 'grep' is not a filter" ) );
   EXPECT_THAT( shown( "note x | count" ), HasSubstr( "3:8: there is no output to filter" ) );
}

TEST( Completion, OffersCommandsAndTheirArguments )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   std::ostringstream out;
   Console console( out, out, {} );
   Session session( console );
   const auto can = [ & ]( std::string_view line ) { return completions( session, line ); };

   EXPECT_THAT( can( "sw" ), ElementsAre( "switch" ) );
   EXPECT_THAT( can( "expect no" ), ElementsAre( "no", "notification" ) );
   EXPECT_THAT( can( "expect no " ), ElementsAre( "calls" ) );
   EXPECT_THAT( can( "switch h" ), ElementsAre( "hsdk" ) );
   EXPECT_THAT( can( "call l3" ), IsEmpty() ); // no switch yet
   session.run( splitLine( "test", 1, "switch hsdk" ) );
   session.run( splitLine( "test", 2, "interface Ethernet1 unit 0 port 1" ) );
   EXPECT_THAT( can( "call l3" ), ElementsAre( "l3Init" ) );
   EXPECT_THAT( can( "set Ethernet1.fo" ), ElementsAre( "Ethernet1.forwardingModel" ) );
   EXPECT_THAT( can( "set misc" ), ElementsAre( "miscConfig." ) );
   EXPECT_THAT( can( "expect attribute useL" ), ElementsAre( "useLb" ) );
   EXPECT_THAT( can( "interface Ethernet1 u" ), ElementsAre( "unit" ) );
   EXPECT_THAT( can( "fault installE" ), ElementsAre( "installEntry" ) );
   EXPECT_THAT( can( "trace Api" ), ElementsAre( "ApiStrata=" ) );
   EXPECT_THAT( can( "show " ), Contains( "entries" ) );
   EXPECT_THAT( can( "interface Ethernet1 unit " ), ElementsAre( "0" ) );
   EXPECT_THAT( can( "unit 0 port 1 do" ), ElementsAre( "down" ) );
   EXPECT_THAT( can( "set useLb " ), ElementsAre( "false", "true" ) );
   EXPECT_THAT(
      can( "set Ethernet1.forwardingModel " ), ElementsAre( "bridged", "routed", "unknown" ) );
   EXPECT_THAT( can( "expect attribute Ethernet1.forwardingModel r" ), ElementsAre( "routed" ) );
   EXPECT_THAT( can( "set miscConfig.syslogTimeout " ), IsEmpty() );
   EXPECT_THAT( can( "call l3Init " ), ElementsAre( "false", "true" ) );
   EXPECT_THAT( can( "call handleTcamEntryArpReplyToCpu b" ), ElementsAre( "bridgeMac" ) );
   EXPECT_THAT( can( "expect dead \"API\" call l3" ), ElementsAre( "l3Init" ) );
   EXPECT_THAT( can( "show en" ), ElementsAre( "entries" ) );
   EXPECT_THAT( can( "show entries --" ), ElementsAre( "--json" ) );
   EXPECT_THAT( can( "packet in lo" ), ElementsAre( "loopback" ) );
   EXPECT_THAT( can( "explain -v in Ethernet1 vlan 10 ip" ), ElementsAre( "ipv4", "ipv6" ) );
   EXPECT_THAT( can( "packet in cpu ipv4 ttl 1 t" ), ElementsAre( "tcp" ) );
   EXPECT_THAT( can( "note \"un" ), IsEmpty() );
   EXPECT_THAT( can( "sh ent" ), ElementsAre( "entries" ) );
   EXPECT_THAT( can( "vlan 1 members et" ), ElementsAre( "Ethernet1" ) );
   EXPECT_THAT( can( "expect entry nexthopto" ), ElementsAre( "nexthopToCpu" ) );
   EXPECT_THAT( can( "show entries | e" ), ElementsAre( "exclude" ) );
   EXPECT_THAT( can( "no vlan " ), ElementsAre( "1" ) );
   EXPECT_THAT( can( "pcap tests/packet/fr" ), ElementsAre( "tests/packet/frames/" ) );
   session.run( splitLine( "test", 3, "nexthop flows programmed" ) );
   session.run( splitLine( "test", 4, "pbr \"two words\" via cpu" ) );
   EXPECT_THAT( can( "no nexthop " ), ElementsAre( "flows" ) );
   EXPECT_THAT( can( "no pbr " ), ElementsAre( "\"two words\"" ) );
   EXPECT_THAT( can( "expect attribute tcamManager mai" ), ElementsAre( "main" ) );
   session.run( splitLine( "test", 5, "call initializeNextHopToCpuTcam" ) );
   EXPECT_THAT( can( "expect entry \"NextHop t" ), ElementsAre( "\"NextHop to Cpu\"" ) );
}

TEST( Completion, EveryWordThatCanComeNextHasAMeaning )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   std::ostringstream out;
   Console console( out, out, {} );
   Session session( console );
   session.run( splitLine( "test", 1, "switch hsdk ports 8" ) );
   session.run( splitLine( "test", 2, "interface Ethernet1 unit 0 port 1" ) );
   session.run( splitLine( "test", 3, "packet in Ethernet1 ipv4" ) );
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands ) {
         const std::string name( command.name );
         for( const std::string& start :
            { std::string(), name.substr( 0, name.find( ' ' ) + 1 ), name + " " } )
            for( const auto& [ word, meaning ] : nextWords( session, start ).words )
               EXPECT_NE( meaning, "" ) << start << "? says nothing of " << word;
      }
   for( const std::string line : { "packet in Ethernet1 ", "packet in Ethernet1 ipv4 ",
           "packet in Ethernet1 arp ", "vlan 10 ", "switch hsdk ", "unit 0 ", "expect cpu " } )
      for( const auto& [ word, meaning ] : nextWords( session, line ).words )
         EXPECT_NE( meaning, "" ) << line << "? says nothing of " << word;
   // The syntax repeats the enumerators that the parser takes from the list.
   for( const std::string line : { "stp Ethernet1 ", "vlan 10 urpf " } )
      for( const NextWords next = nextWords( session, line );
           const auto& [ word, meaning ] : next.words )
         EXPECT_THAT( next.syntax, HasSubstr( word ) );
   const auto meaningOfFirst = [ & ]( std::string_view line ) {
      return nextWords( session, line ).words.front().meaning;
   };
   EXPECT_EQ( meaningOfFirst( "vlan 10 mt" ), "longest IP packet in bytes, 0 for any" );
   EXPECT_EQ( meaningOfFirst( "vlan 10 mtu " ), "an MTU in bytes" );
   EXPECT_EQ( meaningOfFirst( "mark " ), "runs the line" );
   EXPECT_EQ(
      meaningOfFirst( "set mlagStatus.peerL" ), "the link to the peer, an interface or a LAG" );
   EXPECT_EQ( meaningOfFirst( "call l3I" ), "init( enable, true )" );
   EXPECT_EQ( nextWords( session, "expect entry nextH" ).words.front().word, "nexthopToCpu" );
   EXPECT_EQ( nextWords( session, "kk" ).syntax, "no word here starts with 'kk'" );
   EXPECT_EQ( meaningOfFirst( "help fault" ), "make a hardware call fail" );
   EXPECT_EQ( meaningOfFirst( "help show fa" ), "faults that are armed" );
   EXPECT_EQ( nextWords( session, "int et1 un" ).syntax,
      "interface INTERFACE[-LAST] unit N port N [logical N] [routed|bridged]" );
}

} // namespace
} // namespace Strata::Tool
