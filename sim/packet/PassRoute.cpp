// Routing: which packets are routed, the exceptions, routes and policy, next hops, multicast.
#include "platform/runtime/Format.h"
#include "platform/state/StrataCommon.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/packet/Controls.h"
#include "sim/packet/Pass.h"

#include <algorithm>

namespace Strata::Sim {

using Vormel::format;

/// Drops a packet that was to be routed to a next hop. Multicast is still bridged.
void Pass::notRouted( const std::string& reason, const std::string& kind )
{
   if( routable_ )
      drop( reason, kind );
   else
      unrouted_ = reason;
}

/// Handles an exception: the control determines whether the CPU gets a copy; the packet is not routed either way.
bool Pass::exception( SwitchControl which, const std::string& reason, const std::string& kind )
{
   const bool copies = control( which ) != 0;
   notRouted( reason, kind );
   if( copies )
      askCpu( format( "%s (%s)", reason, roleName( which ) ) );
   note( "exception", [ & ] {
      return format( "%s; %s is %d: %s", reason, roleName( which ), control( which ),
         copies ? controlEffect( which ) : "no copy to the CPU" );
   } );
   return true;
}

/// Whether the inner packet of the tunnel can be routed only in another pass.
bool Pass::endsTunnelOnly() const
{
   return !terminated_.empty() && !attributes().vxlanRoutingInOnePass;
}

/// Why packets of this family to a router MAC are not routed here.
Pass::Obstacle Pass::whyNotRouted() const
{
   using Kind = ChipPlace::Kind;
   const bool v6 = headers().ip->destination.isV6();
   const char* const family = v6 ? "IPv6" : "IPv4";
   const PortControl ofPort = v6 ? PortControl::IP6 : PortControl::IP4;
   const VlanFlag off = v6 ? VlanFlag::vlanIp6RoutingOff : VlanFlag::vlanIp4RoutingOff;
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, domain_ );
   if( !terminates( v6 ? MemoryField::Ipv6Termination : MemoryField::Ipv4Termination ) )
      return { format( "the my-station entry does not terminate %s", family ),
         ChipPlace{ Kind::myStation, *station_ } };
   if( endsTunnelOnly() )
      return { "the chip does not route in the pass that ends a tunnel" };
   if( !arrival_.higig && view_.isFrontPanel( arrival_.port ) && portControl( ofPort ) == 0 )
      return { format( "%s is not enabled on the port: %s of port %d is 0", family,
                  roleName( ofPort ), sdkArrivalPort() ),
         ChipPlace{ Kind::portControl, static_cast<U32>( ofPort ), sdkArrivalPort() } };
   if( control( SwitchControl::L3EgressMode ) == 0 )
      return { "L3EgressMode is 0: the chip does not use its routes",
         ChipPlace{ Kind::control, static_cast<U32>( SwitchControl::L3EgressMode ) } };
   if( vlan && hasFlag( *vlan, domain_, off ) )
      return { format( "%s routing is off in VLAN %d", family, U32{ domain_ } ),
         ChipPlace{ Kind::vlanFlags, domain_ } };
   return {};
}

