// The names of the chip SDK as the slice's sources use them, so that an expression text is the call that
// was made. Not installed, and included by sources only: a vendor's headers define many of these names as
// macros.
//
// The SDK defines the numbers: each object below gets its number from the shim when it is converted.
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

#define STRATA_SDK_NAME( query, Role, role, name ) \
   inline constexpr SdkName<&SdkShimInterface::query, Role::role> name;
#define STRATA_ACTION( role ) \
   STRATA_SDK_NAME( fieldAction, FieldAction, role, bcmFieldAction##role )
STRATA_FIELD_ACTIONS( STRATA_ACTION )
#define STRATA_IP_TYPE( role ) \
   STRATA_SDK_NAME( fieldIpType, FieldIpType, role, bcmFieldIpType##role )
STRATA_FIELD_IP_TYPES( STRATA_IP_TYPE )
#define STRATA_RESULT( role ) \
   STRATA_SDK_NAME( packetResult, PacketResult, role, BCM_FIELD_PKT_RES_##role )
STRATA_PACKET_RESULTS( STRATA_RESULT )
#define STRATA_CHIP_CONTROL( role ) \
   STRATA_SDK_NAME( switchControl, SwitchControl, role, bcmSwitch##role )
STRATA_SWITCH_CONTROLS( STRATA_CHIP_CONTROL )
#define STRATA_CONTROL( role ) \
   STRATA_SDK_NAME( portControl, PortControl, role, bcmPortControl##role )
STRATA_PORT_CONTROLS( STRATA_CONTROL )
#define STRATA_FLAG( role ) STRATA_SDK_NAME( vlanFlag, VlanFlag, role, role )
STRATA_VLAN_FLAGS( STRATA_FLAG )
#define STRATA_OPTION( role ) \
   STRATA_SDK_NAME( ipOptionAction, IpOptionAction, role, bcmIntfIPOptionAction##role )
STRATA_IP_OPTION_ACTIONS( STRATA_OPTION )
#define STRATA_REGISTER( role, name ) STRATA_SDK_NAME( registerNumber, Register, role, name )
STRATA_SDK_REGISTERS( STRATA_REGISTER )
#define STRATA_MEMORY( role, name ) STRATA_SDK_NAME( memory, Memory, role, name )
STRATA_SDK_MEMORIES( STRATA_MEMORY )

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

/// Calls an operation, after its pre-call hook. The activity lock is released for the length of the operation, here
/// and in FP_LOCK_INTERNAL_CHK (routing/tcam/FieldLock.h) only.
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

/// Converts each argument to the type of its parameter, so that callers need no casts. Names are converted to numbers
/// here, while the lock is still held.
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
