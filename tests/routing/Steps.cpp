#include "tests/routing/Steps.h"

#include "platform/runtime/EntityType.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace Strata {

using Interface::EthIntfStatus;
using Interface::ForwardingModel;
using Vormel::Entity;
using Vormel::IntfId;
using Vormel::Ref;
using Kind = Step::Kind;

std::string toText( const Step& step )
{
   std::string text = Vormel::enumText( step.kind );
   if( !step.what.empty() )
      text += " " + step.what;
   if( !step.key.empty() )
      text += "[" + step.key + "]";
   if( !step.value.empty() )
      text += " " + step.value;
   return text;
}

static std::optional<std::string> valueOf(
   const Entity& entity, const Vormel::Attribute& attribute, const std::string& key )
{
   if( key.empty() )
      return toText( attribute.read( entity ) );
   for( const Vormel::Member& member : attribute.members( entity ) )
      if( toText( member.key ) == key )
         return toText( member.value );
   return std::nullopt;
}

static bool write( const Step& step, Tool::Agent& agent )
{
   const auto dot = step.what.find( '.' );
   Entity& entity = *agent.object( step.what.substr( 0, dot ) );
   const auto& attribute = entity.entityType().attribute( step.what.substr( dot + 1 ) );
   const auto before = valueOf( entity, attribute, step.key );
   if( step.kind == Kind::del )
      attribute.del( entity, step.key );
   else if( step.key.empty() )
      attribute.write( entity, step.value );
   else
      attribute.write( entity, step.key, step.value );
   return valueOf( entity, attribute, step.key ) != before;
}

static bool writeStatus( const Step& step, Interface::EthIntfStatusDir& dir )
{
   const IntfId intf( step.what );
   const Ref<EthIntfStatus> old = dir.intfStatus( intf );
   if( step.kind == Kind::noStatus ) {
      dir.intfStatusDel( intf );
      return old != nullptr;
   }
   const ForwardingModel model = *Vormel::enumParse<ForwardingModel>( step.value );
   if( old && step.kind == Kind::status ) {
      const bool changes = old->forwardingModel() != model;
      old->forwardingModelIs( model );
      return changes;
   }
   const auto fresh = Vormel::make<EthIntfStatus>( intf );
   fresh->forwardingModelIs( model );
   dir.intfStatusIs( intf, fresh );
   return true;
}

static bool writeNexthop( const Step& step, Sim::SimSwitch& hardware )
{
   const Ref<NexthopStatus> old = hardware.nexthopStatusDir()->entity( step.what );
   const bool programmed = step.value.find( "programmed" ) != std::string::npos;
   const bool usesL3Egress = step.value.find( "l3-egress" ) != std::string::npos;
   if( step.kind == Kind::noNexthop ) {
      hardware.nexthopDel( step.what );
      return old != nullptr;
   }
   if( step.kind == Kind::nexthop ) {
      hardware.nexthopIs( step.what, programmed, usesL3Egress );
      return true;
   }
   if( old ) {
      old->programmedIs( programmed );
      old->usesL3EgressIs( usesL3Egress );
   }
   return false;
}

/// False when the class has no entries.
static bool raiseHits( const Step& step, Tool::Agent& agent )
{
   const U64 count = std::stoull( step.value );
   const U32 id = agent.helper()->tcamEntryVlanFloodDrop( numberIn( step.what ) );
   if( id == 0 )
      return false;
   const U32 entry = id + static_cast<U32>( count % 2 );
   Sim::Chip& chip = agent.hardware().chip( numberIn( step.key ) );
   chip.groupOf( entry )->find( entry )->hits += count;
   return true;
}

bool apply( const Step& step, Tool::Agent& agent )
{
   Sim::SimSwitch& hardware = agent.hardware();
   const bool running = agent.reactor() != nullptr;
   switch( step.kind ) {
   case Kind::set:
   case Kind::del:
      return write( step, agent );
   case Kind::status:
   case Kind::freshStatus:
   case Kind::noStatus:
      return writeStatus( step, *hardware.ethIntfStatusDir() );
   case Kind::nexthop:
   case Kind::noNexthop:
   case Kind::nexthopInPlace:
      return writeNexthop( step, hardware );
   case Kind::hits:
      return raiseHits( step, agent );
   case Kind::advance:
      agent.clock().advanceBy( std::stod( step.value ) );
      return true;
   case Kind::unitPort:
      hardware.chip( numberIn( step.what ) )
         .portActiveIs( std::stoi( step.key ), step.value == "up" );
      return false;
   case Kind::start:
      if( !running )
         agent.startReactors();
      return !running;
   case Kind::stop:
      if( running ) {
         hardware.miscConfig()->unknownMacDropTrafficClassDelAll();
         agent.stop();
      }
      return running;
   }
   return false;
}

// --- Drawing steps -----------------------------------------------------------------------

static constexpr U32 ethernets = 12, lags = 3, ports = 16;

