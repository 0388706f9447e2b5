// The registries behind Trace.h and Syslog.h. Internal to the library; they live in Globals.cpp.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <memory>
#include <mutex>
#include <vector>

namespace Vormel::Detail {

struct TraceRegistry
{
   std::vector<TraceHandle*> handles;
   std::mutex sinkMutex;                  // records are also made under only a chip's lock
   std::shared_ptr<const TraceSink> sink; // null for the default one
};

struct SyslogRegistry
{
   std::vector<const SyslogHandle*> handles;
   SyslogSink sink;
   const Clock* clock = nullptr;
};

// Each is made by the first handle in any source file, and therefore destroyed after the last one.
TraceRegistry& traceRegistry();
SyslogRegistry& syslogRegistry();

} // namespace Vormel::Detail
