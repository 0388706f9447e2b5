// Reactors: objects that run a handler for each change of the objects they subscribe to.
//
// A reactor runs no handler before hasNotificationActiveIs( true ), after it was marked for deletion or
// made a zombie, and after its last reference was dropped. Requires: the activity lock is held.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Publisher.h"
#include "platform/runtime/Ref.h"

namespace Vormel {

class VORMEL_EXPORT Reactor : public Counted
{
 public:
   bool hasNotificationActive() const { return notificationActive_; }
   /// Subscribes to the inputs, or unsubscribes. A zombie stays unsubscribed.
   void hasNotificationActiveIs( bool active );

   bool markedForDeletion() const { return markedForDeletion_; }
   /// Ignores all later changes. This cannot be undone.
   void markForDeletion() const { markedForDeletion_ = true; }

   bool zombie() const { return zombie_; }
   /// Marks for deletion, unsubscribes and clears the back pointer to the owner: the reactor still exists only
   /// because there are references to it.
   void zombieIs();

 protected:
   Reactor() = default;
   ~Reactor() override;

   /// Switches every subscription of the reactor on or off.
   virtual void subscriptionsAre( bool active ) = 0;
   /// For nested reactors: clears the back pointer.
   virtual void ownerGone() {}

   void onLastRelease() const noexcept override;

 private:
   bool notificationActive_ = false;
   bool zombie_ = false;
   mutable bool markedForDeletion_ = false;
};

/// Binds one input of a reactor to one of its dispatchers, `void Owner::dispatcher( const Change& )`.
/// Holds a reference to the input. A dispatcher that throws ends the process.
template<class Owner, auto dispatcher>
class Subscription final : public Subscriber
{
 public:
   explicit Subscription( Owner& owner, Ref<const Entity> notifier = {} )
      : owner_( owner ),
        notifier_( std::move( notifier ) )
   {}
   Subscription( const Subscription& ) = delete;
   Subscription& operator=( const Subscription& ) = delete;
   ~Subscription() { activeIs( false ); }

   const Ref<const Entity>& notifier() const { return notifier_; }

   /// Binds to another input; an active subscription moves to it.
   void notifierIs( Ref<const Entity> notifier )
   {
      const bool active = active_;
      activeIs( false );
      notifier_ = std::move( notifier );
      activeIs( active );
   }

   /// Does nothing without an input.
   void activeIs( bool active )
   {
      if( active == active_ || !notifier_ )
         return;
      active_ = active;
      if( active )
         notifier_->subscriberAdd( *this );
      else
         notifier_->subscriberDel( *this );
   }

   void onChange( const Change& change ) noexcept override
   {
      if( owner_.markedForDeletion() )
         return;
      // The dispatcher may destroy the owner, and this object with it.
      ( owner_.*dispatcher )( change );
   }

 private:
   Owner& owner_;
   Ref<const Entity> notifier_;
   bool active_ = false;
};

} // namespace Vormel
