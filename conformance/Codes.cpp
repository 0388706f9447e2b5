// The shim's codes and numbers.
#include "conformance/Checks.h"

#include <map>

namespace Strata::Conformance {

namespace {

template<class Role, class Number, class Look>
void eachNumberOf( const SdkShimInterface& shim, const char* kind,
   Number ( SdkShimInterface::*query )( Role ) const, Look look )
{
   for( const Role role : Vormel::enumValues<Role>() )
      look( kind, roleName( role ), static_cast<S64>( ( shim.*query )( role ) ) );
}

/// Calls `look( kind, name, number )` for every number that the SDK has for a name.
template<class Look>
void eachNumber( const SdkShimInterface& shim, Look look )
{
   eachNumberOf( shim, "FieldAction", &SdkShimInterface::fieldAction, look );
   eachNumberOf( shim, "FieldIpType", &SdkShimInterface::fieldIpType, look );
   eachNumberOf( shim, "PacketResult", &SdkShimInterface::packetResult, look );
   eachNumberOf( shim, "SwitchControl", &SdkShimInterface::switchControl, look );
   eachNumberOf( shim, "PortControl", &SdkShimInterface::portControl, look );
   eachNumberOf( shim, "VlanFlag", &SdkShimInterface::vlanFlag, look );
   eachNumberOf( shim, "IpOptionAction", &SdkShimInterface::ipOptionAction, look );
   eachNumberOf( shim, "Register", &SdkShimInterface::registerNumber, look );
   eachNumberOf( shim, "Memory", &SdkShimInterface::memory, look );
}

void checkDistinct( Examiner& examiner )
{
   std::map<std::pair<std::string, S64>, std::string> names;
   eachNumber(
      examiner.shim(), [ & ]( const std::string& kind, std::string_view name, S64 number ) {
         if( kind == "VlanFlag" )
            return; // the check that they share no bit is stricter
         const auto [ at, isNew ] = names.try_emplace( { kind, number }, name );
         examiner.expect( Promise::numbersDistinct, kind + " " + std::string( name ), isNew,
            "has the number of " + at->second + ", " + std::to_string( number ) );
      } );
}

void checkVlanFlags( Examiner& examiner )
{
   U32 all = 0;
   for( const VlanFlag role : Vormel::enumValues<VlanFlag>() ) {
      const U32 flag = examiner.shim().vlanFlag( role );
      const std::string call = "VlanFlag " + std::string( roleName( role ) );
      examiner.expect( Promise::vlanFlagsApart, call, ( all & flag ) == 0,
         Vormel::format( "is 0x%x, and other flags have a bit of it", flag ) );
      const bool cleared = role == VlanFlag::vlanRoutingFlagA || role == VlanFlag::vlanRoutingFlagB;
      examiner.expect( Promise::vlanFlagsApart, call, cleared || flag != 0, "is 0" );
      all |= flag;
   }
}

void checkChipWidePort( Examiner& examiner )
{
   const int port = examiner.shim().chipWidePort();
   for( const auto& i : examiner.port().scsd->units() ) {
      const StrataUnit& unit = *examiner.port().scsd->units().find( i.key() );
      examiner.expect( Promise::chipWidePortIsNoPort, "chipWidePort()",
         port < 0 || port >= static_cast<int>( PortBitmap::size ) ||
            !unit.ports.contains( static_cast<U32>( port ) ),
         Vormel::format( "is %d, a port of unit %d", port, i.key() ) );
   }
}

} // namespace

std::vector<std::string> stableNumbers( const Examiner& examiner )
{
   const SdkShimInterface& shim = examiner.shim();
   std::vector<std::string> numbers;
   const auto add = [ & ]( const std::string& name, S64 number ) {
      numbers.push_back( name + " is " + std::to_string( number ) );
   };
   eachNumber( shim, [ & ]( const std::string& kind, std::string_view name, S64 number ) {
      add( kind + " " + std::string( name ), number );
   } );
   add( "successCode()", shim.successCode() );
   add( "featureNotAvailableCode()", shim.featureNotAvailableCode() );
   add( "exactMatchMask()", shim.exactMatchMask() );
   add( "stpForward()", shim.stpForward() );
   add( "anyRegisterPort()", shim.anyRegisterPort() );
   add( "anyMemoryBlock()", shim.anyMemoryBlock() );
   add( "chipWidePort()", shim.chipWidePort() );
   add( "fieldEntryEnableMode()", shim.fieldEntryEnableMode() );
   return numbers;
}

void checkShim( Examiner& examiner )
{
   const SdkShimInterface& shim = examiner.shim();
   examiner.expect( Promise::oneShim, "sdkShim()", sdkShim() == &shim,
      sdkShim() ? "is another one than the shared data's" : "is null: sdkShimIs() was not called" );
   examiner.expect( Promise::successIsZero, "successCode()", shim.successCode() == 0,
      Vormel::format( "is %d", shim.successCode() ) );
   examiner.expect( Promise::unavailableIsNegative, "featureNotAvailableCode()",
      shim.featureNotAvailableCode() < 0,
      Vormel::format( "is %d", shim.featureNotAvailableCode() ) );
   examiner.expect( Promise::exactMatchMaskMasks, "exactMatchMask()", shim.exactMatchMask() != 0,
      "is 0: qualifiers with it match everything" );
   checkDistinct( examiner );
   checkVlanFlags( examiner );
   checkChipWidePort( examiner );
}

void checkCodeTexts( Examiner& examiner )
{
   std::set<int> codes = examiner.codesSeen();
   codes.insert( examiner.shim().featureNotAvailableCode() );
   for( const int code : codes ) {
      const std::string text = examiner.shim().errorText( code );
      examiner.expect( Promise::codesHaveTexts, Vormel::format( "errorText( %d )", code ),
         !text.empty() && text.find( '\n' ) == text.npos,
         text.empty() ? "is empty" : "is more than one line" );
   }
}

} // namespace Strata::Conformance
