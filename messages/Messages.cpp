// Created when the library is loaded, in this order.
#include "messages/Messages.h"

#include "messages/Traces.h"

namespace Strata {

using Vormel::NoActionRequired;
using Vormel::Severity;

Vormel::TraceHandle routingTrace( "StrataRoutingStatus" );
Vormel::TraceHandle apiTrace( "ApiStrata" );

Vormel::SyslogHandle STRATA_CONFIG_CHANGE( "STRATA_CONFIG_CHANGE", Severity::info,
   "Configuration change requires the Strata agent %s to restart",
   "Configuration change requires the switch ASIC to be reconfigured, requiring the Strata agent to restart.",
   NoActionRequired );

Vormel::SyslogHandle STRATA_UNEXPECTED_RESTART( "STRATA_UNEXPECTED_RESTART", Severity::error,
   "Unexpected restart of Strata agent %s occurred",
   "Unexpected restart of the Strata agent occurred.", NoActionRequired );

Vormel::SyslogHandle STRATA_URPF_HW_RESOURCE_FULL( "STRATA_URPF_HW_RESOURCE_FULL", Severity::error,
   "Insufficient TCAM resources for programming uRPF ACL entries.",
   "The switch is unable to program ACL entries needed for uRPF due to insufficient TCAM resources. As a result, uRPF will not be enabled in hardware.",
   "Reconfigure your ACLs to free up enough resources for uRPF." );

Vormel::SyslogHandle STRATA_RESERVED_HOST_TABLE_EXCEEDED( "STRATA_RESERVED_HOST_TABLE_EXCEEDED",
   Severity::info,
   "The reserved value chosen for the host entries exceeds the current number of available entries. Reserving only %d entries.",
   "The number of entries reserved in the host table cannot exceed the current table capacity. The actual number of entries reserved is lower than the configured one.",
   NoActionRequired );

Vormel::SyslogHandle HARDWARE_UNKNOWN_MAC_DROP_FEATURE_UNSUPPORTED(
   "HARDWARE_UNKNOWN_MAC_DROP_FEATURE_UNSUPPORTED", Severity::error,
   "Cannot program unknown MAC drop for traffic class %d on %s.",
   "This feature is not supported on this Norvan version.",
   "Remove the command 'platform trident unknown-mac-drop priority <class>' from the switch configuration." );

Vormel::SyslogHandle UNKNOWN_UCAST_PACKET_RECEIVED( "UNKNOWN_UCAST_PACKET_RECEIVED",
   Severity::warning, "Received unknown unicast packet for lossless priority %s on the switch",
   "The switch received and dropped packet(s) addressed to an unknown unicast MAC address using a lossless priority.",
   NoActionRequired );

} // namespace Strata
