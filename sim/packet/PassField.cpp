// The Field Processor: what the packet presents, who wins each range, and what winners do.
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "sim/packet/Pass.h"

#include <algorithm>
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

// Without a default: a qualifier that a packet presents nothing to does not compile. Addresses and types
// are those of the header as it came in; what is forwarded may be another one, inside it.
std::optional<U64> Pass::present( Qualifier role ) const
{
   const Headers& received = arrival_.frame.headers();
   const VlanProperties& vlan = tables().vlan( vlanId_ );
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
   case Qualifier::InterfaceClassL2:
      return ( vlan.svi ? StrataCommon::classSviConfigured_ : 0 ) |
             ( vlan.dropRouted ? StrataCommon::classDropRoutedTraffic_ : 0 ) |
             ( vlan.vni ? StrataCommon::classVxlanVlan_ : 0 );
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
             ( tables().openFlowPorts.contains( arrival_.port ) ? StrataCommon::classOpenFlow_
                                                                : 0 );
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

void Pass::ranges( Stage stage )
{
   const FieldKey presented = key();
   std::vector<std::pair<const FieldGroup*, U32>> winners;
   for( const FieldGroup& group : chip_.groups() ) {
      const auto assignment = group.profile().key;
      const Stage place =
         assignment == TcamGroup::phpLspPing ? Stage::lookup
         : assignment == TcamGroup::urpfSingleWide || assignment == TcamGroup::urpfDoubleWide
            ? Stage::urpf
            : Stage::final;
      if( place != stage )
         continue;
      const U32 winner = view_.lookup( group ).winner( presented );
      if( explanation_ )
         noteRange( group, presented, winner );
      if( winner != 0 )
         winners.emplace_back( &group, winner );
   }
   rangesDone_ = stage == Stage::final;
   // Only now: entries of different ranges see the same packet.
   for( const auto& [ group, id ] : winners )
      act( *group, id );
}

static std::string ruleText( const FieldRule& rule )
{
   std::string text;
   for( const FieldQualifier& qualifier : rule.qualifiers )
      text += ( text.empty() ? "" : "; " ) + qualifier.text();
   text += " =>";
   for( const FieldActionData& action : rule.actions )
      text += " " + action.text() + ";";
   text.pop_back();
   return text;
}

/// How much it says that a qualifier fits: the bits that were compared.
static U32 weight( const FieldQualifier& qualifier )
{
   return comparesValue( qualifier.role )
             ? static_cast<U32>( std::popcount( valueMask( qualifier ).mask ) )
             : 1;
}

void Pass::noteRange( const FieldGroup& group, const FieldKey& presented, U32 winner )
{
   RangeNote range{ group.profile().name, {} };
   for( const auto& [ id, entry ] : group.entries() ) {
      if( !entry.installed() )
         continue;
      EntryNote about;
      about.id = id;
      about.name = entry.name;
      about.won = id == winner;
      about.rule = ruleText( *entry.hardware );
      about.cause = entry.cause;
      for( const FieldQualifier& qualifier : entry.hardware->qualifiers ) {
         if( presented.matches( qualifier ) )
            about.fitted += weight( qualifier );
         else if( about.failed++ == 0 ) {
            about.wanted = qualifier;
            about.had = presented.valueText( qualifier.role );
         }
      }
      about.enabled = entry.enabled;
      range.entries.push_back( std::move( about ) );
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

// Without a default: an action that does nothing here does not compile.
void Pass::act( const FieldActionData& action, const std::string& entry )
{
   const U32 unit = arrival_.port.unit;
   // Several ports are a flood, and internal ports are outside all floods; alone, one is meant.
   const auto withPorts = [ & ]( Destination destination ) {
      const bool flood = action.ports.count() > 1;
      for( const U32 port : action.ports )
         if( !flood || !view_.isInternal( { unit, port } ) )
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
      return; // stack links here are single ones: there is no trunk to resolve
   case FieldAction::RedirectMcast:
      return redirect( groupMembers( action.parameter0 ) );
   case FieldAction::RedirectPbmp: {
      Destination destination;
      destination.text = "ports " + action.ports.toString();
      return redirect( withPorts( std::move( destination ) ) );
   }
   case FieldAction::RedirectPort:
      if( const auto other = view_.unitOfModId( action.parameter0 ) )
         redirect( onePort( { *other, action.parameter1 } ) );
      else
         redirect( {} );
      return;
   }
}

/// The first redirect stands, and policy routing's comes before all entries.
void Pass::redirect( Destination destination )
{
   if( steered_ || redirected_ ) {
      note( "entry", [ & ] {
         return std::string( steered_ ? "policy routing" : "another range" ) +
                " has redirected it already; that stands";
      } );
      return;
   }
   redirected_ = true;
   destination_ = std::move( destination );
}

} // namespace Strata::Sim
