// Configuration inputs: feature flags, platform settings, policy routing, source-IP lookup, uRPF.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"

#include <string>

namespace Strata {

/// Unknown-MAC drop is available for traffic classes 0 to 7: only these have ids for drop entries.
constexpr U16 highestTrafficClass = 7;
/// In seconds. An agent that polls more often would do little else.
constexpr double shortestPollInterval = 0.001;

// clang-format off
#define STRATA_FEATURES_ATTRIBUTES( ROW ) \
   ROW( MAP, 258, feature, std::string, bool, 0, "a feature flag of the agent", "agent" )

#define STRATA_MISC_CONFIG_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 262, l2DualHash, bool, false, "two hash functions for the L2 table", "agent" ) \
   ROW( SCALAR, 263, l3DualHash, bool, false, "two hash functions for the L3 host table", "agent" ) \
   ROW( MAP_REPLACED, 275, unknownMacDropTrafficClass, U16, bool, 0, "traffic classes 0 to 7 whose packets to unknown MACs are dropped: the keys; the values have no meaning", "agent", checkTrafficClass ) \
   ROW( SCALAR_CHECKED, 276, syslogTimeout, double, 0.0, "seconds between polls of the unknown-MAC drop counters, 0.001 or more; 0 for no polling", "agent", checkSyslogTimeout )

#define STRATA_PBR_INFO_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, pbrEnabled, bool, false, "policy routing is on", "agent" )

#define STRATA_BASTLE_SOURCE_IP_LOOKUP_CONFIG_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, l2TrafficRouting, bool, false, "the source of bridged IP packets is also looked up in the L3 tables", "agent" )

#define STRATA_L2_MCAST_TABLE_ALLOCATION_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, size, U32, 0, "number of L2 multicast groups that were allocated", "agent" ) \
   ROW( SCALAR, 259, cpuGroup, U32, 0, "the group whose packets go to the CPU only", "agent" ) \
   ROW( SCALAR, 260, cpuAndFloodGroup, U32, 0, "the group whose packets go to the CPU and are flooded", "agent" ) \
   ROW( SCALAR, 261, floodGroup, U32, 0, "the group whose packets are flooded only", "agent" )

#define STRATA_URPF_COMMON_DATA_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, doubleWideMode, bool, false, "uRPF entries are double wide", "agent" ) \
   ROW( SCALAR, 259, tcamEntryUrpf4, U32, 0, "id of the IPv4 uRPF exemption entry; 0 for none", "uRPF" ) \
   ROW( SCALAR, 260, tcamEntryUrpf6, U32, 0, "id of the IPv6 uRPF exemption entry; 0 for none", "uRPF" )
// clang-format on

class VORMEL_EXPORT Features : public Vormel::Entity
{
   VORMEL_ENTITY( Features, STRATA_FEATURES_ATTRIBUTES )
};

class VORMEL_EXPORT StrataMiscConfig : public Vormel::Entity
{
   VORMEL_ENTITY( StrataMiscConfig, STRATA_MISC_CONFIG_ATTRIBUTES )

 private:
   static void checkTrafficClass( U16 trafficClass, bool );
   static void checkSyslogTimeout( double seconds );
};

class VORMEL_EXPORT StrataPbrInfo : public Vormel::Entity
{
   VORMEL_ENTITY( StrataPbrInfo, STRATA_PBR_INFO_ATTRIBUTES )
};

class VORMEL_EXPORT BastleSourceIpLookupConfig : public Vormel::Entity
{
   VORMEL_ENTITY( BastleSourceIpLookupConfig, STRATA_BASTLE_SOURCE_IP_LOOKUP_CONFIG_ATTRIBUTES )
};

class VORMEL_EXPORT L2McastTableAllocationEnt : public Vormel::Entity
{
   VORMEL_ENTITY( L2McastTableAllocationEnt, STRATA_L2_MCAST_TABLE_ALLOCATION_ATTRIBUTES )
};

class VORMEL_EXPORT StrataUrpfCommonData : public Vormel::Entity
{
   VORMEL_ENTITY( StrataUrpfCommonData, STRATA_URPF_COMMON_DATA_ATTRIBUTES )
};

} // namespace Strata
