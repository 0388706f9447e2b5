// What one pass of a packet presents to the Field Processor's qualifiers.
#pragma once

#include "sim/FieldRule.h"

#include <array>
#include <optional>
#include <string>

namespace Strata::Sim {

class FieldKey
{
 public:
   /// Where a packet from a stack link seems to arrive. A port set holds it that holds all of `panel`.
   static constexpr U32 stackPort = PortBitmap::size - 1;

   /// A qualifier that has no value here matches nothing but a mask of 0.
   void valueIs( Qualifier role, U64 value ) { values_[ index( role ) ] = value; }
   void valueDel( Qualifier role ) { values_[ index( role ) ].reset(); }
   std::optional<U64> value( Qualifier role ) const { return values_[ index( role ) ]; }

   /// The packet goes to one port, or to a number that stands for something else.
   void dstPortIs( U32 modId, U32 port ) { valueIs( Qualifier::DstPort, dstPort( modId, port ) ); }
   /// Both numbers of a DstPort qualifier as one.
   static U64 dstPort( U64 modId, U64 port ) { return modId << 32 | port; }

   U32 arrivalPort = 0;
   PortBitmap panel; // of a packet from a stack link: the front-panel ports of the unit
   std::optional<U32> departurePort; // one port of this unit

   bool matches( const FieldQualifier& qualifier ) const;
   /// What the packet has where the qualifier looks: "64", "port 3", "none".
   std::string valueText( Qualifier role ) const;

 private:
   bool arrivesIn( const PortBitmap& ports ) const
   {
      return arrivalPort == stackPort ? ( panel - ports ).empty() : ports.contains( arrivalPort );
   }

   static constexpr std::size_t roles_ = Vormel::enumTable<Qualifier>.size();
   static std::size_t index( Qualifier role ) { return static_cast<std::size_t>( role ); }

   std::array<std::optional<U64>, roles_> values_;
};

/// Qualifiers that compare a value under a mask; the others look at a set of ports.
bool comparesValue( Qualifier role );
struct ValueMask
{
   U64 value = 0; // masked
   U64 mask = 0;
};
ValueMask valueMask( const FieldQualifier& qualifier );

} // namespace Strata::Sim
