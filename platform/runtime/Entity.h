// State objects: typed attributes that publish their changes and can be reached by name.
//
// A class declares its attributes once, in a table; the table makes members, accessors, mutators,
// publication and the generic interface (Attributes.h has the kinds of row):
//
//    #define LAMP_ATTRIBUTES( ROW ) ROW( SCALAR, 258, lit, bool, false, "the lamp is on", "agent" )
//
//    class Lamp : public Vormel::Entity
//    {
//       VORMEL_ENTITY( Lamp, LAMP_ATTRIBUTES )
//    };
//
// and in one source file `VORMEL_ENTITY_TYPE( Lamp, LAMP_ATTRIBUTES, {} )`.
//
// Every accessor and mutator requires the activity lock. A mutator compares first and does nothing when the
// value is unchanged; otherwise it stores and then publishes number, key and old value.
#pragma once

#include "platform/runtime/Activity.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/HashMap.h"
#include "platform/runtime/Publisher.h"
#include "platform/runtime/Ref.h"
#include "platform/runtime/SlotArray.h"
#include "platform/runtime/Value.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vormel {

class EntityType;

/// The parameter type of a value: small values are passed by value, others by reference.
template<class T>
using In = std::conditional_t<std::is_trivially_copyable_v<T> && sizeof( T ) <= 2 * sizeof( void* ),
   T, const T&>;

/// A copy of the keys, for a walk that changes the map.
template<class Map>
auto keysOf( const Map& map )
{
   std::vector<typename Map::Key> keys;
   keys.reserve( map.size() );
   for( const auto& entry : map )
      keys.push_back( entry.key );
   return keys;
}

class VORMEL_EXPORT Entity : public Counted, public Publisher
{
 public:
   virtual const EntityType& entityType() const = 0;
   /// The name for messages: the type's name unless the class defines a better one.
   virtual std::string entityName() const;

 protected:
   Entity() = default;
   ~Entity() override;

   struct NoStep
   {
      void operator()() const {}
      template<class Key>
      void operator()( const Key& ) const
      {}
   };

   template<class T>
   static AnyView view( const T& value )
   {
      return { &value, []( const void* data ) {
                 return ValueTraits<T>::text( *static_cast<const T*>( data ) );
              } };
   }

   // Only the functions below change notifying values. `step` runs between the store and the publication. The
   // value is copied before it is stored, because the argument may be a reference to the slot itself.

   template<class T, class Step = NoStep>
   void scalarIs( AttributeNumber number, T& slot, In<T> value, Step step = {} )
   {
      if( slot == value )
         return;
      if( std::is_same_v<Step, NoStep> && !hasSubscribers() ) {
         slot = T( value );
         return;
      }
      const T old = std::exchange( slot, T( value ) );
      step();
      if( hasSubscribers() )
         publish( { *this, number, ChangeKind::Changed, {}, view( old ) } );
   }

   /// RangeError when the key is not a slot.
   template<class Key, class T>
   void slotIs( AttributeNumber number, SlotArray<Key, T>& slots, Key key, In<T> value )
   {
      T& slot = slots[ key ];
      if( slot == value )
         return;
      const T old = std::exchange( slot, T( value ) );
      if( hasSubscribers() )
         publish( { *this, number, ChangeKind::Changed, view( key ), view( old ) } );
   }

   template<class Key, class T>
   T slotDel( AttributeNumber number, SlotArray<Key, T>& slots, Key key )
   {
      T old = slots[ key ];
      slotIs( number, slots, key, T{} );
      return old;
   }

   template<class Map, class Key, class T, class Step = NoStep>
   void memberIs( AttributeNumber number, Map& map, const Key& key, const T& value, Step step = {} )
   {
      const Key kept = key; // the caller's key may be a reference into a member
      if( T* const member = map.findOrInsert( key, value ) ) {
         if( *member == value )
            return;
         const T old = std::exchange( *member, T( value ) );
         step( kept );
         if( hasSubscribers() )
            publish( { *this, number, ChangeKind::Changed, view( kept ), view( old ) } );
         return;
      }
      step( kept );
      if( hasSubscribers() )
         publish( { *this, number, ChangeKind::Inserted, view( kept ), {} } );
   }

   /// Returns the removed value, empty when there was none.
   template<class Map, class Key, class Step = NoStep>
   auto memberDel( AttributeNumber number, Map& map, const Key& key, Step step = {} )
   {
      const Key kept = key; // the caller's key may be a reference into the member
      auto old = map.erase( kept );
      if( old ) {
         step( kept );
         if( hasSubscribers() )
            publish( { *this, number, ChangeKind::Removed, view( kept ), view( *old ) } );
      }
      return old;
   }

   /// Requires: the entity outlives the first of the two notifications.
   template<class Map, class Key, class T>
   void memberReplaced( AttributeNumber number, Map& map, const Key& key, const T& value )
   {
      const T* const member = map.find( key );
      if( member && *member == value )
         return;
      const Key kept = key; // the caller's key and value may be references into the member
      const T stored = value;
      memberDel( number, map, kept );
      memberDel( number, map, kept ); // a subscriber may have put it back
      memberIs( number, map, kept, stored );
   }
};

} // namespace Vormel
