// The kind of chip of a unit, and its capabilities.
#pragma once

#include "platform/runtime/Export.h"

#include <compare>
#include <map>
#include <string>

namespace Strata {

/// Identifies a kind of chip in the table of chip attributes.
struct ChipInfo
{
   std::string model;

   auto operator<=>( const ChipInfo& ) const = default;
};

// name, meaning when true
#define STRATA_CHIP_CAPABILITIES( CAPABILITY ) \
   CAPABILITY( \
      ipv4ChecksumNoVerify, "can be told not to verify checksums of received IPv4 headers" ) \
   CAPABILITY( l3CpuFpEntries, "next hop to CPU and VLAN flooding are done by FP entries" ) \
   CAPABILITY( noNextHopToCpuEntry, "delivers packets for a CPU next hop without an entry" ) \
   CAPABILITY( lbPortAvailable, "every unit has an internal loopback port" ) \
   CAPABILITY( lbViaRecircOnly, "the loopback port serves recirculation only, not flooding" ) \
   CAPABILITY( cpuControlMMpls, "MPLS exceptions are controlled by the CPU control register" ) \
   CAPABILITY( l3IntfUrpfControl, "has the control that enables uRPF per L3 interface" ) \
   CAPABILITY( igmpReservedMcastControl, "has the control for IGMP on reserved multicast" ) \
   CAPABILITY( \
      myStation1ForNonTunnels, "has the field that uses my-station table 1 for non-tunnels" ) \
   CAPABILITY( usesIpOptionsDefault, "the built-in IPv4 options profile serves; none is created" ) \
   CAPABILITY( \
      floodingPortSupported, "routed floods are marked by the flooding destination port" ) \
   CAPABILITY( higigTrunkCancelSupported, "HiGig trunk resolution can be cancelled by an action" ) \
   CAPABILITY( higigQualifierSupported, "entries can qualify on arrival by HiGig" ) \
   CAPABILITY( vxlanSupported, "terminates and originates VXLAN tunnels" ) \
   CAPABILITY( vxlanRoutingInOnePass, "routes into and out of a tunnel in one pass" )

/// The capabilities of a chip. A chip that is not in the table has none.
class ChipAttributes
{
 public:
   /// Whether the chip's controls are written by HSDK methods instead of registers.
   bool usesHsdk() const { return usesHsdk_; }
   bool supportsSocCalls() const { return supportsSocCalls_; }

   void usesHsdkIs( bool value ) { usesHsdk_ = value; }
   void supportsSocCallsIs( bool value ) { supportsSocCalls_ = value; }

#define STRATA_CAPABILITY( name, meaning ) bool name = false;
   STRATA_CHIP_CAPABILITIES( STRATA_CAPABILITY )
#undef STRATA_CAPABILITY

 private:
   bool usesHsdk_ = false;
   bool supportsSocCalls_ = false;
};

/// The platform's central table of chip attributes. An agent fills it before it makes the first helper.
/// Requires: the activity lock is held.
class VORMEL_EXPORT StrataAttributes
{
 public:
   /// All false for a chip that is not in the table.
   ChipAttributes chipAttributes( const ChipInfo& chip ) const;
   bool known( const ChipInfo& chip ) const { return chips_.contains( chip ); }
   void chipAttributesIs( const ChipInfo& chip, const ChipAttributes& attributes );

 private:
   std::map<ChipInfo, ChipAttributes> chips_;
};

VORMEL_EXPORT StrataAttributes& strataAttributes();

} // namespace Strata
