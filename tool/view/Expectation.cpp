#include "tool/view/Expectation.h"

#include "platform/sdk/SdkRoles.h"
#include "tool/Session.h"

#include <charconv>

namespace Strata::Tool {

std::optional<U64> numberIn( std::string_view text )
{
   const int base = text.starts_with( "0x" ) ? 16 : 10;
   text.remove_prefix( base == 16 ? 2 : 0 );
   U64 number = 0;
   const auto result = std::from_chars( text.data(), text.data() + text.size(), number, base );
   const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
   return whole ? std::optional<U64>( number ) : std::nullopt;
}

std::vector<std::string_view> callNames()
{
   std::vector<std::string_view> names{ "getEntry", "installEntry", "reinstallEntry", "removeEntry",
      "releaseEntry", "enableEntry", "hitsForEntry", "addInPortsForEntry", "qualifyPortsClassId",
      "addOutLoopbackPortForEntry" };
   names.insert( names.end(), roleNames<SdkOperation>.begin(), roleNames<SdkOperation>.end() );
   return names;
}

bool sameValue( const std::string& a, const std::string& b )
{
   const auto number = numberIn( a );
   return a == b || ( number && number == numberIn( b ) );
}

Act expectOnUnits( std::vector<U32> units, std::string expected, std::string value,
   std::function<std::string( const Sim::Chip& )> look )
{
   return [ units = std::move( units ), expected = std::move( expected ),
             value = std::move( value ), look = std::move( look ) ]( Session& session ) {
      for( const U32 unit : units ) {
         const std::string found = look( session.agent().hardware().chip( unit ) );
         if( !sameValue( value, found ) )
            return session.expect( false, expected, found + " on unit " + std::to_string( unit ) );
      }
      session.expect( true, expected, {} );
   };
}

} // namespace Strata::Tool
