// Routing: who is routed, the exceptions, routes and policy, next hops, labels.
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "sim/RegisterLayout.h"
#include "sim/packet/Controls.h"
#include "sim/packet/Pass.h"

namespace Strata::Sim {

using Vormel::format;

/// The control decides about a copy; what it is about is dropped either way.
bool Pass::exception( SwitchControl which, const std::string& reason )
{
   const bool copies = control( which ) != 0;
   drop( reason );
   if( copies )
      askCpu( format( "%s (%s)", reason, roleName( which ) ) );
   note( "exception", [ & ] {
      return format( "%s; %s is %d: %s", reason, roleName( which ), control( which ),
         copies ? controlEffect( which ) : "no copy to the CPU" );
   } );
   return true;
}

/// What was in the tunnel is for another pass.
bool Pass::endsTunnelOnly() const
{
   return !terminated_.empty() && !attributes().vxlanRoutingInOnePass;
}

/// Empty when packets of this family to a router MAC are routed here.
std::string Pass::whyNotRouted() const
{
   const bool v6 = headers().ip->destination.isV6();
   const char* const family = v6 ? "IPv6" : "IPv4";
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, domain_ );
   if( !terminates( v6 ? MemoryField::Ipv6Termination : MemoryField::Ipv4Termination ) )
      return format( "the my-station entry does not terminate %s", family );
   if( endsTunnelOnly() )
      return "the chip does not route in the pass that ends a tunnel";
   const auto& portControls = chip_.portControls();
   const auto at = portControls.find(
      { static_cast<int>( arrival_.port.port ), v6 ? PortControl::IP6 : PortControl::IP4 } );
   if( !arrival_.higig && view_.isFrontPanel( arrival_.port ) &&
       ( at == portControls.end() || at->second == 0 ) )
      return format( "%s is not enabled on the port", family );
   if( control( SwitchControl::L3EgressMode ) == 0 )
      return "L3EgressMode is 0: the chip does not use its routes";
   if( vlan &&
       vlan->flags.contains( v6 ? VlanFlag::vlanIp6RoutingOff : VlanFlag::vlanIp4RoutingOff ) )
      return format( "%s routing is off in VLAN %d", family, U32{ domain_ } );
   return {};
}

/// Labels and terminated ARP are settled here as well: neither is bridged.
bool Pass::routes()
{
   if( !isRouterMac() )
      return false;
   if( !headers().mpls.empty() && terminates( MemoryField::MplsTermination ) ) {
      settled_ = true;
      if( !endsTunnelOnly() )
         switchLabel();
      return false;
   }
   if( headers().arp && terminates( MemoryField::ArpRarpTermination ) ) {
      settled_ = true;
      if( drop_.empty() )
         askCpu( "ARP that the my-station entry terminates" );
      drop( "ARP ends here" );
      return false;
   }
   if( !headers().ip )
      return false;
   const std::string reason = whyNotRouted();
   routable_ = reason.empty();
   if( !routable_ )
      note( "routing", [ & ] { return "not routed: " + reason; } );
   return routable_;
}

bool Pass::badHeader()
{
   const IpHeader& ip = *headers().ip;
   if( !ip.checksumRight && control( SwitchControl::IPv4DoNotVerifyIncomingChecksum ) == 0 ) {
      drop( "the IPv4 header's checksum is wrong" );
      return true;
   }
   const bool martian = ip.source.isMartian( true ) || ip.destination.isMartian( false );
   return martian && exception( SwitchControl::MartianAddrToCpu, "martian address" );
}

/// What the chip does not route at speed.
bool Pass::slowPath()
{
   const IpHeader& ip = *headers().ip;
   if( !ip.options )
      return false;
   if( ip.destination.isV6() )
      return exception( SwitchControl::L3SlowpathToCpu, "IPv6 hop-by-hop options" );
   const auto& profiles = chip_.ipOptionsProfiles();
   if( profiles.empty() && !attributes().usesIpOptionsDefault )
      return false; // nothing says that options matter
   queue_ = static_cast<U32>( control( SwitchControl::CpuProtoIpOptionsPriority ) );
   if( profiles.empty() )
      return exception( SwitchControl::L3SlowpathToCpu, "IPv4 options" );
   switch( profiles.begin()->second ) {
   case IpOptionAction::CopyCPUAndDrop:
      drop( "IPv4 options" );
      askCpu( "IPv4 options (options profile)" );
      note(
         "exception", [] { return std::string( "IPv4 options; the profile copies and drops" ); } );
   }
   return true;
}

