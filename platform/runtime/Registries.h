// The registries behind Trace.h and Syslog.h. Internal to the library; they live in Globals.cpp.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <mutex>
#include <vector>

namespace Vormel::Detail {

struct TraceRegistry
{
   std::vector<TraceHandle*> handles;
   std::mutex sinkMutex; // records also come under a chip's lock alone
   TraceSink sink;
};

struct SyslogRegistry
{
   std::vector<const SyslogHandle*> handles;
   SyslogSink sink;
   const Clock* clock = nullptr;
};

// Each is made by its first handle, of whichever source file, and so destroyed after the last.
TraceRegistry& traceRegistry();
SyslogRegistry& syslogRegistry();

} // namespace Vormel::Detail
