// Faults: what becomes of hardware calls instead of their effect.
#include "platform/runtime/Format.h"
#include "sim/sdk/Faults.h"
#include "tool/Session.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>

namespace Strata::Tool {

using Vormel::format;

namespace {

Sim::SdkCode takeCode( Words& words )
{
   const std::string text = words.take( "a code, as in BCM_E_FAIL", "CODE" ).text;
   if( const auto code = Sim::parseSdkCode( text ) )
      return *code;
   std::vector<std::string_view> names;
   for( const Sim::SdkCodeInfo& info : Sim::sdkCodes() )
      names.push_back( info.name );
   const std::string hint = didYouMean( text, names );
   words.fail( "there is no code '" + text + "'" +
               ( hint.empty() ? "; there are " + joined( names ) : hint ) );
}

/// A fault of the call, or of the calls, that the words name.
Sim::Fault takeFaultyCall( Words& words, Words::Taken& taken )
{
   Sim::Fault fault;
   if( words.acceptOnce( "call-number", taken ) ) {
      fault.callNumber = words.value<U64>( "the number of a call" );
      return fault;
   }
   if( words.accept( "any" ) )
      return fault;
   std::vector<std::string_view> names{ "any" };
   for( const std::string_view name : Sim::Faults::callNames() )
      names.push_back( name );
   fault.call = words.take( "a call, as in bcm_field_action_add", "CALL" ).text;
   if( std::ranges::find( names, fault.call ) == names.end() )
      words.fail( "there is no call '" + fault.call + "'" +
                  didYouMean( fault.call, names, "; calls are named as in bcm_field_action_add" ) );
   return fault;
}

Act inject( const Session& session, Words& words )
{
   static constexpr std::array<std::string_view, 7> options{
      "nth", "unit", "always", "code", "lost", "twice", "throws" };
   Words::Taken taken;
   Sim::Fault fault = takeFaultyCall( words, taken );
   while( !words.done() ) {
      const std::string_view option = words.chooseOnce( "an option", options, taken );
      if( const auto kind = Vormel::enumParse<Sim::FaultKind>( option ) ) {
         for( const auto& other : Vormel::enumTable<Sim::FaultKind> )
            if( other.value != kind )
               words.excludes( taken, { other.name } );
         fault.kind = *kind;
      } else {
         words.excludes( taken, { "call-number" } ); // which is one call
      }
      if( option == "nth" )
         fault.nth = words.value<U64>( "which of the calls, 1 for the next" );
      else if( option == "unit" )
         fault.unit = session.takeUnit( words );
      else if( option == "code" )
         fault.code = takeCode( words );
      else if( option == "always" )
         fault.always = true;
   }
   words.blaming( [ & ] { Sim::Faults::check( fault ); } );
   return [ fault, &words ]( Session& live ) {
      Sim::SimSwitch& hardware = live.agent().hardware();
      if( const U64 made = hardware.shim().calls(); fault.callNumber.value_or( made + 1 ) <= made )
         words.fail( format( "the call has been made already; the next is number %d", made + 1 ) );
      hardware.faults().inject( fault );
   };
}

Act clear( const Session&, Words& words )
{
   if( words.done() )
      return []( Session& live ) { live.agent().hardware().faults().clear(); };
   Words::Taken taken;
   const Sim::Fault asked = takeFaultyCall( words, taken );
   return [ asked, &words ]( Session& live ) {
      if( !live.agent().hardware().faults().clear( asked.call, asked.callNumber ) )
         words.fail( "no fault is armed for this; 'show faults' lists those that are" );
   };
}

} // namespace

std::vector<Command> faultCommands()
{
   return {
      { "fault",
         "CALL|any [nth N] [unit N] [code CODE|lost|twice|throws] [always], "
         "call-number N [code CODE|lost|twice|throws]",
         "make a hardware call fail", inject },
      { "no fault", "[CALL|any|call-number N]", "remove all faults, or those of a call", clear },
   };
}

} // namespace Strata::Tool
