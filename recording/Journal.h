// The file of a recording: one record a line, numbered, each written by one write(2) when it is complete, so that a
// process that is killed loses none. Safe from any thread. Instead of a file, a function may get the records.
//
// With a limit, the file is replaced when it is full, and keeps one predecessor. What has a beginning and an end stays in
// one file.
#pragma once

#include "recording/ChipCalls.h"
#include "recording/JsonObject.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace Strata::Recording {

class Journal
{
 public:
   /// Replaces the file. std::system_error if it cannot be opened. `limit` is the size at which a regular file is replaced
   /// by the next one; 0 for never.
   explicit Journal( const std::string& file, U64 limit = 0 );
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
            ( isReplaced_ ? failure_ : failure ) = error.what();
         }
      }
      if( !failure.empty() )
         traceEnd( failure );
      return number;
   }

   /// While one exists, the file is not replaced.
   class Open
   {
    public:
      explicit Open( Journal& journal ) : journal_( journal.limit_ != 0 ? &journal : nullptr )
      {
         if( journal_ )
            ++journal_->opens_;
      }
      Open( const Open& ) = delete;
      Open& operator=( const Open& ) = delete;
      ~Open()
      {
         if( journal_ )
            --journal_->opens_;
      }

    private:
      Journal* const journal_;
   };

   /// Writes what each later file starts with. It runs where replaceIfFull() does.
   void headIs( std::function<void()> head ) { head_ = std::move( head ); }
   /// Before an input is recorded: replaces the file if it is full, unless something has begun and not ended. The full
   /// one is renamed to FILE.old. A failure ends the recording and is traced.
   void replaceIfFull() noexcept
   {
      if( isFull_ )
         replace();
   }
   /// How many files came before this one.
   U64 predecessors() const { return predecessors_; }
   /// Null without a limit. Requires: used by a `fill` only.
   ChipCalls* chips() { return chips_.get(); }

   /// The record of the input that is being handled; 0 for none. Records that it causes refer to it.
   U64 cause() const { return cause_; }
   /// Returns the one before.
   U64 causeIs( U64 cause ) { return cause_.exchange( cause ); }

 private:
   void begin( JsonObject& object, std::string_view record ) const;
   void writeLine();
   void replace() noexcept;
   void openNext();
   static void traceEnd( const std::string& failure ) noexcept;

   std::recursive_mutex mutex_; // what a file starts with is written while nothing else is
   std::string line_;
   const std::string name_;
   int file_ = -1;
   Reader reader_;
   U64 limit_ = 0;
   U64 size_ = 0;     // of the file
   U64 headSize_ = 0; // of its start
   U64 predecessors_ = 0;
   std::atomic<bool> isFull_{ false };
   std::atomic<U32> opens_{ 0 };
   bool isReplaced_ = false; // at present
   std::string failure_;     // while it is
   std::function<void()> head_;
   std::unique_ptr<ChipCalls> chips_;
   std::atomic<bool> open_{ true };
   std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
   U64 number_ = 0;
   std::atomic<U64> cause_{ 0 };
};

} // namespace Strata::Recording
