// The shim's codes and numbers.
#include "conformance/Checks.h"

#include <map>

namespace Strata::Conformance {

namespace {

/// Calls `look( kind, role's name, number )` for every number that the SDK has for a name.
template<class Look>
void eachNumber( const SdkShimInterface& shim, Look look )
{
#define LOOK( Role, role, query ) \
   look( #Role, #role, static_cast<S64>( shim.query( Role::role ) ) );
#define STRATA_FIELD_ACTION( role ) LOOK( FieldAction, role, fieldAction )
#define STRATA_FIELD_IP_TYPE( role ) LOOK( FieldIpType, role, fieldIpType )
#define STRATA_PACKET_RESULT( role ) LOOK( PacketResult, role, packetResult )
#define STRATA_SWITCH_CONTROL( role ) LOOK( SwitchControl, role, switchControl )
#define STRATA_PORT_CONTROL( role ) LOOK( PortControl, role, portControl )
#define STRATA_VLAN_FLAG( role ) LOOK( VlanFlag, role, vlanFlag )
#define STRATA_IP_OPTION_ACTION( role ) LOOK( IpOptionAction, role, ipOptionAction )
#define STRATA_SDK_REGISTER( role, name ) LOOK( Register, role, registerNumber )
#define STRATA_SDK_MEMORY( role, name ) LOOK( Memory, role, memory )
#include "platform/sdk/SdkRoles.def"
#undef LOOK
}

void checkDistinct( Examiner& examiner )
{
   std::map<std::pair<std::string, S64>, std::string> names;
   eachNumber( examiner.shim(), [ & ]( const char* kind, const char* name, S64 number ) {
      if( std::string_view( kind ) == "VlanFlag" )
         return; // those share no bit, which says more
      const auto [ at, isNew ] = names.try_emplace( { kind, number }, name );
      examiner.expect( Promise::numbersDistinct, std::string( kind ) + " " + name, isNew,
         "has the number of " + at->second + ", " + std::to_string( number ) );
   } );
}

void checkVlanFlags( Examiner& examiner )
{
   U32 all = 0;
   for( std::size_t i = 0; i < roleNames<VlanFlag>.size(); ++i ) {
      const auto role = static_cast<VlanFlag>( i );
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
   eachNumber( shim, [ & ]( const char* kind, const char* name, S64 number ) {
      add( std::string( kind ) + " " + name, number );
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
