// The columns of arguments of the tables of operations, as text, for code that names arguments.
#pragma once

#include <string_view>

namespace Strata {

/// Takes the first name off a column such as "( unit, entry )". Requires: there is one.
constexpr std::string_view takeArgumentName( std::string_view& names )
{
   const auto begin = names.find_first_not_of( "( ," );
   const auto end = names.find_first_of( " ,)", begin );
   const std::string_view name = names.substr( begin, end - begin );
   names.remove_prefix( end );
   return name;
}

} // namespace Strata
