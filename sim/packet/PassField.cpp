// The Field Processor: the packet's values for qualifiers, the winner of each range, and the winners' actions.
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "sim/packet/Pass.h"

#include <bit>

namespace Strata::Sim {

using Vormel::format;

std::optional<U64> Pass::ipType() const
{
   const Headers& received = arrival_.frame.headers();
   const auto number = []( FieldIpType type ) { return static_cast<U64>( type ); };
   if( received.isArp( 1 ) )
      return number( FieldIpType::ArpRequest );
   if( received.isArp( 2 ) )
      return number( FieldIpType::ArpReply );
   if( received.ip )
      return number( received.ip->destination.isV6() ? FieldIpType::Ipv6 : FieldIpType::Ipv4Any );
   return std::nullopt;
}

// No default case, so that a new Qualifier fails to compile until it is handled here. Addresses and types are those of
// the received header; at the end of a tunnel the forwarded frame is the inner one.
std::optional<U64> Pass::present( Qualifier role ) const
{
   const Headers& received = arrival_.frame.headers();
   switch( role ) {
   case Qualifier::Drop:
      return drop_.empty() ? 0 : 1;
   case Qualifier::DstIp:
      if( !received.ip || received.ip->destination.isV6() )
         return std::nullopt;
      return received.ip->destination.v4Number();
   case Qualifier::DstMac:
      return received.dstMac.toNumber();
   case Qualifier::DstMcastGroup:
      return destination_.group ? std::optional<U64>( *destination_.group ) : std::nullopt;
   case Qualifier::DstPort:
      return destination_.dstPort;
   case Qualifier::EtherType:
      return received.etherType;
   case Qualifier::HiGig:
      return arrival_.higig ? 1 : 0;
   case Qualifier::IngressStpState:
      return stp_ == StpState::forwarding ? 1 : 0;
   case Qualifier::IntPriority:
      return priority_;
   case Qualifier::InterfaceClassL2: {
      const VlanProperties& vlan = tables().vlan( vlanId_ );
      return ( vlan.svi ? StrataCommon::classSviConfigured_ : 0 ) |
             ( vlan.dropRouted ? StrataCommon::classDropRoutedTraffic_ : 0 ) |
             ( vlan.vni ? StrataCommon::classVxlanVlan_ : 0 );
   }
   case Qualifier::InterfaceClassL3:
      return tables().vlan( domain_ ).l3Class;
   case Qualifier::IpProtocol:
      return received.ip ? std::optional<U64>( received.ip->protocol ) : std::nullopt;
   case Qualifier::IpType:
      return ipType();
   case Qualifier::L3Routable:
      return routable_ ? 1 : 0;
   case Qualifier::L4DstPort:
      return received.l4 ? std::optional<U64>( received.l4->destination ) : std::nullopt;
   case Qualifier::MyStationHit:
      return isRouterMac() ? 1 : 0;
   case Qualifier::PacketRes:
      return packetResult_ ? std::optional<U64>( static_cast<U64>( *packetResult_ ) )
                           : std::nullopt;
   case Qualifier::SrcClassField:
      return sourceClass_ | ( steered_ ? StrataCommon::classPbr_ : 0 ) |
             ( isOpenFlow() ? StrataCommon::classOpenFlow_ : 0 );
   case Qualifier::Ttl:
      return headers().ip ? std::optional<U64>( headers().ip->ttl ) : std::nullopt;
   case Qualifier::TunnelTerminated:
      return terminated_.empty() ? 0 : 1;
   case Qualifier::InPorts:
   case Qualifier::InPortsClass:
   case Qualifier::OutPortsClass:
   case Qualifier::OutLoopback:
      return std::nullopt; // sets of ports, below
   }
   return std::nullopt;
}

FieldKey Pass::key() const
{
   FieldKey key;
   for( const auto& [ role, name ] : Vormel::enumTable<Qualifier> )
      if( const auto value = present( role ) )
         key.valueIs( role, *value );
   key.arrivalPort = arrival_.higig ? FieldKey::stackPort : arrival_.port.port;
   if( arrival_.higig )
      for( const U32 port : chip_.frontPanelPorts() )
         if( view_.isFrontPanel( { arrival_.port.unit, port } ) )
            key.panel.add( port );
   if( destination_.ports.size() == 1 && destination_.ports.front().unit == arrival_.port.unit )
      key.departurePort = destination_.ports.front().port;
   return key;
}

void Pass::ranges( FieldStage stage )
{
   std::optional<FieldKey> presented; // the same for all ranges
   std::vector<std::pair<const FieldGroup*, U32>> winners;
   for( const FieldGroup& group : chip_.groups() ) {
      if( group.profile().stage != stage || group.entries().empty() )
         continue;
      if( !presented )
         presented = key();
      const U32 winner = view_.lookup( group ).winner( *presented );
      if( explanation_ )
         noteRange( group, *presented, winner );
      if( winner != 0 )
         winners.emplace_back( &group, winner );
   }
   rangesDone_ = stage == FieldStage::final;
   // After all lookups, because entries of different ranges must see the same packet.
   for( const auto& [ group, id ] : winners )
      act( *group, id );
}

/// The number of bits that a qualifier compares, by which near misses are ranked.
static U32 weight( const FieldQualifier& qualifier )
{
   return comparesValue( qualifier.role )
             ? static_cast<U32>( std::popcount( valueMask( qualifier ).mask ) )
             : 1;
}

/// Why the qualifier does not match, in words; empty if the model has none.
std::string Pass::whyItMisses( const FieldQualifier& wanted ) const
{
   const VlanProperties& vlan = tables().vlan( vlanId_ );
   const auto ofVlan = [ this ]( const char* what ) {
      return format( "VLAN %d %s", U32{ vlanId_ }, std::string( what ) );
   };
   // The first compared bit that differs.
   const auto differs = [ &, compared = valueMask( wanted ) ]( U64 bit, bool has ) {
      return ( compared.mask & bit ) != 0 && ( ( compared.value & bit ) != 0 ) != has;
   };
   switch( wanted.role ) {
   case Qualifier::Drop:
      return drop_.empty() ? "nothing has dropped it" : "it is dropped already";
   case Qualifier::HiGig:
      return arrival_.higig ? "it came by the stack link" : "it did not come by the stack link";
   case Qualifier::InterfaceClassL2:
      if( differs( StrataCommon::classSviConfigured_, vlan.svi ) )
         return ofVlan( vlan.svi ? "has an SVI" : "has no SVI" );
      if( differs( StrataCommon::classDropRoutedTraffic_, vlan.dropRouted ) )
         return ofVlan(
            vlan.dropRouted ? "drops what would be routed" : "does not drop what would be routed" );
      if( differs( StrataCommon::classVxlanVlan_, vlan.vni.has_value() ) )
         return ofVlan( vlan.vni ? "is extended by VXLAN" : "is not extended by VXLAN" );
      return {};
   case Qualifier::L3Routable:
      return routable_ ? "it is routed" : "it is not routed";
   case Qualifier::MyStationHit:
      return headers().dstMac.toString() + ( isRouterMac() ? " is" : " is not" ) + " a router MAC";
   case Qualifier::SrcClassField:
      if( differs( StrataCommon::classPbr_, steered_ ) )
         return steered_ ? "policy routing applies to it" : "policy routing does not apply to it";
      if( const bool has = isOpenFlow(); differs( StrataCommon::classOpenFlow_, has ) )
         return ( arrivedOn() ? view_.portName( arrival_.port ) : "the stack link" ) +
                ( has ? " is" : " is not" ) + " OpenFlow's";
      return {};
   case Qualifier::TunnelTerminated:
      return terminated_.empty() ? "it did not come out of a tunnel" : "it came out of a tunnel";
   case Qualifier::PacketRes:
      return packetResult_ ? "" : "no lookup has found its destination";
   case Qualifier::DstMcastGroup:
      return destination_.group ? "" : "it does not go to a multicast group";
   case Qualifier::DstPort:
      return destination_.dstPort ? "" : "it does not go to a single port";
   default:
      return {};
   }
}

EntryNote Pass::noteEntry( U32 id, const FieldEntry& entry, const FieldKey& presented ) const
{
   EntryNote about{ .id = id, .entry = &entry, .why = {} };
   for( const FieldQualifier& qualifier : entry.hardware->qualifiers ) {
      if( presented.matches( qualifier ) ) {
         ++about.fitted;
         about.bits += weight( qualifier );
      } else if( about.failed++ == 0 ) {
         about.wanted = &qualifier;
         about.why = whyItMisses( qualifier );
      }
   }
   return about;
}

void Pass::noteRange( const FieldGroup& group, const FieldKey& presented, U32 winner )
{
   RangeNote range{ group.profile().name, presented, {} };
   for( const auto& [ id, entry ] : group.entries() )
      if( entry.installed() ) {
         range.entries.push_back( noteEntry( id, entry, presented ) );
         range.entries.back().won = id == winner;
      }
   if( !range.entries.empty() )
      explanation_->ranges.push_back( std::move( range ) );
}

void Pass::act( const FieldGroup& group, U32 id )
{
   result_.verdict.winners.push_back( { group.profile().name, id } );
   const FieldEntry& entry = *group.find( id );
   const std::string name = format( "%s %d \"%s\"", group.profile().name, id, entry.name );
   const auto& actions = entry.hardware->actions;
   note( "entry", [ & ] {
      std::string text;
      for( const FieldActionData& action : actions )
         text += ( text.empty() ? ": " : ", " ) + action.text();
      return name + text;
   } );
   for( const FieldActionData& action : actions )
      act( action, name );
}

// No default case, so that a new FieldAction fails to compile until it is handled here.
void Pass::act( const FieldActionData& action, const std::string& entry )
{
   const U32 unit = arrival_.port.unit;
   // Several ports are a flood, which never includes internal ports; a single internal port is intended. The flood
   // bitmap is that of the switch, but an entry sends only to ports of its own unit.
   const auto withPorts = [ & ]( Destination destination ) {
      const bool flood = action.ports.count() > 1;
      for( const U32 port : action.ports )
         if( !flood || ( chip_.ports().contains( port ) && !view_.isInternal( { unit, port } ) ) )
            destination.ports.push_back( { unit, port } );
      return destination;
   };
   switch( action.role ) {
   case FieldAction::CopyToCpu:
      return askCpu( entry, false );
   case FieldAction::CopyToCpuCancel:
      destination_.cpu = false;
      std::erase_if( cpuAsks_, []( const CpuAsk& ask ) { return ask.byLookup; } );
      return;
   case FieldAction::CosQCpuNew:
      queue_ = action.parameter0;
      return;
   case FieldAction::DoNotCheckUrpf:
      urpfExempt_ = action.parameter0 != 0;
      return;
   case FieldAction::DoNotLearn:
      doNotLearn_ = true;
      return;
   case FieldAction::Drop:
      return drop( "dropped by " + entry );
   case FieldAction::EgressPortsAdd:
      destination_ = withPorts( std::move( destination_ ) );
      return;
   case FieldAction::HgTrunkCancel:
   case FieldAction::HgTrunkCancelLag:
      return; // the model has single stack links, so there is no trunk to resolve
   case FieldAction::RedirectMcast:
      return redirect( groupMembers( action.parameter0 ), entry );
   case FieldAction::RedirectPbmp: {
      Destination destination;
      destination.text = "ports " + action.ports.toString();
      return redirect( withPorts( std::move( destination ) ), entry );
   }
   case FieldAction::RedirectPort: {
      Destination destination;
      destination.text = format( "mod %d port %d", action.parameter0, action.parameter1 );
      if( const auto other = view_.unitOfModId( action.parameter0 ) )
         if( const auto port =
                view_.chip( *other ).logicalPort( static_cast<int>( action.parameter1 ) ) )
            destination = onePort( { *other, *port } );
      return redirect( std::move( destination ), entry );
   }
   }
}

/// The first redirect is kept, and that of policy routing precedes all entries.
void Pass::redirect( Destination destination, const std::string& entry )
{
   if( steered_ || redirected_ ) {
      refusedRedirect_ = entry +
                         " is refused: " + ( steered_ ? "policy routing" : "another range" ) +
                         " has redirected it already";
      note( "redirect", [ & ] { return "that of " + refusedRedirect_; } );
      return;
   }
   redirected_ = true;
   destination_ = std::move( destination );
}

} // namespace Strata::Sim
