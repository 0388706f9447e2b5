#include "tool/Interrupt.h"

namespace Strata::Tool {

namespace {

volatile std::sig_atomic_t pressed = 0;

} // namespace

InterruptWatch::InterruptWatch()
{
   pressed = 0;
   struct sigaction action = {}; // without SA_RESTART
   action.sa_handler = []( int ) { pressed = 1; };
   ::sigaction( SIGINT, &action, &before_ );
}

InterruptWatch::~InterruptWatch()
{
   ::sigaction( SIGINT, &before_, nullptr );
   pressed = 0;
}

SignalAction::SignalAction( int signal, void ( *handler )( int ) ) : signal_( signal )
{
   struct sigaction action = {};
   action.sa_handler = handler;
   ::sigaction( signal, &action, &before_ );
}

void SignalAction::restore() const
{
   ::sigaction( signal_, &before_, nullptr );
}

bool interrupted()
{
   return pressed != 0;
}

void interruptDel()
{
   pressed = 0;
}

} // namespace Strata::Tool
