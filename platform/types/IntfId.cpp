#include "platform/types/IntfId.h"

#include "platform/runtime/Errors.h"

#include <array>
#include <charconv>
#include <ostream>

namespace Vormel {

namespace {

struct KindRule
{
   IntfId::Kind kind;
   std::string_view prefix;
   U32 min;
   U32 max;
   bool furtherNumbers;
};

} // namespace

static constexpr U32 noLimit = 0xffffff; // as many bits as the first number has

static constexpr std::array<KindRule, 5> rules{ {
   { IntfId::Kind::ethernet, "Ethernet", 1, noLimit, true },
   { IntfId::Kind::portChannel, "Port-Channel", 1, noLimit, false },
   { IntfId::Kind::vlan, "Vlan", 1, 4094, false },
   { IntfId::Kind::loopback, "Loopback", 0, noLimit, false },
   { IntfId::Kind::management, "Management", 0, noLimit, true },
} };

static const KindRule& ruleOf( IntfId::Kind kind )
{
   return rules[ static_cast<U32>( kind ) - 1 ];
}

static std::string textOf( std::string_view prefix, U64 first, U64 second, U64 third )
{
   std::string text = std::string( prefix ) + std::to_string( first );
   if( second || third )
      text += "/" + std::to_string( second );
   if( third )
      text += "/" + std::to_string( third );
   return text;
}

std::optional<IntfId> IntfId::make( Kind kind, U64 first, U64 second, U64 third )
{
   const KindRule& rule = ruleOf( kind );
   const bool valid = first >= rule.min && first <= rule.max && second <= furtherMax_ &&
                      third <= furtherMax_ && ( !second || rule.furtherNumbers ) &&
                      ( !third || second );
   if( !valid )
      return std::nullopt;
   IntfId intf;
   intf.bits_ = static_cast<U64>( kind ) << kindShift_ | first << firstShift_ |
                second << secondShift_ | third;
   return intf;
}

IntfId IntfId::makeChecked( Kind kind, U32 first, U32 second, U32 third )
{
   if( const auto intf = make( kind, first, second, third ) )
      return *intf;
   const KindRule& rule = ruleOf( kind );
   throw ValueError( "no interface is named '" + textOf( rule.prefix, first, second, third ) +
                     "': the first number must be " + std::to_string( rule.min ) + " to " +
                     std::to_string( rule.max ) + ", further ones 1 to " +
                     std::to_string( furtherMax_ ) );
}

IntfId IntfId::ethernet( U32 number, U32 second, U32 third )
{
   return makeChecked( Kind::ethernet, number, second, third );
}

IntfId IntfId::portChannel( U32 number )
{
   return makeChecked( Kind::portChannel, number, 0, 0 );
}

IntfId IntfId::vlan( U32 number )
{
   return makeChecked( Kind::vlan, number, 0, 0 );
}

IntfId IntfId::loopback( U32 number )
{
   return makeChecked( Kind::loopback, number, 0, 0 );
}

IntfId IntfId::management( U32 number, U32 second, U32 third )
{
   return makeChecked( Kind::management, number, second, third );
}

IntfId::IntfId( std::string_view text )
{
   const auto intf = parse( text );
   if( !intf && !text.empty() )
      throw ValueError(
         "'" + std::string( text ) +
         "' is not an interface; write Ethernet1, Ethernet3/1, Port-Channel5, Vlan10 (1 to 4094), "
         "Loopback0 or Management1" );
   if( intf )
      *this = *intf;
}

std::string IntfId::toString() const
{
   return empty() ? std::string() : textOf( ruleOf( kind() ).prefix, number(), second(), third() );
}

std::optional<IntfId> IntfId::parse( std::string_view text )
{
   for( const KindRule& rule : rules ) {
      if( !text.starts_with( rule.prefix ) )
         continue;
      std::array<U32, 3> numbers{};
      const char* c = text.data() + rule.prefix.size();
      const char* const end = text.data() + text.size();
      for( U32& number : numbers ) {
         const auto [ next, error ] = std::from_chars( c, end, number );
         if( error != std::errc{} )
            return std::nullopt;
         c = next;
         if( c == end || *c != '/' )
            break;
         ++c;
      }
      const auto intf = make( rule.kind, numbers[ 0 ], numbers[ 1 ], numbers[ 2 ] );
      // Compared with its own text form, so that texts with leading zeros or a remainder are refused.
      return intf && intf->toString() == text ? intf : std::nullopt;
   }
   return std::nullopt;
}

std::ostream& operator<<( std::ostream& stream, IntfId intf )
{
   return stream << intf.toString();
}

} // namespace Vormel
