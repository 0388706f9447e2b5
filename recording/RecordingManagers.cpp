#include "platform/sdk/ArgumentNames.h"
#include "platform/sdk/SdkShimInterface.h"
#include "recording/RecordingShim.h"

#include <string_view>
#include <type_traits>
#include <utility>

namespace Strata::Recording {

VORMEL_ENTITY_TYPE( RecordingManager, STRATA_RECORDING_MANAGER_ATTRIBUTES )

VORMEL_ENTITY_TYPE( RecordingGroupManager, STRATA_RECORDING_GROUP_MANAGER_ATTRIBUTES )

VORMEL_ENTITY_TYPE( RecordingPortSwTable, STRATA_RECORDING_PORT_SW_TABLE_ATTRIBUTES )

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
   object.add( name, ports );
}

void addValue( JsonObject& object, std::string_view name, const RequestKey& key )
{
   JsonObject members( object.at( name ) );
   addValue( members, "feature", key.feature );
   members.add( "orNext", key.orNext );
   addValue( members, "detail", key.detail );
}

} // namespace

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

RecordingManager::RecordingManager(
   std::string name, Ref<StrataBoundedTcamEntryManager> next, std::shared_ptr<Journal> journal )
   : ForwardingTcamEntryManager( std::move( next ) ),
     journal_( std::move( journal ) )
{
   name_ = std::move( name );
}

void RecordingManager::describe() const
{
   journal_->write( "manager", [ & ]( JsonObject& record ) {
      record.add( "manager", std::string_view( name_ ) );
      record.add( "baseEntryId", next().baseEntryId() );
   } );
}

/// Every number with a sign that an entry manager returns is a code of the SDK.
template<class Result>
void RecordingManager::addResult( JsonObject& record, Result result ) const
{
   if constexpr( std::is_same_v<Result, int> )
      addCode( record, sdkShimInUse(), result );
   else
      record.add( "result", result );
}

template<class Result, class Call, class... Arguments>
Result RecordingManager::recorded( TcamOperation operation, std::string_view method,
   std::string_view names, Call call, const Arguments&... arguments ) const
{
   const auto addCall = [ & ]( JsonObject& record ) {
      record.add( "manager", std::string_view( name_ ) );
      record.add( "call", method );
      [[maybe_unused]] std::string_view rest = names;
      JsonObject given( record.at( "arguments" ) );
      ( addValue( given, takeArgumentName( rest ), arguments ), ... );
   };
   const Journal::Open open( *journal_ );
   const U64 number = journal_->write( "begin", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_->cause() );
      addCall( record );
   } );
   const auto end = [ & ]( auto... result ) {
      journal_->write( "end", [ & ]( JsonObject& record ) {
         record.add( "of", number );
         ( addResult( record, result ), ... );
         ChipCalls* const chips = journal_->chips();
         std::string* const text =
            chips ? chips->placeOf( operation, ( S64{ 0 } + ... + S64( result ) ), arguments... )
                  : nullptr;
         if( !text )
            return;
         text->clear();
         JsonObject kept( *text );
         addCall( kept );
         if constexpr( std::is_same_v<Result,
                          U32> ) // a code says no more than that the call is kept
            ( kept.add( "result", result ), ... );
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
      return recorded<result>( TcamOperation::method, #method, #arguments, \
         [ & ] { return next().method arguments; } STRATA_LIST arguments ); \
   }
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result RecordingManager::method parameters const \
   { \
      return recorded<result>( TcamOperation::method, #method, #arguments, \
         [ & ] { return next().method arguments; } STRATA_LIST arguments ); \
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
   Ref<RecordingManager>& kept = managers_[ group ];
   if( !manager )
      kept = nullptr;
   else if( !kept || &kept->next() != manager.get() ) {
      kept = Vormel::make<RecordingManager>( std::string( groupName( group ) ), manager, journal_ );
      kept->describe();
   }
   journal_->write( "question", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_->cause() );
      record.add( "question", "boundedTcamEntryManager" );
      JsonObject( record.at( "arguments" ) ).add( "group", groupName( group ) );
      if( kept )
         record.add( "answer", std::string_view( kept->name() ) );
      else
         record.at( "answer" ) += "null";
   } );
   return kept;
}

void RecordingGroupManager::describe() const
{
   for( const auto& [ group, manager ] : managers_ )
      if( manager )
         manager->describe();
}

RecordingPortSwTable::RecordingPortSwTable(
   Ref<PortSwTable> next, std::shared_ptr<Journal> journal )
   : next_( std::move( next ) ),
     journal_( std::move( journal ) )
{}

namespace {

void addEntry( JsonObject& members, const PortSwEntry& entry )
{
   members.add( "l3Enabled", entry.l3Enabled );
   members.add( "routingEnabled", entry.routingEnabled );
}

} // namespace

PortSwEntry RecordingPortSwTable::entry( const StrataPort& port ) const
{
   const PortSwEntry entry = next_->entry( port );
   journal_->write( "question", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_->cause() );
      record.add( "question", "portSwEntry" );
      JsonObject( record.at( "arguments" ) ).add( "port", std::string_view( toText( port ) ) );
      JsonObject answer( record.at( "answer" ) );
      addEntry( answer, entry );
   } );
   return entry;
}

void RecordingPortSwTable::entryCommit( const StrataPort& port, const PortSwEntry& entry )
{
   const Journal::Open open( *journal_ );
   const U64 number = journal_->write( "begin", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_->cause() );
      record.add( "manager", "portSwTable" );
      record.add( "call", "entryCommit" );
      JsonObject given( record.at( "arguments" ) );
      given.add( "port", std::string_view( toText( port ) ) );
      addEntry( given, entry );
   } );
   next_->entryCommit( port, entry );
   journal_->write( "end", [ & ]( JsonObject& record ) { record.add( "of", number ); } );
}

} // namespace Strata::Recording
