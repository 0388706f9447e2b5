// Settings of long tests.
#pragma once

#include "platform/runtime/Types.h"

#include <cstdlib>
#include <string>

namespace Strata {

inline U64 fromEnvironment( const char* name, U64 otherwise )
{
   const char* const text = std::getenv( name );
   return text ? std::stoull( text ) : otherwise;
}

} // namespace Strata
