// Counted references. The count is in the object. Counts are atomic, or plain in builds where only the reactor
// thread uses them (VORMEL_ATOMIC_REFS=0).
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <atomic>
#include <compare>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace Vormel {

/// Base of all classes with counted references.
class VORMEL_EXPORT Counted
{
 public:
   Counted( const Counted& ) = delete;
   Counted& operator=( const Counted& ) = delete;

   void retain() const noexcept
   {
#if VORMEL_ATOMIC_REFS
      references_.fetch_add( 1, std::memory_order_relaxed );
#else
      ++references_;
#endif
   }

   void release() const noexcept
   {
#if VORMEL_ATOMIC_REFS
      const bool last = references_.fetch_sub( 1, std::memory_order_acq_rel ) == 1;
#else
      const bool last = --references_ == 0;
#endif
      if( last )
         onLastRelease();
   }

   U32 references() const noexcept
   {
      return references_;
   }

 protected:
   Counted() = default;
   virtual ~Counted();

   /// Runs when the last reference is dropped; deletes the object unless overridden.
   virtual void onLastRelease() const noexcept;

 private:
#if VORMEL_ATOMIC_REFS
   mutable std::atomic<U32> references_{ 0 };
#else
   mutable U32 references_ = 0;
#endif
};

template<class T>
class Ref
{
 public:
   constexpr Ref() noexcept = default;
   constexpr Ref( std::nullptr_t ) noexcept {}
   explicit Ref( T* object ) noexcept : object_( object )
   {
      if( object_ )
         object_->retain();
   }
   Ref( const Ref& other ) noexcept : Ref( other.object_ ) {}
   Ref( Ref&& other ) noexcept : object_( std::exchange( other.object_, nullptr ) ) {}

   template<class U>
   requires std::is_convertible_v<U*, T*> Ref( const Ref<U>& other )
   noexcept : Ref( other.get() ) {}
   template<class U>
   requires std::is_convertible_v<U*, T*> Ref( Ref<U>&& other )
   noexcept : object_( other.detach() ) {}

   ~Ref()
   {
      if( object_ )
         object_->release();
   }

   Ref& operator=( Ref other ) noexcept
   {
      std::swap( object_, other.object_ );
      return *this;
   }

   T* get() const noexcept { return object_; }
   T* operator->() const noexcept { return object_; }
   T& operator*() const noexcept { return *object_; }
   explicit operator bool() const noexcept { return object_ != nullptr; }

   /// Returns the object without releasing the reference; the caller owns it.
   T* detach() noexcept { return std::exchange( object_, nullptr ); }

   template<class U>
   friend bool operator==( const Ref& a, const Ref<U>& b ) noexcept
   {
      return a.get() == b.get();
   }
   friend bool operator==( const Ref& a, std::nullptr_t ) noexcept { return a.object_ == nullptr; }

 private:
   T* object_ = nullptr;
};

/// In a class that agents make: it is allocated with the size of the library's version, which may have more private
/// members than the headers that the agent was built with. Its source has VORMEL_ALLOCATION( Class ).
#define VORMEL_SIZE_OF_LIBRARY \
 public: \
   static void* operator new( std::size_t sizeForCaller ); \
   static void operator delete( void* object );

// Not inlined: the compiler warns when it inlines one of the two.
#define VORMEL_ALLOCATION( Class ) \
   [[gnu::noinline]] void* Class::operator new( std::size_t /*sizeForCaller*/ ) \
   { \
      return ::operator new( sizeof( Class ) ); \
   } \
   [[gnu::noinline]] void Class::operator delete( void* object ) \
   { \
      ::operator delete( object ); \
   }

template<class T, class... Args>
Ref<T> make( Args&&... args )
{
   return Ref<T>( new T( std::forward<Args>( args )... ) );
}

} // namespace Vormel
