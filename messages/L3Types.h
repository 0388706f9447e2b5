// Values that describe layer-3 hardware: plain, with equality, order, hash and text form. A hardware L3 interface
// id of 0 is none.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"

#include <array>
#include <compare>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>

namespace Strata {

using Vormel::EthAddr;
using Vormel::IntfId;

/// The settings of a routed interface that hardware needs.
struct L3IntfInfo
{
   IntfId intfId;
   U16 vlanId = 0; // 1 to 4094
   U32 vrfId = 0;
   EthAddr macAddr;
   U32 mtu = 0; // bytes
   U32 hwL3IntfId = 0;

   auto operator<=>( const L3IntfInfo& ) const = default;
};

/// Names an L3 interface that was made for flows, not for configuration.
struct L3IntfFlowKey
{
   U16 vlanId = 0; // 1 to 4094
   EthAddr srcMac;

   auto operator<=>( const L3IntfFlowKey& ) const = default;
};

/// The L3 interface for a key, and its users.
struct L3IntfFlowInfo
{
   U32 hwL3IntfId = 0;
   U32 refCount = 0; // flows that use it; at 0 it is removed

   auto operator<=>( const L3IntfFlowInfo& ) const = default;
};

/// The labels that a tunnel pushes.
class VORMEL_EXPORT MplsTunnelKey
{
 public:
   static constexpr std::size_t maxLabels = 8;
   static constexpr U32 highestLabel = 0xFFFFF;
   static constexpr U8 highestExp = 7;

   MplsTunnelKey() = default;
   /// Labels outermost first, 1 to 8 of 20 bits; exp 0 to 7; ttl 0 is taken from the packet. ValueError
   /// outside these ranges.
   MplsTunnelKey( std::span<const U32> labels, U8 exp, U8 ttl );
   MplsTunnelKey( std::initializer_list<U32> labels, U8 exp, U8 ttl )
      : MplsTunnelKey( std::span( labels.begin(), labels.size() ), exp, ttl )
   {}

   std::size_t labelCount() const { return count_; }
   /// RangeError from labelCount() on.
   U32 label( std::size_t index ) const;
   U8 exp() const { return exp_; }
   U8 ttl() const { return ttl_; }

   auto operator<=>( const MplsTunnelKey& ) const = default;

 private:
   std::array<U32, maxLabels> labels_{};
   std::size_t count_ = 0;
   U8 exp_ = 0;
   U8 ttl_ = 0;
};

/// A tunnel on an interface.
struct MplsTunnelKeyAndL3Intf
{
   MplsTunnelKey tunnelKey;
   U32 hwL3IntfId = 0;

   auto operator<=>( const MplsTunnelKeyAndL3Intf& ) const = default;
};

VORMEL_EXPORT std::string toText( const L3IntfInfo& value );
VORMEL_EXPORT std::string toText( const L3IntfFlowKey& value );
VORMEL_EXPORT std::string toText( const L3IntfFlowInfo& value );
VORMEL_EXPORT std::string toText( const MplsTunnelKey& value );
VORMEL_EXPORT std::string toText( const MplsTunnelKeyAndL3Intf& value );

// For HashMap; depend only on the value and the seed.
VORMEL_EXPORT U64 hashValue( const L3IntfInfo& value, U32 seed );
VORMEL_EXPORT U64 hashValue( const L3IntfFlowKey& value, U32 seed );
VORMEL_EXPORT U64 hashValue( const L3IntfFlowInfo& value, U32 seed );
VORMEL_EXPORT U64 hashValue( const MplsTunnelKey& value, U32 seed );
VORMEL_EXPORT U64 hashValue( const MplsTunnelKeyAndL3Intf& value, U32 seed );

} // namespace Strata
