#include "sim/sdk/Faults.h"

#include "platform/sdk/SdkRoles.h"
#include "sim/switch/Names.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace Strata::Sim {

using Vormel::ValueError;

struct ManagerCall
{
   std::string_view name;
   bool hasCode; // returns something
};

static constexpr auto managerCalls = std::to_array<ManagerCall>( {
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   { #method, !std::is_void_v<result> },
#include "platform/sdk/TcamOperations.def"
} );

static const ManagerCall* managerCall( std::string_view name )
{
   const auto at = std::ranges::find( managerCalls, name, &ManagerCall::name );
   return at == managerCalls.end() ? nullptr : &*at;
}

std::span<const std::string_view> Faults::callNames()
{
   static const auto names = [] {
      std::vector<std::string_view> all(
         roleNames<SdkOperation>.begin(), roleNames<SdkOperation>.end() );
      for( const ManagerCall& call : managerCalls )
         all.push_back( call.name );
      return all;
   }();
   return names;
}

static std::string callText( const Fault& fault )
{
   return fault.call.empty() ? "any call" : fault.call;
}

std::string Fault::text() const
{
   std::string text = callNumber     ? "call-number " + std::to_string( *callNumber )
                      : call.empty() ? "any"
                                     : call;
   if( !callNumber && nth != 1 )
      text += " nth " + std::to_string( nth );
   if( unit )
      text += " unit " + std::to_string( *unit );
   text += ( kind == FaultKind::code ? " code " : " " ) + effect();
   return always ? text + " always" : text;
}

std::string Fault::effect() const
{
   return kind == FaultKind::code ? sdkCodeName( static_cast<int>( code ) )
                                  : std::string( Vormel::enumName( kind ) );
}

InjectedException::InjectedException( std::string_view call, U32 unit )
   : Error(
        "an injected exception of " + std::string( call ) + " on unit " + std::to_string( unit ) )
{}

void Faults::check( const Fault& fault )
{
   const auto names = callNames();
   if( !fault.call.empty() && std::ranges::find( names, fault.call ) == names.end() )
      throw ValueError( "there is no call '" + fault.call + "'" + hint( fault.call, names ) );
   const ManagerCall* const manager = managerCall( fault.call );
   if( manager && !manager->hasCode && fault.kind == FaultKind::code )
      throw ValueError( fault.call + " returns nothing, so it has no code; choose one of " +
                        "'lost', 'twice' and 'throws'" );
   if( fault.callNumber && manager )
      throw ValueError( fault.call + " has no call number: only SDK operations are counted" );
   if( fault.nth == 0 || fault.callNumber == U64{ 0 } )
      throw ValueError( "fault for " + callText( fault ) + ": calls are counted from 1" );
   if( fault.code == SdkCode::None && fault.kind == FaultKind::code )
      throw ValueError( "fault for " + callText( fault ) +
                        ": BCM_E_NONE is not an error; a call that does nothing is 'lost'" );
}

void Faults::inject( const Fault& fault )
{
   check( fault );
   armed_.push_back( { fault } );
}

bool Faults::clear( std::string_view call, std::optional<U64> callNumber )
{
   return std::erase_if( armed_, [ & ]( const Armed& a ) {
      return a.fault.call == call && a.fault.callNumber == callNumber;
   } ) > 0;
}

std::vector<Fault> Faults::armed() const
{
   std::vector<Fault> faults;
   for( const Armed& a : armed_ )
      faults.push_back( a.fault );
   return faults;
}

std::optional<Strike> Faults::strike( std::string_view call, U32 unit, U64 callNumber )
{
   std::optional<Strike> strike;
   std::erase_if( armed_, [ & ]( Armed& a ) {
      const Fault& fault = a.fault;
      if( fault.call.empty() ? callNumber == 0 : fault.call != call )
         return false;
      if( fault.unit.value_or( unit ) != unit )
         return false;
      ++a.seen;
      const bool struck = fault.callNumber ? callNumber == *fault.callNumber
                          : fault.always   ? a.seen >= fault.nth
                                           : a.seen == fault.nth;
      if( !struck || strike )
         return false;
      strike = { fault.kind, fault.code };
      return !fault.always;
   } );
   return strike;
}

} // namespace Strata::Sim
