// The my-station memory of a chip: the MAC addresses to which packets are for the router.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkShimInterface.h"
#include "sim/sdk/SdkCodes.h"

#include <map>
#include <string>

namespace Strata::Sim {

// A memory entry's fields; MAC addresses have separate accessors.
bool fitsMemoryField( MemoryField field, U32 data );
void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data );
void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac );
U32 memoryField( const MemoryEntry& entry, MemoryField field );
EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field );

/// "02:00:a1:00:00:01 vlan 10 from port 0: ipv4 ipv6 mpls"; "invalid" for an invalid entry.
std::string myStationText( const MemoryEntry& entry );

class MyStationTable
{
 public:
   explicit MyStationTable( U32 size ) : size_( size ) {}

   U32 size() const { return size_; }

   /// Param for bits behind the fields, and for a valid entry without a MAC mask or with a group address.
   SdkCode write( U32 index, const MemoryEntry& entry );
   /// Every second read of an index comes from the chip's alternative view of the memory.
   SdkCode read( U32 index, MemoryEntry& entry );

   /// The entries that are not all zero.
   const std::map<U32, MemoryEntry>& entries() const { return entries_; }
   /// For tests: lets the alternative view of an entry differ until it is written again.
   void alternativeViewIs( U32 index, const MemoryEntry& entry ) { view_[ index ] = entry; }

 private:
   U32 size_;
   std::map<U32, MemoryEntry> entries_;
   std::map<U32, MemoryEntry> view_; // entries of the alternative view that differ
   std::map<U32, bool> alternate_;   // the next read comes from the view
};

} // namespace Strata::Sim
