#include "agent/Agent.h"

#include "agent/AttributeValues.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <array>
#include <utility>

namespace Strata::Tool {

/// Records traces and log messages during its lifetime, before the sinks of the hardware get them.
class Agent::RecordedSinks
{
 public:
   explicit RecordedSinks( Recorder& recorder )
      : traceSink_( Vormel::traceSinkIs( {} ) ),
        syslogSink_( Vormel::syslogSinkIs( {} ) )
   {
      Vormel::traceSinkIs( [ &recorder, next = traceSink_ ]( const Vormel::TraceRecord& record ) {
         recorder.trace( record );
         if( next )
            next( record );
      } );
      Vormel::syslogSinkIs(
         [ &recorder, next = syslogSink_ ]( const Vormel::SyslogRecord& record ) {
            recorder.log( record );
            if( next )
               next( record );
         } );
   }
   RecordedSinks( const RecordedSinks& ) = delete;
   RecordedSinks& operator=( const RecordedSinks& ) = delete;
   ~RecordedSinks()
   {
      Vormel::traceSinkIs( std::move( traceSink_ ) );
      Vormel::syslogSinkIs( std::move( syslogSink_ ) );
   }

 private:
   Vormel::TraceSink traceSink_;
   Vormel::SyslogSink syslogSink_;
};

Agent::Agent( const AgentConfig& config )
   : config_( config ),
     clock_( std::make_shared<Vormel::ManualClock>() ),
     hardware_( config.hardware ),
     recorder_( config.recordingFile, config.recordingLimit ),
     recordedSinks_(
        recorder_.recording() ? std::make_unique<RecordedSinks>( recorder_ ) : nullptr ),
     helper_( newHelper() )
{
   hardware_.transcript().listenerIs( config.listener, config.hears );
   hardware_.transcript().keepIs( config.keepsRecords );
   Vormel::activityManager().clockIs( clock_ );
   Vormel::syslogClockIs( clock_.get() );
   for( const std::string& name : objectNames() )
      initialValues_[ object( name ).get() ] = valuesOf( *object( name ) );
   sdkShimIs( &recorder_.shim( hardware_.observedShim() ) );
   recorder_.clock( *clock_ );
   recorder_.sharedData( hardware_.scsd() );
   for( const auto& known : Sim::SimSwitch::objects() )
      if( known.name != "scsd" )
         recorder_.input( std::string( known.name ), known.in( hardware_ ) );
   introduceHelper();
}

void Agent::introduceHelper()
{
   initialValues_[ helper_.get() ] = valuesOf( *helper_ );
   hardware_.record( helper_, "helper" );
   recorder_.helper( helper_ );
   helper_->tcamManagerIs( recorder_.manager( "main", hardware_.tcamManager() ) );
   helper_->l2McastTableAllocationIs( hardware_.l2McastTableAllocation() );
}

Agent::~Agent()
{
   stop();
   sdkShimIs( &hardware_.observedShim() ); // the recorder's is destroyed before the switch
   hardware_.forget( *helper_ );
   Vormel::syslogClockIs( nullptr );
   Vormel::activityManager().clockIs( std::make_shared<Vormel::RealClock>() );
}

void Agent::bringUp()
{
   call( "init", true, true );
   call( "l3Init", true );
   startReactors();
}

std::span<const std::string_view> Agent::optionalInputs()
{
   static constexpr std::array<std::string_view, 6> names{
      "features", "pbr", "ethIntfStatusDir", "sourceIpLookup", "hwStatus", "nexthops" };
   return names;
}

void Agent::startReactors( const std::set<std::string_view>& without )
{
   const auto unless = [ & ]( std::string_view name, const auto& input ) {
      return without.contains( name ) ? nullptr : input;
   };
   dropReactors();
   noteInputs();
   const Ref<RoutingStatusSm> made = recorder_.make( "RoutingStatusSm", RoutingStatusSmIs,
      hardware_.scsd(), unless( "features", hardware_.features() ), hardware_.miscConfig(), helper_,
      unless( "pbr", hardware_.pbrInfo() ),
      unless( "ethIntfStatusDir", hardware_.ethIntfStatusDir() ),
      unless( "sourceIpLookup", hardware_.sourceIpLookup() ),
      unless( "hwStatus", hardware_.hwStatus() ),
      unless( "nexthops", hardware_.nexthopStatusDir() ) );
   reactor_ = made;
   // The agent calls the handlers for objects that exist already, because the reactors are only notified of changes.
   recorder_.run( "handleStrataIntfToPort", [ & ] { made->handleStrataIntfToPort(); } );
   recorder_.run( "handleL2TrafficRoutingStatus", [ & ] { made->handleL2TrafficRoutingStatus(); } );
   if( reactor_ != made ) // a subscriber has stopped the reactors
      return;
   arpRedirect_ = recorder_.make( "L3PeerMacArpRedirectSm", l3PeerMacArpRedirectSmFactory,
      hardware_.scsd(), hardware_.mlagStatus(), hardware_.mlagHwStatus(), helper_ );
   requested( { .subject = "reactors", .without = without } );
}

void Agent::stop()
{
   std::erase_if( requests_, []( const Request& request ) { return request.operation.empty(); } );
   dropReactors();
}

void Agent::dropReactors()
{
   if( arpRedirect_ )
      recorder_.drop( "L3PeerMacArpRedirectSm", arpRedirect_ );
   if( reactor_ )
      recorder_.drop( "RoutingStatusSm", reactor_ );
}

Ref<RoutingStatusHelper> Agent::newHelper()
{
   const Sim::SimSwitch& hw = hardware_;
   return Vormel::make<RoutingStatusHelper>( config_.helperName, hw.scsd(),
      recorder_.groupManager( hw.tcamGroupManager() ), hw.pbrInfo(),
      config_.fabricMode.value_or( hw.profile().fabricMode ), hw.mlagStatus(), hw.mlagHwStatus(),
      hw.recircStatus(), hw.ethIntfStatusDir(), hw.intfVlanIdTable(), hw.urpfCommonData(),
      hw.virtualPortStatus(), recorder_.portSwTable( hw.portSwTable() ) );
}

Agent::Values Agent::valuesOf( const Entity& object ) const
{
   Values values;
   for( const AttributeValue& value : attributeValues( object ) )
      values[ value.name ] = valueText( value.value );
   return values;
}

Agent::Values Agent::initialValues( const Entity& object ) const
{
   const auto known = initialValues_.find( &object );
   return known == initialValues_.end() ? Values() : known->second;
}

Ref<Entity> Agent::object( std::string_view name ) const
{
   if( name == "helper" )
      return helper_;
   if( const auto manager = hardware_.tcamManager( name ) )
      return manager;
   return hardware_.object( name );
}

std::string Agent::valueText( const Vormel::Value& value ) const
{
   if( const auto* const entity = std::get_if<Vormel::ObjectRef>( &value ); entity && *entity )
      for( const std::string& name : objectNames() )
         if( object( name ) == *entity )
            return name;
   return toText( value );
}

std::vector<std::string> Agent::objectNames() const
{
   std::vector<std::string> names{ "helper" };
   for( const auto& known : Sim::SimSwitch::objects() )
      names.emplace_back( known.name );
   for( const auto& manager : hardware_.tcamManagers() )
      names.push_back( manager->profile().name );
   return names;
}

} // namespace Strata::Tool
