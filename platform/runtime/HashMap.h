// HashMap: the runtime's hash map. The entries lie in one dense array in order of insertion
// (removal moves the last entry into the gap), so that iteration is fast and never depends on
// addresses or hashes; an index over it makes lookups cheap (HashIndex.h). Keys are hashed by
// hashValue (Hash.h).
//
// References, pointers and iterators into the map are invalidated by any insertion or removal. A
// loop that calls code which may change the map walks by position: `for( U32 i = 0; i <
// map.size(); ++i )` with entryAt( i ). Entries added meanwhile are then visited, and a removal at
// or before `i` may hide the entry that moved. Not thread-safe: guard it with the activity lock.
#pragma once

#include "platform/runtime/Errors.h"
#include "platform/runtime/Hash.h"
#include "platform/runtime/HashIndex.h"
#include "platform/runtime/Types.h"

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vormel {

template<class K, class V, U32 Seed = 0>
class HashMap
{
 public:
   using Key = K;
   using Value = V;

   struct Entry
   {
      K key;
      V value;
   };

   /// The parameter type of lookups: string keys are found by any text, without making a string of it.
   using Lookup = std::conditional_t<std::is_same_v<K, std::string>, std::string_view,
      std::conditional_t<std::is_trivially_copyable_v<K> && sizeof( K ) <= sizeof( void* ), K,
         const K&>>;

   HashMap() = default;
   HashMap( const HashMap& ) = default;
   HashMap( HashMap&& other ) noexcept
      : entries_{ std::exchange( other.entries_, {} ) },
        index_{ std::move( other.index_ ) }
   {}
   HashMap& operator=( HashMap other ) noexcept
   {
      entries_.swap( other.entries_ );
      index_.swap( other.index_ );
      return *this;
   }
   ~HashMap() = default;

   /// Null when the key is absent.
   const V* find( Lookup key ) const
   {
      const Entry* entry = lookup( key );
      return entry ? &entry->value : nullptr;
   }
   V* find( Lookup key ) { return const_cast<V*>( std::as_const( *this ).find( key ) ); }
   bool contains( Lookup key ) const { return lookup( key ) != nullptr; }

   /// True when the key is new. An existing key keeps its place in the order.
   bool insertOrAssign( K key, V value )
   {
      const U64 hash = hashValue( Lookup( key ), Seed );
      if( const Entry* old = lookup( hash, key ) ) {
         const_cast<Entry*>( old )->value = std::move( value );
         return false;
      }
      append( hash, Entry{ std::move( key ), std::move( value ) } );
      return true;
   }

   /// The value of an existing key, which keeps it; null when the key is new, and the entry is added.
   V* findOrInsert( const K& key, const V& value )
   {
      const U64 hash = hashValue( Lookup( key ), Seed );
      if( const Entry* old = lookup( hash, key ) )
         return &const_cast<Entry*>( old )->value;
      append( hash, Entry{ key, value } );
      return nullptr;
   }

   /// Returns the removed value, or nothing when the key is absent.
   std::optional<V> erase( Lookup key )
   {
      const U64 hash = hashValue( key, Seed );
      const Entry* entry = lookup( hash, key );
      if( !entry )
         return std::nullopt;
      const auto position = static_cast<U32>( entry - entries_.data() );
      index_.erase( hash, position, [ this ]( U32 p ) { return hashAt( p ); } );
      const U32 last = size() - 1;
      // Moved out first, because `key` may be a reference into this entry.
      std::optional<V> removed{ std::move( entries_[ position ].value ) };
      if( position != last ) {
         index_.reposition( hashAt( last ), last, position );
         entries_[ position ] = std::move( entries_[ last ] );
      }
      entries_.pop_back();
      return removed;
   }

   U32 size() const { return static_cast<U32>( entries_.size() ); }
   bool empty() const { return entries_.empty(); }

   /// Empties the map before destroying values, because a destructor may read the map.
   void clear() noexcept
   {
      index_.clear();
      std::exchange( entries_, {} ).clear();
   }

   /// Reserves room for `count` entries, so that inserting them does not allocate.
   void reserve( U32 count )
   {
      entries_.reserve( count );
      if( !index_.fits( count ) )
         rebuild( count );
   }

   auto begin() const { return entries_.begin(); }
   auto end() const { return entries_.end(); }

   /// The entry at a position in iteration order; RangeError from size() on.
   const Entry& entryAt( U32 position ) const
   {
      if( position >= size() )
         throw RangeError( position, size() );
      return entries_[ position ];
   }

 private:
   U64 hashAt( U32 position ) const
   {
      return hashValue( Lookup( entries_[ position ].key ), Seed );
   }

   const Entry* lookup( U64 hash, Lookup key ) const
   {
      const Entry* entries = entries_.data();
      return index_.find( hash, [ & ]( U64 position ) {
         const Entry* entry = entries + position;
         return entry->key == key ? entry : nullptr;
      } );
   }
   const Entry* lookup( Lookup key ) const { return lookup( hashValue( key, Seed ), key ); }

   void append( U64 hash, Entry&& entry )
   {
      if( !index_.fits( entries_.size() + 1 ) )
         rebuild( entries_.size() * 2 );
      entries_.push_back( std::move( entry ) );
      index_.insert( hash, size() - 1 );
   }

   void rebuild( U64 capacity )
   {
      index_.rebuild( capacity, size(), [ this ]( U32 p ) { return hashAt( p ); } );
   }

   std::vector<Entry> entries_;
   HashIndex index_;
};

} // namespace Vormel
