// Shapes: read from a model, preferred, excluded.
#include "cover/Formula.h"
#include "sim/packet/Frame.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace Strata::Cover {

namespace {

constexpr U64 broadcastMac = 0xFFFFFFFFFFFF;

/// The values of a model's variables; those that it leaves open are zero.
class Reader
{
 public:
   explicit Reader( const z3::model& model ) : model_( model ) {}

   bool flag( const z3::expr& variable ) const { return model_.eval( variable, true ).is_true(); }
   U64 number( const z3::expr& variable ) const
   {
      return model_.eval( variable, true ).get_numeral_uint64();
   }
   U32 u32( const z3::expr& variable ) const { return static_cast<U32>( number( variable ) ); }
   template<class E>
   E choice( const z3::expr& variable ) const
   {
      return static_cast<E>( number( variable ) );
   }

 private:
   const z3::model& model_;
};

} // namespace

Shape Formula::shape( const z3::model& model ) const
{
   const Reader read( model );
   Shape shape;
   shape.arrival = read.number( arrival_ );
   shape.vlan = read.number( vlan_ );
   shape.domain = read.number( domain_ );
   shape.payload = read.choice<Payload>( payload_ );
   shape.inner = read.choice<Payload>( inner_ );
   shape.tunnel = read.flag( tunnel_ );
   shape.popped = read.flag( popped_ );
   shape.popsV6 = read.flag( popsV6_ );
   shape.switched = read.flag( switched_ );
   shape.steered = read.flag( steered_ );
   shape.blocked = read.flag( blocked_ );
   shape.tagged = read.flag( tagged_ );
   shape.tooLong = read.flag( tooLong_ );
   shape.replicated = read.flag( replicated_ );
   shape.checked = stage_ == Sim::FieldStage::urpf;
   shape.fate = read.choice<Fate>( fate_ );
   shape.port = read.number( port_ );
   shape.group = read.u32( group_ );
   shape.dstMac = read.number( dstMac_ );
   shape.innerMac = read.number( innerMac_ );
   shape.etherType = read.u32( etherType_ );
   shape.dstIp = read.u32( dstIp_ );
   shape.protocol = read.u32( protocol_ );
   shape.l4Port = read.u32( l4Port_ );
   shape.ttl = read.u32( ttl_ );
   shape.innerTtl = read.u32( innerTtl_ );
   shape.priority = read.u32( priority_ );
   shape.svi = read.flag( svi_ );
   shape.dropRouted = read.flag( dropRouted_ );
   shape.vxlan = read.flag( vxlan_ );
   shape.domainSvi = read.flag( domainSvi_ );
   shape.domainDropRouted = read.flag( domainDropRouted_ );
   shape.l3Class = read.u32( l3Class_ );
   shape.openFlow = read.flag( openFlow_ );
   shape.sourceClass = read.u32( sourceClass_ );
   return shape;
}

/// Not an EtherType that has words of its own, without the header behind it.
z3::expr Formula::hasItsHeader()
{
   return !is( payload_, Payload::other ) ||
          !isOneOf( etherType_, { Sim::etherTypeArp, Sim::etherTypeIpv4, Sim::etherTypeIpv6 } );
}

