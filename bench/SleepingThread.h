// In a process of one thread the C library uses no atomic operations, so that counts and locks seem cheaper than they
// are. Therefore each benchmark first makes sure that a second thread exists. Thread-safe.
#pragma once

#include <chrono>
#include <thread>

/// Starts the thread at the first call.
inline void startSleepingThread()
{
   static std::jthread sleeper( []( std::stop_token stop ) {
      while( !stop.stop_requested() )
         std::this_thread::sleep_for( std::chrono::milliseconds( 100 ) );
   } );
}
