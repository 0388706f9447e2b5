// The roles of SDK names as enums, with their text forms.
#pragma once

#include "platform/runtime/Types.h"

#include <array>
#include <cstddef>
#include <string_view>

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
#define STRATA_NAME_TEXT( role, name ) name,

enum class FieldAction : U8
{
#define FIELD_ACTION STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<FieldAction> = std::to_array<std::string_view>( {
#define FIELD_ACTION STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class FieldIpType : U8
{
#define FIELD_IP_TYPE STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<FieldIpType> = std::to_array<std::string_view>( {
#define FIELD_IP_TYPE STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class PacketResult : U8
{
#define PACKET_RESULT STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<PacketResult> = std::to_array<std::string_view>( {
#define PACKET_RESULT STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class SwitchControl : U8
{
#define SWITCH_CONTROL STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<SwitchControl> = std::to_array<std::string_view>( {
#define SWITCH_CONTROL STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class PortControl : U8
{
#define PORT_CONTROL STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<PortControl> = std::to_array<std::string_view>( {
#define PORT_CONTROL STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class VlanFlag : U8
{
#define VLAN_FLAG STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<VlanFlag> = std::to_array<std::string_view>( {
#define VLAN_FLAG STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class IpOptionAction : U8
{
#define IP_OPTION_ACTION STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<IpOptionAction> = std::to_array<std::string_view>( {
#define IP_OPTION_ACTION STRATA_ROLE_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class Register : U8
{
#define SDK_REGISTER STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<Register> = std::to_array<std::string_view>( {
#define SDK_REGISTER STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class RegisterField : U8
{
#define REGISTER_FIELD STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<RegisterField> = std::to_array<std::string_view>( {
#define REGISTER_FIELD STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class Memory : U8
{
#define SDK_MEMORY STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<Memory> = std::to_array<std::string_view>( {
#define SDK_MEMORY STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

enum class MemoryField : U8
{
#define MEMORY_FIELD STRATA_ROLE
#include "platform/sdk/SdkRoles.def"
};
template<>
inline constexpr auto roleNames<MemoryField> = std::to_array<std::string_view>( {
#define MEMORY_FIELD STRATA_NAME_TEXT
#include "platform/sdk/SdkRoles.def"
} );

#undef STRATA_ROLE
#undef STRATA_ROLE_TEXT
#undef STRATA_NAME_TEXT

/// Every operation of SdkOperations.def; its name is the SDK function it performs, "bcm_field_qualify_Ttl".
enum class SdkOperation : U8
{
#define SDK_OPERATION( method, name, parameters, arguments ) method,
#include "platform/sdk/SdkOperations.def"
};
template<>
inline constexpr auto roleNames<SdkOperation> = std::to_array<std::string_view>( {
#define SDK_OPERATION( method, name, parameters, arguments ) name,
#include "platform/sdk/SdkOperations.def"
} );

} // namespace Strata
