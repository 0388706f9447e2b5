// An array with one slot per key of a small enum, plus spare slots up to `slotCount`.
#pragma once

#include "platform/runtime/Errors.h"
#include "platform/runtime/Types.h"

#include <array>
#include <cstddef>

namespace Vormel {

/// How many slots an array indexed by Key has; an enum that indexes arrays specialises it.
template<class Key>
inline constexpr std::size_t slotCount = 0;

template<class Key, class T>
class SlotArray
{
 public:
   static constexpr std::size_t size = slotCount<Key>;
   static_assert( size > 0, "slotCount is not specialised for this key" );

   class Iterator
   {
    public:
      Iterator( const SlotArray& array, std::size_t index ) : array_( &array ), index_( index ) {}
      Key key() const { return static_cast<Key>( index_ ); }
      const T& value() const { return array_->slots_[ index_ ]; }
      const Iterator& operator*() const { return *this; }
      Iterator& operator++()
      {
         ++index_;
         return *this;
      }
      bool operator==( const Iterator& other ) const { return index_ == other.index_; }

    private:
      const SlotArray* array_;
      std::size_t index_;
   };

   Iterator begin() const { return { *this, 0 }; }
   Iterator end() const { return { *this, size }; }

   /// RangeError for a key that is not a slot.
   T& operator[]( Key key ) { return slots_[ checked( key ) ]; }
   const T& operator[]( Key key ) const { return slots_[ checked( key ) ]; }

 private:
   static std::size_t checked( Key key )
   {
      const auto index = static_cast<std::size_t>( key );
      if( index >= size ) [[unlikely]]
         throw RangeError( index, size );
      return index;
   }

   std::array<T, size> slots_{};
};

} // namespace Vormel
