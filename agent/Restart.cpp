// An agent that ends and starts again.
#include "agent/Agent.h"
#include "agent/AttributeValues.h"
#include "platform/runtime/EntityType.h"

#include <algorithm>
#include <utility>

namespace Strata::Tool {

using Vormel::IntfId;
using Vormel::Parameter;
using Vormel::Value;

/// The parameters that say what a call is about, in front of those that say what becomes of it.
static bool namesSubject( const Parameter& parameter )
{
   static const std::set<std::string_view> names{
      "unit", "index", "vlanId", "intf", "tc", "macType" };
   return names.contains( parameter.name );
}

/// "handleIpAddressState 10". A my-station entry that is cleared is the same as the one that was written.
static std::string subjectOf( const Vormel::Operation& operation, std::span<const Value> arguments )
{
   std::string text(
      operation.name() == "removeMyStationTcamEntry" ? "addMyStationTcamEntry" : operation.name() );
   const std::vector<Parameter>& parameters = operation.parameters();
   for( std::size_t i = 0; i < parameters.size() && namesSubject( parameters[ i ] ); ++i )
      text += " " + toText( arguments[ i ] );
   return text;
}

Value Agent::callWith( std::string_view operation, std::span<const Value> arguments )
{
   Value result = recorder_.callWith( operation, arguments );
   const Vormel::Operation& called = helper_->entityType().operation( operation );
   if( !operation.starts_with( "verify" ) )
      requested( { subjectOf( called, arguments ), std::string( operation ),
         { arguments.begin(), arguments.end() } } );
   return result;
}

void Agent::requested( Request request )
{
   std::erase_if(
      requests_, [ & ]( const Request& before ) { return before.subject == request.subject; } );
   requests_.push_back( std::move( request ) );
}

/// Calls about VLANs and interfaces that were removed meanwhile are not repeated.
bool Agent::isPossible( const Request& request ) const
{
   const auto& parameters = helper_->entityType().operation( request.operation ).parameters();
   const std::string subject = parameters.empty() ? std::string() : parameters.front().name;
   if( subject == "vlanId" ) {
      const std::string vlanId = toText( request.arguments.front() );
      const auto& vlans = hardware_.chips().begin()->second.vlans();
      return std::ranges::any_of(
         vlans, [ & ]( const auto& vlan ) { return std::to_string( vlan.first ) == vlanId; } );
   }
   if( subject == "intf" ) {
      const auto intf = IntfId::parse( toText( request.arguments.front() ) );
      return intf &&
             ( intf->isPortChannel() || hardware_.scsd()->strataIntfToPort().contains( *intf ) );
   }
   return true;
}

Agent::Inputs Agent::takeInputs()
{
   Inputs inputs;
   for( const auto& known : Sim::SimSwitch::objects() ) {
      const Ref<Entity> object = known.in( hardware_ );
      const Values& initial = initialValues_[ object.get() ];
      for( const AttributeValue& value : attributeValues( *object ) ) {
         const Vormel::AttributeInfo& info = value.attribute->info();
         const auto before = initial.find( value.name );
         const std::string text = valueText( value.value );
         if( info.number == 0 || ( before != initial.end() && before->second == text ) )
            continue;
         const auto atStart = inputsAtStart_.find( { known.name, value.name } );
         const bool early = atStart != inputsAtStart_.end() && atStart->second == text;
         if( info.maintainer == "agent" )
            ( early ? inputs.early : inputs.late )
               .push_back( { object, value.attribute, value.key, value.value } );
         if( !value.key )
            value.attribute->write( *object, before->second );
         else if( before != initial.end() )
            value.attribute->write( *object, *value.key, before->second );
         else
            value.attribute->del( *object, *value.key );
      }
   }
   return inputs;
}

void Agent::noteInputs()
{
   inputsAtStart_.clear();
   for( const auto& known : Sim::SimSwitch::objects() )
      for( const AttributeValue& value : attributeValues( *known.in( hardware_ ) ) )
         inputsAtStart_[ { known.name, value.name } ] = valueText( value.value );
}

void Agent::deliver( std::vector<Input> inputs )
{
   // An interface's number is known before its port is.
   std::ranges::stable_partition( inputs,
      []( const Input& input ) { return input.attribute->info().name == "intfToLogicalPort"; } );
   for( const Input& input : inputs )
      if( input.key )
         input.attribute->write( *input.object, *input.key, input.value );
      else
         input.attribute->write( *input.object, input.value );
}

std::vector<std::string> Agent::restart( Restart kind )
{
   const std::vector<Request> requests = std::exchange( requests_, {} );
   const bool reacts = std::ranges::any_of(
      requests, []( const Request& request ) { return request.operation.empty(); } );
   const Ref<RoutingStatusHelper> former = helper_;
   // Calls that they are in may still refer to them.
   if( reactor_ )
      reactor_->zombieIs();
   if( arpRedirect_ )
      arpRedirect_->zombieIs();
   dropReactors();
   const Inputs inputs = takeInputs();
   hardware_.forget( *former );
   initialValues_.erase( former.get() );
   if( kind == Restart::cold )
      hardware_.reset();
   else
      hardware_.abandon();
   helper_ = newHelper();
   introduceHelper();
   for( const auto& attribute : helper_->entityType().attributes() ) {
      const Vormel::AttributeInfo& info = attribute->info();
      if( info.kind == Vormel::AttributeKind::Scalar && info.maintainer == "agent" )
         attribute->write( *helper_, attribute->read( *former ) );
   }
   deliver( inputs.early );
   if( !reacts )
      deliver( inputs.late );
   // What was delivered is not the cause of the calls that are repeated.
   const std::string cause = kind == Restart::cold ? "restart cold" : "restart warm";
   for( const Request& request : requests ) {
      hardware_.causeIs( cause );
      if( request.operation.empty() ) {
         startReactors( request.without );
         deliver( inputs.late );
      } else if( isPossible( request ) )
         callWith( request.operation, request.arguments );
   }
   hardware_.causeIs( cause );
   return hardware_.sweep();
}

} // namespace Strata::Tool
