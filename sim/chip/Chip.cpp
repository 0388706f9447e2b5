#include "sim/chip/Chip.h"

#include "platform/runtime/Errors.h"
#include "sim/chip/RegisterLayout.h"

#include <algorithm>
#include <cstddef>

namespace Strata::Sim {

std::string ChipVlan::flagsText() const
{
   std::string text;
   for( const VlanFlag flag : flags )
      text += ( text.empty() ? "" : ", " ) + std::string( roleName( flag ) );
   return text.empty() ? "none" : text;
}

Chip::Chip(
   U32 unit, U32 modId, const ChipProfile& profile, U32 frontPanelPorts, U32 firstLogicalPort )
   : resolvesHigigTrunksAsLag( profile.resolvesHigigTrunksAsLag ),
     unit_( unit ),
     modId_( modId ),
     profile_( profile ),
     firstLogicalPort_( firstLogicalPort ),
     myStation_( profile.myStationEntries )
{
   for( U32 port = 0; port < frontPanelPorts; ++port )
      frontPanel_.add( firstLogicalPort + port );
   active_ = ports_ = frontPanel_;
   const SpecialPorts& special = profile.specialPorts;
   ports_.add( static_cast<U32>( special.cpu ) );
   for( const auto& port : { special.loopback, special.recirculation } )
      if( port )
         ports_.add( static_cast<U32>( *port ) );
   resetRegisters();
   for( const FieldGroupProfile& group : profile.groups )
      groups_.emplace_back( group );
   vlanIs( 1 );
}

void Chip::resetRegisters()
{
   for( std::size_t i = 0; i < registers_.size(); ++i )
      registers_[ i ] = registerReset( static_cast<Register>( i ) );
}

void Chip::reset()
{
   fieldLocked = false;
   hasRouted_ = false;
   controls_.clear();
   portSwitchControls_.clear();
   portControls_.clear();
   resetRegisters();
   myStation_ = MyStationTable( profile_.myStationEntries );
   for( auto& [ id, vlan ] : vlans_ ) {
      vlan.flags.clear();
      vlan.members.add( static_cast<U32>( profile_.specialPorts.cpu ) );
   }
   ipOptionsProfiles_.clear();
   abandonedProfiles_.clear();
   causes_.clear();
   for( FieldGroup& group : groups_ ) {
      const U32 room = group.room();
      group = FieldGroup( FieldGroupProfile( group.profile() ) );
      group.roomIs( room );
   }
}

void Chip::abandon()
{
   fieldLocked = false;
   for( const auto& [ id, action ] : ipOptionsProfiles_ )
      abandonedProfiles_.insert( id );
   for( FieldGroup& group : groups_ )
      group.abandon();
}

std::vector<std::string> Chip::sweep()
{
   std::vector<std::string> names;
   for( FieldGroup& group : groups_ )
      for( const std::string& name : group.sweep() )
         names.push_back( group.profile().name + " \"" + name + "\"" );
   for( const int id : abandonedProfiles_ ) {
      ipOptionsProfiles_.erase( id );
      names.push_back( "IPv4 options profile " + std::to_string( id ) );
   }
   abandonedProfiles_.clear();
   return names;
}

std::optional<U32> Chip::logicalPort( int sdkPort ) const
{
   if( sdkPort < 0 || sdkPort >= static_cast<int>( PortBitmap::size ) )
      return std::nullopt;
   const U32 port = static_cast<U32>( sdkPort );
   const U32 ofPanel = firstLogicalPort_ + port - 1;
   if( port >= 1 && ofPanel < PortBitmap::size && frontPanel_.contains( ofPanel ) )
      return ofPanel;
   const bool internal = ports_.contains( port ) && !frontPanel_.contains( port );
   return internal ? std::optional( port ) : std::nullopt;
}

U32 Chip::sdkPort( U32 logicalPort ) const
{
   return frontPanel_.contains( logicalPort ) ? logicalPort - firstLogicalPort_ + 1 : logicalPort;
}

PortBitmap Chip::sdkPorts() const
{
   PortBitmap numbers;
   for( const U32 port : ports_ )
      numbers.add( sdkPort( port ) );
   return numbers;
}

void Chip::portActiveIs( int sdkPort, bool active )
{
   const auto port = logicalPort( sdkPort );
   if( !port || !frontPanel_.contains( *port ) )
      throw Vormel::ValueError( "the front-panel ports of unit " + std::to_string( unit_ ) +
                                " are 1 to " + std::to_string( frontPanel_.count() ) + ", not " +
                                std::to_string( sdkPort ) );
   if( active )
      active_.add( *port );
   else
      active_.remove( *port );
}

const Cause* Chip::cause( const ChipPlace& place ) const
{
   const auto at = causes_.find( place );
   return at == causes_.end() ? nullptr : &at->second;
}

void Chip::trapsTtlExceptionsIs( bool traps )
{
   if( traps != trapsTtlExceptions_ && hasRouted_ )
      throw Vormel::ValueError( "traps-ttl-exceptions of unit " + std::to_string( unit_ ) +
                                " cannot change once routing has been on" );
   trapsTtlExceptions_ = traps;
}

static bool fits( SwitchControl control, int value )
{
   return value >= 0 && value <= ( control == SwitchControl::CpuProtoIpOptionsPriority ? 7 : 1 );
}

SdkCode Chip::controlIs( SwitchControl control, int value )
{
   if( !profile_.supports( control ) )
      return SdkCode::Unavail;
   if( !fits( control, value ) )
      return SdkCode::Param;
   controls_[ control ] = value;
   hasRouted_ = hasRouted_ || ( control == SwitchControl::L3EgressMode && value != 0 );
   std::erase_if(
      portSwitchControls_, [ & ]( const auto& item ) { return item.first.second == control; } );
   return SdkCode::None;
}

SdkCode Chip::controlIs( int port, SwitchControl control, int value )
{
   if( !hasPort( port ) )
      return SdkCode::Port;
   if( !profile_.supports( control ) )
      return SdkCode::Unavail;
   if( !fits( control, value ) )
      return SdkCode::Param;
   portSwitchControls_[ { port, control } ] = value;
   return SdkCode::None;
}

int Chip::control( SwitchControl control ) const
{
   const auto at = controls_.find( control );
   return at == controls_.end() ? 0 : at->second;
}

int Chip::control( int port, SwitchControl which ) const
{
   const auto at = portSwitchControls_.find( { port, which } );
   return at == portSwitchControls_.end() ? control( which ) : at->second;
}

SdkCode Chip::portControlIs( int port, PortControl control, int value )
{
   if( !hasPort( port ) )
      return SdkCode::Port;
   if( value != 0 && value != 1 )
      return SdkCode::Param;
   portControls_[ { port, control } ] = value;
   return SdkCode::None;
}

void Chip::vlanIs( U16 vlanId )
{
   const auto [ at, isNew ] = vlans_.try_emplace( vlanId );
   if( !isNew )
      return;
   ChipVlan& vlan = at->second;
   vlan.otherFlags = 0x5;
   vlan.rest.fill( static_cast<std::byte>( vlanId ) );
   vlan.members = vlan.untagged = frontPanel_;
   vlan.members.add( static_cast<U32>( profile_.specialPorts.cpu ) );
}

ChipVlan* Chip::vlan( U16 vlanId )
{
   const auto at = vlans_.find( vlanId );
   return at == vlans_.end() ? nullptr : &at->second;
}

SdkCode Chip::ipOptionsProfileCreate( IpOptionAction action, int& profile )
{
   // A new agent gets back what an earlier one has left.
   for( const int id : abandonedProfiles_ )
      if( ipOptionsProfiles_.at( id ) == action ) {
         abandonedProfiles_.erase( id );
         profile = id;
         return SdkCode::None;
      }
   for( int id = 1; id <= static_cast<int>( profile_.ipOptionsProfiles ); ++id ) {
      if( !ipOptionsProfiles_.emplace( id, action ).second )
         continue;
      profile = id;
      return SdkCode::None;
   }
   return SdkCode::Full;
}

SdkCode Chip::ipOptionsProfileDestroy( int profile )
{
   abandonedProfiles_.erase( profile );
   return ipOptionsProfiles_.erase( profile ) != 0 ? SdkCode::None : SdkCode::NotFound;
}

FieldGroup* Chip::group( std::string_view name )
{
   for( FieldGroup& group : groups_ )
      if( group.profile().name == name )
         return &group;
   return nullptr;
}

FieldGroup* Chip::groupOf( U32 entryId )
{
   for( FieldGroup& group : groups_ )
      if( group.contains( entryId ) )
         return &group;
   return nullptr;
}

bool Chip::wasTurnedAway( U32 entryId ) const
{
   return std::ranges::any_of( groups_, [ & ]( const FieldGroup& group ) {
      const std::set<U32>& ids = group.turnedAway();
      return entryId == 0 ? !ids.empty() : ids.contains( entryId );
   } );
}

} // namespace Strata::Sim
