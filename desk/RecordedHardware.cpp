#include "desk/RecordedHardware.h"

#include "desk/SdkCallReader.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>
#include <vector>

namespace Strata::Desk {

namespace {

constexpr std::string_view simulated = "simulated ";

struct GroupName
{
   std::string_view name;
   TcamGroup group;
};
constexpr std::array groupNames{ GroupName{ "urpfSingleWide", TcamGroup::urpfSingleWide },
   GroupName{ "urpfDoubleWide", TcamGroup::urpfDoubleWide },
   GroupName{ "ttlCheck", TcamGroup::ttlCheck }, GroupName{ "phpLspPing", TcamGroup::phpLspPing },
   GroupName{ "peerMacArp", TcamGroup::peerMacArp } };

/// A number that a record has, of the type that is wanted.
template<class Number>
Number numberOf( const RecordingFile& recording, const RecordedLine& record, const Json& json,
   const char* member )
{
   const Json& value = json.at( member );
   if( value.is_number_unsigned() && std::in_range<Number>( value.get<U64>() ) )
      return static_cast<Number>( value.get<U64>() );
   recording.fail( record, "'" + std::string( member ) + "' cannot be " + value.dump() );
}

StrataUnit unitOf( const RecordingFile& recording, const RecordedLine& record, const Json& json )
{
   StrataUnit unit;
   unit.chipInfo.model = decodedText( json.at( "model" ) );
   unit.modId = numberOf<U32>( recording, record, json, "modId" );
   const auto ports = portsFrom( json.at( "ports" ) );
   if( !ports )
      recording.fail( record,
         "'ports' cannot be " + json.at( "ports" ).dump() + "; ports are such as \"0-4,258\"" );
   unit.ports = *ports;
   if( json.contains( "loopbackPort" ) )
      unit.loopbackPort = numberOf<int>( recording, record, json, "loopbackPort" );
   unit.hasIpOptionsProfile = json.at( "hasIpOptionsProfile" ).get<bool>();
   return unit;
}

Sim::ChipProfile profileOf( const StrataUnit& unit, const Json& json )
{
   const std::string_view model = unit.chipInfo.model;
   const std::string_view name =
      model.starts_with( simulated ) ? model.substr( simulated.size() ) : "";
   const auto known = std::ranges::find( Sim::chipProfiles(), name, &Sim::ChipProfile::name );
   Sim::ChipProfile profile = known != Sim::chipProfiles().end() ? *known
                              : json.value( "usesHsdk", false )  ? Sim::chipProfile( "hsdk" )
                                                                 : Sim::chipProfile( "register" );
   if( known == Sim::chipProfiles().end() )
      profile.name = model;
   for( const std::string_view capability : Sim::capabilityNames() )
      if( const auto at = json.find( capability ); at != json.end() && at->is_boolean() )
         profile.capabilityIs( capability, at->get<bool>() );
   profile.specialPorts.loopback = unit.loopbackPort;
   profile.hasIpOptionsProfile = unit.hasIpOptionsProfile;
   return profile;
}

/// Gives the ranges the ids that the recording has. Ranges that the agent never had, and whose ids it uses, are left out.
void setGroups( Sim::ChipProfile& profile, const std::map<std::string, U32>& bases )
{
   const auto recordedBase = [ & ]( const Sim::FieldGroupProfile& group ) {
      return std::ranges::find_if(
         bases, [ & ]( const auto& item ) { return groupNamed( item.first ) == group.key; } );
   };
   std::vector<Sim::FieldGroupProfile> recorded;
   for( Sim::FieldGroupProfile& group : profile.groups )
      if( const auto base = recordedBase( group ); base != bases.end() ) {
         group.base = base->second;
         recorded.push_back( group );
      }
   std::erase_if( profile.groups, [ & ]( const Sim::FieldGroupProfile& group ) {
      return recordedBase( group ) == bases.end() &&
             std::ranges::any_of( recorded, [ & ]( const Sim::FieldGroupProfile& other ) {
                return group.base < other.base + other.size && other.base < group.base + group.size;
             } );
   } );
}

} // namespace

std::string decodedText( const Json& json )
{
   if( !json.is_string() )
      return json.dump();
   std::string text;
   const auto encoded = json.get<std::string>();
   for( std::size_t i = 0; i < encoded.size(); ++i ) {
      const auto byte = static_cast<unsigned char>( encoded[ i ] );
      if( ( byte == 0xC2 || byte == 0xC3 ) && i + 1 < encoded.size() )
         text += static_cast<char>(
            ( byte & 3 ) << 6 | ( static_cast<unsigned char>( encoded[ ++i ] ) & 0x3F ) );
      else
         text += encoded[ i ];
   }
   return text;
}

std::optional<TcamGroup> groupNamed( std::string_view name )
{
   const auto at = std::ranges::find( groupNames, name, &GroupName::name );
   return at == groupNames.end() ? std::nullopt : std::optional( at->group );
}

Ref<Sim::SimTcamEntryManager> managerNamed( const Sim::SimSwitch& hardware, std::string_view name )
{
   const auto key = groupNamed( name );
   const auto at = std::ranges::find_if( hardware.tcamManagers(),
      [ & ]( const auto& manager ) { return manager->profile().key == key; } );
   return at == hardware.tcamManagers().end() ? nullptr : *at;
}

void setUnit( const RecordingFile& recording, const RecordedLine& record, StrataCommonSmData& scsd )
{
   const Json json = record.json();
   const StrataUnit unit = unitOf( recording, record, json );
   strataAttributes().chipAttributesIs( unit.chipInfo, profileOf( unit, json ).attributes );
   scsd.units().unitIs( numberOf<U16>( recording, record, json, "unit" ), unit );
}

Sim::SimSwitchConfig hardwareOf( const RecordingFile& recording )
{
   Sim::SimSwitchConfig config;
   config.units.clear();
   std::map<std::string, U32> bases;
   for( const RecordedLine& record : recording.records() ) {
      if( record.kind == RecordedKind::manager ) {
         const Json json = record.json();
         bases.insert_or_assign( decodedText( json.at( "manager" ) ),
            numberOf<U32>( recording, record, json, "baseEntryId" ) );
      }
      if( record.kind != RecordedKind::unit )
         continue;
      const Json json = record.json();
      const U32 number = numberOf<U16>( recording, record, json, "unit" );
      if( std::ranges::find( config.units, number ) != config.units.end() )
         continue; // it has changed
      config.units.push_back( number );
      if( config.chip )
         continue;
      const StrataUnit unit = unitOf( recording, record, json );
      config.chip = profileOf( unit, json );
      PortBitmap frontPanel = unit.ports;
      for( const auto& port : { std::optional( config.chip->specialPorts.cpu ),
              config.chip->specialPorts.loopback, config.chip->specialPorts.recirculation } )
         if( port && *port >= 0 )
            frontPanel.remove( static_cast<U32>( *port ) );
      config.ports = frontPanel.count();
   }
   if( config.units.empty() )
      throw RecordingError( recording.name(), 0,
         "has no unit: the agent gave it no shared data, so there is nothing to make a switch of" );
   setGroups( *config.chip, bases );
   try {
      Sim::SimSwitch::check( config );
   } catch( const Vormel::ValueError& error ) {
      throw RecordingError(
         recording.name(), 0, std::string( "cannot be simulated: " ) + error.what() );
   }
   return config;
}

} // namespace Strata::Desk
