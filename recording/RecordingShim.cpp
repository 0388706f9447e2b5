#include "recording/RecordingShim.h"

#include <type_traits>

namespace Strata::Recording {

template<class Call, class... Arguments>
int RecordingShim::recorded(
   SdkOperation operation, std::string_view names, Call call, const Arguments&... arguments )
{
   const auto addCall = [ & ]( JsonObject& record ) {
      record.add( "call", roleName( operation ) );
      JsonObject given( record.at( "arguments" ) );
      SdkCallJson( names_, operation, names ).addArguments( given, arguments... );
   };
   const auto addResults = [ & ]( JsonObject& record ) {
      JsonObject results( record.at( "results" ) );
      SdkCallJson( names_, operation, names ).addResults( results, arguments... );
   };
   const Journal::Open open( journal_ );
   const U64 number = journal_.write( "begin", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_.cause() );
      addCall( record );
   } );
   const int code = call();
   journal_.write( "end", [ & ]( JsonObject& record ) {
      record.add( "of", number );
      addCode( record, next(), code );
      addResults( record );
      ChipCalls* const chips = code >= 0 ? journal_.chips() : nullptr;
      if( std::string* const text = chips ? chips->placeOf( operation, arguments... ) : nullptr ) {
         text->clear();
         JsonObject kept( *text );
         addCall( kept );
         addResults( kept );
      }
   } );
   return code;
}

#define STRATA_LIST( ... ) __VA_ARGS__
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int RecordingShim::method parameters \
   { \
      return recorded( \
         SdkOperation::method, #arguments, [ & ] { return next().method arguments; }, \
         STRATA_LIST arguments ); \
   }
#include "platform/sdk/SdkOperations.def"
#undef STRATA_LIST

void RecordingShim::errorHook()
{
   journal_.write(
      "fatal", [ & ]( JsonObject& record ) { record.add( "cause", journal_.cause() ); } );
   next().errorHook();
}

template<class Answer, class Fill>
Answer RecordingShim::asked( std::string_view question, const Answer& answer, Fill fill ) const
{
   journal_.write( "question", [ & ]( JsonObject& record ) {
      record.add( "cause", journal_.cause() );
      record.add( "question", question );
      {
         JsonObject arguments( record.at( "arguments" ) );
         fill( arguments );
      }
      if constexpr( std::is_same_v<Answer, UnitRecord> ) {
         PortBitmap ports;
         for( U32 port = 0; port < 32 * answer.size(); ++port )
            if( ( answer[ port / 32 ] >> port % 32 & 1 ) != 0 )
               ports.add( port );
         record.add( "answer", ports );
      } else {
         record.add( "answer", answer );
      }
   } );
   return answer;
}

void RecordingShim::describe( U32 unit ) const
{
   trapsTtlExceptions( unit );
   resolvesHigigTrunksAsLag( unit );
   unitRecord( unit );
}

U32 RecordingShim::kbSingleUnit() const
{
   return asked( "kbSingleUnit", next().kbSingleUnit(), []( JsonObject& ) {} );
}

int RecordingShim::cpuPort( U32 unit ) const
{
   return asked( "cpuPort", next().cpuPort( unit ),
      [ & ]( JsonObject& arguments ) { arguments.add( "unit", unit ); } );
}

bool RecordingShim::trapsTtlExceptions( U32 unit ) const
{
   return asked( "trapsTtlExceptions", next().trapsTtlExceptions( unit ),
      [ & ]( JsonObject& arguments ) { arguments.add( "unit", unit ); } );
}

bool RecordingShim::resolvesHigigTrunksAsLag( U32 unit ) const
{
   return asked( "resolvesHigigTrunksAsLag", next().resolvesHigigTrunksAsLag( unit ),
      [ & ]( JsonObject& arguments ) { arguments.add( "unit", unit ); } );
}

bool RecordingShim::vlanExists( U32 unit, U16 vlanId ) const
{
   return asked( "vlanExists", next().vlanExists( unit, vlanId ), [ & ]( JsonObject& arguments ) {
      arguments.add( "unit", unit );
      arguments.add( "vlanId", vlanId );
   } );
}

UnitRecord RecordingShim::unitRecord( U32 unit ) const
{
   return asked( "unitRecord", next().unitRecord( unit ),
      [ & ]( JsonObject& arguments ) { arguments.add( "unit", unit ); } );
}

} // namespace Strata::Recording
