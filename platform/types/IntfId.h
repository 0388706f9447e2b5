// An interface's identifier: "Ethernet3/1", "Port-Channel5", "Vlan10", "Loopback0", "Management1".
// One word, so that comparing, hashing and copying cost an instruction each. As thread-safe as any
// plain value.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Hash.h"
#include "platform/runtime/Types.h"

#include <compare>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace Vormel {

class VORMEL_EXPORT IntfId
{
 public:
   enum class Kind : U8
   {
      none,
      ethernet,
      portChannel,
      vlan,
      loopback,
      management
   };

   /// The empty identifier: no interface.
   constexpr IntfId() = default;
   /// Parses the text form; ValueError for any other text. The empty text is the empty identifier.
   explicit IntfId( std::string_view text );

   /// Numbers from 1; a further number of 0 means that it is absent. ValueError when a number is out
   /// of its range.
   static IntfId ethernet( U32 number, U32 second = 0, U32 third = 0 );
   /// From 1.
   static IntfId portChannel( U32 number );
   /// 1 to 4094.
   static IntfId vlan( U32 number );
   /// From 0.
   static IntfId loopback( U32 number );
   /// The first number from 0, further ones from 1 and absent when 0.
   static IntfId management( U32 number, U32 second = 0, U32 third = 0 );

   constexpr Kind kind() const { return static_cast<Kind>( bits_ >> kindShift_ ); }
   constexpr bool empty() const { return bits_ == 0; }
   constexpr bool isEthernet() const { return kind() == Kind::ethernet; }
   constexpr bool isPortChannel() const { return kind() == Kind::portChannel; }
   constexpr bool isVlan() const { return kind() == Kind::vlan; }
   /// The first number: 10 of "Vlan10".
   constexpr U32 number() const { return static_cast<U32>( bits_ >> firstShift_ ) & firstMax_; }
   /// The second and third number; 0 when absent.
   constexpr U32 second() const { return static_cast<U32>( bits_ >> secondShift_ ) & furtherMax_; }
   constexpr U32 third() const { return static_cast<U32>( bits_ ) & furtherMax_; }

   /// The identifier as one word with the same order.
   constexpr U64 bits() const { return bits_; }

   /// The text form; empty for the empty identifier.
   std::string toString() const;
   /// The inverse of toString(); nothing for any other text, also if only case or leading zeros differ.
   static std::optional<IntfId> parse( std::string_view text );
   static constexpr std::string_view valueSyntax =
      "an interface such as Ethernet1 or Port-Channel5";

   /// By kind, then by number: Ethernet2 before Ethernet10, Ethernet3 before Ethernet3/1.
   friend constexpr auto operator<=>( IntfId, IntfId ) = default;
   friend constexpr U64 hashValue( IntfId intf, U32 seed ) { return hashMix( intf.bits_, seed ); }

 private:
   static constexpr U32 kindShift_ = 56, firstShift_ = 32, secondShift_ = 16;
   static constexpr U32 firstMax_ = 0xffffff, furtherMax_ = 0xffff;

   VORMEL_HIDDEN static std::optional<IntfId> make( Kind kind, U64 first, U64 second, U64 third );
   VORMEL_HIDDEN static IntfId makeChecked( Kind kind, U32 first, U32 second, U32 third );

   // Kind and numbers from the highest bits down, so that the word has the order of the identifiers.
   U64 bits_ = 0;
};

VORMEL_EXPORT std::ostream& operator<<( std::ostream& stream, IntfId intf );

} // namespace Vormel

template<>
struct std::hash<Vormel::IntfId>
{
   std::size_t operator()( Vormel::IntfId intf ) const { return hashValue( intf, 0 ); }
};
