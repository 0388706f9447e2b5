#include "sim/packet/FieldLookup.h"

#include <algorithm>
#include <bit>

namespace Strata::Sim {

static void set( std::vector<U64>& bits, U32 position )
{
   bits[ position / 64 ] |= U64{ 1 } << position % 64;
}

FieldLookup::FieldLookup( const FieldGroup& group ) : version_( group.version() )
{
   for( const auto& [ id, entry ] : group.entries() )
      if( entry.active() )
         ids_.push_back( id );
   all_.resize( ids_.size() / 64 + 1 );
   for( U32 entry = 0; entry < ids_.size(); ++entry )
      set( all_, entry );
   for( U32 entry = 0; entry < ids_.size(); ++entry )
      for( const FieldQualifier& qualifier : group.find( ids_[ entry ] )->hardware->qualifiers )
         add( entry, qualifier );
}

FieldLookup::Role& FieldLookup::role( Qualifier which )
{
   const auto at = std::ranges::find( roles_, which, &Role::role );
   if( at != roles_.end() )
      return *at;
   Role& added = roles_.emplace_back();
   added.role = which;
   added.indifferent = all_;
   return added;
}

void FieldLookup::add( U32 entry, const FieldQualifier& qualifier )
{
   const bool compares = comparesValue( qualifier.role );
   const ValueMask wanted = compares ? valueMask( qualifier ) : ValueMask();
   if( compares && wanted.mask == 0 )
      return; // matches everything
   Role& index = role( qualifier.role );
   index.indifferent[ entry / 64 ] &= ~( U64{ 1 } << entry % 64 );
   if( !compares ) {
      index.portSets.emplace_back( entry, &qualifier );
      return;
   }
   auto same = std::ranges::find( index.masks, wanted.mask, &SameMask::mask );
   if( same == index.masks.end() )
      same = index.masks.insert( same, { wanted.mask, {} } );
   Bits& bits = same->byValue[ wanted.value ];
   bits.resize( all_.size() );
   set( bits, entry );
}

const FieldLookup::Bits& FieldLookup::fittingPort( const Role& role, const FieldKey& key ) const
{
   const U32 port = role.role == Qualifier::OutPortsClass
                       ? key.departurePort.value_or( PortBitmap::size )
                       : key.arrivalPort;
   const auto [ at, isNew ] = role.byPort.try_emplace( port, role.indifferent );
   const bool byPanel = port == FieldKey::stackPort; // which may have changed
   if( byPanel )
      at->second = role.indifferent;
   if( isNew || byPanel )
      for( const auto& [ entry, qualifier ] : role.portSets )
         if( key.matches( *qualifier ) )
            set( at->second, entry );
   return at->second;
}

FieldLookup::Bits FieldLookup::fitting( const Role& role, const FieldKey& key ) const
{
   if( !comparesValue( role.role ) )
      return fittingPort( role, key );
   Bits bits = role.indifferent;
   if( const auto value = key.value( role.role ) )
      for( const SameMask& same : role.masks )
         if( const auto at = same.byValue.find( *value & same.mask ); at != same.byValue.end() )
            std::ranges::transform( bits, at->second, bits.begin(), std::bit_or() );
   return bits;
}

U32 FieldLookup::winner( const FieldKey& key ) const
{
   Bits left = all_;
   for( const Role& role : roles_ )
      std::ranges::transform( left, fitting( role, key ), left.begin(), std::bit_and() );
   for( std::size_t word = 0; word < left.size(); ++word )
      if( left[ word ] != 0 )
         return ids_[ word * 64 + static_cast<U32>( std::countr_zero( left[ word ] ) ) ];
   return 0;
}

} // namespace Strata::Sim
