#include "platform/runtime/Publisher.h"

#include <algorithm>

namespace Vormel {

void Publisher::subscriberAdd( Subscriber& subscriber ) const
{
   subscribers_.push_back( &subscriber );
   ++live_;
}

void Publisher::subscriberDel( Subscriber& subscriber ) const noexcept
{
   const auto at = std::find( subscribers_.begin(), subscribers_.end(), &subscriber );
   if( at == subscribers_.end() )
      return;
   --live_;
   if( delivery_ )
      *at = nullptr; // the loop under way keeps its place; it closes the gap at its end
   else
      subscribers_.erase( at );
}

void Publisher::publish( const Change& change ) const noexcept
{
   Delivery delivery{ delivery_, false };
   delivery_ = &delivery;
   const std::size_t end = subscribers_.size();
   for( std::size_t i = 0; i < end; ++i ) {
      if( Subscriber* const subscriber = subscribers_[ i ] ) {
         subscriber->onChange( change );
         if( delivery.publisherGone ) [[unlikely]]
            return;
      }
   }
   delivery_ = delivery.outer;
   if( subscribers_.size() != live_ && !delivery_ ) [[unlikely]]
      compact();
}

void Publisher::compact() const noexcept
{
   std::erase( subscribers_, nullptr );
}

Publisher::~Publisher()
{
   for( Delivery* delivery = delivery_; delivery; delivery = delivery->outer )
      delivery->publisherGone = true;
   // Detached first: a subscriber may drop others while it is told.
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