std::vector<Wish> Formula::wishes()
{
   constexpr U64 usualMac = 0x020000000002;
   constexpr U64 usualGroup = 0x01005E010203;
   constexpr U64 usualDestination = 0x0A000002;
   using Sim::Qualifier;
   std::vector<Wish> wishes;
   const auto wish = [ & ]( const z3::expr& holds, std::optional<Qualifier> of = {} ) {
      wishes.push_back( { holds, of } );
   };
   wish( !tunnel_, Qualifier::TunnelTerminated );
   for( const z3::expr& unusual :
      { popped_, switched_, replicated_, steered_, blocked_, tagged_, tooLong_, openFlow_ } )
      wish( !unusual );
   wish( sourceClass_ == value( 0, wide ) );
   wish( arrives( []( const ArrivalPlace& place ) { return place.frontPanel; } ) );
   const auto front = std::ranges::find_if(
      arrivals_, [ & ]( std::size_t index ) { return facts_.arrivals[ index ].frontPanel; } );
   if( front != arrivals_.end() )
      wish( is( arrival_, *front ) );
   // A tunnel and a VXLAN that exist.
   z3::expr ends = truth( facts_.tables.tunnels.empty() );
   for( const auto& [ name, tunnel ] : facts_.tables.tunnels )
      if( !tunnel.local.isV6() )
         ends = ends || dstIp_ == value( tunnel.local.v4Number(), 32 );
   wish( z3::implies( tunnel_, ends ) );
   wish( z3::implies( tunnel_, domain_ != vlan_ ) );
   wish( z3::implies( tunnel_,
      inVlan( domain_, []( const VlanPlace& place ) { return place.row.vni.has_value(); } ) ) );
   // The properties that the VLANs have already.
   const auto asNow = [ & ]( const z3::expr& vlan, const z3::expr& property, auto has ) {
      wish(
         property == inVlan( vlan, [ & ]( const VlanPlace& place ) { return has( place.row ); } ) );
   };
   asNow( vlan_, svi_, []( const Sim::VlanProperties& row ) { return row.svi; } );
   asNow( vlan_, dropRouted_, []( const Sim::VlanProperties& row ) { return row.dropRouted; } );
   asNow( vlan_, vxlan_, []( const Sim::VlanProperties& row ) { return row.vni.has_value(); } );
   asNow( domain_, domainSvi_, []( const Sim::VlanProperties& row ) { return row.svi; } );
   asNow(
      domain_, domainDropRouted_, []( const Sim::VlanProperties& row ) { return row.dropRouted; } );
   for( const z3::expr& vlan : { vlan_, domain_ } )
      wish( inVlan( vlan, []( const VlanPlace& place ) { return place.exists; } ) );
   wish( is( payload_, Payload::ipv4 ), Qualifier::EtherType );
   wish( hasItsHeader() );
   wish( z3::implies( is( payload_, Payload::other ), etherType_ == value( usualEtherType, 16 ) ),
      Qualifier::EtherType );
   wish( is( inner_, Payload::ipv4 ) );
   wish( !popsV6_ );
   wish( protocol_ == value( Sim::ipProtocolUdp, 8 ), Qualifier::IpProtocol );
   wish( z3::implies( !tunnel_, l4Port_ == value( 53, 16 ) ), Qualifier::L4DstPort );
   wish( ttl_ == value( 64, 8 ), Qualifier::Ttl );
   wish( innerTtl_ == value( 64, 8 ), Qualifier::Ttl );
   wish( priority_ == value( 0, 8 ), Qualifier::IntPriority );
   const auto usual = [ & ]( const z3::expr& mac ) {
      return mac == value( usualMac, macBits ) || mac == value( usualGroup, macBits );
   };
   wish( usual( dstMac_ ), Qualifier::DstMac );
   wish( usual( innerMac_ ) );
   wish( z3::implies( !tunnel_, dstIp_ == value( usualDestination, 32 ) ), Qualifier::DstIp );
   wish( is( port_, 0 ), Qualifier::DstPort );
   wish( l3Class_ == value( 0, wide ), Qualifier::InterfaceClassL3 );
   wish( isOneOf( fate_, { Fate::flooded, Fate::hopPort } ), Qualifier::DstPort );
   return wishes;
}