std::string StepGenerator::someEthernet()
{
   return "Ethernet" + std::to_string( 1 + below( ethernets ) );
}

std::string StepGenerator::someLag()
{
   return "Port-Channel" + std::to_string( 1 + below( lags ) );
}

std::string StepGenerator::someUnit( Switch now )
{
   return std::to_string( now.units().at( below( static_cast<U32>( now.units().size() ) ) ) );
}

std::string StepGenerator::somePort()
{
   return std::to_string( 1 + below( ports ) );
}

std::string StepGenerator::someClass()
{
   return std::to_string( below( 3 ) == 0 ? 7 : below( 3 ) );
}

std::string StepGenerator::onOrOff()
{
   return below( 2 ) == 0 ? "true" : "false";
}

Step StepGenerator::next( const Sim::SimSwitch& now )
{
   using Draw = void ( StepGenerator::* )( Switch );
   struct Choice
   {
      U32 weight;
      Draw draw;
   };
   static constexpr Choice choices[] = {
      { 10, &StepGenerator::interfaceComes },
      { 4, &StepGenerator::interfaceGoes },
      { 8, &StepGenerator::portComes },
      { 8, &StepGenerator::portGoes },
      { 16, &StepGenerator::modelChanges },
      { 8, &StepGenerator::lagChanges },
      { 2, &StepGenerator::lagGoes },
      { 6, &StepGenerator::partOfALagChanges },
      { 10, &StepGenerator::featureChanges },
      { 14, &StepGenerator::dropChanges },
      { 6, &StepGenerator::nexthopChanges },
      { 6, &StepGenerator::peerChanges },
      { 2, &StepGenerator::reactorsStop },
   };
   U32 all = 0;
   for( const Choice& choice : choices )
      all += choice.weight;
   if( planned_.empty() && !running_ && below( 4 ) == 0 )
      plan( { Kind::start } );
   while( planned_.empty() ) {
      U32 drawn = below( all );
      const Choice* choice = choices;
      for( ; drawn >= choice->weight; ++choice )
         drawn -= choice->weight;
      ( this->*choice->draw )( now );
   }
   const Step step = planned_.front();
   planned_.pop_front();
   running_ = step.kind == Kind::start || ( running_ && step.kind != Kind::stop );
   return step;
}

void StepGenerator::interfaceComes( Switch now )
{
   const std::string intf = someEthernet(), port = somePort();
   plan( { Kind::status, intf, "", "bridged" } );
   if( below( 2 ) == 0 )
      plan( { Kind::status, intf, "", "routed" } );
   plan( { Kind::set, "scsd.intfToLogicalPort", intf, port } );
   plan( { Kind::set, "scsd.strataIntfToPort", intf, someUnit( now ) + "/" + port } );
}

void StepGenerator::interfaceGoes( Switch now )
{
   const std::string intf = someEthernet();
   const IntfId lag = now.scsd()->lagOfMember( IntfId( intf ) );
   if( !lag.empty() ) {
      std::vector<IntfId> others;
      for( const IntfId member : now.scsd()->lagMembers( lag ) )
         if( member != IntfId( intf ) )
            others.push_back( member );
      plan( { Kind::set, "scsd.lagMembers", lag.toString(), toText( IntfIdList( others ) ) } );
      plan( { Kind::del, "scsd.lagOfMember", intf } );
   }
   plan( { Kind::del, "scsd.strataIntfToPort", intf } );
   plan( { Kind::del, "scsd.intfToLogicalPort", intf } );
   plan( { Kind::noStatus, intf } );
}

// An interface gets its port back, or another one. Sometimes the two maps disagree for a while.
void StepGenerator::portComes( Switch now )
{
   const std::string intf = someEthernet();
   const U32* const known = now.scsd()->intfToLogicalPort().find( IntfId( intf ) );
   const std::string port = known && below( 3 ) != 0 ? std::to_string( *known ) : somePort();
   const U32 order = below( 5 );
   if( order != 0 )
      plan( { Kind::set, "scsd.intfToLogicalPort", intf, port } );
   plan( { Kind::set, "scsd.strataIntfToPort", intf, someUnit( now ) + "/" + port } );
   if( order == 0 )
      plan( { Kind::set, "scsd.intfToLogicalPort", intf, port } );
}

void StepGenerator::portGoes( Switch )
{
   const std::string intf = someEthernet();
   const U32 maps = below( 4 );
   if( maps == 0 )
      plan( { Kind::del, "scsd.intfToLogicalPort", intf } );
   plan( { Kind::del, "scsd.strataIntfToPort", intf } );
   if( maps == 1 )
      plan( { Kind::del, "scsd.intfToLogicalPort", intf } );
}

void StepGenerator::modelChanges( Switch )
{
   static const char* const models[] = { "routed", "routed", "bridged", "unknown" };
   const std::string intf = below( 3 ) == 0 ? someLag() : someEthernet();
   const U32 how = below( 10 );
   if( how == 0 )
      plan( { Kind::noStatus, intf } );
   else
      plan( { how == 1 ? Kind::freshStatus : Kind::status, intf, "", models[ below( 4 ) ] } );
}