/// Also handles labels and terminated ARP, because neither is bridged.
bool Pass::routes()
{
   if( !isRouterMac() )
      return false;
   if( headers().etherType == etherTypeMpls && terminates( MemoryField::MplsTermination ) ) {
      settled_ = true;
      if( !drop_.empty() || endsTunnelOnly() || !switchLabels() )
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
   const auto [ reason, culprit ] = whyNotRouted();
   routable_ = reason.empty();
   if( !routable_ )
      note(
         "routing", [ &text = reason ] { return "not routed: " + text; }, culprit );
   if( !routable_ && settled_ )
      drop( "the packet behind the labels is not routed: " + reason );
   return routable_;
}

bool Pass::badHeader()
{
   const IpHeader& ip = *headers().ip;
   if( !ip.checksumRight && control( SwitchControl::IPv4DoNotVerifyIncomingChecksum ) == 0 ) {
      notRouted( "the IPv4 header's checksum is wrong" );
      return true;
   }
   const bool martian = ip.source.isMartian( true ) || ip.destination.isMartian( false );
   return martian && exception( SwitchControl::MartianAddrToCpu, "martian address" );
}

/// Packets that the chip does not route in hardware.
bool Pass::slowPath()
{
   const IpHeader& ip = *headers().ip;
   if( !ip.options )
      return false;
   if( ip.destination.isV6() )
      return exception( SwitchControl::L3SlowpathToCpu, "IPv6 hop-by-hop options" );
   const auto& profiles = chip_.ipOptionsProfiles();
   if( profiles.empty() && !attributes().usesIpOptionsDefault )
      return false; // no options profile, so options have no effect
   queue_ = static_cast<U32>( control( SwitchControl::CpuProtoIpOptionsPriority ) );
   if( profiles.empty() )
      return exception( SwitchControl::L3SlowpathToCpu, "IPv4 options" );
   switch( profiles.begin()->second ) {
   case IpOptionAction::CopyCPUAndDrop:
      notRouted( "IPv4 options" );
      askCpu( "IPv4 options (options profile)" );
      note(
         "exception", [] { return std::string( "IPv4 options; the profile copies and drops" ); } );
   }
   return true;
}

void Pass::route()
{
   if( tables().vlan( domain_ ).dropRouted )
      drop( format( "VLAN %d drops packets that would be routed", U32{ domain_ } ),
         "the VLAN drops packets that would be routed" );
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
      !hasRegister || registerField( registerValue( Register::IngConfig64 ),
                         v6 ? RegisterField::Ip6UrpfOnL3Iif : RegisterField::Ip4UrpfOnL3Iif ) != 0;
   const bool byControl = !chip_.profile().supports( SwitchControl::L3InterfaceUrpfEnable ) ||
                          control( SwitchControl::L3InterfaceUrpfEnable ) != 0;
   if( !byRegister || !byControl ) {
      note( "uRPF", [] { return std::string( "configured, but not enabled on the chip" ); } );
      return;
   }
   ranges( FieldStage::urpf );
   const auto leadsBack = [ this ]( const NextHop& hop ) { return hop.vlanId == domain_; };
   const bool holds = source && ( mode == UrpfMode::loose ||
                                   std::ranges::any_of( source->route->nextHops, leadsBack ) );
   note( "uRPF", [ & ] {
      return Vormel::enumText( mode ) + ": " + headers().ip->source.toString() +
             ( !source ? " has no route"
                       : " is reached by " + source->prefix.toString() + ", " +
                            nextHopText( view_, source->route->nextHops ) ) +
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
      if( ( rule.port && rule.port != arrivedOn() ) ||
          ( rule.source && !rule.source->contains( ip.source ) ) ||
          ( rule.destination && !rule.destination->contains( ip.destination ) ) )
         continue;
      steered_ = true;
      note( "policy", [ & ] {
         return format( "rule %s sends it to %s", name, nextHopText( view_, rule.nextHop ) );
      } );
      return toNextHop( rule.nextHop );
   }
   const auto found = tables().routes.lookup( ip.destination );
   if( !found ) {
      exception(
         ip.destination.isV6() ? SwitchControl::V6L3DstMissToCpu : SwitchControl::V4L3DstMissToCpu,
         "no route to " + ip.destination.toString(), "no route" );
      return;
   }
   const std::vector<NextHop>& nextHops = found->route->nextHops;
   note( "route", [ & ] {
      return format( "%s is in %s: to %s", ip.destination.toString(), found->prefix.toString(),
         nextHops.size() == 1 ? nextHopText( view_, nextHops.front() )
                              : format( "one of %d next hops", nextHops.size() ) );
   } );
   toNextHop( oneOf( nextHops ) );
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
      destination.text = format( "mod %d port %d, which means %s", modId, port, what );
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

/// The exceptions that depend on the next hop.
void Pass::checkHop()
{
   if( nextHop_->kind == NextHop::Kind::cpu )
      return; // delivered here, so TTL and MTU are not checked (RFC 1812, 5.3.1)
   const IpHeader& ip = *headers().ip;
   // Units that forward VLANs through VFIs leave expired packets to entries, unless trapsTtlExceptions is true.
   const bool chipLooks = chip_.trapsTtlExceptions() || !view_.scsd().vfiForwarding();
   if( ip.ttl <= 1 && chipLooks )
      exception( ip.ttl == 0 ? SwitchControl::L3UcTtlErrToCpu : SwitchControl::L3UcastTtl1ToCpu,
         format( "TTL %d", U32{ ip.ttl } ) );
   else if( ip.ttl <= 1 )
      expires_ = true;
   tooLong( nextHop_->vlanId );
   if( nextHop_->vlanId != domain_ )
      linkLocal();
   if( nextHop_->kind == NextHop::Kind::port && nextHop_->vlanId == domain_ &&
       control( SwitchControl::IcmpRedirectToCpu ) != 0 )
      askCpu( "leaves on the VLAN it arrived in (IcmpRedirectToCpu)" );
}

/// Link-local addresses, which a router does not forward to another link.
bool Pass::linkLocal()
{
   const IpHeader& ip = *headers().ip;
   for( const IpAddress& address : { ip.source, ip.destination } )
      if( address.isLinkLocal() )
         return exception( SwitchControl::MartianAddrToCpu, address.toString() + " is link-local",
            "a link-local address" );
   return false;
}

bool Pass::tooLong( U16 vlanId )
{
   const U32 length = headers().ip->length;
   const U32 mtu = tables().vlan( vlanId ).mtu;
   return mtu != 0 && length > mtu &&
          exception( SwitchControl::L3MtuFailToCpu,
             format( "%d bytes, and the MTU of VLAN %d is %d", length, U32{ vlanId }, mtu ),
             "longer than the MTU" );
}

static EthAddr groupMac( const IpAddress& group )
{
   const auto& ip = group.bytes();
   return group.isV6() ? EthAddr( 0x33, 0x33, ip[ 12 ], ip[ 13 ], ip[ 14 ], ip[ 15 ] )
                       : EthAddr( 0x01, 0x00, 0x5e, ip[ 1 ] & 0x7F, ip[ 2 ], ip[ 3 ] );
}

/// Why IP multicast is not routed; empty if this VLAN routes it and the frame is well-formed multicast.
std::string Pass::whyNotReplicated() const
{
   const ChipVlan* const vlan = view_.vlan( arrival_.port.unit, domain_ );
   if( !vlan || !hasFlag( *vlan, domain_, VlanFlag::vlanMcastRoutingOn ) ||
       hasFlag( *vlan, domain_, VlanFlag::vlanMcastRoutingOff ) )
      return format( "multicast routing is off in VLAN %d", U32{ domain_ } );
   if( control( SwitchControl::L3EgressMode ) == 0 )
      return "L3EgressMode is 0";
   if( endsTunnelOnly() )
      return "the chip does not route in the pass that ends a tunnel";
   if( tables().vlan( domain_ ).dropRouted )
      return format( "VLAN %d drops packets that would be routed", U32{ domain_ } );
   if( const EthAddr mac = groupMac( headers().ip->destination ); headers().dstMac != mac )
      return "the group's MAC address is " + mac.toString();
   return {};
}

void Pass::routeMulticast()
{
   const IpHeader& ip = *headers().ip;
   const auto route = tables().mcastRoutes.find( ip.destination );
   if( route == tables().mcastRoutes.end() || !drop_.empty() )
      return;
   unrouted_ = whyNotReplicated();
   if( !unrouted_.empty() || badHeader() || slowPath() || linkLocal() )
      return note(
         "route", [ & ] { return ip.destination.toString() + " is not routed: " + unrouted_; } );
   packetResult_ = PacketResult::L3MCKNOWN;
   if( ip.ttl > 1 ) {
      for( const U16 vlanId : route->second )
         if( vlanId != domain_ && !tooLong( vlanId ) )
            destination_.routedInto.insert( vlanId );
   } else if( control( SwitchControl::IpmcTtl1ToCpu ) != 0 )
      askCpu( format( "multicast with TTL %d (IpmcTtl1ToCpu)", U32{ ip.ttl } ) );
   note( "route", [ & ] {
      return ip.destination.toString() + " is routed" +
             ( ip.ttl > 1 ? "" : ", but its TTL has expired" );
   } );
}

} // namespace Strata::Sim
