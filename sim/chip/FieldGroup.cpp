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

FieldEntry* FieldGroup::claimed( U32 id )
{
   FieldEntry* const entry = find( id );
   return entry && entry->claimed ? entry : nullptr;
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
      if( !entry->claimed )
         *entry = FieldEntry{ .name = name,
            .hardware = std::move( entry->hardware ),
            .enabled = entry->enabled,
            .cause = std::move( entry->cause ) };
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
      if( claimed( candidate ) ) {
         failure = ClaimFailure::heldByOther;
         continue;
      }
      erase( candidate );
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
   FieldEntry* const entry = claimed( id );
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
   FieldEntry* const entry = claimed( id );
   if( !entry || !entry->installed() )
      return SdkCode::NotFound;
   if( entry->claim.actions.empty() )
      return SdkCode::Config;
   put( *entry, entry->enabled );
   return SdkCode::None;
}

void FieldGroup::takeOut( FieldEntry& entry )
{
   if( !entry.holdsRoom )
      return;
   entry.hardware.reset();
   ++version_;
   entry.holdsRoom = false;
   --roomUsed_;
}

void FieldGroup::remove( U32 id )
{
   if( FieldEntry* const entry = claimed( id ) )
      takeOut( *entry );
}

void FieldGroup::erase( U32 id )
{
   if( FieldEntry* const entry = find( id ) )
      takeOut( *entry );
   version_ += entries_.erase( id );
}

void FieldGroup::release( U32 id )
{
   if( claimed( id ) )
      erase( id );
   turnedAway_.erase( id );
}

void FieldGroup::abandon()
{
   turnedAway_.clear();
   for( auto at = entries_.begin(); at != entries_.end(); ) {
      FieldEntry& entry = at->second;
      entry.claimed = false;
      if( entry.installed() ) {
         ++at;
      } else {
         takeOut( entry );
         at = entries_.erase( at );
      }
   }
}

std::vector<std::string> FieldGroup::sweep()
{
   std::vector<U32> left;
   std::vector<std::string> names;
   for( const auto& [ id, entry ] : entries_ )
      if( !entry.claimed ) {
         left.push_back( id );
         names.push_back( entry.name );
      }
   for( const U32 id : left )
      erase( id );
   return names;
}

SdkCode FieldGroup::enable( U32 id, bool enabled )
{
   FieldEntry* const entry = claimed( id );
   if( !entry || !entry->installed() )
      return SdkCode::NotFound;
   version_ += entry->enabled != enabled ? 1 : 0;
   entry->enabled = enabled;
   return SdkCode::None;
}

} // namespace Strata::Sim
