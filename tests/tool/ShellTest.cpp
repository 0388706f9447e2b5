#include "tests/tool/CommandLine.h"

#include "platform/runtime/Activity.h"
#include "tool/Command.h"
#include "tool/Session.h"
#include "tool/shell/Completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Strata::Tool {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST( Shell, ALineThatCannotBeRunIsReportedAndTheNextOneTaken )
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
      { "vlan 50 svi members Ethernet1 mtu banana", "vlan 10 no-svi mtu 200 urpf bogus",
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

TEST( Shell, EverythingThatIsShownCanBeHadAsJson )
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
      HasSubstr( "shell:1:13: only what is shown can be had as JSON" ) );
}

TEST( Completion, KnowsCommandsAndWhatTheyAskFor )
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
   EXPECT_THAT( can( "packet in cpu ipv4 ttl 1 t" ), ElementsAre( "tcp", "ttl" ) );
   EXPECT_THAT( can( "note \"un" ), IsEmpty() );
}

} // namespace
} // namespace Strata::Tool
