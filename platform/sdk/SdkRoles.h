// The roles of SDK names as enums, with their text forms.
#pragma once

#include "platform/runtime/Types.h"

#include <array>
#include <cstddef>
#include <string_view>

#if defined( IP4 ) || defined( IP6 ) || defined( L2UC ) || defined( L2UNKNOWN ) || \
   defined( L2MCKNOWN ) || defined( L3MCKNOWN )
#error \
   "strata-l3: IP4, IP6, L2UC, L2UNKNOWN, L2MCKNOWN and L3MCKNOWN are enumerators; #undef the macros of these names before its headers"
#endif

namespace Strata {

/// The names of a group's roles, in the order of the enum.
template<class Role>
inline constexpr std::array<std::string_view, 0> roleNames{};

template<class Role>
constexpr std::string_view roleName( Role role )
{
   return roleNames<Role>[ static_cast<std::size_t>( role ) ];
}

#define STRATA_ROLE( role, ... ) role,
#define STRATA_ROLE_TEXT( role ) #role,
#define STRATA_NAME_TEXT( role, name ) #name,

enum class FieldAction : U8
{
#define STRATA_FIELD_ACTION STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<FieldAction> = std::to_array<std::string_view>( {
#define STRATA_FIELD_ACTION STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class FieldIpType : U8
{
#define STRATA_FIELD_IP_TYPE STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<FieldIpType> = std::to_array<std::string_view>( {
#define STRATA_FIELD_IP_TYPE STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class PacketResult : U8
{
#define STRATA_PACKET_RESULT STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<PacketResult> = std::to_array<std::string_view>( {
#define STRATA_PACKET_RESULT STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class SwitchControl : U8
{
#define STRATA_SWITCH_CONTROL STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<SwitchControl> = std::to_array<std::string_view>( {
#define STRATA_SWITCH_CONTROL STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class PortControl : U8
{
#define STRATA_PORT_CONTROL STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<PortControl> = std::to_array<std::string_view>( {
#define STRATA_PORT_CONTROL STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class VlanFlag : U8
{
#define STRATA_VLAN_FLAG STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<VlanFlag> = std::to_array<std::string_view>( {
#define STRATA_VLAN_FLAG STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class IpOptionAction : U8
{
#define STRATA_IP_OPTION_ACTION STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<IpOptionAction> = std::to_array<std::string_view>( {
#define STRATA_IP_OPTION_ACTION STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class Register : U8
{
#define STRATA_SDK_REGISTER STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<Register> = std::to_array<std::string_view>( {
#define STRATA_SDK_REGISTER STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class RegisterField : U8
{
#define STRATA_REGISTER_FIELD STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<RegisterField> = std::to_array<std::string_view>( {
#define STRATA_REGISTER_FIELD STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class Memory : U8
{
#define STRATA_SDK_MEMORY STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<Memory> = std::to_array<std::string_view>( {
#define STRATA_SDK_MEMORY STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class MemoryField : U8
{
#define STRATA_MEMORY_FIELD STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<MemoryField> = std::to_array<std::string_view>( {
#define STRATA_MEMORY_FIELD STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

#undef STRATA_ROLE
#undef STRATA_ROLE_TEXT
#undef STRATA_NAME_TEXT

/// Every operation of SdkOperations.def; its name is the SDK function it performs, "bcm_field_qualify_Ttl".
enum class SdkOperation : U8
{
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) method,
#include "platform/sdk/SdkOperations.def"
};
template<>
inline constexpr auto roleNames<SdkOperation> = std::to_array<std::string_view>( {
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) #name,
#include "platform/sdk/SdkOperations.def"
} );

} // namespace Strata
