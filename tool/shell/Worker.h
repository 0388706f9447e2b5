// Runs work in a copy of this process that keeps the terminal, so that its death leaves this process, which can
// start another copy.
#pragma once

#include <functional>
#include <optional>

namespace Strata::Tool {

struct WorkerEnd
{
   std::optional<int> status; // nothing if a signal has killed it
   int signal = 0;
};

/// Waits for the copy to end; its exit status is what `work` returns, or 2 if that throws. Meanwhile Ctrl-C has no effect
/// on this process. std::system_error if there is no copy.
///
/// Requires: this process has no other thread.
WorkerEnd runWorker( const std::function<int()>& work );

} // namespace Strata::Tool
