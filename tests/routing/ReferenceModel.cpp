#include "tests/routing/ReferenceModel.h"

#include "agent/AttributeValues.h"
#include "platform/runtime/Format.h"
#include "routing/TcamL3EntryId.h"
#include "tool/view/EntryView.h"

#include <algorithm>

namespace Strata {

using Interface::ForwardingModel;
using Vormel::format;
using Vormel::IntfId;
using Kind = Step::Kind;

// --- The observed state ------------------------------------------------------------------

static std::string entryName( U32 unit, U32 id )
{
   return format( "entry %d of unit %d", id, unit );
}

static std::string controlName( U32 unit, std::string_view control )
{
   return std::string( control ) + " of unit " + std::to_string( unit );
}

static std::string portControlName( U32 unit, int port, std::string_view control )
{
   return format( "%s of port %d of unit %d", control, port, unit );
}

static std::string portTableText( bool l3, bool routing )
{
   return std::string( l3 ? "l3" : "no l3" ) + ( routing ? ", routing" : ", no routing" );
}

/// "installed vlan flood: DstPort mod 249/0xff port 240/0xff => RedirectPbmp 1-4"
static std::string describe( const Sim::FieldEntry& entry )
{
   const Sim::FieldRule& rule = entry.hardware ? *entry.hardware : entry.claim;
   return std::string( Tool::entryState( entry ) ) + " " + entry.name + ": " + rule.text();
}

static void observeChip( SwitchState& state, U32 unit, const Sim::Chip& chip )
{
   for( const Sim::FieldGroup& group : chip.groups() )
      for( const auto& [ id, entry ] : group.entries() )
         state[ entryName( unit, id ) ] = describe( entry );
   for( const auto& [ control, value ] : chip.controls() )
      if( value != 0 ) // a value of 0 counts as never written
         state[ controlName( unit, roleName( control ) ) ] = std::to_string( value );
   for( const auto& [ key, value ] : chip.portSwitchControls() )
      state[ portControlName( unit, key.first, roleName( key.second ) ) ] = std::to_string( value );
   for( const auto& [ key, value ] : chip.portControls() )
      state[ portControlName( unit, key.first, roleName( key.second ) ) ] = std::to_string( value );
}

static void observeEntity(
   SwitchState& state, const std::string& name, const Vormel::Entity& entity )
{
   for( const Tool::AttributeValue& value : Tool::attributeValues( entity ) )
      state[ name + "." + value.name ] = toText( value.value );
}

SwitchState observedState( Tool::Agent& agent )
{
   SwitchState state;
   Sim::SimSwitch& hardware = agent.hardware();
   for( const U32 unit : hardware.units() )
      observeChip( state, unit, hardware.chip( unit ) );
   observeEntity( state, "helper", *agent.helper() );
   observeEntity( state, "hwStatus", *hardware.hwStatus() );
   state[ "flood ports" ] = agent.helper()->vlanFloodPbmp().toString();
   for( const auto& [ port, entry ] : hardware.portSwTable()->entries() )
      state[ "port table " + toText( port ) ] =
         portTableText( entry.l3Enabled, entry.routingEnabled );
   if( const auto& reactor = agent.reactor() ) {
      state[ "nested reactors" ] = std::to_string( reactor->intfStatus().size() );
      state[ "next poll" ] =
         toText( Vormel::Value( reactor->unknownMacDropLoggingSm()->nextPoll() ) );
   }
   return state;
}

std::string differences( const SwitchState& expected, const SwitchState& found )
{
   std::set<std::string> names;
   for( const SwitchState* const state : { &expected, &found } )
      for( const auto& item : *state )
         names.insert( item.first );
   const auto valueIn = []( const SwitchState& state, const std::string& name ) {
      const auto at = state.find( name );
      return at == state.end() ? "nothing" : "'" + at->second + "'";
   };
   std::string text;
   for( const std::string& name : names )
      if( valueIn( expected, name ) != valueIn( found, name ) )
         text += name + ": expected " + valueIn( expected, name ) + ", found " +
                 valueIn( found, name ) + "\n";
   return text;
}

// --- The steps ---------------------------------------------------------------------------

ReferenceModel::ReferenceModel( Tool::Agent& agent )
   : agent_( agent ),
     inputs_( agent.hardware() ),
     before_( observedState( agent ) ),
     firstUnit_( inputs_.units().front() ),
     routing_( agent.helper()->routing4Enabled() ),
     skipEntry_( inputs_.scsd()->vxlanEnabled() )
{}

void ReferenceModel::happened( const Step& step, bool told )
{
   switch( step.kind ) {
   case Kind::start:
      if( told )
         started();
      break;
   case Kind::stop:
      if( told )
         stopped();
      break;
   case Kind::hits:
      if( told )
         hits_.at( static_cast<U16>( numberIn( step.what ) ) ) += std::stoull( step.value );
      break;
   case Kind::advance:
      for( ; nextPoll_ <= agent_.clock().now(); nextPoll_ += inputs_.miscConfig()->syslogTimeout() )
         for( const auto& [ trafficClass, hits ] : hits_ )
            counters_[ trafficClass ] = hits;
      break;
   default:
      if( running_ && told )
         inputChanged( step );
   }
   if( running_ ) {
      l2DualHash_ = inputs_.miscConfig()->l2DualHash();
      l3DualHash_ = inputs_.miscConfig()->l3DualHash();
      redirect_ = wantedRedirect();
   }
}

void ReferenceModel::started()
{
   running_ = true;
   for( const U16 trafficClass : keysOf( inputs_.miscConfig()->unknownMacDropTrafficClass() ) )
      dropClassChanged( trafficClass, true );
   timerSet();
   l2TrafficRouting_ = inputs_.sourceIpLookup()->l2TrafficRouting();

   floodPorts_ = inputs_.chip( firstUnit_ ).activePorts();
   for( const IntfId intf : leftOut_ )
      if( const StrataPort port = inputs_.scsd()->strataIntfToPort( intf ) )
         floodPorts_.remove( port.logicalPort() );
      else if( const U32* const known = inputs_.scsd()->intfToLogicalPort().find( intf ) )
         floodPorts_.remove( *known );

   nexthops_.clear();
   for( const std::string& name : keysOf( inputs_.nexthopStatusDir()->entity() ) )
      nexthopHeard( name );
   for( const IntfId intf : keysOf( inputs_.ethIntfStatusDir()->intfStatus() ) )
      settled( intf );
   for( const auto& mapped :
      inputs_.scsd()->strataIntfToPort() ) // the agent's start of the reactors
      portProgrammed( mapped.value );
}

void ReferenceModel::stopped()
{
   while( !hits_.empty() )
      dropClassChanged( hits_.begin()->first, false );
   nextPoll_ = Vormel::Timer::never;
   running_ = false;
}

void ReferenceModel::inputChanged( const Step& step )
{
   if( step.kind == Kind::status || step.kind == Kind::freshStatus ||
       step.what == "scsd.lagOfMember" )
      settled( IntfId( step.key.empty() ? step.what : step.key ) );
   else if( step.what == "scsd.strataIntfToPort" )
      portMappingChanged( IntfId( step.key ) );
   else if( step.kind == Kind::nexthop || step.kind == Kind::noNexthop )
      nexthopHeard( step.what );
   else if( step.what == "miscConfig.unknownMacDropTrafficClass" )
      dropClassChanged( static_cast<U16>( numberIn( step.key ) ), step.kind == Kind::set );
   else if( step.what == "miscConfig.syslogTimeout" )
      timerSet();
   else if( step.what == "scsd.vxlanEnabled" )
      skipEntry_ = inputs_.scsd()->vxlanEnabled();
   else if( step.what == "sourceIpLookup.l2TrafficRouting" )
      l2TrafficRouting_ = inputs_.sourceIpLookup()->l2TrafficRouting();
   else if( step.what == "pbr.pbrEnabled" )
      for( const U32 unit : inputs_.units() )
         pbrOn_[ unit ] = inputs_.pbrInfo()->pbrEnabled();
}

bool ReferenceModel::routed( IntfId intf ) const
{
   const auto status = inputs_.ethIntfStatusDir()->intfStatus( intf );
   return status && status->forwardingModel() == ForwardingModel::routed;
}

// An Ethernet interface is left out when it or its LAG is routed. An event of a LAG applies to all of its members,
// whatever their own models. The entries are written once, for any number of members.
void ReferenceModel::settled( IntfId intf )
{
   std::vector<IntfId> concerned{ intf };
   bool out = routed( intf ) || routed( inputs_.scsd()->lagOfMember( intf ) );
   if( intf.isPortChannel() ) {
      const IntfIdList members = inputs_.scsd()->lagMembers( intf );
      concerned.assign( members.begin(), members.end() );
      out = routed( intf );
   }
   bool anyPort = false;
   for( const IntfId each : concerned ) {
      const StrataPort port = inputs_.scsd()->strataIntfToPort( each );
      if( !port )
         continue;
      anyPort = true;
      if( out && leftOut_.insert( each ).second )
         floodPorts_.remove( port.logicalPort() );
      else if( !out && leftOut_.erase( each ) != 0 )
         floodPorts_.add( port.logicalPort() );
   }
   if( anyPort )
      pushed();
}

void ReferenceModel::portMappingChanged( IntfId intf )
{
   const StrataPort port = inputs_.scsd()->strataIntfToPort( intf );
   if( !leftOut_.contains( intf ) ) {
      const U32* const known = inputs_.scsd()->intfToLogicalPort().find( intf );
      const U32 logicalPort = known ? *known : 1023;
      if( port )
         floodPorts_.add( logicalPort );
      else
         floodPorts_.remove( logicalPort );
      pushed();
   }
   if( port )
      portProgrammed( port );
}

void ReferenceModel::pushed()
{
   ++pushes_;
   pushedPorts_ = floodPorts_;
   pbrOn_[ firstUnit_ ] = inputs_.pbrInfo()->pbrEnabled();
}

void ReferenceModel::portProgrammed( const StrataPort& port )
{
   programmedPorts_.insert( port );
   egressMode_[ port.unit() ] = ofFx_ || routing_;
}

// When the first entity uses L3 egress, or the last one stops using it, all ports are programmed.
void ReferenceModel::nexthopHeard( const std::string& name )
{
   nexthops_.erase( name );
   if( const auto entity = inputs_.nexthopStatusDir()->entity( name ) )
      nexthops_[ name ] = { entity->programmed(), entity->usesL3Egress() };
   nexthopsProgrammed_ = 0;
   bool some = false;
   for( const auto& [ other, nexthop ] : nexthops_ ) {
      nexthopsProgrammed_ += nexthop.programmed ? 1 : 0;
      some = some || nexthop.usesL3Egress;
   }
   if( std::exchange( ofFx_, some ) != some )
      for( const auto& mapped : inputs_.scsd()->strataIntfToPort() )
         portProgrammed( mapped.value );
}

// The counter restarts at 0 whether the class is added or removed.
void ReferenceModel::dropClassChanged( U16 trafficClass, bool there )
{
   counters_[ trafficClass ] = 0;
   hits_.erase( trafficClass );
   if( there )
      hits_[ trafficClass ] = 0;
}

void ReferenceModel::timerSet()
{
   const double timeout = inputs_.miscConfig()->syslogTimeout();
   nextPoll_ = timeout == 0.0 ? Vormel::Timer::never : agent_.clock().now() + timeout;
}

std::optional<ReferenceModel::Redirect> ReferenceModel::wantedRedirect() const
{
   const Mlag::Status& mlag = *inputs_.mlagStatus();
   const StrataCommonSmData& scsd = *inputs_.scsd();
   std::vector<StrataPort> linkPorts;
   if( const StrataPort port = scsd.strataIntfToPort( mlag.peerLinkIntf() ) )
      linkPorts.push_back( port );
   for( const IntfId member : scsd.lagMembers( mlag.peerLinkIntf() ) )
      if( const StrataPort port = scsd.strataIntfToPort( member ) )
         linkPorts.push_back( port );
   if( mlag.peerMacAddr().isZero() || !mlag.peerMacRoutingEnabled() ||
       !inputs_.mlagHwStatus()->peerMacRoutingSupported() || linkPorts.empty() )
      return std::nullopt;

   Redirect wanted{ mlag.peerMacAddr().toString(), linkPorts.front(), {} };
   for( const U32 unit : inputs_.units() ) {
      PortBitmap ports = inputs_.chip( unit ).ports();
      ports.remove( static_cast<U32>( inputs_.profile().specialPorts.cpu ) );
      for( const StrataPort& port : linkPorts )
         if( port.unit() == unit )
            ports.remove( port.logicalPort() );
      wanted.inPorts[ unit ] = ports.toString();
   }
   return wanted;
}

// --- The expected state ------------------------------------------------------------------

SwitchState ReferenceModel::expectedState() const
{
   SwitchState state = before_;
   expectFloods( state );
   expectDropPairs( state );
   expectRedirect( state );
   expectControls( state );
   if( running_ ) {
      state[ "nested reactors" ] =
         std::to_string( inputs_.ethIntfStatusDir()->intfStatus().size() );
      state[ "next poll" ] = toText( Vormel::Value( nextPoll_ ) );
   }
   return state;
}

U32 ReferenceModel::mainId( U32 offset ) const
{
   return inputs_.tcamManager()->baseEntryId() + offset;
}

/// The entry with another state and, in its one action, other ports.
static std::string rewritten(
   const std::string& entry, const std::string& state, const std::string& ports )
{
   const auto from = entry.find( ' ' ), to = entry.rfind( ' ' ) + 1;
   return state + entry.substr( from, to - from ) + ports;
}

void ReferenceModel::expectFloods( SwitchState& state ) const
{
   state[ "flood ports" ] = floodPorts_.toString();
   state[ "helper.reprogramVlanFloodRequired" ] = std::to_string( pushes_ );
   for( const IntfId intf : leftOut_ )
      state[ "helper.routedPortsAndRoutedLagMember[" + intf.toString() + "]" ] = "true";

   const Sim::ChipProfile& chip = inputs_.profile();
   const ChipAttributes& can = chip.attributes;
   const bool throughLoopback = can.lbPortAvailable && !can.lbViaRecircOnly;
   if( can.floodingPortSupported && !chip.vfiForwarding && !throughLoopback ) {
      std::string& flood = state[ entryName( firstUnit_, mainId( 23 ) ) ];
      flood = rewritten( flood, "installed", pushedPorts_.toString() );
   }
   if( can.floodingPortSupported && !chip.fabricMode && !inputs_.tcamManager()->supportsAclGroup() )
      for( const auto& [ unit, on ] : pbrOn_ ) {
         std::string& pbr = state[ entryName( unit, mainId( 20 ) ) ];
         const PortBitmap ports = unit == firstUnit_ ? pushedPorts_ : PortBitmap();
         pbr = rewritten( pbr, on ? "installed" : "disabled", ports.toString() );
      }

   const bool skip = skipEntry_ && can.vxlanSupported;
   state[ "helper.tcamEntrySkipL2McastPktFromCoreToCpu" ] =
      std::to_string( skip ? mainId( 29 ) : 0 );
   for( const U32 unit : inputs_.units() )
      if( !skip )
         state.erase( entryName( unit, mainId( 29 ) ) );
      else
         state[ entryName( unit, mainId( 29 ) ) ] =
            "installed skip l2 mcast from core to cpu: TunnelTerminated 1; PacketRes L2MCKNOWN "
            "=> CopyToCpuCancel";
}

void ReferenceModel::expectDropPairs( SwitchState& state ) const
{
   for( const auto& [ trafficClass, count ] : counters_ )
      state[ format( "helper.unknownMacCountersPerTc[%d]", trafficClass ) ] =
         std::to_string( count );
   for( const auto& [ trafficClass, hits ] : hits_ ) {
      const U32 id = mainId( 4 + 2 * U32( trafficClass ) );
      state[ format( "helper.tcamEntryVlanFloodDrop[%d]", trafficClass ) ] = std::to_string( id );
      const bool floodingPort = inputs_.profile().attributes.floodingPortSupported;
      const std::string routed =
         floodingPort ? "L3 unknown mac drop traffic-class %d: "
                        "DstPort mod 249/0xff port 240/0xff; IntPriority %d => Drop"
                      : "L3MC unknown mac drop traffic-class %d: PacketRes L3MCKNOWN; "
                        "DstMac 00:00:00:00:00:00/01:00:00:00:00:00; IntPriority %d => Drop";
      const std::string bridged =
         "L2 unknown mac drop traffic-class %d: PacketRes L2UNKNOWN; IntPriority %d => Drop";
      for( const U32 unit : inputs_.units() ) {
         U32 next = id;
         for( const std::string& entry : { routed, bridged } )
            state[ entryName( unit, next++ ) ] =
               "installed " + format( entry.c_str(), trafficClass, trafficClass );
      }
   }
}

void ReferenceModel::expectRedirect( SwitchState& state ) const
{
   if( !redirect_ )
      return;
   const U32 id = inputs_.tcamManager( "peer-mac-arp" )->baseEntryId();
   state[ "helper.peerMacArpRedirect" ] = std::to_string( id );
   const U32 modId = inputs_.scsd()->units().find( redirect_->port.unit() )->modId;
   for( const auto& [ unit, ports ] : redirect_->inPorts )
      state[ entryName( unit, id ) ] = format(
         "installed arp redirect to mlag peer: DstMac %s; EtherType 0x806/0xffff; InPorts %s "
         "=> RedirectPort mod %d port %d",
         redirect_->mac, ports, modId, redirect_->port.sdkPort() );
}

void ReferenceModel::expectControls( SwitchState& state ) const
{
   const auto control = [ &state ]( U32 unit, std::string_view name, bool on ) {
      state.erase( controlName( unit, name ) );
      if( on )
         state[ controlName( unit, name ) ] = "1";
   };
   for( const U32 unit : inputs_.units() ) {
      control( unit, "HashL2Dual", l2DualHash_ );
      control( unit, "HashL3Dual", l3DualHash_ );
      control( unit, "L2TrafficSrcIpLookup", l2TrafficRouting_ );
   }
   for( const auto& [ unit, on ] : egressMode_ )
      control( unit, "L3EgressMode", on );
   for( const StrataPort& port : programmedPorts_ ) {
      for( const char* const family : { "IP4", "IP6" } )
         state[ portControlName( port.unit(), port.sdkPort(), family ) ] = "1";
      state[ "port table " + toText( port ) ] = portTableText( true, routing_ );
   }

   const auto truth = []( bool value ) { return std::string( value ? "true" : "false" ); };
   state[ "helper.ofFxSupported" ] = truth( ofFx_ );
   state[ "hwStatus.l2DualHash" ] = truth( l2DualHash_ );
   state[ "hwStatus.l3DualHash" ] = truth( l3DualHash_ );
   state[ "hwStatus.l2TrafficRouting" ] = truth( l2TrafficRouting_ );
   state[ "hwStatus.nexthopsProgrammed" ] = std::to_string( nexthopsProgrammed_ );
}

} // namespace Strata