void Pass::route()
{
   if( tables().vlan( domain_ ).dropRouted )
      drop( format( "VLAN %d drops what would be routed", U32{ domain_ } ) );
   if( !drop_.empty() || badHeader() || slowPath() )
      return;
   const auto source = tables().routes.lookup( headers().ip->source );
   if( source )
      sourceClass_ = source->route->sourceClass;
   checkReversePath( source ? &*source : nullptr );
   if( drop_.empty() )
      findNextHop();
   if( nextHop_ )
      checkHop();
}

void Pass::lookUpSource()
{
   const auto source = tables().routes.lookup( headers().ip->source );
   if( source )
      sourceClass_ = source->route->sourceClass;
   note( "source", [ & ] {
      return headers().ip->source.toString() +
             ( source ? " is in " + source->prefix.toString() : " has no route" ) +
             " (L2TrafficSrcIpLookup)";
   } );
}

void Pass::checkReversePath( const RouteTable::Found* source )
{
   const UrpfMode mode = tables().vlan( domain_ ).urpf;
   if( mode == UrpfMode::off )
      return;
   const bool v6 = headers().ip->destination.isV6();
   const bool hasRegister = chip_.profile().supports( Register::IngConfig64 );
   const bool byRegister =
      !hasRegister || registerField( chip_.registerValue( Register::IngConfig64 ),
                         v6 ? RegisterField::Ip6UrpfOnL3Iif : RegisterField::Ip4UrpfOnL3Iif ) != 0;
   const bool byControl = !chip_.profile().supports( SwitchControl::L3InterfaceUrpfEnable ) ||
                          chip_.control( SwitchControl::L3InterfaceUrpfEnable ) != 0;
   if( !byRegister || !byControl ) {
      note( "uRPF", [] { return std::string( "configured, but not enabled on the chip" ); } );
      return;
   }
   ranges( Stage::urpf );
   const bool holds =
      source && ( mode == UrpfMode::loose || source->route->nextHop.vlanId == domain_ );
   note( "uRPF", [ & ] {
      return Vormel::enumText( mode ) + ": " + headers().ip->source.toString() +
             ( !source ? " has no route"
                       : " is reached by " + source->prefix.toString() + ", " +
                            nextHopText( view_, source->route->nextHop ) ) +
             ( holds          ? ""
                : urpfExempt_ ? "; not checked"
                              : ": fails" );
   } );
   if( !holds && !urpfExempt_ )
      drop( "reverse path" );
}

void Pass::findNextHop()
{
   const IpHeader& ip = *headers().ip;
   for( const auto& [ name, rule ] : tables().steering ) {
      if( ( rule.port && *rule.port != arrival_.port ) ||
          ( rule.source && !rule.source->contains( ip.source ) ) ||
          ( rule.destination && !rule.destination->contains( ip.destination ) ) )
         continue;
      steered_ = true;
      note( "policy", [ & ] {
         return format( "rule %s steers it to %s", name, nextHopText( view_, rule.nextHop ) );
      } );
      return toNextHop( rule.nextHop );
   }
   const auto found = tables().routes.lookup( ip.destination );
   if( !found ) {
      exception(
         ip.destination.isV6() ? SwitchControl::V6L3DstMissToCpu : SwitchControl::V4L3DstMissToCpu,
         "no route to " + ip.destination.toString() );
      return;
   }
   note( "route", [ & ] {
      return format( "%s is in %s: to %s", ip.destination.toString(), found->prefix.toString(),
         nextHopText( view_, found->route->nextHop ) );
   } );
   toNextHop( found->route->nextHop );
}

void Pass::toNextHop( const NextHop& nextHop )
{
   nextHop_ = nextHop;
   destination_ = behindNextHop( nextHop );
}

Pass::Destination Pass::behindNextHop( const NextHop& nextHop )
{
   const auto standIn = [ & ]( U32 modId, U32 port, const char* what ) {
      Destination destination;
      destination.dstPort = FieldKey::dstPort( modId, port );
      destination.text = format( "mod %d port %d, which stands for %s", modId, port, what );
      return destination;
   };
   const U32 floodingModId = view_.scsd().floodingModId();
   const bool vxlan = tables().vlan( nextHop.vlanId ).vni.has_value();
   switch( nextHop.kind ) {
   case NextHop::Kind::port:
      return portOrLag( nextHop.port, nextHop.vlanId );
   case NextHop::Kind::cpu: {
      Destination destination =
         standIn( StrataCommon::cpuNhInvalidModId_, 0, "a next hop at the CPU" );
      if( attributes().noNextHopToCpuEntry )
         askCpu( "next hop at the CPU" );
      return destination;
   }
   case NextHop::Kind::flood:
      if( attributes().floodingPortSupported )
         return vxlan
                   ? standIn( floodingModId, StrataCommon::vxlanFloodingPortId_,
                        "a flood in a VLAN that VXLAN extends" )
                   : standIn( floodingModId, StrataCommon::floodingPortId_, "a flood in a VLAN" );
      packetResult_ = PacketResult::L3MCKNOWN;
      return floodIn( nextHop.vlanId, false );
   case NextHop::Kind::tunnel:
      break;
   }
   if( !attributes().vxlanRoutingInOnePass )
      return standIn(
         floodingModId, StrataCommon::vxlanEncapPortId_, "a next hop behind a tunnel" );
   Destination destination;
   destination.tunnels = { nextHop.tunnel };
   destination.text = "tunnel " + nextHop.tunnel;
   return destination;
}

