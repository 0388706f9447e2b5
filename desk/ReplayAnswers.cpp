#include "desk/ReplayAnswers.h"

#include "desk/SdkCallReader.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace Strata::Desk {

VORMEL_ENTITY_TYPE( AnsweringManager, STRATA_ANSWERING_MANAGER_ATTRIBUTES )
VORMEL_ENTITY_TYPE( AnsweringGroupManager, STRATA_ANSWERING_GROUP_MANAGER_ATTRIBUTES )
VORMEL_ENTITY_TYPE( AnsweringPortSwTable, STRATA_ANSWERING_PORT_SW_TABLE_ATTRIBUTES )

Answers::~Answers() = default;

namespace {

/// Reads a recorded value of this type; nothing if it is of another one.
template<class Value>
std::optional<Value> valueIn( const Json& json )
{
   if constexpr( std::is_same_v<Value, bool> ) {
      if( json.is_boolean() )
         return json.get<bool>();
   } else if constexpr( std::is_same_v<Value, UnitRecord> ) {
      if( const auto ports = portsFrom( json ) ) {
         UnitRecord record{};
         for( const U32 port : *ports )
            if( port / 32 < record.size() )
               record[ port / 32 ] |= 1u << port % 32;
         return record;
      }
   } else {
      if( json.is_number_unsigned() && std::in_range<Value>( json.get<U64>() ) )
         return static_cast<Value>( json.get<U64>() );
      if( json.is_number_integer() && std::in_range<Value>( json.get<S64>() ) )
         return static_cast<Value>( json.get<S64>() );
   }
   return std::nullopt;
}

} // namespace

int RecordedCodes::codeOf( const SdkShimInterface& shim, const Json& end )
{
   const Json code = end.value( "code", Json( "success" ) );
   if( code == "unavailable" )
      return shim.featureNotAvailableCode();
   if( !code.is_number_integer() )
      return shim.successCode();
   const std::string text = end.contains( "text" ) ? decodedText( end.at( "text" ) ) : "";
   const int wanted = std::max( valueIn<int>( code ).value_or( -1 ), -1'000'000'000 );
   for( int number = wanted;; --number )
      if( number != shim.successCode() && number != shim.featureNotAvailableCode() &&
          ( number < 0 ) == ( wanted < 0 ) &&
          texts_.try_emplace( number, text ).first->second == text )
         return number;
      else if( wanted >= 0 )
         return shim.successCode();
}

const std::string* RecordedCodes::textOf( int code ) const
{
   const auto at = texts_.find( code );
   return at == texts_.end() ? nullptr : &at->second;
}

template<class... Arguments>
int AnsweringShim::answered(
   SdkOperation operation, std::string_view names, int code, const Arguments&... arguments )
{
   const std::optional<Json> end = answers_.endOfCall();
   if( !end )
      return code;
   try {
      SdkCallReader( names_, operation, names )
         .fill( end->value( "results", Json::object() ), arguments... );
   } catch( const Vormel::ValueError& error ) {
      answers_.fail( error.what() );
   }
   return codes_.codeOf( next(), *end );
}

#define STRATA_LIST( ... ) __VA_ARGS__
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int AnsweringShim::method parameters \
   { \
      const int code = next().method arguments; \
      return answered( SdkOperation::method, #arguments, code, STRATA_LIST arguments ); \
   }
#include "platform/sdk/SdkOperations.def"
#undef STRATA_LIST

std::string AnsweringShim::errorText( int code ) const
{
   const std::string* const text = codes_.textOf( code );
   return text ? *text : next().errorText( code );
}

template<class Answer>
Answer AnsweringShim::answer( std::string_view question, Answer ofChip ) const
{
   const std::optional<Json> recorded = answers_.answerTo( question );
   if( !recorded )
      return ofChip;
   if( const auto value = valueIn<Answer>( *recorded ) )
      return *value;
   answers_.fail( "the answer to '" + std::string( question ) + "' cannot be " + recorded->dump() );
   return ofChip;
}

U32 AnsweringShim::kbSingleUnit() const
{
   return answer( "kbSingleUnit", next().kbSingleUnit() );
}

int AnsweringShim::cpuPort( U32 unit ) const
{
   return answer( "cpuPort", next().cpuPort( unit ) );
}

bool AnsweringShim::trapsTtlExceptions( U32 unit ) const
{
   return answer( "trapsTtlExceptions", next().trapsTtlExceptions( unit ) );
}

bool AnsweringShim::resolvesHigigTrunksAsLag( U32 unit ) const
{
   return answer( "resolvesHigigTrunksAsLag", next().resolvesHigigTrunksAsLag( unit ) );
}

bool AnsweringShim::vlanExists( U32 unit, U16 vlanId ) const
{
   return answer( "vlanExists", next().vlanExists( unit, vlanId ) );
}

UnitRecord AnsweringShim::unitRecord( U32 unit ) const
{
   return answer( "unitRecord", next().unitRecord( unit ) );
}

AnsweringManager::AnsweringManager( std::string name, U32 baseEntryId,
   Ref<StrataBoundedTcamEntryManager> chip, AnsweringShim& shim, Answers& answers )
   : name_( std::move( name ) ),
     baseEntryId_( baseEntryId ),
     chip_( std::move( chip ) ),
     shim_( shim ),
     answers_( answers )
{}

template<class Result, class Call>
Result AnsweringManager::called( const Call& call ) const
{
   if constexpr( std::is_void_v<Result> ) {
      if( chip_ )
         call();
      answers_.endOfCall();
   } else {
      return answered<Result>( chip_ ? call() : Result() );
   }
}

template<class Result>
Result AnsweringManager::answered( Result ofChip ) const
{
   const std::optional<Json> end = answers_.endOfCall();
   if( !end )
      return ofChip;
   if constexpr( std::is_same_v<Result, int> )
      return shim_.codes().codeOf( shim_.next(), *end );
   else {
      const Json result = end->value( "result", Json() );
      if( const auto value = valueIn<Result>( result ) )
         return *value;
      answers_.fail( "the result of an operation of '" + name_ + "' cannot be " + result.dump() );
      return ofChip;
   }
}

#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result AnsweringManager::method parameters \
   { \
      return called<result>( [ & ] { return chip_->method arguments; } ); \
   }
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result AnsweringManager::method parameters const \
   { \
      return called<result>( [ & ] { return chip_->method arguments; } ); \
   }
#include "platform/sdk/TcamOperations.def"

Ref<StrataBoundedTcamEntryManager> AnsweringGroupManager::boundedTcamEntryManager(
   TcamGroup group ) const
{
   const std::optional<Json> recorded = answers_.answerTo( "boundedTcamEntryManager" );
   for( const auto& [ name, manager ] : managers_ )
      if( recorded ? *recorded == name : groupNamed( name ) == group )
         return manager;
   return nullptr;
}

PortSwEntry AnsweringPortSwTable::entry( const StrataPort& ) const
{
   const Json recorded = answers_.answerTo( "portSwEntry" ).value_or( Json::object() );
   const auto isSet = [ & ]( const char* member ) {
      return recorded.is_object() && recorded.value( member, Json() ) == true;
   };
   return { isSet( "l3Enabled" ), isSet( "routingEnabled" ) };
}

void AnsweringPortSwTable::entryCommit( const StrataPort&, const PortSwEntry& )
{
   answers_.endOfCall();
}

} // namespace Strata::Desk
