// The positions of the fields in the chip's registers.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"

#include <optional>
#include <string>
#include <string_view>

namespace Strata::Sim {

U64 registerFieldSet( U64 value, RegisterField field, U32 data );
U32 registerField( U64 value, RegisterField field );

/// The value of the register after reset, which includes bits that the slice must not change.
U64 registerReset( Register reg );

/// "0x1000003 (MPLS_LABEL_MISS_TOCPUf 1, MPLS_TTL_ERR_TOCPUf 1)"
std::string registerText( Register reg, U64 value );

/// By name, such as "CPU_CONTROL_Mr" and "MPLS_TTL_ERR_TOCPUf"; the last letter may be left out.
std::optional<Register> findRegister( std::string_view name );
std::optional<RegisterField> findRegisterField( std::string_view name );

} // namespace Strata::Sim
