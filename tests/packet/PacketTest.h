// A simulated switch that is driven by commands, and the outcome of a packet as a short text: "E2 E3" for the ports
// that it leaves on, "cpu:26" for a CPU queue, "none"; "+loopback" if a station is learned on the loopback port, "x2"
// if it makes two passes.
#pragma once

#include "platform/runtime/Activity.h"
#include "tool/Session.h"
#include "tool/view/Console.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace Strata {

class PacketTest : public testing::Test
{
 protected:
   /// Runs commands, one on each line.
   void run( const std::string& text )
   {
      std::istringstream lines( text );
      for( std::string line; std::getline( lines, line ); )
         session.run( Tool::splitLine( "test", ++number_, line ) );
   }

   /// Makes a switch that routes: VLAN 10 on Ethernet1-3, 20 on 4-6, 30 on 7 and through VXLAN, 100, the underlay, on
   /// 8. The commands in `before` run before the bring-up.
   void bringUp( const std::string& profile, const std::string& before = "" )
   {
      run( "switch " + profile + " ports 8\n" + before );
      run( R"(set routerMacAddr 02:00:a1:00:00:01
set virtualRouterMacAddr 02:00:a1:00:00:99
call addMyStationTcamEntry 0 1 02:00:a1:00:00:01 false 0 false false true
call addMyStationTcamEntry 0 2 02:00:a1:00:00:99 false 0 false false true
bring-up
interface Ethernet1-8 unit 0 port 1
call handleRouting true true
call doWriteIngConfig
call handleTcamEntryL2FennicToCpu
vlan 10 svi members Ethernet1 Ethernet2 Ethernet3
vlan 20 svi members Ethernet4 Ethernet5 Ethernet6
vlan 30 svi members Ethernet7
vlan 100 svi members Ethernet8
native-vlan 10 Ethernet1 Ethernet2 Ethernet3
native-vlan 20 Ethernet4 Ethernet5 Ethernet6
native-vlan 30 Ethernet7
native-vlan 100 Ethernet8
route 10.1.0.0/16 via Ethernet1 mac 00:00:00:00:01:01 vlan 10
route 10.2.0.0/16 via Ethernet4 mac 00:00:00:00:02:02 vlan 20
route 2001:db8:2::/48 via Ethernet4 mac 00:00:00:00:02:02 vlan 20
route 10.3.0.1/32 via cpu
route 10.4.0.0/16 via flood mac 00:00:00:00:04:04 vlan 20)" );
      if( agent().hardware().profile().attributes.vxlanSupported )
         run(
            R"(tunnel T local 192.0.2.1 remote 192.0.2.2 via Ethernet8 mac 00:00:00:00:08:08 vlan 100
vlan 30 vxlan 5030 T
mac 00:00:00:00:07:07 vlan 30 Ethernet7
mac 00:00:00:00:09:09 vlan 30 tunnel T
route 10.7.0.0/16 via flood mac 00:00:00:00:07:99 vlan 30
route 10.9.0.0/16 via tunnel T mac 00:00:00:00:09:09 vlan 30)" );
   }

   Tool::Agent& agent() { return session.agent(); }
   Sim::Chip& chip() { return agent().hardware().chip( 0 ); }
   Sim::PacketEngine& engine() { return session.packets().engine(); }

   /// Sends a packet such as "in Ethernet1 dmac router ipv4 ...". Its outcome must be the one that was explained.
   Sim::Verdict send( const std::string& packet )
   {
      const Sim::Verdict explained = explain( packet );
      run( "packet " + packet );
      EXPECT_TRUE( explained == last() ) << packet;
      return last();
   }
   Sim::Verdict explain( const std::string& packet )
   {
      run( "explain " + packet );
      // The verdict without an explanation must be the same.
      EXPECT_TRUE( last() == engine().explain( session.packets().last()->arrival ) ) << packet;
      return last();
   }
   const Sim::Verdict& last() { return session.packets().last()->verdict; }

   std::string outcome( const Sim::Verdict& verdict )
   {
      std::string text;
      const auto add = [ &text ](
                          const std::string& part ) { text += ( text.empty() ? "" : " " ) + part; };
      for( const Sim::Departure* const departure : verdict.departures() ) {
         const std::string name = engine().portName( departure->port );
         add( "E" + name.substr( std::string( "Ethernet" ).size() ) );
      }
      for( const Sim::CpuCopy* const copy : verdict.cpuCopies() )
         add( "cpu:" + std::to_string( copy->queue ) );
      if( text.empty() )
         add( "none" );
      for( const Sim::PassVerdict& pass : verdict.passes )
         if( pass.learning && pass.arrival.port > 255 &&
             std::holds_alternative<Sim::PortRef>( pass.learning->place ) )
            add( "+loopback" );
      if( verdict.passes.size() > 1 )
         add( "x" + std::to_string( verdict.passes.size() ) );
      return text;
   }

   /// Removes an entry from the chip without the slice.
   void release( const std::string& entry )
   {
      const Tool::Line line = Tool::splitLine( "test", 1, entry );
      Tool::Words words( line );
      const Tool::EntryChoice choice = Tool::takeEntry( session, words );
      for( Sim::FieldGroup& group : chip().groups() )
         for( U32 id = group.profile().base; group.contains( id ); ++id )
            if( group.find( id ) && group.find( id ) == Tool::findEntry( chip(), choice ) )
               return group.release( id );
      ADD_FAILURE() << entry << " is not there";
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   std::ostringstream out;
   std::ostringstream err;
   Tool::Console console{ out, err, {} };
   Tool::Session session{ console };

 private:
   U32 number_ = 0;
};

} // namespace Strata
