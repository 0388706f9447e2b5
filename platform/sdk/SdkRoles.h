// The names of the chip SDK that the slice uses, by role: a list of roles for each kind of name, and the enum that is made
// from it. The SDK defines their numbers; the shim returns them at every use.
//
// Other code uses the lists as well: STRATA_FIELD_ACTIONS( ROLE ) is ROLE( CopyToCpu ), ROLE( CopyToCpuCancel ) and so on. Those
// of registers, memories and their fields have the SDK's name behind the role: ROLE( IngConfig64, ING_CONFIG_64r ). It may
// be a macro, so a row takes it as `#name`.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <algorithm>
#include <string_view>

#if defined( IP4 ) || defined( IP6 ) || defined( L2UC ) || defined( L2UNKNOWN ) || \
   defined( L2MCKNOWN ) || defined( L3MCKNOWN )
#error \
   "strata-l3: IP4, IP6, L2UC, L2UNKNOWN, L2MCKNOWN and L3MCKNOWN are enumerators; #undef the macros of these names before its headers"
#endif

namespace Strata {

// clang-format off
#define STRATA_FIELD_ACTIONS( ROLE ) \
   ROLE( CopyToCpu ) \
   ROLE( CopyToCpuCancel ) \
   ROLE( CosQCpuNew ) \
   ROLE( DoNotCheckUrpf ) \
   ROLE( DoNotLearn ) \
   ROLE( Drop ) \
   ROLE( EgressPortsAdd ) \
   ROLE( HgTrunkCancel ) /* cancels HiGig trunk resolution */ \
   ROLE( HgTrunkCancelLag ) /* the same on units that resolve HiGig trunks as LAGs */ \
   ROLE( RedirectMcast ) \
   ROLE( RedirectPbmp ) \
   ROLE( RedirectPort )
VORMEL_ENUM_FROM( FieldAction, U8, STRATA_FIELD_ACTIONS )

#define STRATA_FIELD_IP_TYPES( ROLE ) \
   ROLE( ArpReply ) \
   ROLE( ArpRequest ) \
   ROLE( Ipv4Any ) \
   ROLE( Ipv6 )
VORMEL_ENUM_FROM( FieldIpType, U8, STRATA_FIELD_IP_TYPES )

#define STRATA_PACKET_RESULTS( ROLE ) \
   ROLE( L2MCKNOWN ) \
   ROLE( L2UC ) /* known unicast */ \
   ROLE( L2UNKNOWN ) \
   ROLE( L3MCKNOWN )
VORMEL_ENUM_FROM( PacketResult, U8, STRATA_PACKET_RESULTS )

#define STRATA_SWITCH_CONTROLS( ROLE ) \
   ROLE( CpuProtoIpOptionsPriority ) \
   ROLE( HashL2Dual ) \
   ROLE( HashL3Dual ) \
   ROLE( IPv4DoNotVerifyIncomingChecksum ) \
   ROLE( IcmpRedirectToCpu ) \
   ROLE( IgmpReservedMcastEnable ) \
   ROLE( IpmcTtl1ToCpu ) \
   ROLE( L2TrafficSrcIpLookup ) \
   ROLE( L3EgressMode ) \
   ROLE( L3InterfaceUrpfEnable ) \
   ROLE( L3MtuFailToCpu ) \
   ROLE( L3SlowpathToCpu ) \
   ROLE( L3UcTtlErrToCpu ) \
   ROLE( L3UcastTtl1ToCpu ) \
   ROLE( MartianAddrToCpu ) \
   ROLE( MplsLabelMissToCpu ) \
   ROLE( MplsTtlErrToCpu ) \
   ROLE( V4L3DstMissToCpu ) \
   ROLE( V6L3DstMissToCpu )
VORMEL_ENUM_FROM( SwitchControl, U8, STRATA_SWITCH_CONTROLS )

#define STRATA_PORT_CONTROLS( ROLE ) \
   ROLE( IP4 ) \
   ROLE( IP6 )
VORMEL_ENUM_FROM( PortControl, U8, STRATA_PORT_CONTROLS )

#define STRATA_VLAN_FLAGS( ROLE ) \
   ROLE( vlanIp4RoutingOff ) \
   ROLE( vlanIp6RoutingOff ) \
   ROLE( vlanMcastRoutingOff ) \
   ROLE( vlanMcastRoutingOn ) \
   ROLE( vlanRoutingFlagA ) \
   ROLE( vlanRoutingFlagB )
VORMEL_ENUM_FROM( VlanFlag, U8, STRATA_VLAN_FLAGS )

#define STRATA_IP_OPTION_ACTIONS( ROLE ) \
   ROLE( CopyCPUAndDrop )
VORMEL_ENUM_FROM( IpOptionAction, U8, STRATA_IP_OPTION_ACTIONS )

// Registers and memories, with their fields.
#define STRATA_SDK_REGISTERS( ROLE ) \
   ROLE( CpuControlM, CPU_CONTROL_Mr ) \
   ROLE( IngConfig64, ING_CONFIG_64r ) \
   ROLE( IngMiscConfig, ING_MISC_CONFIGr )
VORMEL_ENUM_FROM( Register, U8, STRATA_SDK_REGISTERS )

#define STRATA_REGISTER_FIELDS( ROLE ) \
   ROLE( MplsLabelMissToCpu, MPLS_LABEL_MISS_TOCPUf ) \
   ROLE( MplsTtlErrToCpu, MPLS_TTL_ERR_TOCPUf ) \
   ROLE( UseMyStation1ForNonTunnels, USE_MY_STATION1_FOR_NON_TUNNELSf ) \
   ROLE( Ip4UrpfOnL3Iif, IP4_URPF_ON_L3_IIFf ) \
   ROLE( Ip6UrpfOnL3Iif, IP6_URPF_ON_L3_IIFf ) \
   ROLE( DoNotCopyFromCpuToCpu, DO_NOT_COPY_FROM_CPU_TO_CPUf )
VORMEL_ENUM_FROM( RegisterField, U8, STRATA_REGISTER_FIELDS )

/// The register that the field, of one bit, belongs to.
constexpr Register registerOf( RegisterField field )
{
   switch( field ) {
   case RegisterField::MplsLabelMissToCpu:
   case RegisterField::MplsTtlErrToCpu:
      return Register::CpuControlM;
   case RegisterField::UseMyStation1ForNonTunnels:
   case RegisterField::Ip4UrpfOnL3Iif:
   case RegisterField::Ip6UrpfOnL3Iif:
      return Register::IngConfig64;
   case RegisterField::DoNotCopyFromCpuToCpu:
      return Register::IngMiscConfig;
   }
   return {};
}

#define STRATA_SDK_MEMORIES( ROLE ) \
   ROLE( MyStationTcam, MY_STATION_TCAMm )
VORMEL_ENUM_FROM( Memory, U8, STRATA_SDK_MEMORIES )

#define STRATA_MEMORY_FIELDS( ROLE ) \
   ROLE( Valid, VALIDf ) \
   ROLE( MacAddr, MAC_ADDRf ) \
   ROLE( MacAddrMask, MAC_ADDR_MASKf ) \
   ROLE( VlanId, VLAN_IDf ) \
   ROLE( VlanIdMask, VLAN_ID_MASKf ) \
   ROLE( IngressPortNum, ING_PORT_NUMf ) \
   ROLE( IngressPortNumMask, ING_PORT_NUM_MASKf ) \
   ROLE( Ipv4Termination, IPV4_TERMINATION_ALLOWEDf ) \
   ROLE( Ipv6Termination, IPV6_TERMINATION_ALLOWEDf ) \
   ROLE( MplsTermination, MPLS_TERMINATION_ALLOWEDf ) \
   ROLE( ArpRarpTermination, ARP_RARP_TERMINATION_ALLOWEDf )
VORMEL_ENUM_FROM( MemoryField, U8, STRATA_MEMORY_FIELDS )
// clang-format on

/// Whether the field is a MAC address or its mask, which the shim has functions of their own for.
constexpr bool isMacField( MemoryField field )
{
   return field == MemoryField::MacAddr || field == MemoryField::MacAddrMask;
}

/// Every operation of SdkOperations.def; its name is the SDK function it performs, "bcm_field_qualify_Ttl".
enum class SdkOperation : U8
{
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) method,
#include "platform/sdk/SdkOperations.def"
};
constexpr auto enumNames( SdkOperation )
{
   return std::to_array<Vormel::EnumName<SdkOperation>>( {
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) { SdkOperation::method, #name },
#include "platform/sdk/SdkOperations.def"
   } );
}

/// The SDK's name for a role: "Drop", "ING_CONFIG_64r".
template<Vormel::NamedEnum Role>
constexpr std::string_view roleName( Role role )
{
   return Vormel::enumName( role );
}
/// The names of a kind, in the order of the enum.
template<Vormel::NamedEnum Role>
inline constexpr auto roleNames = Vormel::enumNameList<Role>;

// Where roles are listed for people, the order of the enum is taken.
static_assert( std::ranges::is_sorted( roleNames<FieldAction> ) &&
               std::ranges::is_sorted( roleNames<FieldIpType> ) &&
               std::ranges::is_sorted( roleNames<PacketResult> ) &&
               std::ranges::is_sorted( roleNames<SwitchControl> ) &&
               std::ranges::is_sorted( roleNames<PortControl> ) &&
               std::ranges::is_sorted( roleNames<VlanFlag> ) &&
               std::ranges::is_sorted( roleNames<Register> ) );

} // namespace Strata
