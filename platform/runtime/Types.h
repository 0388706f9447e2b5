// Short names of fixed-width integers, used by the whole agent.
#pragma once

#include "platform/runtime/Export.h"

#include <cstdint>

#if defined( U8 ) || defined( U16 ) || defined( U32 ) || defined( U64 ) || defined( S32 ) || \
   defined( S64 )
#error \
   "strata-l3: U8, U16, U32, U64, S32 and S64 are types; #undef the macros of these names before its headers"
#endif

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S32 = std::int32_t;
using S64 = std::int64_t;
