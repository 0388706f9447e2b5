// A packet and rows of tables, as the words of commands, that have a shape.
#pragma once

#include "cover/Facts.h"
#include "cover/Shape.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Cover {

class Recipe
{
 public:
   Recipe( const Facts& facts, const Shape& shape );

   /// The commands that change the tables, in order; empty if the packet alone is enough.
   const std::vector<std::string>& rows() const { return rows_; }
   /// "in Ethernet1 dmac 02:00:a1:00:00:01 vlan 10 ipv4 ttl 1", as behind `explain`.
   const std::string& packet() const { return packet_; }

 private:
   void row( std::string command ) { rows_.push_back( std::move( command ) ); }
   void makeVlan( const VlanPlace& vlan, bool svi, bool dropRouted, bool vxlan, bool isDomain );
   void makeVlans();
   void makeArrival();
   void makeTunnel();
   void makeStation();
   void makeHop();
   void makeRoutes();
   void makeMulticast();
   std::string makePacket() const;

   const VlanPlace& vlan() const { return facts_.vlans[ shape_.vlan ]; }
   const VlanPlace& domain() const { return facts_.vlans[ shape_.domain ]; }
   Payload lookedUp() const { return shape_.tunnel ? shape_.inner : shape_.payload; }
   bool looksUpIp( bool v6 ) const;
   Sim::IpAddress source( bool v6 ) const;
   Sim::IpAddress destination() const; // that is looked up
   Sim::IpAddress outerDestination() const;
   bool isHop() const { return shape_.fate >= Fate::hopPort && shape_.fate <= Fate::hopTunnel; }
   /// The words of a port that can be a next hop's.
   std::string somePort() const;
   /// The name of a tunnel. Adds a row that makes one if the tables have no tunnel.
   std::string tunnelName();
   bool takesMtu( const VlanPlace& place ) const;
   /// The number of a VLAN with, or without, VXLAN, for next hops.
   U16 vlanWith( bool vxlan );
   U32 vniOf( U16 vlanId );
   std::string nextHop();
   std::string network( Payload payload, bool outer ) const;
   std::string ipWords( bool v6, bool outer ) const;

   const Facts& facts_;
   const Shape& shape_;
   U32 vni_ = 0;            // of the VLAN that the tunnel's frame is in
   std::string tunnelMade_; // by a row
   Sim::IpAddress tunnelSource_;
   std::vector<std::string> rows_;
   std::string packet_;
};

} // namespace Strata::Cover