std::vector<Likeness> Formula::likenesses( const Sim::FieldKey& key )
{
   using Sim::Qualifier;
   constexpr unsigned ofTables = 10;
   std::vector<Likeness> all;
   const auto like = [ & ]( const z3::expr& holds, unsigned weight ) {
      all.push_back( { holds, weight } );
   };
   constexpr unsigned ofPlace = 25; // rather two rows of the tables than another port
   like( is( arrival_, *facts_.placeArrival ), ofPlace );
   like( is( vlan_, facts_.placeVlan ), ofPlace );
   if( key.value( Qualifier::EtherType ) != Sim::etherTypeIpv6 )
      like( !is( payload_, Payload::ipv6 ), 3 );
   for( const auto& [ role, weight ] :
      std::initializer_list<std::pair<Qualifier, unsigned>>{ { Qualifier::Ttl, 1 },
         { Qualifier::IntPriority, 1 }, { Qualifier::L4DstPort, 1 }, { Qualifier::IpProtocol, 1 },
         { Qualifier::DstIp, 1 }, { Qualifier::DstMac, 2 }, { Qualifier::EtherType, 2 },
         { Qualifier::IpType, 1 }, { Qualifier::DstPort, 2 }, { Qualifier::DstMcastGroup, 2 },
         { Qualifier::PacketRes, 2 }, { Qualifier::TunnelTerminated, 4 } } ) {
      const Term term = keyTerm( role );
      const std::optional<U64> value = key.value( role );
      like( value ? term.has && term.value == this->value( *value, term.value.get_sort().bv_size() )
                  : !term.has,
         weight );
   }
   like( hasItsHeader(), ofTables ); // an EtherType without its header would be like, too
   for( const z3::expr& unusual : { popped_, switched_, replicated_, steered_, tagged_, tooLong_ } )
      like( !unusual, ofTables );
   // The rows as they are, of the place where it arrives.
   z3::expr blockedNow = truth( false );
   for( std::size_t index = 0; index < facts_.vlans.size(); ++index )
      blockedNow =
         blockedNow || ( is( vlan_, index ) && arrives( [ & ]( const ArrivalPlace& place ) {
            return place.frontPanel && facts_.tables.stpState( place.port,
                                          facts_.vlans[ index ].id ) != Sim::StpState::forwarding;
         } ) );
   like( blocked_ == blockedNow, ofTables );
   like( openFlow_ == arrives( [ & ]( const ArrivalPlace& place ) {
      return !place.stack && facts_.tables.openFlowPorts.contains( place.port );
   } ),
      ofTables );
   const auto asNow = [ & ]( const z3::expr& vlan, const z3::expr& property, auto has ) {
      like(
         property == inVlan( vlan, [ & ]( const VlanPlace& place ) { return has( place.row ); } ),
         ofTables );
   };
   const auto svi = []( const Sim::VlanProperties& row ) { return row.svi; };
   const auto dropRouted = []( const Sim::VlanProperties& row ) { return row.dropRouted; };
   asNow( vlan_, svi_, svi );
   asNow( vlan_, dropRouted_, dropRouted );
   asNow( vlan_, vxlan_, []( const Sim::VlanProperties& row ) { return row.vni.has_value(); } );
   // Outside tunnels they are the same rows.
   const z3::expr isOneVlan = domain_ == vlan_;
   const auto inTunnel = [ & ]( const z3::expr& property, auto has ) {
      like( isOneVlan ||
               property ==
                  inVlan( domain_, [ & ]( const VlanPlace& place ) { return has( place.row ); } ),
         ofTables );
   };
   inTunnel( domainSvi_, svi );
   inTunnel( domainDropRouted_, dropRouted );
   // A VLAN that is not there has to be made.
   const auto exists = []( const VlanPlace& place ) { return place.exists; };
   like( inVlan( vlan_, exists ), ofTables );
   like( isOneVlan || inVlan( domain_, exists ), ofTables );
   z3::expr classNow = truth( false );
   for( std::size_t index = 0; index < facts_.vlans.size(); ++index )
      classNow = classNow || ( is( domain_, index ) &&
                                l3Class_ == value( facts_.vlans[ index ].row.l3Class, wide ) );
   like( classNow, ofTables );
   like( sourceClass_ == value( 0, wide ), ofTables );
   return all;
}

z3::expr Formula::differs( const Shape& shape, bool places )
{
   const auto same = [ & ]( const z3::expr& variable, U64 number ) {
      return variable == value( number, variable.get_sort().bv_size() );
   };
   const bool broadcast = ( shape.tunnel ? shape.innerMac : shape.dstMac ) == broadcastMac;
   const bool expired = ( shape.tunnel || shape.popped ? shape.innerTtl : shape.ttl ) <= 1;
   z3::expr all =
      same( payload_, static_cast<U64>( shape.payload ) ) &&
      ( shape.tunnel ? same( inner_, static_cast<U64>( shape.inner ) ) : truth( true ) ) &&
      same( fate_, static_cast<U64>( shape.fate ) ) && tunnel_ == truth( shape.tunnel ) &&
      popped_ == truth( shape.popped ) && switched_ == truth( shape.switched ) &&
      steered_ == truth( shape.steered ) && blocked_ == truth( shape.blocked ) &&
      tagged_ == truth( shape.tagged ) && tooLong_ == truth( shape.tooLong ) &&
      replicated_ == truth( shape.replicated ) &&
      ( sourceClass_ == value( 0, 32 ) ) == truth( shape.sourceClass == 0 ) &&
      ( mac_ == value( broadcastMac, 48 ) ) == truth( broadcast ) &&
      z3::ule( effectiveTtl_, value( 1, 8 ) ) == truth( expired );
   if( places )
      all = all && same( arrival_, shape.arrival ) && same( vlan_, shape.vlan ) &&
            same( domain_, shape.domain );
   return !all;
}

} // namespace Strata::Cover
