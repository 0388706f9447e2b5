// Tables with a row for each role of a kind. A row names its role, so the order of the rows is irrelevant.
#pragma once

#include "platform/sdk/SdkRoles.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Strata::Sim {

/// Requires: eachRoleHasARow( rows ).
template<class Row, std::size_t count>
constexpr const Row& rowOf( const std::array<Row, count>& rows, decltype( Row::role ) role )
{
   return *std::ranges::find( rows, role, &Row::role );
}

/// One row, and not two.
template<class Row, std::size_t count>
consteval bool eachRoleHasARow( const std::array<Row, count>& rows )
{
   using Role = decltype( Row::role );
   for( const Role role : Vormel::enumValues<Role>() )
      if( std::ranges::count( rows, role, &Row::role ) != 1 )
         return false;
   return true;
}

} // namespace Strata::Sim
