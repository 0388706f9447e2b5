// The kinds of routing of a VLAN, and the kinds of router MAC that have entries.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/SlotArray.h"
#include "platform/runtime/Types.h"

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

VORMEL_ENUM( MacType, U8,
   bridgeMac = 0, // the switch's own router MAC
   fennicMac = 1  // the virtual router MAC that the MLAG peers share
)

} // namespace Strata

/// The slot with index 2 is valid but unused.
template<>
inline constexpr std::size_t Vormel::slotCount<Strata::MacType> = 3;
