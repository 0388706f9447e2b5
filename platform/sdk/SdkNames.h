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
#include "platform/sdk/SdkRoles.def"

#define STRATA_NUMBERED( query, Role, role, name ) \
   inline constexpr SdkName<&SdkShimInterface::query, Role::role> name; \
   static_assert( roleName( Role::role ) == #name );
STRATA_NUMBERED( registerNumber, Register, CpuControlM, CPU_CONTROL_Mr )
STRATA_NUMBERED( registerNumber, Register, IngConfig64, ING_CONFIG_64r )
STRATA_NUMBERED( registerNumber, Register, IngMiscConfig, ING_MISC_CONFIGr )
STRATA_NUMBERED( memory, Memory, MyStationTcam, MY_STATION_TCAMm )
#undef STRATA_NUMBERED

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

#define STRATA_FUNCTION( method, name ) \
   template<class... Arguments> \
   int name( const Arguments&... arguments ) \
   { \
      static_assert( roleName( SdkOperation::method ) == #name ); \
      return sdkCallNarrowed( &SdkShimInterface::method, arguments... ); \
   }
STRATA_FUNCTION( fieldQualifyDrop, bcm_field_qualify_Drop )
STRATA_FUNCTION( fieldQualifyDstIp, bcm_field_qualify_DstIp )
STRATA_FUNCTION( fieldQualifyDstMac, bcm_field_qualify_DstMac )
STRATA_FUNCTION( fieldQualifyDstMcastGroup, bcm_field_qualify_DstMcastGroup )
STRATA_FUNCTION( fieldQualifyDstPort, bcm_field_qualify_DstPort )
STRATA_FUNCTION( fieldQualifyEtherType, bcm_field_qualify_EtherType )
STRATA_FUNCTION( fieldQualifyHiGig, bcm_field_qualify_HiGig )
STRATA_FUNCTION( fieldQualifyIngressStpState, bcm_field_qualify_IngressStpState )
STRATA_FUNCTION( fieldQualifyIntPriority, bcm_field_qualify_IntPriority )
STRATA_FUNCTION( fieldQualifyInterfaceClassL2, bcm_field_qualify_InterfaceClassL2 )
STRATA_FUNCTION( fieldQualifyInterfaceClassL3, bcm_field_qualify_InterfaceClassL3 )
STRATA_FUNCTION( fieldQualifyIpProtocol, bcm_field_qualify_IpProtocol )
STRATA_FUNCTION( fieldQualifyIpType, bcm_field_qualify_IpType )
STRATA_FUNCTION( fieldQualifyL3Routable, bcm_field_qualify_L3Routable )
STRATA_FUNCTION( fieldQualifyL4DstPort, bcm_field_qualify_L4DstPort )
STRATA_FUNCTION( fieldQualifyMyStationHit, bcm_field_qualify_MyStationHit )
STRATA_FUNCTION( fieldQualifyPacketRes, bcm_field_qualify_PacketRes )
STRATA_FUNCTION( fieldQualifySrcClassField, bcm_field_qualify_SrcClassField )
STRATA_FUNCTION( fieldQualifyTtl, bcm_field_qualify_Ttl )
STRATA_FUNCTION( fieldQualifyTunnelTerminated, bcm_field_qualify_TunnelTerminated )
STRATA_FUNCTION( fieldActionAdd, bcm_field_action_add )
STRATA_FUNCTION( fieldActionRemoveAll, bcm_field_action_remove_all )
STRATA_FUNCTION( fieldActionPortsAdd, bcm_field_action_ports_add )
STRATA_FUNCTION( switchControlSet, bcm_switch_control_set )
STRATA_FUNCTION( switchControlPortSet, bcm_switch_control_port_set )
STRATA_FUNCTION( portControlSet, bcm_port_control_set )
STRATA_FUNCTION( vlanControlGet, bcm_vlan_control_vlan_get )
STRATA_FUNCTION( vlanControlSet, bcm_vlan_control_vlan_set )
STRATA_FUNCTION( vlanPortAdd, bcm_vlan_port_add )
STRATA_FUNCTION( vlanPortRemove, bcm_vlan_port_remove )
STRATA_FUNCTION( l3Ip4OptionsProfileCreate, bcm_l3_ip4_options_profile_create )
STRATA_FUNCTION( l3Ip4OptionsProfileDestroy, bcm_l3_ip4_options_profile_destroy )
STRATA_FUNCTION( register32Get, soc_reg32_get )
STRATA_FUNCTION( register32Set, soc_reg32_set )
STRATA_FUNCTION( register64Get, soc_reg_get )
STRATA_FUNCTION( register64Set, soc_reg_set )
STRATA_FUNCTION( ingMiscConfigRead, READ_ING_MISC_CONFIGr )
STRATA_FUNCTION( ingMiscConfigWrite, WRITE_ING_MISC_CONFIGr )
STRATA_FUNCTION( memoryRead, soc_mem_read )
STRATA_FUNCTION( memoryWrite, soc_mem_write )
#undef STRATA_FUNCTION

} // namespace Strata
