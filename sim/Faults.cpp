#include "sim/Faults.h"

#include "platform/runtime/Errors.h"
#include "platform/sdk/SdkRoles.h"
#include "sim/Names.h"

#include <algorithm>
#include <array>

namespace Strata::Sim {

using Vormel::ValueError;

static constexpr std::array<std::string_view, 7> managerCalls{ "getEntry", "installEntry",
   "reinstallEntry", "enableEntry", "addInPortsForEntry", "qualifyPortsClassId",
   "addOutLoopbackPortForEntry" };

std::span<const std::string_view> Faults::callNames()
{
   static const auto names = [] {
      std::array<std::string_view, roleNames<SdkOperation>.size() + managerCalls.size()> all;
      std::ranges::copy(
         managerCalls, std::ranges::copy( roleNames<SdkOperation>, all.begin() ).out );
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
   std::string text = callText( *this );
   if( callNumber )
      text += " call-number " + std::to_string( *callNumber );
   else if( nth != 1 )
      text += " nth " + std::to_string( nth );
   if( unit )
      text += " unit " + std::to_string( *unit );
   text += " code " + sdkCodeName( static_cast<int>( code ) );
   return always ? text + " always" : text;
}

void Faults::inject( const Fault& fault )
{
   const auto names = callNames();
   if( !fault.call.empty() && std::ranges::find( names, fault.call ) == names.end() ) {
      if( fault.call == "removeEntry" || fault.call == "releaseEntry" )
         throw ValueError( fault.call + " returns nothing, so it cannot fail" );
      throw ValueError( "there is no call '" + fault.call + "'" + hint( fault.call, names ) );
   }
   if( fault.callNumber && std::ranges::find( managerCalls, fault.call ) != managerCalls.end() )
      throw ValueError( fault.call + " has no call number: only SDK operations are counted" );
   if( fault.nth == 0 || fault.callNumber == U64{ 0 } )
      throw ValueError( "fault for " + callText( fault ) + ": calls are counted from 1" );
   if( fault.code == SdkCode::None )
      throw ValueError( "fault for " + callText( fault ) + ": BCM_E_NONE is no error" );
   armed_.push_back( { fault } );
}

std::vector<Fault> Faults::armed() const
{
   std::vector<Fault> faults;
   for( const Armed& a : armed_ )
      faults.push_back( a.fault );
   return faults;
}

std::optional<SdkCode> Faults::strike( std::string_view call, U32 unit, U64 callNumber )
{
   std::optional<SdkCode> code;
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
      if( !struck || code )
         return false;
      code = fault.code;
      return !fault.always;
   } );
   return code;
}

} // namespace Strata::Sim
