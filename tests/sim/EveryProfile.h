// Tests that run on every kind of chip.
#pragma once

#include "sim/chip/ChipProfile.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace Strata {

inline auto everyProfile()
{
   return testing::ValuesIn( Sim::chipProfileNames() );
}

/// The suffix of a profile's tests: GoogleTest does not accept a dash in a name.
inline std::string profileSuffix( const testing::TestParamInfo<std::string_view>& profile )
{
   std::string name( profile.param );
   std::erase( name, '-' );
   return name;
}

} // namespace Strata