void StepGenerator::lagChanges( Switch now )
{
   const std::string lag = someLag();
   std::vector<IntfId> members;
   for( U32 i = below( 5 ); i > 0; --i )
      if( const IntfId intf( someEthernet() ); std::ranges::count( members, intf ) == 0 )
         members.push_back( intf );
   if( below( 2 ) == 0 )
      plan( { Kind::status, lag, "", below( 2 ) == 0 ? "routed" : "bridged" } );
   const IntfIdList before = now.scsd()->lagMembers( IntfId( lag ) );
   plan( { Kind::set, "scsd.lagMembers", lag, toText( IntfIdList( members ) ) } );
   for( const IntfId member : before )
      if( std::ranges::count( members, member ) == 0 )
         plan( { Kind::del, "scsd.lagOfMember", member.toString() } );
   for( const IntfId member : members )
      plan( { Kind::set, "scsd.lagOfMember", member.toString(), lag } );
}

void StepGenerator::lagGoes( Switch now )
{
   const std::string lag = someLag();
   const IntfIdList members = now.scsd()->lagMembers( IntfId( lag ) );
   plan( { Kind::del, "scsd.lagMembers", lag } );
   for( const IntfId member : members )
      plan( { Kind::del, "scsd.lagOfMember", member.toString() } );
   plan( { Kind::noStatus, lag } );
}

// Makes the two maps of LAGs disagree, which an agent does not do.
void StepGenerator::partOfALagChanges( Switch )
{
   const std::string intf = someEthernet();
   if( below( 3 ) == 0 )
      plan( { Kind::del, "scsd.lagOfMember", intf } );
   else
      plan( { Kind::set, "scsd.lagOfMember", intf, someLag() } );
}

void StepGenerator::featureChanges( Switch now )
{
   static const char* const switches[] = { "pbr.pbrEnabled", "scsd.vxlanEnabled",
      "miscConfig.l2DualHash", "miscConfig.l3DualHash", "sourceIpLookup.l2TrafficRouting" };
   const U32 which = below( 6 );
   if( which < 5 )
      plan( { Kind::set, switches[ which ], "", onOrOff() } );
   else
      plan( { Kind::unitPort, someUnit( now ), somePort(), below( 2 ) == 0 ? "up" : "down" } );
}

// Times are multiples of an eighth, so that sums of them are exact.
void StepGenerator::dropChanges( Switch now )
{
   static const char* const times[] = { "0", "0.125", "0.5", "0.75", "2" };
   const U32 which = below( 12 );
   if( which < 4 )
      plan( { Kind::set, "miscConfig.unknownMacDropTrafficClass", someClass(), "true" } );
   else if( which < 6 )
      plan( { Kind::del, "miscConfig.unknownMacDropTrafficClass", someClass() } );
   else if( which == 6 )
      plan( { Kind::set, "miscConfig.syslogTimeout", "", times[ below( 5 ) ] } );
   else if( which < 9 )
      plan( { Kind::advance, "", "", times[ 1 + below( 4 ) ] } );
   else
      plan( { Kind::hits, someClass(), someUnit( now ), std::to_string( 1 + below( 50 ) ) } );
}

void StepGenerator::nexthopChanges( Switch )
{
   static const char* const values[] = { "", "programmed", "l3-egress", "programmed l3-egress" };
   static const Kind kinds[] = {
      Kind::nexthop, Kind::nexthop, Kind::noNexthop, Kind::nexthopInPlace };
   const Kind kind = kinds[ below( 4 ) ];
   plan( { kind, std::string( 1, static_cast<char>( 'a' + below( 3 ) ) ), "",
      kind == Kind::noNexthop ? "" : values[ below( 4 ) ] } );
}

// Half of the steps set everything that a redirect needs, so that later steps change an existing one.
void StepGenerator::peerChanges( Switch )
{
   static const char* const macs[] = {
      "00:00:00:00:00:00", "02:00:a1:00:00:01", "02:00:a1:00:00:02" };
   const U32 part = below( 8 );
   const bool all = part >= 4;
   const auto mostlyOn = [ & ] { return all || below( 2 ) == 0 ? "true" : "false"; };
   if( all || part == 0 )
      plan(
         { Kind::set, "mlagStatus.peerMacAddr", "", macs[ all ? 1 + below( 2 ) : below( 3 ) ] } );
   if( all || part == 1 )
      plan( { Kind::set, "mlagStatus.peerLinkIntf", "",
         below( 3 ) == 0 ? someEthernet() : someLag() } );
   if( all || part == 2 )
      plan( { Kind::set, "mlagStatus.peerMacRoutingEnabled", "", mostlyOn() } );
   if( all || part == 3 )
      plan( { Kind::set, "mlagHwStatus.peerMacRoutingSupported", "", mostlyOn() } );
}

} // namespace Strata
