#include "sim/MyStationTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Strata::Sim {

struct MemoryPlace
{
   U32 word;
   U32 bit;
   U32 width;
};

// MAC addresses take two words: the first two bytes on the wire, then the other four.
static MemoryPlace placeOf( MemoryField field )
{
   static constexpr std::array<MemoryPlace, 11> places{ {
      { 0, 0, 1 },   // Valid
      { 1, 0, 48 },  // MacAddr
      { 3, 0, 48 },  // MacAddrMask
      { 5, 0, 12 },  // VlanId
      { 5, 12, 12 }, // VlanIdMask
      { 6, 0, 7 },   // IngressPortNum
      { 6, 7, 7 },   // IngressPortNumMask
      { 7, 0, 1 },   // Ipv4Termination
      { 7, 1, 1 },   // Ipv6Termination
      { 7, 2, 1 },   // MplsTermination
      { 7, 3, 1 },   // ArpRarpTermination
   } };
   static_assert( places.size() == roleNames<MemoryField>.size() );
   return places[ static_cast<std::size_t>( field ) ];
}

static U32 lowBits( U32 width )
{
   return width < 32 ? ( 1u << width ) - 1 : 0xFFFFFFFF;
}

bool isMacField( MemoryField field )
{
   return placeOf( field ).width == 48;
}

bool fitsMemoryField( MemoryField field, U32 data )
{
   return !isMacField( field ) && data <= lowBits( placeOf( field ).width );
}

void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data )
{
   const MemoryPlace place = placeOf( field );
   const U32 mask = lowBits( place.width ) << place.bit;
   U32& word = entry.words[ place.word ];
   word = ( word & ~mask ) | ( data << place.bit & mask );
}

void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac )
{
   const U32 word = placeOf( field ).word;
   entry.words[ word ] = static_cast<U32>( mac.toNumber() >> 32 );
   entry.words[ word + 1 ] = static_cast<U32>( mac.toNumber() );
}

U32 memoryField( const MemoryEntry& entry, MemoryField field )
{
   const MemoryPlace place = placeOf( field );
   return entry.words[ place.word ] >> place.bit & lowBits( place.width );
}

EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field )
{
   const U32 word = placeOf( field ).word;
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

/// The entry's fields and nothing else.
static MemoryEntry fieldsOf( const MemoryEntry& entry )
{
   MemoryEntry fields;
   for( std::size_t i = 0; i < roleNames<MemoryField>.size(); ++i ) {
      const auto field = static_cast<MemoryField>( i );
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
