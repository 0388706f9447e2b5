// The rows of an attribute table, and the members that each row generates.
//
// A table is a macro with one parameter: ROW( kind, ... ). Numbers are permanent; gaps are allowed. The
// kinds, with their columns:
//
//   FIELD( name, type, meaning, maintainer )                     set by the constructor, no mutator
//   SCALAR( number, name, type, default, meaning, maintainer )   name(), nameIs( value )
//   ARRAY( number, name, key, type, meaning, maintainer )        name( key ), name(), nameIs( key, value ),
//                                                                nameDel( key | iterator ), nameDelAll()
//   MAP( number, name, key, type, seed, meaning, maintainer )    name( key ), name(), nameIs( key, value ),
//                                                                nameDel( key ), nameDelAll()
//   SCALAR_CHECKED, MAP_CHECKED( ..., check )   `check( value )` or `check( key, value )` may throw
//                                               ValueError before anything is changed
//   MAP_REPLACED( ..., check )                  the same; another value for a member is published as its
//                                               removal and its insertion
//   SCALAR_STEP, MAP_STEP( ..., step )          `step()` or `step( key )` runs between store and
//                                               publication, inside the mutator. A MAP_STEP's Del returns
//                                               whether the member was present; its DelAll always
//                                               removes member by member.
//
// Each notifying attribute also has its number as nameNumber. An absent member reads as the type's default. DelAll of a
// map clears it at once when there is no subscriber.
#pragma once

#include "platform/runtime/AttributeAccess.h"
#include "platform/runtime/Entity.h"
#include "platform/runtime/EntityType.h"

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

// clang-format off

#define VORMEL_ENTITY( Class, TABLE )                                                              \
 public:                                                                                           \
   using Self = Class;                                                                             \
   static const ::Vormel::EntityType& type();                                                      \
   const ::Vormel::EntityType& entityType() const override { return type(); }                      \
   TABLE( VORMEL_DECLARE )

#define VORMEL_DECLARE( kind, ... ) VORMEL_DECLARE_##kind( __VA_ARGS__ )

#define VORMEL_DECLARE_READ( name, T )                                                             \
   ::Vormel::In<T> name() const                                                                    \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return name##_;                                                                              \
   }

#define VORMEL_DECLARE_FIELD( name, T, meaning, by )                                               \
   VORMEL_DECLARE_READ( name, T )                                                                  \
 private: T name##_{};                                                                             \
 public:

#define VORMEL_DECLARE_SCALAR_WITH( number, name, T, dflt, check, ... )                            \
   static constexpr ::Vormel::AttributeNumber name##Number = number;                               \
   VORMEL_DECLARE_READ( name, T )                                                                  \
   void name##Is( ::Vormel::In<T> value )                                                          \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      check;                                                                                       \
      scalarIs<T>( number, name##_, value __VA_OPT__(, ) __VA_ARGS__ );                            \
   }                                                                                               \
 private: T name##_{ dflt };                                                                       \
 public:

#define VORMEL_DECLARE_SCALAR( number, name, T, dflt, meaning, by )                                \
   VORMEL_DECLARE_SCALAR_WITH( number, name, T, dflt, (void)0 )
#define VORMEL_DECLARE_SCALAR_CHECKED( number, name, T, dflt, meaning, by, check )                 \
   VORMEL_DECLARE_SCALAR_WITH( number, name, T, dflt, check( value ) )
#define VORMEL_DECLARE_SCALAR_STEP( number, name, T, dflt, meaning, by, step )                     \
   VORMEL_DECLARE_SCALAR_WITH( number, name, T, dflt, (void)0, [ this ] { step(); } )

#define VORMEL_DECLARE_ARRAY( number, name, K, T, meaning, by )                                    \
   static constexpr ::Vormel::AttributeNumber name##Number = number;                               \
   ::Vormel::In<T> name( K key ) const                                                             \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return name##_[ key ];                                                                       \
   }                                                                                               \
   const ::Vormel::SlotArray<K, T>& name() const                                                   \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return name##_;                                                                              \
   }                                                                                               \
   void name##Is( K key, ::Vormel::In<T> value )                                                   \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      slotIs( number, name##_, key, value );                                                       \
   }                                                                                               \
   T name##Del( K key )                                                                            \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return slotDel( number, name##_, key );                                                      \
   }                                                                                               \
   T name##Del( const ::Vormel::SlotArray<K, T>::Iterator& at ) { return name##Del( at.key() ); }  \
   void name##DelAll()                                                                             \
   {                                                                                               \
      const ::Vormel::Ref<const Self> keep( references() != 0 ? this : nullptr );                  \
      for( const auto& slot : name##_ )                                                            \
         name##Del( slot.key() );                                                                  \
   }                                                                                               \
 private: ::Vormel::SlotArray<K, T> name##_;                                                       \
 public:

#define VORMEL_DECLARE_MAP_READ( number, name, K, T, seed )                                        \
   static constexpr ::Vormel::AttributeNumber name##Number = number;                               \
   using name##Map = ::Vormel::HashMap<K, T, seed>;                                                \
   const name##Map& name() const                                                                   \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return name##_;                                                                              \
   }                                                                                               \
   T name( const K& key ) const                                                                    \
   {                                                                                               \
      const T* const member = name().find( key );                                                  \
      return member ? *member : T{};                                                               \
   }                                                                                               \
 private: name##Map name##_;                                                                       \
 public:

