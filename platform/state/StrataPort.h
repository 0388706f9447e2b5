// The place of an interface on the chips.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"
#include "platform/types/IntfId.h"

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata {

using Vormel::IntfId;

/// A front-panel port: its unit, the SDK's port number there, and the logical port number (0 to 1023) that port
/// bitmaps use. A default-constructed port is not valid.
class VORMEL_EXPORT StrataPort
{
 public:
   StrataPort() = default;
   StrataPort( U32 unit, int sdkPort, U32 logicalPort )
      : valid_( true ),
        unit_( unit ),
        sdkPort_( sdkPort ),
        logicalPort_( logicalPort )
   {}

   explicit operator bool() const { return valid_; }
   U32 unit() const { return unit_; }
   int sdkPort() const { return sdkPort_; }
   U32 logicalPort() const { return logicalPort_; }

   auto operator<=>( const StrataPort& ) const = default;

   /// Parses "unit/sdkPort/logicalPort"; the last part may be left out if it equals the SDK's number. Nothing for any
   /// other text.
   static std::optional<StrataPort> parse( std::string_view text );
   static constexpr std::string_view valueSyntax = "a port written unit/sdkPort[/logicalPort]";

 private:
   bool valid_ = false;
   U32 unit_ = 0;
   int sdkPort_ = 0;
   U32 logicalPort_ = 0;
};

VORMEL_EXPORT std::string toText( const StrataPort& port );

/// The members of a LAG, in member order.
class VORMEL_EXPORT IntfIdList
{
 public:
   IntfIdList() = default;
   explicit IntfIdList( std::vector<IntfId> intfs ) : intfs_( std::move( intfs ) ) {}

   auto begin() const { return intfs_.begin(); }
   auto end() const { return intfs_.end(); }
   bool empty() const { return intfs_.empty(); }

   bool operator==( const IntfIdList& ) const = default;

   /// Parses a list such as "Ethernet1,Ethernet2"; nothing for any other text.
   static std::optional<IntfIdList> parse( std::string_view text );
   static constexpr std::string_view valueSyntax = "interfaces separated by commas";

 private:
   std::vector<IntfId> intfs_;
};

VORMEL_EXPORT std::string toText( const IntfIdList& list );

} // namespace Strata
