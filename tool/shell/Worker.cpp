#include "tool/shell/Worker.h"

#include "tool/Interrupt.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Strata::Tool {

namespace {

[[noreturn]] void beWorker( const std::function<int()>& work )
{
   ::prctl( PR_SET_PDEATHSIG, SIGHUP ); // it does not outlive the command that was started
   int status = 2;
   try {
      status = work();
   } catch( const std::exception& error ) {
      std::cerr << error.what() << std::endl;
   }
   std::cout.flush();
   std::fflush( nullptr );
   ::_exit( status ); // without destructors, which only the parent may run
}

} // namespace

WorkerEnd runWorker( const std::function<int()>& work )
{
   std::cout.flush();
   std::fflush( nullptr );
   const SignalAction interrupt( SIGINT, SIG_IGN );
   const SignalAction quit( SIGQUIT, SIG_IGN );
   const pid_t worker = ::fork();
   if( worker < 0 )
      throw std::system_error( errno, std::generic_category(), "fork" );
   if( worker == 0 ) {
      interrupt.restore();
      quit.restore();
      beWorker( work );
   }
   int status = 0;
   while( ::waitpid( worker, &status, 0 ) < 0 )
      if( errno != EINTR )
         throw std::system_error( errno, std::generic_category(), "waitpid" );
   if( WIFEXITED( status ) )
      return { WEXITSTATUS( status ), 0 };
   return { std::nullopt, WTERMSIG( status ) };
}

} // namespace Strata::Tool
