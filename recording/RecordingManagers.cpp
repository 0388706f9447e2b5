#include "platform/sdk/ArgumentNames.h"
#include "platform/sdk/SdkShimInterface.h"
#include "recording/RecordingShim.h"

#include <string_view>
#include <type_traits>
#include <utility>

namespace Strata::Recording {

VORMEL_ENTITY_TYPE( RecordingManager, STRATA_RECORDING_MANAGER_ATTRIBUTES )

VORMEL_ENTITY_TYPE( RecordingGroupManager, STRATA_RECORDING_GROUP_MANAGER_ATTRIBUTES )

namespace {

void addValue( JsonObject& object, std::string_view name, bool value )
{
   object.add( name, value );
}

template<std::integral Number>
requires( !std::same_as<Number, bool> ) void addValue(
   JsonObject& object, std::string_view name, Number value )
{
   if( name == "mode" && std::cmp_equal( value, sdkShimInUse().fieldEntryEnableMode() ) )
      object.add( name, "fieldEntryEnableMode" );
   else
      object.add( name, value );
}

void addValue( JsonObject& object, std::string_view name, const std::string& text )
{
   object.add( name, std::string_view( text ) );
}

void addValue( JsonObject& object, std::string_view name, const PortBitmap& ports )
{
   object.add( name, std::string_view( ports.toString() ) );
}

void addValue( JsonObject& object, std::string_view name, const RequestKey& key )
{
   JsonObject members( object.at( name ) );
   addValue( members, "feature", key.feature );
   members.add( "orNext", key.orNext );
   addValue( members, "detail", key.detail );
}

std::string_view groupName( TcamGroup group )
{
   switch( group ) {
   case TcamGroup::urpfSingleWide:
      return "urpfSingleWide";
   case TcamGroup::urpfDoubleWide:
      return "urpfDoubleWide";
   case TcamGroup::ttlCheck:
      return "ttlCheck";
   case TcamGroup::phpLspPing:
      return "phpLspPing";
   case TcamGroup::peerMacArp:
      return "peerMacArp";
   }
   return "unknown";
}

} // namespace

RecordingManager::RecordingManager(
   std::string name, Ref<StrataBoundedTcamEntryManager> next, std::shared_ptr<Journal> journal )
   : ForwardingTcamEntryManager( std::move( next ) ),
     journal_( std::move( journal ) )
{
   name_ = std::move( name );
}

template<class Result, class Call, class... Arguments>
Result RecordingManager::recorded(
   std::string_view method, std::string_view names, Call call, const Arguments&... arguments ) const
{
   const U64 number = journal_->write( "begin", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_->cause() );
      record.add( "manager", std::string_view( name_ ) );
      record.add( "call", method );
      JsonObject given( record.at( "arguments" ) );
      ( addValue( given, takeArgumentName( names ), arguments ), ... );
   } );
   const auto end = [ & ]( auto... result ) {
      journal_->write( "end", [ & ]( JsonObject& record ) {
         record.add( "of", number );
         ( addValue( record, "result", result ), ... );
      } );
   };
   if constexpr( std::is_void_v<Result> ) {
      call();
      end();
   } else {
      const Result result = call();
      end( result );
      return result;
   }
}

#define STRATA_LIST( ... ) __VA_OPT__(, ) __VA_ARGS__
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result RecordingManager::method parameters \
   { \
      return recorded<result>( \
         #method, #arguments, [ & ] { return next().method arguments; } STRATA_LIST arguments ); \
   }
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result RecordingManager::method parameters const \
   { \
      return recorded<result>( \
         #method, #arguments, [ & ] { return next().method arguments; } STRATA_LIST arguments ); \
   }
#include "platform/sdk/TcamOperations.def"
#undef STRATA_LIST

RecordingGroupManager::RecordingGroupManager(
   Ref<StrataTcamGroupManager> next, std::shared_ptr<Journal> journal )
   : next_( std::move( next ) ),
     journal_( std::move( journal ) )
{}

Ref<StrataBoundedTcamEntryManager> RecordingGroupManager::boundedTcamEntryManager(
   TcamGroup group ) const
{
   const auto manager = next_->boundedTcamEntryManager( group );
   if( !manager ) {
      managers_.erase( group );
      return nullptr;
   }
   Ref<RecordingManager>& kept = managers_[ group ];
   if( !kept || &kept->next() != manager.get() )
      kept = Vormel::make<RecordingManager>( std::string( groupName( group ) ), manager, journal_ );
   return kept;
}

} // namespace Strata::Recording
