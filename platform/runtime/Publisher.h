// Synchronous change notification.
//
// The contract, all of it under the activity lock:
//  - publish() calls every subscriber in order of subscription and returns after the last one.
//  - A subscriber that is removed while a notification is under way is not called any more.
//  - A subscriber that comes while a notification is under way is not told of that change.
//  - A subscriber may change the publisher again: the inner change is delivered whole first.
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

/// A value of any attribute type for as long as a notification lasts.
class AnyView
{
 public:
   using ToText = std::string ( * )( const void* );

   constexpr AnyView() = default;
   constexpr AnyView( const void* data, ToText toText ) : data_( data ), toText_( toText ) {}

   bool empty() const { return data_ == nullptr; }

   /// The value; T must be the type that the attribute is declared with.
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
   Removed,  // a member is gone
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

   /// Registering twice means being called twice; each removal takes one registration away. Checking builds demand
   /// the activity lock.
   void subscriberAdd( Subscriber& subscriber ) const;
   void subscriberDel( Subscriber& subscriber ) const noexcept;

 protected:
   Publisher() = default;
   Publisher( const Publisher& ) = delete;
   Publisher& operator=( const Publisher& ) = delete;
   ~Publisher();

   /// Call it while hasSubscribers() holds.
   void publish( const Change& change ) const noexcept;

 private:
   // One per publish() under way. What happens to the publisher meanwhile is noted in each of them.
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

   // Subscribing does not change what a publisher says, so inputs held as const can be watched.
   mutable std::vector<Subscriber*> subscribers_; // null: removed during a delivery
   mutable std::size_t live_ = 0;
   mutable Subscriber* only_ = nullptr; // the one subscriber, when there is just one
   mutable Delivery* delivery_ = nullptr;
};

} // namespace Vormel
