// The system log messages that the slice declares. It raises two of them; other parts of the agent raise the rest.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Syslog.h"

namespace Strata {

extern VORMEL_EXPORT Vormel::SyslogHandle STRATA_CONFIG_CHANGE;      // the agent's name
extern VORMEL_EXPORT Vormel::SyslogHandle STRATA_UNEXPECTED_RESTART; // the agent's name
extern VORMEL_EXPORT Vormel::SyslogHandle STRATA_URPF_HW_RESOURCE_FULL;
extern VORMEL_EXPORT Vormel::SyslogHandle STRATA_RESERVED_HOST_TABLE_EXCEEDED; // entries reserved
extern VORMEL_EXPORT Vormel::SyslogHandle
   HARDWARE_UNKNOWN_MAC_DROP_FEATURE_UNSUPPORTED;                        // traffic class, chip
extern VORMEL_EXPORT Vormel::SyslogHandle UNKNOWN_UCAST_PACKET_RECEIVED; // traffic class

} // namespace Strata
