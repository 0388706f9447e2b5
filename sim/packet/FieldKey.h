// The values of one pass of a packet that the Field Processor's qualifiers are compared with.
#pragma once

#include "sim/chip/FieldRule.h"

#include <array>
#include <optional>
#include <string>

namespace Strata::Sim {

class FieldKey
{
 public:
   /// The arrival port of a packet from a stack link. A port set that contains all of `panel` contains it.
   static constexpr U32 stackPort = PortBitmap::size - 1;

   /// A qualifier without a value here matches only with a mask of 0.
   void valueIs( Qualifier role, U64 value ) { values_[ index( role ) ] = value; }
   void valueDel( Qualifier role ) { values_[ index( role ) ].reset(); }
   std::optional<U64> value( Qualifier role ) const { return values_[ index( role ) ]; }

   /// The packet goes to one port, or to a reserved number such as that of a flood.
   void dstPortIs( U32 modId, U32 port ) { valueIs( Qualifier::DstPort, dstPort( modId, port ) ); }
   /// Both numbers of a DstPort qualifier as one.
   static U64 dstPort( U64 modId, U64 port ) { return modId << 32 | port; }

   U32 arrivalPort = 0;
   PortBitmap panel; // of a packet from a stack link: the front-panel ports of the unit
   std::optional<U32> departurePort; // one port of this unit

   bool matches( const FieldQualifier& qualifier ) const;
   /// The packet's value for the qualifier: "64", "port 3", "none".
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

/// Whether the qualifier compares a value under a mask; the others test a set of ports.
bool comparesValue( Qualifier role );
struct ValueMask
{
   U64 value = 0; // masked
   U64 mask = 0;
};
ValueMask valueMask( const FieldQualifier& qualifier );

} // namespace Strata::Sim
