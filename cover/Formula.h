// How packets come to present their keys, as a formula: variables for the shape of a packet, and the laws that the
// evaluator follows, each under a literal, so that a proof names the laws that it needs.
#pragma once

#include "cover/Facts.h"
#include "cover/Shape.h"
#include "sim/chip/FieldGroup.h"
#include "sim/packet/FieldKey.h"

#include <array>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>
#include <z3++.h>

namespace Strata::Cover {

/// A law, as the reason why there is no such packet.
VORMEL_ENUM( Law, U8, key, headers, words, arrival, station, vxlan, onePass, portRouting,
   chipRouting, vlanRouting, rows, destination, reversePath, sourceLookup, early )
const char* reasonText( Law law );

/// What makes a packet easy to read; it may be left out.
struct Wish
{
   z3::expr holds;
   std::optional<Sim::Qualifier> of; // an entry with this qualifier decides it
};

/// What a packet has in common with another one, and how much that counts.
struct Likeness
{
   z3::expr holds;
   unsigned weight;
};

class Formula
{
 public:
   Formula( const Facts& facts, const Sim::FieldGroup& range );

   z3::context& context() { return context_; }
   z3::solver& solver() { return solver_; }
   /// The literal that puts a law into force.
   z3::expr literal( Law law ) const { return laws_[ static_cast<std::size_t>( law ) ]; }
   /// True if the entry's qualifiers match the key.
   z3::expr matches( const Sim::FieldRule& rule );
   std::vector<Wish> wishes();
   /// With a packet that presents the key and comes in at the place of the facts. What other rows of the tables would be
   /// needed for counts more than what is in the frame. Requires: the facts have a place.
   std::vector<Likeness> likenesses( const Sim::FieldKey& key );
   Shape shape( const z3::model& model ) const;
   z3::expr isLookedUpIn( std::size_t vlan ) { return is( domain_, vlan ); }
   /// True for shapes that differ in what the packet is and what becomes of it; `places` includes where it arrives.
   z3::expr differs( const Shape& shape, bool places );

 private:
   static constexpr unsigned wide = 32;
   static constexpr unsigned macBits = 48;
   static constexpr U64 allGroups = U64{ 1 } << 40; // the bit of a group address

   /// A value of the key; `has` is false where the packet has none.
   struct Term
   {
      z3::expr has;
      z3::expr value;
   };
   struct Hit // in the my-station memory
   {
      z3::expr any, ipv4, ipv6, mpls, arp;
   };

   z3::expr flag( const char* name ) { return context_.bool_const( name ); }
   z3::expr number( const char* name, unsigned bits ) { return context_.bv_const( name, bits ); }
   z3::expr value( U64 value, unsigned bits )
   {
      return context_.bv_val( static_cast<uint64_t>( value ), bits );
   }
   z3::expr truth( bool is ) { return context_.bool_val( is ); }
   z3::expr oneBit( const z3::expr& is ) { return z3::ite( is, value( 1, 1 ), value( 0, 1 ) ); }
   void law( Law law, const z3::expr& holds )
   {
      solver_.add( z3::implies( literal( law ), holds ) );
   }

   template<class E>
   z3::expr is( const z3::expr& variable, E what )
   {
      return variable == value( static_cast<U64>( what ), variable.get_sort().bv_size() );
   }
   z3::expr hasItsHeader();
   template<class E>
   z3::expr isOneOf( const z3::expr& variable, std::initializer_list<E> choices );
   /// True if the packet arrives by a place, or in a VLAN, of which this holds.
   template<class Holds>
   z3::expr arrives( Holds holds );
   template<class Holds>
   z3::expr inVlan( const z3::expr& vlan, Holds holds );

   void chooseArrivals();
   bool arrivalMatches( const ArrivalPlace& arrival, const Sim::FieldQualifier& qualifier ) const;
   Hit lookUp( const z3::expr& mac, const z3::expr& vlan, const z3::expr& inTunnel );
   z3::expr droppedEarly();

   void headerLaws();
   void arrivalLaws();
   void tunnelLaws();
   void labelLaws();
   void routingLaws();
   void destinationLaws();
   void multicastLaws();
   void rowLaws();
   void stageLaws();
   void keyLaws();

   Term presented( Sim::Qualifier role, Sim::FieldStage stage );
   Term packetResult();
   Term dstPort();
   z3::expr dropped();
   z3::expr departs( const PortBitmap& ports );
   z3::expr compare( const Term& term, const Sim::FieldQualifier& qualifier );
   Term keyTerm( Sim::Qualifier role );

   const Facts& facts_;
   const Sim::FieldGroup& range_;
   const Sim::FieldStage stage_;
   const bool floodPort_; // routed floods have a port of their own
   z3::context context_;
   z3::solver solver_;
   std::vector<z3::expr> laws_;
   std::vector<std::size_t> arrivals_;  // one of each kind
   std::map<Sim::Qualifier, Term> key_; // what the entries compare

   // The shape.
   z3::expr arrival_, vlan_, domain_;
   z3::expr payload_, inner_;
   z3::expr tunnel_, popped_, popsV6_, switched_, steered_, replicated_;
   z3::expr blocked_, tagged_, tooLong_, fragment_, otherArp_;
   z3::expr fate_, port_, group_;
   z3::expr dstMac_, innerMac_, etherType_, dstIp_, protocol_, l4Port_, ttl_, innerTtl_, priority_;
   z3::expr svi_, dropRouted_, vxlan_, domainSvi_, domainDropRouted_, l3Class_, openFlow_,
      sourceClass_;

   // What follows from it.
   z3::expr lookedUp_;    // the payload that is looked up: after a tunnel's end the inner one
   z3::expr mac_;         // the destination that is looked up
   z3::expr ipv4_, ipv6_; // the packet that is looked up, also behind a label
   z3::expr effectiveTtl_;
   z3::expr endsOnly_; // it ends a tunnel, and needs another pass
   Hit hit_;
   z3::expr early_; // it is dropped before it is looked up
   z3::expr routable_, mustLose_, isHop_, isBridged_, forNeighbour_;
};

template<class E>
z3::expr Formula::isOneOf( const z3::expr& variable, std::initializer_list<E> choices )
{
   z3::expr any = truth( false );
   for( const E choice : choices )
      any = any || is( variable, choice );
   return any;
}

template<class Holds>
z3::expr Formula::arrives( Holds holds )
{
   z3::expr any = truth( false );
   for( const std::size_t index : arrivals_ )
      if( holds( facts_.arrivals[ index ] ) )
         any = any || is( arrival_, index );
   return any;
}

template<class Holds>
z3::expr Formula::inVlan( const z3::expr& vlan, Holds holds )
{
   z3::expr any = truth( false );
   for( std::size_t index = 0; index < facts_.vlans.size(); ++index )
      if( holds( facts_.vlans[ index ] ) )
         any = any || is( vlan, index );
   return any;
}

} // namespace Strata::Cover