#define VORMEL_DECLARE_MAP_WITH( number, name, K, T, seed, check, ... )                            \
   VORMEL_DECLARE_MAP_READ( number, name, K, T, seed )                                             \
   void name##Is( const K& key, const T& value )                                                   \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      check;                                                                                       \
      memberIs( number, name##_, key, value __VA_OPT__(, ) __VA_ARGS__ );                          \
   }

#define VORMEL_DECLARE_MAP_DELS( number, name, K, T )                                              \
   T name##Del( const K& key )                                                                     \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      return memberDel( number, name##_, key ).value_or( T{} );                                    \
   }                                                                                               \
   void name##DelAll()                                                                             \
   {                                                                                               \
      const ::Vormel::Ref<const Self> keep( references() != 0 ? this : nullptr );                  \
      ::Vormel::checkActivityLock( #name );                                                        \
      if( !hasSubscribers() )                                                                      \
         return name##_.clear();                                                                   \
      for( const K& key : keysOf( name##_ ) )                                                      \
         name##Del( key );                                                                         \
   }

#define VORMEL_DECLARE_MAP( number, name, K, T, seed, meaning, by )                                \
   VORMEL_DECLARE_MAP_WITH( number, name, K, T, seed, (void)0 )                                    \
   VORMEL_DECLARE_MAP_DELS( number, name, K, T )
#define VORMEL_DECLARE_MAP_CHECKED( number, name, K, T, seed, meaning, by, check )                 \
   VORMEL_DECLARE_MAP_WITH( number, name, K, T, seed, check( key, value ) )                        \
   VORMEL_DECLARE_MAP_DELS( number, name, K, T )
#define VORMEL_DECLARE_MAP_REPLACED( number, name, K, T, seed, meaning, by, check )                \
   VORMEL_DECLARE_MAP_READ( number, name, K, T, seed )                                             \
   void name##Is( const K& key, const T& value )                                                   \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      check( key, value );                                                                         \
      const ::Vormel::Ref<const Self> keep( references() != 0 ? this : nullptr );                  \
      memberReplaced( number, name##_, key, value );                                               \
   }                                                                                               \
   VORMEL_DECLARE_MAP_DELS( number, name, K, T )
#define VORMEL_DECLARE_MAP_STEP( number, name, K, T, seed, meaning, by, step )                     \
   VORMEL_DECLARE_MAP_WITH(                                                                        \
      number, name, K, T, seed, (void)0, [ this ]( const K& changed ) { step( changed ); } )       \
   bool name##Del( const K& key )                                                                  \
   {                                                                                               \
      ::Vormel::checkActivityLock( #name );                                                        \
      const auto run = [ this ]( const K& changed ) { step( changed ); };                          \
      return memberDel( number, name##_, key, run ).has_value();                                   \
   }                                                                                               \
   void name##DelAll()                                                                             \
   {                                                                                               \
      const ::Vormel::Ref<const Self> keep( references() != 0 ? this : nullptr );                  \
      for( const K& key : keysOf( name##_ ) )                                                      \
         name##Del( key );                                                                         \
   }

#define VORMEL_ENTITY_TYPE( Class, TABLE, ... )                                                    \
   static_assert( ::Vormel::Detail::ascending( { TABLE( VORMEL_NUMBER ) 0xFFFFFFFF } ),            \
      "attribute numbers of " #Class " must rise and be unique" );                                 \
   const ::Vormel::EntityType& Class::type()                                                       \
   {                                                                                               \
      static const ::Vormel::EntityType type = [] {                                                \
         ::Vormel::EntityType::Attributes attributes;                                              \
         TABLE( VORMEL_DESCRIBE )                                                                  \
         return ::Vormel::EntityType( #Class, std::move( attributes ) __VA_OPT__(, ) __VA_ARGS__ );\
      }();                                                                                         \
      return type;                                                                                 \
   }

// The numbers of a table's attributes, without fields.
#define VORMEL_NUMBER( kind, ... ) VORMEL_NUMBER_##kind( __VA_ARGS__ )
#define VORMEL_NUMBER_FIELD( ... )
#define VORMEL_NUMBER_SCALAR( number, ... ) number,
#define VORMEL_NUMBER_SCALAR_CHECKED( number, ... ) number,
#define VORMEL_NUMBER_SCALAR_STEP( number, ... ) number,
#define VORMEL_NUMBER_ARRAY( number, ... ) number,
#define VORMEL_NUMBER_MAP( number, ... ) number,
#define VORMEL_NUMBER_MAP_CHECKED( number, ... ) number,
#define VORMEL_NUMBER_MAP_REPLACED( number, ... ) number,
#define VORMEL_NUMBER_MAP_STEP( number, ... ) number,

#define VORMEL_DESCRIBE( kind, ... ) VORMEL_DESCRIBE_##kind( __VA_ARGS__ )

#define VORMEL_DESCRIBE_FIELD( name, T, meaning, by )                                              \
   attributes.push_back( std::make_unique<::Vormel::Detail::ScalarAttribute<Self, T>>(             \
      ::Vormel::AttributeInfo{                                                                     \
         ::Vormel::AttributeKind::Field, 0, #name, #T, "", "", meaning, by },                      \
      []( const Self& self ) -> T { return self.name(); }, nullptr ) );
#define VORMEL_DESCRIBE_SCALAR( number, name, T, dflt, meaning, by, ... )                          \
   attributes.push_back( std::make_unique<::Vormel::Detail::ScalarAttribute<Self, T>>(             \
      ::Vormel::AttributeInfo{                                                                     \
         ::Vormel::AttributeKind::Scalar, number, #name, #T, "", #dflt, meaning, by },             \
      []( const Self& self ) -> T { return self.name(); },                                         \
      []( Self& self, const T& value ) { self.name##Is( value ); } ) );
#define VORMEL_DESCRIBE_SCALAR_CHECKED( ... ) VORMEL_DESCRIBE_SCALAR( __VA_ARGS__ )
#define VORMEL_DESCRIBE_SCALAR_STEP( ... ) VORMEL_DESCRIBE_SCALAR( __VA_ARGS__ )
#define VORMEL_DESCRIBE_COLLECTION( number, name, K, T, seed, meaning, by, Kind )                  \
   attributes.push_back( std::make_unique<::Vormel::Detail::CollectionAttribute<Self, K, T>>(      \
      ::Vormel::AttributeInfo{ ::Vormel::AttributeKind::Kind, number, #name, #T, #K,               \
         ::Vormel::Detail::defaultText( ::Vormel::AttributeKind::Kind ), meaning, by, seed },      \
      ::Vormel::Detail::CollectionAccess<Self, K, T>{                                              \
         []( const Self& self ) { return ::Vormel::Detail::membersOf( self.name() ); },            \
         []( const Self& self, const K& key ) {                                                    \
            return ::Vormel::Detail::memberOf( self.name(), key );                                 \
         },                                                                                        \
         []( Self& self, const K& key, const T& value ) { self.name##Is( key, value ); },          \
         []( Self& self, const K& key ) {                                                          \
            return ::Vormel::Detail::valueOf( self.name##Del( key ) );                             \
         },                                                                                        \
         []( Self& self ) { self.name##DelAll(); } } ) );
#define VORMEL_DESCRIBE_ARRAY( number, name, K, T, meaning, by )                                   \
   VORMEL_DESCRIBE_COLLECTION( number, name, K, T, 0, meaning, by, Array )
#define VORMEL_DESCRIBE_MAP( number, name, K, T, seed, meaning, by, ... )                          \
   VORMEL_DESCRIBE_COLLECTION( number, name, K, T, seed, meaning, by, Map )
#define VORMEL_DESCRIBE_MAP_CHECKED( ... ) VORMEL_DESCRIBE_MAP( __VA_ARGS__ )
#define VORMEL_DESCRIBE_MAP_REPLACED( ... ) VORMEL_DESCRIBE_MAP( __VA_ARGS__ )
#define VORMEL_DESCRIBE_MAP_STEP( ... ) VORMEL_DESCRIBE_MAP( __VA_ARGS__ )

// clang-format on
