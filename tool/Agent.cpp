#include "tool/Agent.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/Syslog.h"

namespace Strata::Tool {

Agent::Agent( const AgentConfig& config )
   : config_( config ),
     clock_( std::make_shared<Vormel::ManualClock>() ),
     hardware_( config.hardware ),
     helper_( newHelper() )
{
   hardware_.transcript().listenerIs( config.listener );
   Vormel::activityManager().clockIs( clock_ );
   Vormel::syslogClockIs( clock_.get() );
   hardware_.record( helper_, "helper" );
   helper_->tcamManagerIs( hardware_.tcamManager() );
   helper_->l2McastTableAllocationIs( hardware_.l2McastTableAllocation() );
}

Agent::~Agent()
{
   hardware_.forget( *helper_ );
   Vormel::syslogClockIs( nullptr );
   Vormel::activityManager().clockIs( std::make_shared<Vormel::RealClock>() );
}

Ref<RoutingStatusHelper> Agent::newHelper() const
{
   const Sim::SimSwitch& hw = hardware_;
   return Vormel::make<RoutingStatusHelper>( config_.helperName, hw.scsd(), hw.tcamGroupManager(),
      hw.pbrInfo(), config_.fabricMode.value_or( hw.profile().fabricMode ), hw.mlagStatus(),
      hw.mlagHwStatus(), hw.recircStatus(), hw.ethIntfStatusDir(), hw.intfVlanIdTable(),
      hw.urpfCommonData(), hw.virtualPortStatus(), hw.portSwTable() );
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
   if( const auto* const entity = std::get_if<Ref<const Entity>>( &value ); entity && *entity )
      for( const std::string& name : objectNames() )
         if( object( name ) == *entity )
            return name;
   return toText( value );
}

std::vector<std::string> Agent::objectNames() const
{
   std::vector<std::string> names{ "helper" };
   for( const std::string_view name : Sim::SimSwitch::objectNames() )
      names.emplace_back( name );
   for( const auto& manager : hardware_.tcamManagers() )
      names.push_back( manager->profile().name );
   return names;
}

} // namespace Strata::Tool
