// The activity lock, which guards the slice's state against reading and writing. The reactor thread holds it all the
// time and releases it for the length of each SDK call; other threads take it to read.
#pragma once

#include "platform/runtime/Assert.h"
#include "platform/runtime/Export.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace Vormel {

class Clock;

class VORMEL_EXPORT ActivityLock
{
 public:
   void lock() { lockAs( std::this_thread::get_id() ); }
   void unlock()
   {
      owner_.store( std::thread::id(), std::memory_order_relaxed );
      mutex_.unlock();
   }
   bool heldByThisThread() const
   {
      return owner_.load( std::memory_order_relaxed ) == std::this_thread::get_id();
   }

 private:
   friend class UnlockAnchor;

   void lockAs( std::thread::id thread )
   {
      mutex_.lock();
      owner_.store( thread, std::memory_order_relaxed );
   }

   std::mutex mutex_;
   std::atomic<std::thread::id> owner_;
};

namespace Detail {
extern VORMEL_EXPORT ActivityLock theActivityLock;
}

/// The process's one activity lock.
inline ActivityLock& activityLock()
{
   return Detail::theActivityLock;
}

/// Holds the lock for a scope. Assertion if the thread holds it already, because it would wait for itself.
class LockAnchor
{
 public:
   explicit LockAnchor( ActivityLock& lock ) : lock_( lock )
   {
      VORMEL_ASSERT( !lock.heldByThisThread() && "this thread holds the activity lock already" );
      lock_.lock();
   }
   ~LockAnchor() { lock_.unlock(); }
   LockAnchor( const LockAnchor& ) = delete;
   LockAnchor& operator=( const LockAnchor& ) = delete;

 private:
   ActivityLock& lock_;
};

/// Releases the lock for a scope, if this thread holds it, and takes it again at the end. Always inlined, so that it is
/// kept in registers.
class UnlockAnchor
{
 public:
   [[gnu::always_inline]] explicit UnlockAnchor( ActivityLock& lock )
      : thread_( std::this_thread::get_id() ),
        released_( lock.owner_.load( std::memory_order_relaxed ) == thread_ ? &lock : nullptr )
   {
      if( released_ )
         released_->unlock();
   }
   [[gnu::always_inline]] ~UnlockAnchor()
   {
      if( released_ )
         released_->lockAs( thread_ );
   }
   UnlockAnchor( const UnlockAnchor& ) = delete;
   UnlockAnchor& operator=( const UnlockAnchor& ) = delete;

 private:
   std::thread::id thread_;
   ActivityLock* released_; // null if this thread did not hold it
};

/// The place to release the lock of an embedded interpreter. This agent embeds none, so it does nothing.
class MaybeGilUnlockAnchor
{
 public:
   MaybeGilUnlockAnchor() {}
};

/// The process's one activity manager: it owns the clock that timers run on.
class VORMEL_EXPORT ActivityManager
{
 public:
   ActivityManager();
   ~ActivityManager();
   ActivityManager( const ActivityManager& ) = delete;
   ActivityManager& operator=( const ActivityManager& ) = delete;

   /// A real clock until another one is set. Setting a clock moves all timers to it; each keeps its remaining time.
   Clock& clock() const { return *clock_; }
   void clockIs( std::shared_ptr<Clock> clock );

 private:
   std::shared_ptr<Clock> clock_;
};

/// Creates the manager at the first call.
VORMEL_EXPORT ActivityManager& activityManager();

/// In checking builds, fails the process when `what` is touched without the activity lock.
#if VORMEL_CHECKING
VORMEL_EXPORT void checkActivityLock( const char* what );
#else
inline void checkActivityLock( const char* ) {}
#endif

} // namespace Vormel
