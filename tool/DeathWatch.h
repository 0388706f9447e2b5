// Handles an unexpected death of the agent: reports the last lines and sets the exit status.
#pragma once

#include "platform/runtime/Assert.h"

namespace Strata::Tool {

class Session;

/// Active during its lifetime, for one session. When the agent aborts, the line that ran is reported and the
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
