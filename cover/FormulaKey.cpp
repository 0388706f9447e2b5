// The key that a shape presents, and the entries that match it.
#include "cover/Formula.h"
#include "platform/state/StrataCommon.h"
#include "sim/packet/FieldKey.h"
#include "sim/packet/Frame.h"

namespace Strata::Cover {

using namespace Sim;

z3::expr Formula::dropped()
{
   const z3::expr ended =
      is( fate_, Fate::ended ) && ( early_ || !( is( lookedUp_, Payload::mpls ) && endsOnly_ ) );
   const z3::expr expired = facts_.trapsTtl ? routable_ && isHop_ && !is( fate_, Fate::hopCpu ) &&
                                                 z3::ule( effectiveTtl_, value( 1, 8 ) )
                                            : truth( false );
   const z3::expr fromCpu = arrives( []( const ArrivalPlace& place ) { return place.cpu; } );
   return early_ || tooLong_ || is( fate_, Fate::lost ) || ended || expired ||
          ( isBridged_ && forNeighbour_ && !fromCpu );
}

Formula::Term Formula::packetResult()
{
   const z3::expr hop = isOneOf( fate_, { Fate::hopFlood, Fate::hopVxlanFlood } );
   const z3::expr unicast = ( mac_ & value( allGroups, macBits ) ) == value( 0, macBits );
   const z3::expr unknown = is( fate_, Fate::flooded ) && unicast && !hit_.any;
   const z3::expr known = isOneOf( fate_, { Fate::toPort, Fate::toTunnel } ) && !hit_.any;
   const z3::expr routedFlood = replicated_ || ( floodPort_ ? truth( false ) : hop );
   const auto result = [ & ](
                          PacketResult which ) { return value( static_cast<U64>( which ), 8 ); };
   return { routedFlood || unknown || known || is( fate_, Fate::toGroup ),
      z3::ite( routedFlood, result( PacketResult::L3MCKNOWN ),
         z3::ite( unknown, result( PacketResult::L2UNKNOWN ),
            z3::ite( known, result( PacketResult::L2UC ), result( PacketResult::L2MCKNOWN ) ) ) ) };
}

Formula::Term Formula::dstPort()
{
   z3::expr has = isOneOf( fate_, { Fate::toPort, Fate::hopPort, Fate::hopCpu } );
   z3::expr number = value( facts_.cpuHop(), 64 );
   for( std::size_t index = 0; index < facts_.destinations.size(); ++index )
      number = z3::ite( isOneOf( fate_, { Fate::toPort, Fate::hopPort } ) && is( port_, index ),
         value( facts_.dstPort( facts_.destinations[ index ] ), 64 ), number );
   const auto standIn = [ & ]( Fate fate, U64 port ) {
      has = has || is( fate_, fate );
      number = z3::ite( is( fate_, fate ), value( port, 64 ), number );
   };
   if( floodPort_ ) {
      standIn( Fate::hopFlood, facts_.floodHop() );
      standIn( Fate::hopVxlanFlood, facts_.vxlanFloodHop() );
   }
   if( !facts_.routesOutOfTunnels )
      standIn( Fate::hopTunnel, facts_.tunnelHop() );
   return { has, number };
}

/// Whether it goes to one port of this unit, among these.
z3::expr Formula::departs( const PortBitmap& ports )
{
   const auto among = [ & ]( PortRef port ) {
      return port.unit == facts_.unit && ports.contains( port.port );
   };
   z3::expr any = is( fate_, Fate::flooded ) && !forNeighbour_ &&
                  inVlan( domain_, [ & ]( const VlanPlace& place ) {
                     return place.onlyPort && among( *place.onlyPort );
                  } );
   for( std::size_t index = 0; index < facts_.destinations.size(); ++index )
      if( among( facts_.destinations[ index ] ) && !facts_.isCpu( facts_.destinations[ index ] ) )
         any = any || ( isOneOf( fate_, { Fate::toPort, Fate::hopPort } ) && is( port_, index ) );
   return any;
}

// No default case, so that a new Qualifier fails to compile until it is handled here.
Formula::Term Formula::presented( Qualifier role, FieldStage stage )
{
   const z3::expr always = truth( true );
   const z3::expr never = truth( false );
   const bool atEnd = stage == FieldStage::final;
   const bool isLater = stage != FieldStage::lookup;
   const z3::expr isIp = isOneOf( payload_, { Payload::ipv4, Payload::ipv6 } );
   const auto classBit = [ & ]( const z3::expr& has, U32 bit ) {
      return z3::ite( has, value( bit, wide ), value( 0, wide ) );
   };
   switch( role ) {
   case Qualifier::Drop:
      // At the reverse-path check nothing has dropped it.
      return { always, atEnd ? oneBit( dropped() ) : isLater ? value( 0, 1 ) : oneBit( blocked_ ) };
   case Qualifier::DstIp:
      return { is( payload_, Payload::ipv4 ), dstIp_ };
   case Qualifier::DstMac:
      return { always, dstMac_ };
   case Qualifier::DstMcastGroup:
      return { atEnd ? is( fate_, Fate::toGroup ) : never, group_ };
   case Qualifier::DstPort:
      return atEnd ? dstPort() : Term{ never, value( 0, 64 ) };
   case Qualifier::EtherType:
      return { always, etherType_ };
   case Qualifier::HiGig:
      return {
         always, oneBit( arrives( []( const ArrivalPlace& place ) { return place.stack; } ) ) };
   case Qualifier::IngressStpState:
      return { always, oneBit( !blocked_ ) };
   case Qualifier::IntPriority:
      return { always, priority_ };
   case Qualifier::InterfaceClassL2:
      return { always, classBit( svi_, StrataCommon::classSviConfigured_ ) |
                          classBit( dropRouted_, StrataCommon::classDropRoutedTraffic_ ) |
                          classBit( vxlan_, StrataCommon::classVxlanVlan_ ) };
   case Qualifier::InterfaceClassL3:
      return { always, l3Class_ };
   case Qualifier::IpProtocol:
      return { isIp, protocol_ };
   case Qualifier::IpType: {
      const auto type = [ & ](
                           FieldIpType which ) { return value( static_cast<U64>( which ), 8 ); };
      return { isIp || isOneOf( payload_, { Payload::arpRequest, Payload::arpReply } ),
         z3::ite( is( payload_, Payload::arpRequest ), type( FieldIpType::ArpRequest ),
            z3::ite( is( payload_, Payload::arpReply ), type( FieldIpType::ArpReply ),
               z3::ite( is( payload_, Payload::ipv6 ), type( FieldIpType::Ipv6 ),
                  type( FieldIpType::Ipv4Any ) ) ) ) };
   }
   case Qualifier::L3Routable:
      return { always, isLater ? oneBit( routable_ ) : value( 0, 1 ) };
   case Qualifier::L4DstPort:
      return { isIp && !fragment_ && isOneOf( protocol_, { 6, int{ ipProtocolUdp } } ), l4Port_ };
   case Qualifier::MyStationHit:
      return { always, isLater ? oneBit( hit_.any ) : value( 0, 1 ) };
   case Qualifier::PacketRes:
      return atEnd ? packetResult() : Term{ never, value( 0, 8 ) };
   case Qualifier::SrcClassField:
      return {
         always, classBit( openFlow_, StrataCommon::classOpenFlow_ ) |
                    ( isLater ? sourceClass_ : value( 0, wide ) ) |
                    ( atEnd ? classBit( steered_, StrataCommon::classPbr_ ) : value( 0, wide ) ) };
   case Qualifier::Ttl:
      return isLater ? Term{ ipv4_ || ipv6_, effectiveTtl_ } : Term{ isIp, ttl_ };
   case Qualifier::TunnelTerminated:
      return { always, isLater ? oneBit( tunnel_ ) : value( 0, 1 ) };
   case Qualifier::InPorts:
   case Qualifier::InPortsClass:
   case Qualifier::OutPortsClass:
   case Qualifier::OutLoopback:
      break; // sets of ports
   }
   return { never, value( 0, 1 ) };
}

z3::expr Formula::compare( const Term& term, const FieldQualifier& qualifier )
{
   const ValueMask wanted = valueMask( qualifier );
   const unsigned bits = term.value.get_sort().bv_size();
   const U64 all = bits == 64 ? ~U64{ 0 } : ( U64{ 1 } << bits ) - 1;
   if( wanted.mask == 0 )
      return truth( true );
   if( ( wanted.value & ~all ) != 0 )
      return truth( false );
   return term.has &&
          ( term.value & value( wanted.mask & all, bits ) ) == value( wanted.value, bits );
}

/// A variable of its own for each qualifier, so that what the entries ask for, and what packets present, can be told
/// apart.
Formula::Term Formula::keyTerm( Qualifier role )
{
   const auto known = key_.find( role );
   if( known != key_.end() )
      return known->second;
   const std::string name = Vormel::enumText( role );
   const Term world = presented( role, stage_ );
   const Term key{ flag( ( "has-" + name ).c_str() ),
      number( ( "key-" + name ).c_str(), world.value.get_sort().bv_size() ) };
   if( world.has.is_true() )
      solver_.add( key.has ); // each packet has a value
   law( Law::key, key.has == world.has && z3::implies( key.has, key.value == world.value ) );
   return key_.emplace( role, key ).first->second;
}

void Formula::keyLaws()
{
   for( const auto& [ role, name ] : Vormel::enumTable<Qualifier> )
      if( comparesValue( role ) )
         keyTerm( role );
}

z3::expr Formula::matches( const FieldRule& rule )
{
   z3::expr all = truth( true );
   for( const FieldQualifier& qualifier : rule.qualifiers )
      if( comparesValue( qualifier.role ) )
         all = all && compare( keyTerm( qualifier.role ), qualifier );
      else if( qualifier.role == Qualifier::OutPortsClass )
         all = all && departs( qualifier.ports );
      else
         all = all && arrives( [ & ]( const ArrivalPlace& arrival ) {
            return arrivalMatches( arrival, qualifier );
         } );
   return all;
}

} // namespace Strata::Cover
