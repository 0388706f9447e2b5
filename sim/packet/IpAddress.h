// IPv4 and IPv6 addresses, and prefixes of them.
#pragma once

#include "platform/runtime/Types.h"

#include <array>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace Strata::Sim {

class IpAddress
{
 public:
   /// IPv4's 0.0.0.0.
   IpAddress() = default;
   static IpAddress v4( U32 number );
   static IpAddress v6( const std::array<U8, 16>& bytes );
   /// "10.1.0.1", "2001:db8::1"
   static std::optional<IpAddress> parse( std::string_view text );

   bool isV6() const { return v6_; }
   U32 bits() const { return v6_ ? 128 : 32; }
   /// On the wire; an IPv4 address has four bytes, the others are zero.
   const std::array<U8, 16>& bytes() const { return bytes_; }
   /// Of an IPv4 address.
   U32 v4Number() const;

   bool isMulticast() const;
   /// Routers do not forward it: loopback, 0.0.0.0/8, 240.0.0.0/4; ::, ::1; as a source, multicast too.
   bool isMartian( bool asSource ) const;

   /// Link-local: 169.254.0.0/16, fe80::/10, and the groups 224.0.0.0/24 and those of IPv6 whose
   /// scope is no wider than a link.
   bool isLinkLocal() const;

   /// Clears all but the first bits.
   IpAddress masked( U32 length ) const;

   std::string toString() const;
   auto operator<=>( const IpAddress& ) const = default;

 private:
   bool v6_ = false;
   std::array<U8, 16> bytes_{};
};

struct IpPrefix
{
   IpAddress address; // masked
   U32 length = 0;

   /// "10.1.0.0/16"; without a length, one address.
   static std::optional<IpPrefix> parse( std::string_view text );
   bool contains( const IpAddress& other ) const;

   std::string toString() const { return address.toString() + "/" + std::to_string( length ); }
   auto operator<=>( const IpPrefix& ) const = default;
};

} // namespace Strata::Sim
