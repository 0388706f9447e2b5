// What happens when the agent dies while nobody expects it to: its last words, and the exit status that says so.
#pragma once

#include "platform/runtime/Assert.h"

namespace Strata::Tool {

class Session;

/// Watches over a session for as long as it lives. When the agent aborts, the line that ran is reported and the
/// process ends at once, with ExitStatus::died. One at a time.
class DeathWatch
{
 public:
   explicit DeathWatch( Session& session );
   ~DeathWatch();
   DeathWatch( const DeathWatch& ) = delete;
   DeathWatch& operator=( const DeathWatch& ) = delete;

 private:
   Vormel::AssertionHook hookBefore_;
   void ( *handlerBefore_ )( int );
};

} // namespace Strata::Tool
