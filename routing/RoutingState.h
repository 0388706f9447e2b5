// The kinds of routing that a VLAN does.
#pragma once

#include "platform/runtime/Export.h"

#include <optional>
#include <string>
#include <string_view>

namespace Strata {

struct RoutingState
{
   bool routing = false;      // IPv4 unicast
   bool routing6 = false;     // IPv6 unicast
   bool mcastRouting = false; // multicast

   bool operator==( const RoutingState& ) const = default;

   /// Parses a list such as "ip4,ip6,mcast" of the kinds that are on; "off" or an empty text for none.
   /// Nothing for any other text.
   VORMEL_EXPORT static std::optional<RoutingState> parse( std::string_view text );
   static constexpr std::string_view valueSyntax = "a list such as ip4,ip6,mcast, or off";
};

VORMEL_EXPORT std::string toText( const RoutingState& state );

} // namespace Strata
