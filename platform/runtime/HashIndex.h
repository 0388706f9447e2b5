// The open-addressing table under HashMap: from a hash to a position in a dense array. A slot is
// one word that holds part of the hash beside the position, so that nearly every miss is decided in
// the table alone. The table is kept at most a quarter full, so that nearly every position is in the
// first slot that its hash names, its home; the words are small enough to afford it. Not thread-safe.
#pragma once

#include "platform/runtime/Types.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Vormel {

class HashIndex
{
 public:
   HashIndex() = default;
   HashIndex( HashIndex&& other ) noexcept { swap( other ); }
   HashIndex( const HashIndex& other ) : owned_{ copyOf( other ) }
   {
      mask_ = other.mask_;
      slots_ = owned_ ? owned_.get() : &noSlot_;
   }
   HashIndex& operator=( HashIndex other ) noexcept
   {
      swap( other );
      return *this;
   }
   ~HashIndex() = default;

   void swap( HashIndex& other ) noexcept
   {
      std::swap( owned_, other.owned_ );
      std::swap( slots_, other.slots_ );
      std::swap( mask_, other.mask_ );
   }

   /// Calls `accept( position )` with each position under `hash` until it returns a non-null pointer,
   /// and returns that pointer; null when none is accepted.
   template<class Accept>
   auto find( U64 hash, Accept accept ) const -> decltype( accept( U64{} ) )
   {
      const U32 tag = tagOf( hash );
      const U32 mask = mask_;
      U64 slot = homeOf( hash );
      while( true ) {
         const U32 word = slots_[ slot ];
         if( ( word ^ tag ) <= mask )
            if( const auto found = accept( U64{ ( word & mask ) / 2 } - 1 ) ) [[likely]]
               return found;
         if( !( word & passed_ ) ) [[likely]]
            return nullptr;
         slot = ( slot + 1 ) & mask;
      }
   }

   /// Whether `count` positions fit without growing.
   bool fits( U64 count ) const { return count * 4 <= U64{ mask_ } + ( mask_ ? 1 : 0 ); }

   /// Rebuilds the table for `capacity` positions, with the positions 0 to count - 1 under
   /// hashOf( position ).
   template<class HashOf>
   void rebuild( U64 capacity, U32 count, HashOf hashOf )
   {
      if( capacity > maxCapacity_ )
         throw std::length_error( "a hash map holds at most 536870912 entries" );
      U32 slots = minSlots_;
      while( slots < capacity * 4 )
         slots *= 2;
      owned_ = std::make_unique<U32[]>( slots );
      slots_ = owned_.get();
      mask_ = slots - 1;
      for( U32 position = 0; position < count; ++position )
         insert( hashOf( position ), position );
   }

   /// Requires: fits() for one more position.
   void insert( U64 hash, U32 position ) noexcept
   {
      U32 slot = homeOf( hash );
      for( ; slots_[ slot ]; slot = next( slot ) )
         owned_[ slot ] |= passed_;
      owned_[ slot ] = ( tagOf( hash ) & ~mask_ ) | ( position + 1 ) * 2;
   }

   /// Replaces `position` by `moved`, under the same hash. Requires: `position` is in the table.
   void reposition( U64 hash, U32 position, U32 moved ) noexcept
   {
      U32& word = owned_[ slotOf( hash, position ) ];
      word = ( word & ( ~mask_ | passed_ ) ) | ( moved + 1 ) * 2;
   }

   /// Removes `position`. Later slots of its run move up, so no tombstones remain. Requires: `position`
   /// is in the table.
   template<class HashOf>
   void erase( U64 hash, U32 position, HashOf hashOf ) noexcept
   {
      const auto homeAt = [ & ]( U32 slot ) { return homeOf( hashOf( positionAt( slot ) ) ); };
      U32 hole = slotOf( hash, position );
      U32 start = hole;
      for( U32 slot = next( hole ); slots_[ slot ]; slot = next( slot ) ) {
         if( ( ( slot - homeAt( slot ) ) & mask_ ) >= ( ( slot - hole ) & mask_ ) ) {
            owned_[ hole ] = slots_[ slot ];
            hole = slot;
         }
      }
      owned_[ hole ] = 0;
      // Which slots are passed has changed between the start of the run and the hole.
      while( slots_[ ( start - 1 ) & mask_ ] )
         start = ( start - 1 ) & mask_;
      for( U32 slot = start; slot != hole; slot = next( slot ) ) {
         owned_[ slot ] &= ~passed_;
         for( U32 before = homeAt( slot ); before != slot; before = next( before ) )
            owned_[ before ] |= passed_;
      }
   }

   void clear() noexcept
   {
      if( owned_ )
         std::fill_n( owned_.get(), U64{ mask_ } + 1, 0 );
   }

 private:
   static constexpr U32 minSlots_ = 16;
   static constexpr U64 maxCapacity_ = U64{ 1 } << 29;
   static constexpr U32 noSlot_ = 0; // searched while there is no table

   // A word is, from the lowest bit: passed_, the position plus 1, and as much of the tag as there is room for; 0 for an
   // empty slot. A word is passed if a position lies behind it whose home is this slot or one before it. A search ends at
   // a word that is not, which nearly every word is, so that a processor predicts the end.
   static constexpr U32 passed_ = 1;

   U32 next( U32 slot ) const { return ( slot + 1 ) & mask_; }
   U32 positionAt( U32 slot ) const { return ( slots_[ slot ] & mask_ ) / 2 - 1; }
   U32 homeOf( U64 hash ) const { return static_cast<U32>( hash ) & mask_; }
   /// The highest bit is set, so that no tag is that of an empty slot.
   static U32 tagOf( U64 hash ) { return static_cast<U32>( hash >> 32 ) | 0x80000000; }

   /// The slot of a position under `hash`.
   U32 slotOf( U64 hash, U32 position ) const
   {
      U32 slot = homeOf( hash );
      while( positionAt( slot ) != position )
         slot = next( slot );
      return slot;
   }

   static std::unique_ptr<U32[]> copyOf( const HashIndex& other )
   {
      if( !other.owned_ )
         return nullptr;
      auto copy = std::make_unique<U32[]>( U64{ other.mask_ } + 1 );
      std::copy_n( other.owned_.get(), U64{ other.mask_ } + 1, copy.get() );
      return copy;
   }

   std::unique_ptr<U32[]> owned_;
   const U32* slots_ = &noSlot_;
   U32 mask_ = 0;
};

} // namespace Vormel