/// The exceptions that need to know where the packet goes.
void Pass::checkHop()
{
   const IpHeader& ip = *headers().ip;
   // Units that forward VLANs through VFIs leave expired packets to entries, unless they can do it.
   const bool chipLooks = chip_.trapsTtlExceptions || !view_.scsd().vfiForwarding();
   if( ip.ttl <= 1 && chipLooks )
      exception( ip.ttl == 0 ? SwitchControl::L3UcTtlErrToCpu : SwitchControl::L3UcastTtl1ToCpu,
         format( "TTL %d", U32{ ip.ttl } ) );
   else if( ip.ttl <= 1 )
      expires_ = true;
   const U32 mtu = tables().vlan( nextHop_->vlanId ).mtu;
   if( mtu != 0 && ip.length > mtu )
      exception( SwitchControl::L3MtuFailToCpu, format( "%d bytes, and the MTU of VLAN %d is %d",
                                                   ip.length, U32{ nextHop_->vlanId }, mtu ) );
   if( nextHop_->kind == NextHop::Kind::port && nextHop_->vlanId == domain_ &&
       control( SwitchControl::IcmpRedirectToCpu ) != 0 )
      askCpu( "leaves by the VLAN it came in on (IcmpRedirectToCpu)" );
}

void Pass::routeMulticast()
{
   const IpHeader& ip = *headers().ip;
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, domain_ );
   const auto route = tables().mcastRoutes.find( ip.destination );
   if( route == tables().mcastRoutes.end() || !vlan )
      return;
   const bool on = vlan->flags.contains( VlanFlag::vlanMcastRoutingOn ) &&
                   !vlan->flags.contains( VlanFlag::vlanMcastRoutingOff );
   if( !on || control( SwitchControl::L3EgressMode ) == 0 )
      return note( "route", [ & ] {
         return ip.destination.toString() + " is not routed: " +
                ( on ? "L3EgressMode is 0"
                     : format( "multicast routing is off in VLAN %d", U32{ domain_ } ) );
      } );
   packetResult_ = PacketResult::L3MCKNOWN;
   if( ip.ttl > 1 )
      destination_.routedInto = route->second;
   else if( drop_.empty() && control( SwitchControl::IpmcTtl1ToCpu ) != 0 )
      askCpu( format( "multicast with TTL %d (IpmcTtl1ToCpu)", U32{ ip.ttl } ) );
   note( "route", [ & ] {
      return ip.destination.toString() + " is routed" +
             ( ip.ttl > 1 ? "" : ", but its TTL has expired" );
   } );
}

bool Pass::trapsMpls( SwitchControl which, RegisterField field ) const
{
   if( chip_.profile().supports( which ) )
      return control( which ) != 0;
   return registerField( chip_.registerValue( Register::CpuControlM ), field ) != 0;
}

void Pass::switchLabel()
{
   if( !drop_.empty() )
      return; // not even a copy
   const MplsLabel top = headers().mpls.front();
   const auto found = tables().labels.find( top.label );
   const bool known = found != tables().labels.end();
   note( "label", [ & ] {
      return std::to_string( top.label ) +
             ( !known ? " is unknown"
                      : ": " +
                           ( found->second.swap ? "swap " + std::to_string( *found->second.swap )
                                                : std::string( "pop" ) ) +
                           ", to " + nextHopText( view_, found->second.nextHop ) );
   } );
   if( !known ) {
      drop( format( "unknown label %d", top.label ) );
      if( trapsMpls( SwitchControl::MplsLabelMissToCpu, RegisterField::MplsLabelMissToCpu ) )
         askCpu( format( "unknown label %d", top.label ) );
   } else if( top.ttl <= 1 ) {
      drop( format( "MPLS TTL %d", U32{ top.ttl } ) );
      if( trapsMpls( SwitchControl::MplsTtlErrToCpu, RegisterField::MplsTtlErrToCpu ) )
         askCpu( format( "MPLS TTL %d", U32{ top.ttl } ) );
   } else {
      labelRule_ = found->second;
      toNextHop( found->second.nextHop );
   }
}

} // namespace Strata::Sim
