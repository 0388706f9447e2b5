// The names of the chip SDK as the slice's sources write them, so that an expression text is the call that
// was made. Not installed, and included by sources only: a vendor's headers define many of these names as
// macros.
//
// A name's number belongs to the SDK: each object below asks the shim when it is converted.
#pragma once

#include "platform/runtime/Activity.h"
#include "platform/sdk/SdkShimInterface.h"

#include <type_traits>
#include <utility>

namespace Strata {

using bcm_pbmp_t = PortBitmap;
using bcm_vlan_control_vlan_s = VlanControl;
using my_station_tcam_entry_t = MemoryEntry;

struct SdkShimHandle
{
   SdkShimInterface* operator->() const { return &sdkShimInUse(); }
};
inline constexpr SdkShimHandle SdkShim;

/// A role that converts to the SDK's number for it.
template<auto query, auto role>
struct SdkName
{
   using Number = std::invoke_result_t<decltype( query ), SdkShimInterface&, decltype( role )>;
   operator Number() const { return ( sdkShimInUse().*query )( role ); }
};

/// A constant of the SDK.
template<auto query>
struct SdkConstant
{
   using Number = std::invoke_result_t<decltype( query ), SdkShimInterface&>;
   operator Number() const { return ( sdkShimInUse().*query )(); }
};

#define STRATA_FIELD_ACTION( role ) \
   inline constexpr SdkName<&SdkShimInterface::fieldAction, FieldAction::role> bcmFieldAction##role;
#define STRATA_FIELD_IP_TYPE( role ) \
   inline constexpr SdkName<&SdkShimInterface::fieldIpType, FieldIpType::role> bcmFieldIpType##role;
#define STRATA_PACKET_RESULT( role ) \
   inline constexpr SdkName<&SdkShimInterface::packetResult, PacketResult::role> \
      BCM_FIELD_PKT_RES_##role;
#define STRATA_SWITCH_CONTROL( role ) \
   inline constexpr SdkName<&SdkShimInterface::switchControl, SwitchControl::role> bcmSwitch##role;
#define STRATA_PORT_CONTROL( role ) \
   inline constexpr SdkName<&SdkShimInterface::portControl, PortControl::role> bcmPortControl##role;
#define STRATA_VLAN_FLAG( role ) \
   inline constexpr SdkName<&SdkShimInterface::vlanFlag, VlanFlag::role> role;
#define STRATA_IP_OPTION_ACTION( role ) \
   inline constexpr SdkName<&SdkShimInterface::ipOptionAction, IpOptionAction::role> \
      bcmIntfIPOptionAction##role;
#define STRATA_SDK_REGISTER( role, name ) \
   inline constexpr SdkName<&SdkShimInterface::registerNumber, Register::role> name;
#define STRATA_SDK_MEMORY( role, name ) \
   inline constexpr SdkName<&SdkShimInterface::memory, Memory::role> name;
#include "platform/sdk/SdkRoles.def"

inline constexpr SdkConstant<&SdkShimInterface::successCode> BCM_E_NONE;
inline constexpr SdkConstant<&SdkShimInterface::exactMatchMask> BCM_FIELD_EXACT_MATCH_MASK;
inline constexpr SdkConstant<&SdkShimInterface::stpForward> BCM_STG_STP_FORWARD;
inline constexpr SdkConstant<&SdkShimInterface::anyRegisterPort> REG_PORT_ANY;
inline constexpr SdkConstant<&SdkShimInterface::anyMemoryBlock> MEM_BLOCK_ANY;
inline constexpr SdkConstant<&SdkShimInterface::chipWidePort> ChipWidePort;

inline int CMIC_PORT( U32 unit )
{
   return sdkShimInUse().cpuPort( unit );
}

inline int BCM_HG_TRUNK_CANCEL_ACTION( U32 unit )
{
   return sdkShimInUse().resolvesHigigTrunksAsLag( unit ) ? int( bcmFieldActionHgTrunkCancelLag )
                                                          : int( bcmFieldActionHgTrunkCancel );
}

/// An operation with its pre-call hook and without the activity lock.
template<class... Parameters>
int sdkCall( int ( SdkShimInterface::*operation )( Parameters... ),
   std::type_identity_t<Parameters>... arguments )
{
   SdkShimInterface& shim = sdkShimInUse();
   shim.preCall();
   Vormel::MaybeGilUnlockAnchor gil;
   Vormel::UnlockAnchor anchor( Vormel::activityLock() );
   return ( shim.*operation )( arguments... );
}

/// Gives each argument the width of its parameter, so that callers need no casts. Names become numbers
/// here, with the lock still held.
template<class... Parameters, class... Arguments>
int sdkCallNarrowed(
   int ( SdkShimInterface::*operation )( Parameters... ), const Arguments&... arguments )
{
   static_assert( sizeof...( Parameters ) == sizeof...( Arguments ) );
   return sdkCall( operation, static_cast<Parameters>( arguments )... );
}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   template<class... Given> \
   int name( const Given&... given ) \
   { \
      return sdkCallNarrowed( &SdkShimInterface::method, given... ); \
   }
#include "platform/sdk/SdkOperations.def"

} // namespace Strata
