#include "desk/Twin.h"

#include "desk/RecordedHardware.h"
#include "desk/RecordedObjects.h"
#include "desk/SdkCallReader.h"
#include "platform/runtime/Errors.h"
#include "platform/sdk/ArgumentNames.h"
#include "recording/SdkDictionary.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Strata::Desk {

namespace {

using Vormel::ValueError;

template<class Parameter>
using Stored = std::remove_cv_t<std::remove_pointer_t<std::remove_cvref_t<Parameter>>>;

template<class Parameter>
decltype( auto ) passed( Stored<Parameter>& value )
{
   if constexpr( std::is_pointer_v<Parameter> )
      return &value;
   else
      return ( value );
}

struct SdkCall
{
   std::string_view name;
   int ( *make )(
      SdkShimInterface& shim, const Recording::SdkDictionary& names, const Json& arguments );
};

template<class... Parameters>
int made( SdkShimInterface& shim, int ( SdkShimInterface::*method )( Parameters... ),
   SdkCallReader reader, const Json& arguments )
{
   std::tuple<Stored<Parameters>...> values{};
   reader.read( arguments, values );
   return std::apply(
      [ & ]( auto&... value ) { return ( shim.*method )( passed<Parameters>( value )... ); },
      values );
}

constexpr auto sdkCalls = std::to_array<SdkCall>( {
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   { #name, \
      []( SdkShimInterface& shim, const Recording::SdkDictionary& names, const Json& given ) { \
         return made( shim, &SdkShimInterface::method, \
            SdkCallReader( names, SdkOperation::method, #arguments ), given ); \
      } },
#include "platform/sdk/SdkOperations.def"
} );

/// The operation that writes what the operation reads, and the other operations themselves.
std::string_view writing( std::string_view call )
{
   static constexpr std::array<std::pair<SdkOperation, SdkOperation>, 5> reads{ {
      { SdkOperation::vlanControlGet, SdkOperation::vlanControlSet },
      { SdkOperation::register32Get, SdkOperation::register32Set },
      { SdkOperation::register64Get, SdkOperation::register64Set },
      { SdkOperation::ingMiscConfigRead, SdkOperation::ingMiscConfigWrite },
      { SdkOperation::memoryRead, SdkOperation::memoryWrite },
   } };
   for( const auto& [ read, write ] : reads )
      if( call == roleName( read ) )
         return roleName( write );
   return call;
}

// Arguments of entry managers.

void take( const Json& json, bool& value )
{
   if( !json.is_boolean() )
      throw ValueError( "true or false cannot be " + json.dump() );
   value = json.get<bool>();
}

template<class Number>
requires std::is_integral_v<Number>
void take( const Json& json, Number& value )
{
   if( json == "fieldEntryEnableMode" )
      value = static_cast<Number>( sdkShimInUse().fieldEntryEnableMode() );
   else if( json.is_number_integer() && std::in_range<Number>( json.get<S64>() ) )
      value = static_cast<Number>( json.get<S64>() );
   else
      throw ValueError( "an argument cannot be " + json.dump() );
}

void take( const Json& json, std::string& value )
{
   value = decodedText( json );
}

void take( const Json& json, PortBitmap& value )
{
   const auto ports = portsFrom( json );
   if( !ports )
      throw ValueError( "ports cannot be " + json.dump() );
   value = *ports;
}

void take( const Json& json, RequestKey& value )
{
   const auto text = [ & ]( const char* name ) {
      return json.is_object() && json.contains( name ) ? decodedText( json.at( name ) )
                                                       : std::string();
   };
   value = { text( "feature" ), json.is_object() && json.value( "orNext", Json() ) == true,
      text( "detail" ) };
}

/// Returns whether it succeeded.
template<class Result, class Manager, class... Parameters>
bool made( StrataTcamEntryManager& manager, Result ( Manager::*method )( Parameters... ),
   std::string_view names, const Json& arguments )
{
   std::tuple<Stored<Parameters>...> values{};
   const auto takeOne = [ & ]( auto& value ) {
      const std::string name( takeArgumentName( names ) );
      if( !arguments.contains( name ) )
         throw ValueError( "the argument '" + name + "' is missing" );
      take( arguments.at( name ), value );
   };
   return std::apply(
      [ & ]( auto&... value ) {
         ( takeOne( value ), ... );
         if constexpr( std::is_void_v<Result> ) {
            ( manager.*method )( value... );
            return true;
         } else if constexpr( std::is_same_v<Result, int> )
            return ( manager.*method )( value... ) == sdkShimInUse().successCode();
         else
            return ( manager.*method )( value... ) != 0; // the id of a claim
      },
      values );
}

struct ManagerCall
{
   std::string_view name;
   bool ( *make )( StrataTcamEntryManager& manager, const Json& arguments );
};

constexpr auto managerCalls = std::to_array<ManagerCall>( {
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   { #method, []( StrataTcamEntryManager& manager, const Json& given ) { \
       return made( manager, &StrataTcamEntryManager::method, #arguments, given ); \
    } },
#include "platform/sdk/TcamOperations.def"
} );

/// Follows one recording.
class TwinMaker
{
 public:
   TwinMaker( const RecordingFile& recording, Sim::SimSwitch& hardware,
      const Vormel::Ref<RoutingStatusHelper>& helper )
      : recording_( recording ),
        hardware_( hardware ),
        names_( hardware.shim() ),
        objects_( recording, hardware )
   {
      objects_.add( "helper", helper );
      for( const RecordedLine& record : recording.records() )
         if( record.kind == RecordedKind::manager ) {
            const std::string name = decodedText( record.json().at( "manager" ) );
            if( const auto manager = managerNamed( hardware_, name ) )
               objects_.add( name, manager );
         }
   }

   std::vector<std::string> run()
   {
      for( const RecordedLine& record : recording_.records() )
         try {
            follow( record );
         } catch( const Vormel::Error& error ) {
            recording_.fail( record, error.what() );
         }
      hardware_.transcript().lastNumberIs( recording_.records().back().number );
      if( refused_ > 0 )
         notes_.push_back( std::to_string( refused_ ) +
                           ( refused_ == 1 ? " recorded call is" : " recorded calls are" ) +
                           " refused by the simulated chip, the first in " + firstRefused_ );
      return std::move( notes_ );
   }

 private:
   void follow( const RecordedLine& record );
   void change( const RecordedLine& record );
   void call( const RecordedLine& record, const Json& begin, const Json& end );
   void sdkCall( const RecordedLine& record, const Json& begin, const Json& end );
   void managerCall( const RecordedLine& record, const Json& begin, const Json& end );
   void answer( const Json& question );
   void refused( const RecordedLine& record, const Json& begin, const std::string& why );
   Sim::Chip* chipOf( const Json& arguments );

   const RecordingFile& recording_;
   Sim::SimSwitch& hardware_;
   const Recording::SdkDictionary names_;
   RecordedObjects objects_;
   std::map<std::pair<U32, S64>, S64>
      profiles_; // ids of IPv4 options profiles on the twin, by unit and recorded id
   std::vector<std::string> notes_;
   std::size_t refused_ = 0;
   std::string firstRefused_;
};

void TwinMaker::follow( const RecordedLine& record )
{
   switch( record.kind ) {
   case RecordedKind::unit:
      return setUnit( recording_, record, *hardware_.scsd() );
   case RecordedKind::state:
      objects_.stateIs( record );
      return;
   case RecordedKind::input:
      return change( record );
   case RecordedKind::question:
      return answer( record.json() );
   case RecordedKind::chip: {
      const Json json = record.json();
      return call( record, json, json );
   }
   case RecordedKind::begin: {
      const Json json = record.json();
      if( const RecordedLine* const end = recording_.endOf( record.number ) )
         return call( record, json, end->json() );
      if( &record != &recording_.records().back() )
         return refused( record, json, "it has no record 'end'" );
      notes_.push_back( "the recording ends within " + recordText( json ) +
                        ": whether the chip did it is not known; the twin did not" );
      return;
   }
   default:
      return;
   }
}

void TwinMaker::change( const RecordedLine& record )
{
   objects_.changeOf( record, record.json() ).apply();
}

Sim::Chip* TwinMaker::chipOf( const Json& arguments )
{
   const Json unit = arguments.value( "unit", Json() );
   if( !unit.is_number_unsigned() )
      return nullptr;
   const auto at = hardware_.chips().find( unit.get<U32>() );
   return at == hardware_.chips().end() ? nullptr : &at->second;
}

void TwinMaker::call( const RecordedLine& record, const Json& begin, const Json& end )
{
   const Json code = end.value( "code", Json( "success" ) );
   const bool succeeded = code == "success" || ( code.is_number_integer() && code.get<S64>() >= 0 );
   if( !succeeded || end.value( "result", Json() ) == 0 ) // 0 is the id of a claim that was refused
      return;
   hardware_.causeIs( recording_.eventText( begin ) );
   hardware_.transcript().lastNumberIs(
      record.number - 1 ); // so that causes have the recorded numbers
   if( begin.contains( "manager" ) )
      managerCall( record, begin, end );
   else
      sdkCall( record, begin, end );
}

void TwinMaker::sdkCall( const RecordedLine& record, const Json& begin, const Json& end )
{
   const auto name = begin.at( "call" ).get<std::string>();
   Json arguments = begin.at( "arguments" );
   const Json results = end.value( "results", Json::object() );
   const std::string_view written = writing( name );
   if( written != name )
      arguments.update( results );
   const auto call = std::ranges::find( sdkCalls, written, &SdkCall::name );
   if( call == sdkCalls.end() )
      return refused( record, begin, "the operation is unknown to this version" );
   Sim::Chip* const chip = chipOf( arguments );
   if( !chip )
      return refused( record, begin, "there is no such unit" );
   const Json vlan = arguments.value( "vlanId", Json() );
   if( vlan.is_number_unsigned() && vlan <= 4094 && !chip->vlan( vlan.get<U16>() ) )
      chip->vlanIs( vlan.get<U16>() );
   // The ids of profiles are the chip's own.
   const bool makesProfile = name == roleName( SdkOperation::l3Ip4OptionsProfileCreate );
   Json& profile = arguments[ "profile" ];
   if( !makesProfile && profile.is_number_integer() )
      if( const auto at = profiles_.find( { chip->unit(), profile.get<S64>() } );
          at != profiles_.end() )
         profile = at->second;
   if( makesProfile )
      profile = 0;
   const auto before = chip->ipOptionsProfiles();
   const int code = call->make( hardware_.shim(), names_, arguments );
   if( code != hardware_.shim().successCode() )
      return refused( record, begin, hardware_.shim().errorText( code ) );
   if( makesProfile && results.contains( "profile" ) &&
       results.at( "profile" ).is_number_integer() )
      for( const auto& [ id, action ] : chip->ipOptionsProfiles() )
         if( !before.contains( id ) )
            profiles_[ { chip->unit(), results.at( "profile" ).get<S64>() } ] = id;
}

void TwinMaker::managerCall( const RecordedLine& record, const Json& begin, const Json& end )
{
   const Ref<Sim::SimTcamEntryManager> manager =
      managerNamed( hardware_, decodedText( begin.at( "manager" ) ) );
   const auto call =
      std::ranges::find( managerCalls, begin.at( "call" ).get<std::string>(), &ManagerCall::name );
   if( !manager || call == managerCalls.end() )
      return; // the port table, and questions
   Json arguments = begin.at( "arguments" );
   if( end.contains( "result" ) && arguments.contains( "entryId" ) )
      arguments[ "entryId" ] = end.at( "result" ); // of a claim that got the next id
   if( !call->make( *manager, arguments ) )
      refused( record, begin, "the range has no room for it, or does not have it" );
}

void TwinMaker::answer( const Json& question )
{
   const Json& arguments = question.at( "arguments" );
   const Json& answer = question.at( "answer" );
   const Json& what = question.at( "question" );
   Sim::Chip* const chip = chipOf( arguments );
   if( !chip )
      return;
   const Json vlan = arguments.value( "vlanId", Json() );
   if( what == "vlanExists" && answer == true && vlan.is_number_unsigned() && vlan <= 4094 &&
       !chip->vlan( vlan.get<U16>() ) )
      chip->vlanIs( vlan.get<U16>() );
   else if( what == "trapsTtlExceptions" && answer.is_boolean() &&
            chip->trapsTtlExceptions() != answer.get<bool>() )
      chip->trapsTtlExceptionsIs( answer.get<bool>() );
   else if( what == "resolvesHigigTrunksAsLag" && answer.is_boolean() )
      chip->resolvesHigigTrunksAsLag = answer.get<bool>();
   else if( what == "unitRecord" )
      if( const auto active = portsFrom( answer ) )
         for( const U32 port : chip->frontPanelPorts() )
            chip->portActiveIs(
               static_cast<int>( chip->sdkPort( port ) ), active->contains( port ) );
}

void TwinMaker::refused( const RecordedLine& record, const Json& begin, const std::string& why )
{
   if( refused_++ == 0 )
      firstRefused_ =
         "line " + std::to_string( record.line ) + ": " + recordText( begin ) + ": " + why;
}

} // namespace

std::vector<std::string> makeTwin( const RecordingFile& recording, Sim::SimSwitch& hardware,
   const Ref<RoutingStatusHelper>& helper )
{
   // The conventions are about locks and hooks of the slice.
   hardware.critic().restIs( true );
   std::vector<std::string> notes = TwinMaker( recording, hardware, helper ).run();
   hardware.critic().restart();
   hardware.critic().restIs( false );
   return notes;
}

} // namespace Strata::Desk
