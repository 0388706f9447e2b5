// Builds a JSON object in a text that is used again for each record, so that writing one allocates nothing.
#pragma once

#include "platform/runtime/Types.h"

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

namespace Vormel {
class EthAddr;
}

namespace Strata {
class PortBitmap;
}

namespace Strata::Recording {

/// Appends the text in quotes, escaped.
void appendQuoted( std::string& text, std::string_view value );

inline void appendNumber( std::string& text, std::integral auto number )
{
   char digits[ 24 ];
   const auto end = std::to_chars( digits, digits + sizeof digits, number ).ptr;
   text.append( digits, end );
}

/// Appended to the text as it goes; the closing brace at the end of its lifetime.
class JsonObject
{
 public:
   explicit JsonObject( std::string& text ) : text_( text ) { text_ += '{'; }
   ~JsonObject() { text_ += '}'; }
   JsonObject( const JsonObject& ) = delete;
   JsonObject& operator=( const JsonObject& ) = delete;

   void add( std::string_view name, std::string_view value ) { appendQuoted( at( name ), value ); }
   void add( std::string_view name, const Vormel::EthAddr& mac );
   void add( std::string_view name, const PortBitmap& ports );
   void add( std::string_view name, const char* value ) { add( name, std::string_view( value ) ); }
   void add( std::string_view name, std::same_as<bool> auto value )
   {
      at( name ) += value ? "true" : "false";
   }
   template<std::integral Number>
   requires( !std::same_as<Number, bool> ) void add( std::string_view name, Number value )
   {
      appendNumber( at( name ), value );
   }
   /// Adds the members of an object that is text already.
   void addMembers( std::string_view object )
   {
      object = object.substr( 1, object.size() - 2 );
      if( !first_ && !object.empty() )
         text_ += ',';
      first_ = first_ && object.empty();
      text_ += object;
   }
   /// The text, for a value that the caller appends.
   std::string& at( std::string_view name )
   {
      if( !first_ )
         text_ += ',';
      first_ = false;
      appendQuoted( text_, name );
      text_ += ':';
      return text_;
   }

 private:
   std::string& text_;
   bool first_ = true;
};

} // namespace Strata::Recording
