// Synchronous change notification.
//
// The contract, all of it under the activity lock:
//  - publish() calls every subscriber in order of subscription and returns after the last one.
//  - A subscriber that is removed during a notification is not called any more.
//  - A subscriber that is added during a notification is not called for that change.
//  - A subscriber may change the publisher again: the inner change is first delivered to all.
//  - The publisher may be destroyed by a subscriber: the rest of the subscribers are not called.
//  - Subscribers do not throw: an exception that reaches the publisher ends the process.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Vormel {

class Entity;
using AttributeNumber = U32;

/// A value of any attribute type, valid only during the notification.
class AnyView
{
 public:
   using ToText = std::string ( * )( const void* );

   constexpr AnyView() = default;
   constexpr AnyView( const void* data, ToText toText ) : data_( data ), toText_( toText ) {}

   bool empty() const { return data_ == nullptr; }

   /// The value. Requires: T is the type that the attribute is declared with.
   template<class T>
   const T& as() const
   {
      return *static_cast<const T*>( data_ );
   }

   std::string text() const { return data_ ? toText_( data_ ) : std::string(); }

 private:
   const void* data_ = nullptr;
   ToText toText_ = nullptr;
};

enum class ChangeKind : U32
{
   Changed,  // a scalar, slot or member has a new value
   Inserted, // a new member; there is no old value
   Removed,  // a member was removed
};

struct Change
{
   const Entity& publisher;
   AttributeNumber number;
   ChangeKind kind;
   AnyView key; // empty for scalars
   AnyView oldValue;
};

class VORMEL_EXPORT Subscriber
{
 public:
   virtual void onChange( const Change& change ) noexcept = 0;
   /// The publisher is being destroyed and has forgotten this subscriber.
   virtual void onPublisherGone() noexcept {}

 protected:
   ~Subscriber() = default;
};

class VORMEL_EXPORT Publisher
{
 public:
   bool hasSubscribers() const noexcept { return live_ != 0; }

   /// A subscriber that is added twice is called twice; each removal ends one registration. Requires: the activity lock
   /// is held (verified in checking builds).
   void subscriberAdd( Subscriber& subscriber ) const;
   void subscriberDel( Subscriber& subscriber ) const noexcept;

 protected:
   Publisher() = default;
   Publisher( const Publisher& ) = delete;
   Publisher& operator=( const Publisher& ) = delete;
   ~Publisher();

   /// Requires: hasSubscribers().
   void publish( const Change& change ) const noexcept;

 private:
   // One for each publish() that runs. Events of the publisher during delivery are noted in each of them.
   enum class Event : U8
   {
      none,
      subscriberGone,
      publisherGone,
   };
   struct Delivery
   {
      Delivery* outer;
      Event event;
   };

   VORMEL_HIDDEN void publishToAll( const Change& change ) const noexcept;
   VORMEL_HIDDEN void note( Event event ) const noexcept;
   VORMEL_HIDDEN void settle( const Delivery& delivery ) const noexcept;

   // Mutable, because subscribing does not change the published values: const inputs can be watched.
   mutable std::vector<Subscriber*> subscribers_; // null: removed during a delivery
   mutable std::size_t live_ = 0;
   mutable Subscriber* only_ = nullptr; // the subscriber, if there is exactly one
   mutable Delivery* delivery_ = nullptr;
};

} // namespace Vormel
