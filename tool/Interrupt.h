// Ctrl-C in a session at a terminal. It ends the running command at its next safe point, not the session. A safe
// point lies between two steps of a command that can do without each other: two lines of a file, two frames of a
// capture, two runs of timers. What is behind it is complete, so the switch stays consistent.
#pragma once

#include <csignal>
#include <stdexcept>
#include <string>

namespace Strata::Tool {

/// Says where the command has ended.
class Interrupted : public std::runtime_error
{
 public:
   using std::runtime_error::runtime_error;
};

/// While one exists, SIGINT is only recorded, and system calls that wait return. One per process.
class InterruptWatch
{
 public:
   InterruptWatch();
   ~InterruptWatch();
   InterruptWatch( const InterruptWatch& ) = delete;
   InterruptWatch& operator=( const InterruptWatch& ) = delete;

 private:
   struct sigaction before_;
};

/// Handles a signal by `handler`, SIG_IGN or SIG_DFL, during its lifetime.
class SignalAction
{
 public:
   SignalAction( int signal, void ( *handler )( int ) );
   ~SignalAction() { restore(); }
   SignalAction( const SignalAction& ) = delete;
   SignalAction& operator=( const SignalAction& ) = delete;

   /// For a copy of the process, which handles it as before.
   void restore() const;

 private:
   int signal_;
   struct sigaction before_;
};

/// Whether Ctrl-C was pressed since the last interruptDel(). False without a watch.
bool interrupted();
void interruptDel();

/// A safe point. `where()` returns what Interrupted says, such as "before line 7 of x.scenario".
template<class Where>
void safePoint( Where where )
{
   if( interrupted() )
      throw Interrupted( where() );
}

} // namespace Strata::Tool
