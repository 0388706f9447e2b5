#include "tool/words/InterfaceRange.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Strata::Tool {

using Vormel::IntfId;

std::string didYouMeanInterface( std::string_view text )
{
   if( text.find( ',' ) != text.npos )
      return "; write blanks between interfaces";
   const std::size_t digits = text.find_first_of( "0123456789" );
   if( digits == 0 || digits == text.npos )
      return {};
   constexpr std::array<std::string_view, 2> kinds{ "Ethernet", "Port-Channel" };
   const std::string_view kind = text.substr( 0, digits );
   const std::string hint = didYouMean( kind, kinds );
   return hint.empty() || std::ranges::find( kinds, kind ) != kinds.end()
             ? std::string()
             : hint.substr( 0, hint.size() - 2 ) + std::string( text.substr( digits ) ) + "'?";
}

InterfaceRange takeInterfaces( Words& words )
{
   const std::string text =
      words.take( "an interface, as in Ethernet1 or Ethernet1-48", "INTERFACE" ).text;
   const std::size_t dash = text.rfind( '-' );
   const bool range =
      dash != text.npos && dash > 0 && text[ dash - 1 ] >= '0' && text[ dash - 1 ] <= '9';
   const auto first =
      IntfId::parse( std::string_view( text ).substr( 0, range ? dash : text.npos ) );
   if( !first || first->empty() )
      words.fail( "'" + text + "' is not " + std::string( IntfId::valueSyntax ) +
                  didYouMeanInterface( text ) );
   if( !range )
      return { *first, 1 };
   U32 last = 0;
   const char* const end = text.data() + text.size();
   const auto result = std::from_chars( text.data() + dash + 1, end, last );
   if( result.ec != std::errc() || result.ptr != end || !first->isEthernet() ||
       first->second() != 0 || last < first->number() )
      words.fail( "'" + text + "' is not a range of interfaces such as Ethernet1-48" );
   return { *first, last - first->number() + 1 };
}

} // namespace Strata::Tool
