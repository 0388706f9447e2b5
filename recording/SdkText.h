// SDK calls as JSON: the names of roles in place of the SDK's numbers.
#pragma once

#include "platform/sdk/ArgumentNames.h"
#include "platform/sdk/SdkShimInterface.h"
#include "recording/JsonObject.h"
#include "recording/SdkDictionary.h"

#include <optional>
#include <string_view>
#include <type_traits>

namespace Strata::Recording {

/// Adds the code of a call: "success", "unavailable", or the number with the SDK's text.
void addCode( JsonObject& record, const SdkShimInterface& shim, int code );

/// The arguments and results of one call.
class SdkCallJson
{
 public:
   /// `names` is the operation's column of arguments.
   SdkCallJson( const SdkDictionary& sdk, SdkOperation operation, std::string_view names )
      : sdk_( sdk ),
        operation_( operation ),
        names_( names )
   {}

   /// Adds what the caller gives.
   template<class... Arguments>
   void addArguments( JsonObject& object, const Arguments&... arguments )
   {
      ( add( object, takeArgumentName( names_ ), arguments, false ), ... );
   }
   /// Adds what the call has filled.
   template<class... Arguments>
   void addResults( JsonObject& object, const Arguments&... arguments )
   {
      ( add( object, takeArgumentName( names_ ), arguments, true ), ... );
   }

 private:
   /// Adds the argument if it is of the wanted direction: only a pointer to what is not const is a result.
   template<class Argument>
   void add( JsonObject& object, std::string_view name, const Argument& argument, bool results )
   {
      if constexpr( std::is_pointer_v<Argument> ) {
         if( std::is_const_v<std::remove_pointer_t<Argument>> != results )
            addValue( object, name, *argument );
      } else if( !results )
         addValue( object, name, argument );
      else if( name == "reg" )
         register_ = sdk_.registerOf( toNumber( argument ) );
   }
   template<class Argument>
   static S64 toNumber( const Argument& argument )
   {
      if constexpr( std::is_integral_v<Argument> )
         return static_cast<S64>( argument );
      else
         return -1;
   }

   template<std::integral Number>
   void addValue( JsonObject& object, std::string_view name, Number number )
   {
      if( name == "reg" )
         register_ = sdk_.registerOf( static_cast<S64>( number ) );
      if( const auto role = sdk_.nameOf( operation_, name, static_cast<S64>( number ) ) )
         return object.add( name, *role );
      if constexpr( std::is_same_v<Number, U32> || std::is_same_v<Number, U64> )
         if( const auto reg = registerOfValue( operation_, name, register_ ) )
            return addRegister( object, name, *reg, number );
      object.add( name, number );
   }
   void addValue( JsonObject& object, std::string_view name, const EthAddr& mac ) const;
   void addValue( JsonObject& object, std::string_view name, const PortBitmap& ports ) const;
   void addValue( JsonObject& object, std::string_view name, const VlanControl& control ) const;
   void addValue( JsonObject& object, std::string_view name, const MemoryEntry& entry ) const;

   template<class Number>
   void addRegister( JsonObject& object, std::string_view name, Register reg, Number value ) const;

   const SdkDictionary& sdk_;
   SdkOperation operation_;
   std::string_view names_;
   std::optional<Register> register_; // of the call
};

} // namespace Strata::Recording
