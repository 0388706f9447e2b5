#include "platform/runtime/Publisher.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/ChangeWatcher.h"

#include <algorithm>

namespace Vormel {

namespace {

// The activity lock guards it; an atomic one would add half to the cost of a notification.
U64 published = 0;

} // namespace

U64 changesPublished() noexcept
{
   checkActivityLock( "changesPublished" );
   return published;
}

void Publisher::subscriberAdd( Subscriber& subscriber ) const
{
   checkActivityLock( "subscriberAdd" );
   subscribers_.push_back( &subscriber );
   ++live_;
   only_ = subscribers_.size() == 1 ? &subscriber : nullptr;
}

void Publisher::subscriberDel( Subscriber& subscriber ) const noexcept
{
   checkActivityLock( "subscriberDel" );
   const auto at = std::find( subscribers_.begin(), subscribers_.end(), &subscriber );
   if( at == subscribers_.end() )
      return;
   --live_;
   if( delivery_ ) {
      *at = nullptr; // keeps the running loop's positions valid; the gap is closed at its end
      only_ = nullptr;
      note( Event::subscriberGone );
   } else {
      subscribers_.erase( at );
      only_ = live_ == 1 ? subscribers_.front() : nullptr;
   }
}

// Without the stack protector: there is no buffer to guard, and the guard would be a tenth of a notification's cost.
__attribute__( ( no_stack_protector ) ) void Publisher::publish(
   const Change& change ) const noexcept
{
   ++published;
   Subscriber* const only = only_;
   if( !only )
      return publishToAll( change );
   Delivery delivery{ delivery_, Event::none };
   delivery_ = &delivery;
   only->onChange( change );
   if( delivery.event != Event::none ) [[unlikely]]
      return settle( delivery );
   delivery_ = delivery.outer;
}

void Publisher::publishToAll( const Change& change ) const noexcept
{
   Delivery delivery{ delivery_, Event::none };
   delivery_ = &delivery;
   const std::size_t end = subscribers_.size();
   for( std::size_t i = 0; i < end; ++i ) {
      if( Subscriber* const subscriber = subscribers_[ i ] ) {
         subscriber->onChange( change );
         if( delivery.event == Event::publisherGone ) [[unlikely]]
            return;
      }
   }
   if( delivery.event != Event::none ) [[unlikely]]
      return settle( delivery );
   delivery_ = delivery.outer;
}

void Publisher::note( Event event ) const noexcept
{
   for( Delivery* delivery = delivery_; delivery; delivery = delivery->outer )
      delivery->event = event;
}

void Publisher::settle( const Delivery& delivery ) const noexcept
{
   if( delivery.event == Event::publisherGone )
      return; // the publisher was destroyed, so nothing may be accessed
   delivery_ = delivery.outer;
   if( delivery_ )
      return;
   std::erase( subscribers_, nullptr );
   only_ = live_ == 1 ? subscribers_.front() : nullptr;
}

Publisher::~Publisher()
{
   note( Event::publisherGone );
   delivery_ = nullptr;
   // Detached first, because a subscriber may drop others while it is notified.
   while( live_ != 0 ) {
      const auto at =
         std::find_if( subscribers_.begin(), subscribers_.end(), []( auto* s ) { return s; } );
      Subscriber* const subscriber = *at;
      *at = nullptr;
      --live_;
      subscriber->onPublisherGone();
   }
}

} // namespace Vormel
