// Typed attributes and operations behind the generic interface.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Value.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vormel {
namespace Detail {

template<class T>
Value valueOf( const T& value )
{
   return ValueTraits<T>::value( value );
}

constexpr std::string_view defaultText( AttributeKind kind )
{
   return kind == AttributeKind::Array ? "all empty" : "empty";
}

constexpr bool ascending( std::initializer_list<AttributeNumber> numbers )
{
   return std::adjacent_find( numbers.begin(), numbers.end(), std::greater_equal<>() ) ==
          numbers.end();
}

/// "<where> '<given>' is not <expected>"
VORMEL_EXPORT std::string badValueText(
   const std::string& where, const Value& given, const std::string& expected );

template<class T>
T convertedTo( const Value& given, std::string_view attribute, std::string_view what )
{
   auto value = ValueTraits<T>::from( given );
   if( !value )
      throw AccessError( badValueText( std::string( attribute ) + ": " + std::string( what ), given,
         ValueTraits<T>::expected() ) );
   return *std::move( value );
}

/// AccessError: the attribute or operation belongs to entities of another type.
[[noreturn]] VORMEL_EXPORT void badEntity( const Entity& entity, std::string_view member );

template<class E>
const E& entityOf( const Entity& entity, std::string_view member )
{
   const E* const own = dynamic_cast<const E*>( &entity );
   if( !own )
      badEntity( entity, member );
   return *own;
}

template<class E>
E& entityOf( Entity& entity, std::string_view member )
{
   return const_cast<E&>( entityOf<E>( std::as_const( entity ), member ) );
}

/// What attributes of one type have in common, whether T is their value or that of their members.
template<class T>
class AttributeOf : public Attribute
{
 public:
   using Attribute::Attribute;

   std::string expected() const override { return ValueTraits<T>::expected(); }
   std::vector<std::string> choices() const override { return choicesOf<T>(); }
   bool holdsObject() const override { return isRef<T>; }

   Value converted( const Value& value ) const override { return valueOf<T>( valueFrom( value ) ); }

 protected:
   T valueFrom( const Value& value ) const { return convertedTo<T>( value, info().name, "value" ); }
};

template<class E, class T>
class ScalarAttribute final : public AttributeOf<T>
{
 public:
   using Attribute::info;
   using Get = T ( * )( const E& );
   using Set = void ( * )( E&, const T& ); // null for fields

   ScalarAttribute( const AttributeInfo& declaration, Get get, Set set )
      : AttributeOf<T>( declaration ),
        get_( get ),
        set_( set )
   {}

   Value read( const Entity& entity ) const override
   {
      return valueOf<T>( get_( entityOf<E>( entity, info().name ) ) );
   }

   void write( Entity& entity, const Value& value ) const override
   {
      if( !set_ )
         this->refuse( "be written: it is set by the constructor" );
      set_( entityOf<E>( entity, info().name ), this->valueFrom( value ) );
   }

 private:
   Get get_;
   Set set_;
};

template<class E, class K, class T>
struct CollectionAccess
{
   std::vector<std::pair<K, T>> ( *members )( const E& );
   std::optional<T> ( *get )( const E&, const K& ); // RangeError unless the key is a slot
   void ( *is )( E&, const K&, const T& );
   Value ( *del )( E&, const K& );
   void ( *delAll )( E& );
};

template<class K, class T>
std::optional<T> memberOf( const SlotArray<K, T>& slots, const K& key )
{
   return slots[ key ];
}

template<class Map>
std::optional<typename Map::Value> memberOf( const Map& map, const typename Map::Key& key )
{
   const auto* const value = map.find( key );
   return value ? std::optional( *value ) : std::nullopt;
}

template<class K, class T>
std::vector<std::pair<K, T>> membersOf( const SlotArray<K, T>& slots )
{
   std::vector<std::pair<K, T>> members;
   for( const auto& slot : slots )
      members.emplace_back( slot.key(), slot.value() );
   return members;
}

template<class Map>
auto membersOf( const Map& map )
{
   std::vector<std::pair<typename Map::Key, typename Map::Value>> members;
   members.reserve( map.size() );
   for( const auto& entry : map )
      members.emplace_back( entry.key, entry.value );
   return members;
}

template<class E, class K, class T>
class CollectionAttribute final : public AttributeOf<T>
{
 public:
   using Attribute::info;
   CollectionAttribute( const AttributeInfo& declaration, const CollectionAccess<E, K, T>& access )
      : AttributeOf<T>( declaration ),
        access_( access )
   {}

