// SDK calls from the JSON of a recording: the other way of recording/SdkDictionary.h.
#pragma once

#include "desk/RecordingFile.h"
#include "platform/runtime/Errors.h"
#include "platform/sdk/ArgumentNames.h"
#include "platform/sdk/SdkShimInterface.h"
#include "recording/SdkDictionary.h"

#include <concepts>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Strata::Desk {

/// Reads the arguments or results of one call, in the order of the operation's arguments. ValueError for a value that the
/// argument cannot have.
class SdkCallReader
{
 public:
   /// `names` is the operation's column of arguments.
   SdkCallReader(
      const Recording::SdkDictionary& sdk, SdkOperation operation, std::string_view names )
      : sdk_( sdk ),
        operation_( operation ),
        names_( names )
   {}

   /// Fills what `object` has of the arguments that point to a result; the others are the call's own.
   template<class... Arguments>
   void fill( const Json& object, const Arguments&... arguments )
   {
      ( fillOne( object, takeArgumentName( names_ ), arguments ), ... );
   }
   /// Reads all arguments. ValueError if one is missing.
   template<class... Values>
   void read( const Json& object, std::tuple<Values...>& values )
   {
      std::string_view names = names_;
      for( std::size_t i = 0; i < sizeof...( Values ); ++i )
         if( const std::string name( takeArgumentName( names ) ); !object.contains( name ) )
            throw Vormel::ValueError( "the argument '" + name + "' of " +
                                      std::string( roleName( operation_ ) ) + " is missing" );
      std::apply(
         [ & ]( auto&... value ) { ( readOne( object, takeArgumentName( names_ ), value ), ... ); },
         values );
   }

 private:
   template<class Argument>
   void fillOne( const Json& object, std::string_view name, const Argument& argument )
   {
      if constexpr( std::is_pointer_v<Argument> ) {
         if constexpr( !std::is_const_v<std::remove_pointer_t<Argument>> )
            readOne( object, name, *argument );
      } else if constexpr( std::is_integral_v<Argument> ) {
         if( name == "reg" )
            register_ = sdk_.registerOf( static_cast<S64>( argument ) );
      }
   }
   template<class T>
   void readOne( const Json& object, std::string_view name, T& value )
   {
      const auto at = object.find( name );
      if( at == object.end() )
         return;
      if( !readValue( *at, name, value ) )
         throw Vormel::ValueError( "'" + std::string( name ) + "' of " +
                                   std::string( roleName( operation_ ) ) + " cannot be " +
                                   at->dump() );
   }

   template<std::integral Number>
   bool readValue( const Json& json, std::string_view name, Number& value )
   {
      const std::optional<S64> named = numberNamed( json, name );
      if( named )
         value = static_cast<Number>( *named );
      else if( json.is_number_unsigned() && std::in_range<Number>( json.get<U64>() ) )
         value = static_cast<Number>( json.get<U64>() );
      else if( json.is_number_integer() && std::in_range<Number>( json.get<S64>() ) )
         value = static_cast<Number>( json.get<S64>() );
      else if( json.is_object() && registerOfValue( name ) )
         return readRegister( json, *registerOfValue( name ), value );
      else
         return false;
      if( name == "reg" )
         register_ = sdk_.registerOf( static_cast<S64>( value ) );
      return true;
   }
   bool readValue( const Json& json, std::string_view name, EthAddr& mac ) const;
   bool readValue( const Json& json, std::string_view name, PortBitmap& ports ) const;
   bool readValue( const Json& json, std::string_view name, VlanControl& control ) const;
   bool readValue( const Json& json, std::string_view name, MemoryEntry& entry ) const;

   std::optional<S64> numberNamed( const Json& json, std::string_view name ) const;
   std::optional<Register> registerOfValue( std::string_view name ) const;
   template<class Number>
   bool readRegister( const Json& json, Register reg, Number& value ) const
   {
      if constexpr( std::is_same_v<Number, U32> || std::is_same_v<Number, U64> ) {
         const auto others = json.find( "other" );
         if( others == json.end() || !others->is_number_unsigned() )
            return false;
         value = static_cast<Number>( sdk_.registerWithOthers( reg, others->get<U64>() ) );
         for( const RegisterField field : Vormel::enumValues<RegisterField>() )
            if( const auto at = json.find( roleName( field ) ); at != json.end() && *at == 1 )
               sdk_.shim().registerFieldSet( reg, value, field, 1 );
         return true;
      } else {
         return false;
      }
   }

   const Recording::SdkDictionary& sdk_;
   SdkOperation operation_;
   std::string_view names_;
   std::optional<Register> register_; // of the call
};

/// Ports as in a recording, "0-4,258".
std::optional<PortBitmap> portsFrom( const Json& json );

} // namespace Strata::Desk
