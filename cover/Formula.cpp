#include "cover/Formula.h"

#include "sim/packet/FieldKey.h"
#include "sim/packet/Frame.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <numeric>
#include <utility>

namespace Strata::Cover {

using namespace Sim;

const char* reasonText( Law law )
{
   switch( law ) {
   case Law::key:
      return "no packet presents such values";
   case Law::headers:
      return "no frame has such headers";
   case Law::words:
      return "commands have no words for such a frame";
   case Law::arrival:
      return "no port that is up receives it";
   case Law::station:
      return "no my-station entry matches its destination MAC in its VLAN";
   case Law::vxlan:
      return "the chip has no VXLAN";
   case Law::onePass:
      return "the chip does not route in the pass that ends a tunnel";
   case Law::portRouting:
      return "routing is off on the port";
   case Law::chipRouting:
      return "L3EgressMode is 0";
   case Law::vlanRouting:
      return "routing is off in the VLAN";
   case Law::rows:
      return "no VLAN has such properties";
   case Law::destination:
      return "no lookup has such a result";
   case Law::reversePath:
      return "the chip does not check its reverse path";
   case Law::sourceLookup:
      return "the class of its source is not looked up";
   case Law::early:
      return "nothing of that is known at this stage";
   }
   return "";
}

Formula::Formula( const Facts& facts, const FieldGroup& range )
   : facts_( facts ),
     range_( range ),
     stage_( range.profile().stage ),
     floodPort_( facts.chip.profile().attributes.floodingPortSupported ),
     solver_( context_, "QF_BV" ),
     arrival_( number( "arrival", 16 ) ),
     vlan_( number( "vlan", 16 ) ),
     domain_( number( "domain", 16 ) ),
     payload_( number( "payload", 8 ) ),
     inner_( number( "inner", 8 ) ),
     tunnel_( flag( "tunnel" ) ),
     popped_( flag( "popped" ) ),
     popsV6_( flag( "popsV6" ) ),
     switched_( flag( "switched" ) ),
     steered_( flag( "steered" ) ),
     replicated_( flag( "replicated" ) ),
     blocked_( flag( "blocked" ) ),
     tagged_( flag( "tagged" ) ),
     tooLong_( flag( "tooLong" ) ),
     fragment_( flag( "fragment" ) ),
     otherArp_( flag( "otherArp" ) ),
     fate_( number( "fate", 8 ) ),
     port_( number( "port", 16 ) ),
     group_( number( "group", wide ) ),
     dstMac_( number( "dstMac", macBits ) ),
     innerMac_( number( "innerMac", macBits ) ),
     etherType_( number( "etherType", 16 ) ),
     dstIp_( number( "dstIp", 32 ) ),
     protocol_( number( "protocol", 8 ) ),
     l4Port_( number( "l4Port", 16 ) ),
     ttl_( number( "ttl", 8 ) ),
     innerTtl_( number( "innerTtl", 8 ) ),
     priority_( number( "priority", 8 ) ),
     svi_( flag( "svi" ) ),
     dropRouted_( flag( "dropRouted" ) ),
     vxlan_( flag( "vxlan" ) ),
     domainSvi_( flag( "domainSvi" ) ),
     domainDropRouted_( flag( "domainDropRouted" ) ),
     l3Class_( number( "l3Class", wide ) ),
     openFlow_( flag( "openFlow" ) ),
     sourceClass_( number( "sourceClass", wide ) ),
     lookedUp_( z3::ite( tunnel_, inner_, payload_ ) ),
     mac_( z3::ite( tunnel_, innerMac_, dstMac_ ) ),
     ipv4_( ( !popped_ && is( lookedUp_, Payload::ipv4 ) ) || ( popped_ && !popsV6_ ) ),
     ipv6_( ( !popped_ && is( lookedUp_, Payload::ipv6 ) ) || ( popped_ && popsV6_ ) ),
     effectiveTtl_( z3::ite( tunnel_ || popped_, innerTtl_, ttl_ ) ),
     endsOnly_( facts.routesOutOfTunnels ? truth( false ) : tunnel_ ),
     hit_{ flag( "hit" ), flag( "ends-ipv4" ), flag( "ends-ipv6" ), flag( "ends-mpls" ),
        flag( "ends-arp" ) },
     early_( truth( false ) ),
     routable_( flag( "routable" ) ),
     mustLose_( truth( false ) ),
     isHop_( isOneOf( fate_,
        { Fate::hopPort, Fate::hopCpu, Fate::hopFlood, Fate::hopVxlanFlood, Fate::hopTunnel } ) ),
     isBridged_( isOneOf( fate_, { Fate::flooded, Fate::toPort, Fate::toGroup, Fate::toTunnel } ) ),
     forNeighbour_( mac_.extract( 47, 4 ) == value( 0x0180C2000000 >> 4, 44 ) )
{
   for( const auto& [ law, name ] : Vormel::enumTable<Law> )
      laws_.push_back( flag( ( "law-" + std::string( name ) ).c_str() ) );
   z3::params settings( context_ );
   settings.set( "ctrl_c", false ); // a signal is the caller's
   solver_.set( settings );
   chooseArrivals();
   early_ = droppedEarly() || blocked_ || tagged_;
   const Hit hit = lookUp( mac_, domain_, tunnel_ );
   law( Law::station, hit_.any == hit.any && hit_.ipv4 == hit.ipv4 && hit_.ipv6 == hit.ipv6 &&
                         hit_.mpls == hit.mpls && hit_.arp == hit.arp );
   headerLaws();
   arrivalLaws();
   tunnelLaws();
   labelLaws();
   routingLaws();
   destinationLaws();
   multicastLaws();
   rowLaws();
   stageLaws();
   keyLaws();
}

// --- Arrivals ------------------------------------------------------------------------------------

bool Formula::arrivalMatches( const ArrivalPlace& arrival, const FieldQualifier& qualifier ) const
{
   FieldKey key;
   key.arrivalPort = arrival.keyPort;
   if( arrival.stack )
      for( const ArrivalPlace& other : facts_.arrivals )
         if( other.frontPanel )
            key.panel.add( other.port.port );
   return key.matches( qualifier );
}

/// Ports that no entry and no law tells apart are one choice: the first of them.
void Formula::chooseArrivals()
{
   std::vector<const FieldQualifier*> portSets;
   const auto addPortSets = [ & ]( const FieldGroup& group ) {
      for( const auto& [ id, entry ] : group.entries() )
         if( entry.installed() )
            for( const FieldQualifier& qualifier : entry.hardware->qualifiers )
               if( !comparesValue( qualifier.role ) && qualifier.role != Qualifier::OutPortsClass )
                  portSets.push_back( &qualifier );
   };
   addPortSets( range_ );
   for( const FieldGroup& group : facts_.chip.groups() )
      if( &group != &range_ && group.profile().stage == FieldStage::lookup )
         addPortSets( group );
   std::map<std::vector<bool>, std::size_t> kinds;
   std::vector<std::size_t> indices( facts_.arrivals.size() );
   std::iota( indices.begin(), indices.end(), 0 );
   if( facts_.placeArrival )
      std::swap( indices.front(), indices[ *facts_.placeArrival ] );
   for( const std::size_t index : indices ) {
      const ArrivalPlace& arrival = facts_.arrivals[ index ];
      std::vector<bool> kind{ arrival.stack, arrival.cpu, arrival.frontPanel, arrival.up,
         arrival.ipv4, arrival.ipv6, arrival.usesRoutes, arrival.looksUpSource,
         arrival.checksReversePath };
      kind.insert( kind.end(), arrival.inVlan.begin(), arrival.inVlan.end() );
      for( const StationPlace& station : facts_.stations )
         kind.push_back( station.isMetFrom( arrival ) );
      for( const FieldQualifier* const qualifier : portSets )
         kind.push_back( arrivalMatches( arrival, *qualifier ) );
      if( kinds.emplace( std::move( kind ), index ).second )
         arrivals_.push_back( index );
   }
   solver_.add( arrives( []( const ArrivalPlace& ) { return true; } ) );
   solver_.add( inVlan( vlan_, []( const VlanPlace& ) { return true; } ) );
   solver_.add( inVlan( domain_, []( const VlanPlace& ) { return true; } ) );
   solver_.add( z3::ult( port_, value( facts_.destinations.size(), 16 ) ) );
}

void Formula::arrivalLaws()
{
   for( const std::size_t index : arrivals_ ) {
      const ArrivalPlace& arrival = facts_.arrivals[ index ];
      z3::expr joined = truth( false );
      if( arrival.up )
         for( std::size_t vlan = 0; vlan < facts_.vlans.size(); ++vlan )
            if( arrival.inVlan[ vlan ] )
               joined = joined || is( vlan_, vlan );
      law( Law::arrival, z3::implies( is( arrival_, index ), joined ) );
   }
}

// --- Headers -------------------------------------------------------------------------------------

void Formula::headerLaws()
{
   const auto etherType = [ & ]( Payload payload, U16 type ) {
      law( Law::headers, z3::implies( is( payload_, payload ), etherType_ == value( type, 16 ) ) );
   };
   for( const z3::expr& payload : { payload_, inner_ } )
      solver_.add( z3::ule( payload, value( static_cast<U64>( Payload::other ), 8 ) ) );
   etherType( Payload::arpRequest, etherTypeArp );
   etherType( Payload::arpReply, etherTypeArp );
   etherType( Payload::ipv4, etherTypeIpv4 );
   etherType( Payload::ipv6, etherTypeIpv6 );
   etherType( Payload::mpls, etherTypeMpls );
   const z3::expr isOther = is( payload_, Payload::other );
   // Smaller numbers are lengths. Behind a third tag a frame does have that of a tag.
   law( Law::words, z3::implies( isOther, z3::uge( etherType_, value( 0x600, 16 ) ) &&
                                             etherType_ != value( etherTypeVlan, 16 ) ) );
   law( Law::headers, z3::implies( isOther, etherType_ != value( etherTypeMpls, 16 ) ) );
   law( Law::words, z3::implies( is( payload_, Payload::ipv6 ),
                       isOneOf( protocol_, { 6, int{ ipProtocolUdp }, 58 } ) ) );
   law( Law::headers, z3::ule( priority_, value( 7, 8 ) ) );
   law( Law::words, !fragment_ ); // which has no ports
   law( Law::words, !otherArp_ ); // neither request nor reply
   law( Law::headers,
      z3::implies( otherArp_, is( lookedUp_, Payload::other ) &&
                                 ( tunnel_ || etherType_ == value( etherTypeArp, 16 ) ) ) );
}

/// The first of the chip's my-station entries that the packet meets.
Formula::Hit Formula::lookUp( const z3::expr& mac, const z3::expr& vlan, const z3::expr& inTunnel )
{
   Hit hit{ truth( false ), truth( false ), truth( false ), truth( false ), truth( false ) };
   z3::expr none = truth( true );
   for( const StationPlace& station : facts_.stations ) {
      z3::expr meets = ( mac & value( station.mask, macBits ) ) == value( station.mac, macBits );
      if( station.vlanMask != 0 )
         meets = meets && inVlan( vlan, [ & ]( const VlanPlace& place ) {
            return station.isMetIn( place.id );
         } );
      if( station.portMask != 0 )
         meets = meets && arrives( [ & ]( const ArrivalPlace& arrival ) {
            return station.isMetFrom( arrival );
         } );
      if( !station.outsideTunnels )
         meets = meets && inTunnel;
      const z3::expr first = meets && none;
      none = none && !meets;
      if( station.ipv4 || station.ipv6 || station.mpls || station.arp )
         hit.any = hit.any || first;
      const auto ends = [ & ]( bool does, z3::expr& what ) {
         if( does )
            what = what || first;
      };
      ends( station.ipv4, hit.ipv4 );
      ends( station.ipv6, hit.ipv6 );
      ends( station.mpls, hit.mpls );
      ends( station.arp, hit.arp );
   }
   return hit;
}

z3::expr Formula::droppedEarly()
{
   z3::expr early = truth( false );
   for( const FieldGroup& group : facts_.chip.groups() ) {
      if( group.profile().stage != FieldStage::lookup || stage_ == FieldStage::lookup )
         continue;
      z3::expr none = truth( true );
      for( const auto& [ id, entry ] : group.entries() ) {
         if( !entry.active() )
            continue;
         z3::expr meets = truth( true );
         for( const FieldQualifier& qualifier : entry.hardware->qualifiers )
            if( !comparesValue( qualifier.role ) )
               meets = meets && arrives( [ & ]( const ArrivalPlace& arrival ) {
                  return arrivalMatches( arrival, qualifier );
               } );
            else
               meets =
                  meets && compare( presented( qualifier.role, FieldStage::lookup ), qualifier );
         if( std::ranges::find( entry.hardware->actions, FieldAction::Drop,
                &FieldActionData::role ) != entry.hardware->actions.end() )
            early = early || ( meets && none );
         none = none && !meets;
      }
   }
   return early;
}

// --- Lookups -------------------------------------------------------------------------------------

static z3::expr firstByte( const z3::expr& address )
{
   return address.extract( 31, 24 );
}

void Formula::tunnelLaws()
{
   const Hit outer = lookUp( dstMac_, vlan_, truth( false ) );
   const auto ends = [ & ]( const z3::expr& holds ) { return z3::implies( tunnel_, holds ); };
   if( !facts_.chip.profile().attributes.vxlanSupported )
      law( Law::vxlan, !tunnel_ );
   law( Law::headers, ends( isOneOf( payload_, { Payload::ipv4, Payload::ipv6 } ) &&
                            is( protocol_, ipProtocolUdp ) && is( l4Port_, udpPortVxlan ) ) );
   law( Law::station, ends( z3::ite( is( payload_, Payload::ipv4 ), outer.ipv4, outer.ipv6 ) ) );
   // Both ends have addresses of stations.
   const z3::expr byte = firstByte( dstIp_ );
   law( Law::headers,
      ends( z3::implies( is( payload_, Payload::ipv4 ),
         byte != value( 0, 8 ) && byte != value( 127, 8 ) && z3::ult( byte, value( 224, 8 ) ) ) ) );
   law( Law::headers, z3::implies( tagged_, tunnel_ ) );
   law( Law::rows, tunnel_ || domain_ == vlan_ );
   law( Law::rows,
      z3::implies( domain_ == vlan_, domainSvi_ == svi_ && domainDropRouted_ == dropRouted_ ) );
   law( Law::rows, ends( z3::implies( domain_ == vlan_, vxlan_ ) ) );
}

void Formula::labelLaws()
{
   const z3::expr ends = is( lookedUp_, Payload::mpls ) && hit_.mpls;
   law( Law::station, z3::implies( popped_ || switched_, ends ) );
   law( Law::onePass, z3::implies( popped_ || switched_, !endsOnly_ ) );
   law( Law::destination, z3::implies( popped_ || switched_, !early_ ) );
   law( Law::destination, !( popped_ && switched_ ) );
}

void Formula::routingLaws()
{
   const z3::expr portRoutes =
      z3::ite( ipv6_, arrives( []( const ArrivalPlace& place ) { return place.ipv6; } ),
         arrives( []( const ArrivalPlace& place ) { return place.ipv4; } ) );
   const z3::expr chipRoutes =
      arrives( []( const ArrivalPlace& place ) { return place.usesRoutes; } );
   const z3::expr vlanRoutes =
      z3::ite( ipv6_, inVlan( domain_, []( const VlanPlace& place ) { return place.ipv6; } ),
         inVlan( domain_, []( const VlanPlace& place ) { return place.ipv4; } ) );
   const z3::expr ends = ( ipv4_ && hit_.ipv4 ) || ( ipv6_ && hit_.ipv6 );
   law( Law::headers, z3::implies( routable_, ipv4_ || ipv6_ ) );
   law( Law::station, z3::implies( routable_, ends ) );
   law( Law::onePass, z3::implies( routable_, !endsOnly_ ) );
   law( Law::portRouting, z3::implies( routable_, portRoutes ) );
   law( Law::chipRouting, z3::implies( routable_, chipRoutes ) );
   law( Law::vlanRouting, z3::implies( routable_, vlanRoutes ) );
   law( Law::destination,
      z3::implies( ends && !endsOnly_ && portRoutes && chipRoutes && vlanRoutes, routable_ ) );

   const z3::expr byte = firstByte( dstIp_ );
   const z3::expr martian =
      !tunnel_ && is( payload_, Payload::ipv4 ) &&
      ( byte == value( 0, 8 ) || byte == value( 127, 8 ) || z3::uge( byte, value( 240, 8 ) ) );
   mustLose_ = early_ || domainDropRouted_ || martian;
}

void Formula::destinationLaws()
{
   const auto when = [ & ]( const z3::expr& condition, const z3::expr& holds ) {
      law( Law::destination, z3::implies( condition, holds ) );
   };
   const z3::expr label = is( lookedUp_, Payload::mpls ) && hit_.mpls;
   const z3::expr arp =
      ( isOneOf( lookedUp_, { Payload::arpRequest, Payload::arpReply } ) || otherArp_ ) && hit_.arp;
   const z3::expr settled = ( label && !popped_ && !switched_ ) || arp || ( popped_ && !routable_ );
   solver_.add( z3::ule( fate_, value( static_cast<U64>( Fate::ended ), 8 ) ) );
   when( switched_, isHop_ && !routable_ );
   when( settled, is( fate_, Fate::ended ) );
   when( !switched_ && !settled && routable_, isHop_ || is( fate_, Fate::lost ) );
   when( !switched_ && !settled && !routable_, isBridged_ );
   when( routable_ && mustLose_, is( fate_, Fate::lost ) );
   when( steered_, routable_ && isHop_ );
   when( tooLong_, routable_ && isHop_ && !is( fate_, Fate::hopCpu ) );

   // What the MAC table can have.
   const z3::expr isGroup = ( mac_ & value( allGroups, macBits ) ) != value( 0, macBits );
   const z3::expr isBroadcast = mac_ == value( 0xFFFFFFFFFFFF, macBits );
   when(
      isOneOf( fate_, { Fate::toPort, Fate::toTunnel } ), !isGroup && mac_ != value( 0, macBits ) );
   when( is( fate_, Fate::toGroup ),
      isGroup && !isBroadcast && group_ != value( 0, wide ) &&
         z3::ult( group_, value( facts_.chip.profile().l2McastGroups, wide ) ) );
   if( !facts_.chip.profile().attributes.vxlanSupported )
      law( Law::vxlan, !isOneOf( fate_, { Fate::toTunnel, Fate::hopTunnel } ) );
}

void Formula::multicastLaws()
{
   const auto when = [ & ]( const z3::expr& holds ) {
      law( Law::destination, z3::implies( replicated_, holds ) );
   };
   const z3::expr v4 = is( lookedUp_, Payload::ipv4 );
   when( isBridged_ && !early_ && !forNeighbour_ && !domainDropRouted_ );
   when( v4 || is( lookedUp_, Payload::ipv6 ) );
   law( Law::vlanRouting, z3::implies( replicated_, inVlan( domain_, []( const VlanPlace& place ) {
      return place.multicast;
   } ) ) );
   law( Law::chipRouting, z3::implies( replicated_, arrives( []( const ArrivalPlace& place ) {
      return place.usesRoutes;
   } ) ) );
   law( Law::onePass, z3::implies( replicated_, !endsOnly_ ) );
   const z3::expr groupMac = mac_.extract( 47, 23 ) == value( 0x01005E << 1, 25 );
   when( z3::ite( v4, groupMac, mac_.extract( 47, 32 ) == value( 0x3333, 16 ) ) );
   when( z3::implies( v4 && !tunnel_, dstIp_.extract( 31, 28 ) == value( 0xE, 4 ) &&
                                         dstIp_.extract( 31, 8 ) != value( 0xE00000, 24 ) &&
                                         mac_.extract( 22, 0 ) == dstIp_.extract( 22, 0 ) ) );
}

void Formula::rowLaws()
{
   // Routes of groups have words of their own, for packets that are not sent to the router.
   law( Law::words,
      z3::implies( !tunnel_ && is( payload_, Payload::ipv4 ) && routable_ && !steered_ && isHop_,
         dstIp_.extract( 31, 28 ) != value( 0xE, 4 ) ) );
   law( Law::rows, z3::implies( dropRouted_, svi_ ) );
   law( Law::rows, z3::implies( blocked_,
                      arrives( []( const ArrivalPlace& place ) { return place.frontPanel; } ) ) );
   law( Law::rows, z3::implies( domainDropRouted_, domainSvi_ ) );
   law( Law::rows, z3::implies( l3Class_ != value( 0, wide ), domainSvi_ ) );
   law( Law::rows, z3::implies( openFlow_,
                      arrives( []( const ArrivalPlace& place ) { return !place.stack; } ) ) );
   const z3::expr bridgedIp =
      isBridged_ && ( ipv4_ || ipv6_ ) &&
      arrives( []( const ArrivalPlace& place ) { return place.looksUpSource; } );
   law( Law::sourceLookup,
      z3::implies( sourceClass_ != value( 0, wide ), ( routable_ && !mustLose_ ) || bridgedIp ) );
}

void Formula::stageLaws()
{
   if( stage_ == FieldStage::lookup ) {
      law( Law::early, !tunnel_ && !popped_ && !switched_ );
   } else if( stage_ == FieldStage::urpf ) {
      law( Law::reversePath, routable_ && !mustLose_ && domainSvi_ );
      law( Law::reversePath,
         z3::ite( ipv6_, truth( facts_.checksReversePath6 ), truth( facts_.checksReversePath4 ) ) );
      law( Law::reversePath,
         arrives( []( const ArrivalPlace& place ) { return place.checksReversePath; } ) );
   }
}

} // namespace Strata::Cover
