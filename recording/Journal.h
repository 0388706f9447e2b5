// The file of a recording: one record a line, numbered, each written by one write(2) when it is complete, so that a
// process that is killed loses none. Safe from any thread. Instead of a file, a function may get the records.
#pragma once

#include "recording/JsonObject.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace Strata::Recording {

class Journal
{
 public:
   /// Replaces the file. std::system_error if it cannot be opened.
   explicit Journal( const std::string& file );
   /// Gives the records to the function, each without the end of its line.
   using Reader = std::function<void( std::string_view record )>;
   explicit Journal( Reader reader ) : reader_( std::move( reader ) ) {}
   Journal( const Journal& ) = delete;
   Journal& operator=( const Journal& ) = delete;
   ~Journal();

   /// False after a record could not be written: the recording has ended there.
   bool open() const { return open_; }
   /// Ends the recording: later records are not written.
   void close() { open_ = false; }

   /// Writes a record and returns its number; the first is 1. `fill( JsonObject& )` adds the members that follow "record",
   /// "n" and "t". An exception of it, or a failure of the file, ends the recording and is traced; it is not raised. When
   /// the recording has ended, `fill` does not run.
   template<class Fill>
   U64 write( std::string_view record, Fill fill ) noexcept
   {
      std::string failure;
      U64 number;
      {
         std::unique_lock guard( mutex_ );
         number = ++number_;
         if( !open_ )
            return number;
         try {
            line_.clear();
            {
               JsonObject object( line_ );
               begin( object, record );
               fill( object );
            }
            if( reader_ ) {
               const std::string line = line_; // the reader may cause further records
               guard.unlock();
               reader_( line );
            } else
               writeLine();
            return number;
         } catch( const std::exception& error ) {
            open_ = false;
            failure = error.what();
         }
      }
      traceEnd( failure );
      return number;
   }

   /// The record of the input that is being handled; 0 for none. Records that it causes refer to it.
   U64 cause() const { return cause_; }
   /// Returns the one before.
   U64 causeIs( U64 cause ) { return cause_.exchange( cause ); }

 private:
   void begin( JsonObject& object, std::string_view record ) const;
   void writeLine();
   static void traceEnd( const std::string& failure ) noexcept;

   std::mutex mutex_;
   std::string line_;
   int file_ = -1;
   Reader reader_;
   std::atomic<bool> open_{ true };
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
   U64 number_ = 0;
   std::atomic<U64> cause_{ 0 };
};

} // namespace Strata::Recording
