#include "sim/chip/MyStationTable.h"

#include "sim/chip/RowOf.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Strata::Sim {

struct MemoryPlace
{
   MemoryField role;
   U32 word;
   U32 bit;
   U32 width;
};

// MAC addresses take two words: the first two bytes on the wire, then the other four.
static constexpr auto places = std::to_array<MemoryPlace>( {
   { .role = MemoryField::Valid, .word = 0, .bit = 0, .width = 1 },
   { .role = MemoryField::MacAddr, .word = 1, .bit = 0, .width = 48 },
   { .role = MemoryField::MacAddrMask, .word = 3, .bit = 0, .width = 48 },
   { .role = MemoryField::VlanId, .word = 5, .bit = 0, .width = 12 },
   { .role = MemoryField::VlanIdMask, .word = 5, .bit = 12, .width = 12 },
   { .role = MemoryField::IngressPortNum, .word = 6, .bit = 0, .width = 7 },
   { .role = MemoryField::IngressPortNumMask, .word = 6, .bit = 7, .width = 7 },
   { .role = MemoryField::Ipv4Termination, .word = 7, .bit = 0, .width = 1 },
   { .role = MemoryField::Ipv6Termination, .word = 7, .bit = 1, .width = 1 },
   { .role = MemoryField::MplsTermination, .word = 7, .bit = 2, .width = 1 },
   { .role = MemoryField::ArpRarpTermination, .word = 7, .bit = 3, .width = 1 },
} );
static_assert( eachRoleHasARow( places ) );

static U32 lowBits( U32 width )
{
   return width < 32 ? ( 1u << width ) - 1 : 0xFFFFFFFF;
}

bool fitsMemoryField( MemoryField field, U32 data )
{
   return !isMacField( field ) && data <= lowBits( rowOf( places, field ).width );
}

void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data )
{
   const MemoryPlace& place = rowOf( places, field );
   const U32 mask = lowBits( place.width ) << place.bit;
   U32& word = entry.words[ place.word ];
   word = ( word & ~mask ) | ( data << place.bit & mask );
}

void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac )
{
   const U32 word = rowOf( places, field ).word;
   entry.words[ word ] = static_cast<U32>( mac.toNumber() >> 32 );
   entry.words[ word + 1 ] = static_cast<U32>( mac.toNumber() );
}

U32 memoryField( const MemoryEntry& entry, MemoryField field )
{
   const MemoryPlace& place = rowOf( places, field );
   return entry.words[ place.word ] >> place.bit & lowBits( place.width );
}

EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field )
{
   const U32 word = rowOf( places, field ).word;
   return EthAddr::fromNumber( U64{ entry.words[ word ] } << 32 | entry.words[ word + 1 ] );
}

std::string myStationText( const MemoryEntry& entry )
{
   const auto field = [ & ]( MemoryField role ) { return memoryField( entry, role ); };
   if( field( MemoryField::Valid ) == 0 )
      return "invalid";
   std::string text = memoryMacField( entry, MemoryField::MacAddr ).toString();
   if( const EthAddr mask = memoryMacField( entry, MemoryField::MacAddrMask ); !mask.isBroadcast() )
      text += "/" + mask.toString();
   if( field( MemoryField::VlanIdMask ) != 0 )
      text += " vlan " + std::to_string( field( MemoryField::VlanId ) );
   if( field( MemoryField::IngressPortNumMask ) != 0 )
      text += " from port " + std::to_string( field( MemoryField::IngressPortNum ) );
   static constexpr std::pair<MemoryField, const char*> terminations[] = {
      { MemoryField::Ipv4Termination, " ipv4" }, { MemoryField::Ipv6Termination, " ipv6" },
      { MemoryField::MplsTermination, " mpls" }, { MemoryField::ArpRarpTermination, " arp" } };
   std::string terminated;
   for( const auto& [ role, name ] : terminations )
      if( field( role ) != 0 )
         terminated += name;
   return text + ( terminated.empty() ? ": no termination" : ":" + terminated );
}

/// A copy of the entry with its fields only.
static MemoryEntry fieldsOf( const MemoryEntry& entry )
{
   MemoryEntry fields;
   for( const MemoryPlace& place : places ) {
      const MemoryField field = place.role;
      if( isMacField( field ) )
         memoryFieldSet( fields, field, memoryMacField( entry, field ) );
      else
         memoryFieldSet( fields, field, memoryField( entry, field ) );
   }
   return fields;
}

static bool isProper( const MemoryEntry& entry )
{
   const bool valid = memoryField( entry, MemoryField::Valid ) != 0;
   const bool oneStation = memoryMacField( entry, MemoryField::MacAddrMask ).toNumber() != 0 &&
                           !memoryMacField( entry, MemoryField::MacAddr ).isMulticast();
   return fieldsOf( entry ).words == entry.words && ( oneStation || !valid );
}

SdkCode MyStationTable::write( U32 index, const MemoryEntry& entry )
{
   if( index >= size_ || !isProper( entry ) )
      return SdkCode::Param;
   view_.erase( index );
   if( std::ranges::all_of( entry.words, []( U32 word ) { return word == 0; } ) )
      entries_.erase( index );
   else
      entries_.insert_or_assign( index, entry );
   return SdkCode::None;
}

SdkCode MyStationTable::read( U32 index, MemoryEntry& entry )
{
   if( index >= size_ )
      return SdkCode::Param;
   const auto at = entries_.find( index );
   entry = at == entries_.end() ? MemoryEntry() : at->second;
   bool& fromView = alternate_[ index ];
   if( const auto other = view_.find( index ); fromView && other != view_.end() )
      entry = other->second;
   fromView = !fromView;
   return SdkCode::None;
}

} // namespace Strata::Sim
