#include "sim/chip/FieldGroup.h"

#include <utility>

namespace Strata::Sim {

FieldGroup::FieldGroup( const FieldGroupProfile& profile )
   : profile_( profile ),
     room_( profile.room )
{}

const FieldEntry* FieldGroup::find( U32 id ) const
{
   const auto at = entries_.find( id );
   return at == entries_.end() ? nullptr : &at->second;
}

FieldEntry* FieldGroup::find( U32 id )
{
   return const_cast<FieldEntry*>( std::as_const( *this ).find( id ) );
}

FieldGroup::ClaimResult FieldGroup::claim( U32 id, const std::string& name, const RequestKey& key )
{
   if( !contains( id ) && !( key.orNext && contains( id + 1 ) ) )
      return { 0, ClaimFailure::outOfRange };
   const U32 last = key.orNext ? id + 1 : id;
   // An entry that the caller holds already comes before a free one.
   for( U32 candidate = id; candidate <= last; ++candidate ) {
      FieldEntry* const entry = find( candidate );
      if( !entry || entry->name != name )
         continue;
      entry->key = key;
      entry->claim.qualifiers.clear();
      entry->unavailable.clear();
      entry->qualifierRefused = false;
      turnedAway_.erase( candidate );
      return { candidate, ClaimFailure::none };
   }
   ClaimFailure failure = ClaimFailure::outOfRange;
   for( U32 candidate = id; candidate <= last; ++candidate ) {
      if( !contains( candidate ) )
         continue;
      if( find( candidate ) ) {
         failure = ClaimFailure::heldByOther;
         continue;
      }
      if( roomLeft() == 0 ) {
         turnedAway_.insert( candidate );
         return { 0, ClaimFailure::noRoom };
      }
      ++roomUsed_;
      FieldEntry entry;
      entry.name = name;
      entry.key = key;
      entries_.emplace( candidate, std::move( entry ) );
      turnedAway_.erase( candidate );
      return { candidate, ClaimFailure::none };
   }
   return { 0, failure };
}

bool FieldGroup::takeRoom( FieldEntry& entry )
{
   if( entry.holdsRoom )
      return true;
   if( roomLeft() == 0 )
      return false;
   ++roomUsed_;
   entry.holdsRoom = true;
   return true;
}

void FieldGroup::put( FieldEntry& entry, bool enabled )
{
   entry.actionsRemoved = false;
   if( entry.hardware == entry.claim && entry.enabled == enabled )
      return;
   entry.hardware = entry.claim;
   entry.enabled = enabled;
   ++version_;
}

SdkCode FieldGroup::install( U32 id )
{
   FieldEntry* const entry = find( id );
   if( !entry )
      return SdkCode::NotFound;
   if( entry->claim.actions.empty() )
      return SdkCode::Config;
   if( !takeRoom( *entry ) )
      return SdkCode::Full;
   put( *entry, true );
   return SdkCode::None;
}

SdkCode FieldGroup::reinstall( U32 id )
{
   FieldEntry* const entry = find( id );
   if( !entry || !entry->installed() )
      return SdkCode::NotFound;
   if( entry->claim.actions.empty() )
      return SdkCode::Config;
   put( *entry, entry->enabled );
   return SdkCode::None;
}

void FieldGroup::remove( U32 id )
{
   FieldEntry* const entry = find( id );
   if( !entry || !entry->holdsRoom )
      return;
   entry->hardware.reset();
   ++version_;
   entry->holdsRoom = false;
   --roomUsed_;
}

void FieldGroup::release( U32 id )
{
   remove( id );
   version_ += entries_.erase( id );
   turnedAway_.erase( id );
}

SdkCode FieldGroup::enable( U32 id, bool enabled )
{
   FieldEntry* const entry = find( id );
   if( !entry || !entry->installed() )
      return SdkCode::NotFound;
   version_ += entry->enabled != enabled ? 1 : 0;
   entry->enabled = enabled;
   return SdkCode::None;
}

} // namespace Strata::Sim
