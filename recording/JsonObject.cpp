#include "recording/JsonObject.h"

#include "platform/types/EthAddr.h"
#include "platform/types/PortBitmap.h"

#include <optional>

namespace Strata::Recording {

static constexpr char hexDigits[] = "0123456789abcdef";

void appendQuoted( std::string& text, std::string_view value )
{
   text += '"';
   std::size_t copied = 0;
   for( std::size_t i = 0; i < value.size(); ++i ) {
      const auto byte = static_cast<unsigned char>( value[ i ] );
      const bool escaped = byte == '"' || byte == '\\';
      if( !escaped && byte >= 0x20 && byte <= 0x7E )
         continue;
      text += value.substr( copied, i - copied );
      copied = i + 1;
      if( escaped )
         text += { '\\', value[ i ] };
      else
         // Names may hold any bytes; each is one character, so that reading gives the same bytes.
         text += { '\\', 'u', '0', '0', hexDigits[ byte >> 4 ], hexDigits[ byte & 0xF ] };
   }
   text += value.substr( copied );
   text += '"';
}

void JsonObject::add( std::string_view name, const Vormel::EthAddr& mac )
{
   std::string& text = at( name );
   char separator = '"';
   for( const U8 byte : mac.bytes() ) {
      text += { separator, hexDigits[ byte >> 4 ], hexDigits[ byte & 0xF ] };
      separator = ':';
   }
   text += '"';
}

void JsonObject::add( std::string_view name, const PortBitmap& ports )
{
   std::string& text = at( name );
   text += '"';
   const std::size_t begin = text.size();
   std::optional<U32> last; // of the range whose first port is there
   bool isOne = true;       // so far
   const auto end = [ & ] {
      if( isOne || !last )
         return;
      text += '-';
      appendNumber( text, *last );
   };
   for( const U32 port : ports ) {
      if( last && port == *last + 1 ) {
         isOne = false;
      } else {
         end();
         if( text.size() != begin )
            text += ',';
         appendNumber( text, port );
         isOne = true;
      }
      last = port;
   }
   end();
   text += last ? "\"" : "-\"";
}

} // namespace Strata::Recording