   Value convertedKey( const Value& key ) const override { return valueOf<K>( keyOf( key ) ); }

   using Attribute::read;
   Value read( const Entity& entity, const Value& key ) const override
   {
      const K wanted = keyOf( key );
      if( const auto value = access_.get( entityOf<E>( entity, info().name ), wanted ) )
         return valueOf<T>( *value );
      this->refuse(
         "be read at key " + ValueTraits<K>::text( wanted ) + ": there is no such member" );
   }

   std::vector<Member> members( const Entity& entity ) const override
   {
      std::vector<Member> all;
      for( const auto& [ key, value ] : access_.members( entityOf<E>( entity, info().name ) ) )
         all.push_back( { valueOf<K>( key ), valueOf<T>( value ) } );
      return all;
   }

   using Attribute::write;
   void write( Entity& entity, const Value& key, const Value& value ) const override
   {
      access_.is( entityOf<E>( entity, info().name ), keyOf( key ), this->valueFrom( value ) );
   }

   Value del( Entity& entity, const Value& key ) const override
   {
      return access_.del( entityOf<E>( entity, info().name ), keyOf( key ) );
   }

   void delAll( Entity& entity ) const override
   {
      access_.delAll( entityOf<E>( entity, info().name ) );
   }

 private:
   K keyOf( const Value& key ) const { return convertedTo<K>( key, info().name, "key" ); }

   CollectionAccess<E, K, T> access_;
};

template<class R, class E, class... Args>
struct Signature
{
   using Result = R;
   using Arguments = std::tuple<std::decay_t<Args>...>;
};

template<class R, class E, class... Args>
Signature<R, E, Args...> signatureOf( R ( E::* )( Args... ) );
template<class R, class E, class... Args>
Signature<R, E, Args...> signatureOf( R ( E::* )( Args... ) const );
template<class R, class... Args>
Signature<R, Entity, Args...> signatureOf( R ( * )( Args... ) );

/// Calls a member function, or a static one, with arguments that are converted one by one.
template<class E, auto function>
class BoundOperation final : public Operation
{
   using Sig = decltype( signatureOf( function ) );
   using Arguments = typename Sig::Arguments;
   static constexpr std::size_t count = std::tuple_size_v<Arguments>;

 public:
   using Operation::Operation;

   Value call( Entity& entity, std::span<const Value> given ) const override
   {
      checkCount( given.size() );
      return run( entityOf<E>( entity, name() ), given, std::make_index_sequence<count>() );
   }

   static std::vector<Parameter> described( const std::vector<std::string>& names )
   {
      return describe( names, std::make_index_sequence<count>() );
   }

 private:
   template<std::size_t... I>
   static std::vector<Parameter> describe(
      [[maybe_unused]] const std::vector<std::string>& names, std::index_sequence<I...> )
   {
      return {
         Parameter{ names.at( I ), ValueTraits<std::tuple_element_t<I, Arguments>>::expected(),
            choicesOf<std::tuple_element_t<I, Arguments>>() }... };
   }

   template<std::size_t I>
   auto argument( std::span<const Value> given ) const
   {
      auto value = ValueTraits<std::tuple_element_t<I, Arguments>>::from( given[ I ] );
      if( !value )
         badArgument( I, given[ I ] );
      return *std::move( value );
   }

   template<std::size_t... I>
   Value run(
      E& entity, [[maybe_unused]] std::span<const Value> given, std::index_sequence<I...> ) const
   {
      // Converted in order before the call, so that a bad argument changes nothing.
      [[maybe_unused]] Arguments arguments{ argument<I>( given )... };
      const auto invoke = [ & ]() -> decltype( auto ) {
         if constexpr( std::is_member_function_pointer_v<decltype( function )> )
            return ( entity.*function )( std::get<I>( arguments )... );
         else
            return function( std::get<I>( arguments )... );
      };
      if constexpr( std::is_void_v<typename Sig::Result> ) {
         invoke();
         return {};
      } else {
         return valueOf<std::decay_t<typename Sig::Result>>( invoke() );
      }
   }
};

} // namespace Detail

/// For an EntityType's list of operations; the argument types come from the function.
template<class E, auto function>
std::unique_ptr<const Operation> operation(
   std::string_view name, const std::vector<std::string>& parameters, std::string_view summary )
{
   using Bound = Detail::BoundOperation<E, function>;
   return std::make_unique<Bound>( name, Bound::described( parameters ), summary );
}

} // namespace Vormel
