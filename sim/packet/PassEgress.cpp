// Egress: filters, rewriting, tunnels, and the copy for the CPU.
#include "platform/runtime/Format.h"
#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/packet/Pass.h"

#include <algorithm>

namespace Strata::Sim {

using Vormel::format;

static void add( std::string& names, const std::string& name )
{
   names += ( names.empty() ? "" : ", " ) + name;
}

void Pass::egress()
{
   if( expires_ && drop_.empty() )
      drop( format( "TTL %d at egress", U32{ headers().ip->ttl } ) );
   Refusals refusals;
   if( drop_.empty() ) {
      std::ranges::sort( destination_.ports );
      const auto twice = std::ranges::unique( destination_.ports );
      destination_.ports.erase( twice.begin(), twice.end() );
      for( const PortRef port : destination_.ports )
         leave( port );
      for( const auto& [ reason, ports ] : destination_.leftOut )
         add( refusals[ reason ], portsText( view_, ports ) );
      for( const std::string& name : destination_.tunnels )
         enterTunnel(
            name, egressVlan(), rewritten(), nextHop_.has_value(), "tunnel " + name, refusals );
      replicate( refusals );
   }
   copyToCpu();
   std::string lastRefusal;
   for( const auto& [ reason, names ] : refusals ) {
      lastRefusal = names;
      lastRefusal.append( ": " ).append( reason );
      note( "egress", [ & ] { return lastRefusal; } );
   }
   noteUnreached();
   if( !drop_.empty() || !result_.verdict.departures.empty() || !result_.again.empty() ||
       isForCpu() )
      return;
   const std::string refused =
      refusedRedirect_.empty() ? "" : ", and the redirect of " + refusedRedirect_;
   if( destination_.dstPort && refusals.empty() )
      drop( "nothing takes it up at " + textOf( destination_ ) + refused, "nothing takes it up" );
   else
      drop( textOf( destination_ ) + ": no port is left" +
               ( refusals.size() == 1 ? " (" + lastRefusal + ")" : "" ) + refused,
         "no port is left" );
}

/// Whether the CPU is a destination of the packet: as a member, by an entry, or because its next hop is the CPU.
bool Pass::isForCpu() const
{
   if( !result_.verdict.cpu )
      return false;
   return destination_.cpu || ( nextHop_ && nextHop_->kind == NextHop::Kind::cpu ) ||
          std::ranges::any_of( cpuAsks_, []( const CpuAsk& ask ) { return !ask.byLookup; } );
}

/// Notes the members of a routed flood's VLAN that could send it, but to which no entry redirects it.
void Pass::noteUnreached()
{
   if( !explanation_ || !nextHop_ || nextHop_->kind != NextHop::Kind::flood ||
       !result_.again.empty() )
      return;
   std::vector<PortRef> ports = floodIn( egressVlan(), false ).ports;
   std::erase_if( ports, [ & ]( PortRef port ) {
      return !refusal( port, egressVlan() ).empty() ||
             std::ranges::find( result_.verdict.departures, port, &Departure::port ) !=
                result_.verdict.departures.end();
   } );
   if( !ports.empty() )
      note( "flood", [ & ] {
         return format(
            "of VLAN %d it does not reach %s", U32{ egressVlan() }, portsText( view_, ports ) );
      } );
}

/// Why the packet must not leave there; empty if it may. These filters do not apply to internal ports.
std::string Pass::refusal( PortRef port, U16 vlanId ) const
{
   if( !view_.chips().contains( port.unit ) || !view_.isFrontPanel( port ) )
      return "no such port";
   const ChipVlan* const vlan = view_.vlan( port.unit, vlanId );
   if( !vlan || !vlan->members.contains( port.port ) )
      return format( "no member of VLAN %d", U32{ vlanId } );
   if( !view_.chip( port.unit ).activePorts().contains( port.port ) )
      return "down";
   if( tables().stpState( port, vlanId ) != StpState::forwarding )
      return "not forwarding (spanning tree)";
   return {};
}

void Pass::depart( PortRef port, U16 vlanId, Frame frame, const std::string& tunnel )
{
   const ChipVlan* const vlan = view_.vlan( port.unit, vlanId );
   const bool untagged = vlan && vlan->untagged.contains( port.port );
   const auto tag = untagged ? std::nullopt : std::optional<VlanTag>( tagOf( vlanId ) );
   result_.verdict.departures.push_back(
      { port, padded( retagged( std::move( frame ), tag ) ), tunnel } );
}

void Pass::leave( PortRef port )
{
   const U16 vlanId = egressVlan();
   const bool back = cameInBy( port );
   if( !back && port.unit == arrival_.port.unit && view_.isInternal( port ) ) {
      note( "egress", [ & ] { return "once more through " + view_.portName( port ); } );
      result_.again.push_back( { .port = port,
         .frame = retagged( rewritten(), tagOf( vlanId ) ),
         .source = StationKey{ domain_, headers().srcMac } } );
      return;
   }
   const std::string reason = back ? "it came in there" : refusal( port, vlanId );
   if( reason.empty() )
      depart( port, vlanId, rewritten() );
   else
      destination_.leftOut[ reason ].push_back( port );
}

/// Sends a frame of the VLAN, routed into it or bridged in it, into a tunnel. A refusal is noted under the name `what`.
void Pass::enterTunnel( const std::string& name, U16 vlanId, const Frame& frame, bool routed,
   const std::string& what, Refusals& refusals )
{
   const auto at = tables().tunnels.find( name );
   const VlanProperties& vlan = tables().vlan( vlanId );
   const Frame inner = retagged( frame, std::nullopt );
   NextHop underlay;
   std::string reason;
   if( at == tables().tunnels.end() || !vlan.vni || !vlan.tunnels.contains( name ) )
      reason = format( "does not extend VLAN %d", U32{ vlanId } );
   else if( routed && !attributes().vxlanRoutingInOnePass )
      reason = "the chip does not encapsulate in the pass that routes";
   else if( !routed && !terminated_.empty() )
      reason = "it came out of a tunnel";
   else if( inner.headers().tag )
      reason = "VXLAN carries no second VLAN tag"; // RFC 7348, 6.1
   else {
      underlay = at->second.underlay;
      underlay.port = memberThatSends( underlay.port, underlay.vlanId );
      reason = refusal( underlay.port, underlay.vlanId );
   }
   if( !reason.empty() )
      return add( refusals[ reason ], what );
   const Frame outer = encapsulated( inner, { underlay.mac, routerMac( underlay.vlanId ),
                                               at->second.local, at->second.remote, *vlan.vni } );
   if( outer.untaggedLength() > longestFrame )
      return add( refusals[ format( "%d bytes, and a frame has at most %d", outer.untaggedLength(),
                     longestFrame ) ],
         what );
   depart( underlay.port, underlay.vlanId, outer, name );
}

/// Sends IP multicast into the other VLANs of its route.
void Pass::replicate( Refusals& refusals )
{
   for( const U16 vlanId : destination_.routedInto ) {
      const Frame copy = routed( frame_, headers().dstMac, routerMac( vlanId ) );
      const auto named = [ vlanId ]( const std::string& name ) {
         return format( "%s in VLAN %d", name, U32{ vlanId } );
      };
      Destination flood = floodIn( vlanId, false );
      for( const PortRef port : flood.ports )
         if( const std::string reason = refusal( port, vlanId ); reason.empty() )
            depart( port, vlanId, copy );
         else
            flood.leftOut[ reason ].push_back( port );
      for( const auto& [ reason, ports ] : flood.leftOut )
         add( refusals[ reason ], named( portsText( view_, ports ) ) );
      for( const std::string& name : flood.tunnels )
         enterTunnel( name, vlanId, copy, true, named( "tunnel " + name ), refusals );
   }
}

/// The frame as it leaves: if it was routed, with the next hop's addresses, a lower TTL and no tag.
Frame Pass::rewritten() const
{
   if( !nextHop_ )
      return frame_;
   Frame frame = routed( frame_, nextHop_->mac, routerMac( nextHop_->vlanId ) );
   return labelRule_ ? relabelled( frame, labelRule_->swap ) : frame;
}

EthAddr Pass::routerMac( U16 vlanId ) const
{
   if( const EthAddr& mac = tables().vlan( vlanId ).routerMac; !mac.isZero() )
      return mac;
   if( isRouterMac() )
      return headers().dstMac;
   const auto& entries = chip_.myStation().entries();
   return entries.empty() ? EthAddr()
                          : memoryMacField( entries.begin()->second, MemoryField::MacAddr );
}

void Pass::copyToCpu()
{
   const U32 cpuPort = static_cast<U32>( chip_.profile().specialPorts.cpu );
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, egressVlan() );
   // A flood does not return to its sender, but a group that contains the CPU does send it a copy.
   const bool sender = fromCpu() && !destination_.isGroup;
   destination_.cpu =
      destination_.cpu && drop_.empty() && !sender && vlan && vlan->members.contains( cpuPort );
   if( cpuAsks_.empty() && !destination_.cpu )
      return;
   CpuCopy copy{ arrival_.port.unit, queue_, {}, arrival_.frame };
   for( const CpuAsk& ask : cpuAsks_ )
      copy.reasons.push_back( ask.reason );
   if( destination_.cpu ) {
      copy.reasons.push_back( textOf( destination_ ) );
      copy.frame = retagged( rewritten(), tagOf( egressVlan() ) );
   }
   if( fromCpu() && registerField( registerValue( Register::IngMiscConfig ),
                       RegisterField::DoNotCopyFromCpuToCpu ) != 0 ) {
      note(
         "CPU", [] { return std::string( "it sent the packet (DO_NOT_COPY_FROM_CPU_TO_CPUf)" ); } );
      return;
   }
   result_.verdict.cpu = std::move( copy );
}

} // namespace Strata::Sim
