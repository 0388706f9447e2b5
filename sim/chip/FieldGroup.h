// One range of a unit's Field Processor: the entries that are claimed in it and their copies in
// hardware. In hardware one entry per range wins each packet: the matching one with the lowest id.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/TcamEntryManager.h"
#include "sim/chip/ChipProfile.h"
#include "sim/chip/FieldRule.h"
#include "sim/sdk/SdkCodes.h"
#include "sim/switch/Cause.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Strata::Sim {

struct FieldEntry
{
   std::string name{};
   RequestKey key{};
   FieldRule claim{};                   // the rule that the next install will put into hardware
   std::optional<FieldRule> hardware{}; // the rule that packets are matched against
   bool enabled = true;
   bool holdsRoom = true;
   bool claimed = true;                  // otherwise an earlier agent has left it in hardware
   std::set<SdkOperation> unavailable{}; // qualifiers that were not available since the claim
   bool qualifierRefused = false;        // by the chip, although its attributes have the capability
   bool actionsRemoved = false;          // since the last install
   U64 hits = 0;                         // since the first claim
   U64 hitsAtMark = 0;                   // of these, before the last hitsMark()
   Cause cause{};                        // of the installation
   std::optional<bool> switchedTo{};     // the last state that enableEntry set
   Cause switchCause{};

   /// The cause of enabling or disabling it, when that differs from the installation's.
   const Cause* enableCause() const { return switchedTo == enabled ? &switchCause : nullptr; }

   bool installed() const { return hardware.has_value(); }
   /// Whether it is in hardware and enabled.
   bool active() const { return installed() && enabled; }
};

class FieldGroup
{
 public:
   enum class ClaimFailure : U8
   {
      none,
      outOfRange,
      heldByOther,
      noRoom,
   };
   struct ClaimResult
   {
      U32 id = 0; // 0 when the claim failed
      ClaimFailure failure = ClaimFailure::none;
   };

   explicit FieldGroup( const FieldGroupProfile& profile );

   const FieldGroupProfile& profile() const { return profile_; }
   bool contains( U32 id ) const
   {
      return id >= profile_.base && id - profile_.base < profile_.size;
   }
   /// By id: the claimed entries, and those that an earlier agent has left.
   const std::map<U32, FieldEntry>& entries() const { return entries_; }
   /// Null if there is no such entry.
   const FieldEntry* find( U32 id ) const;
   FieldEntry* find( U32 id );
   /// Null if the id is not claimed.
   FieldEntry* claimed( U32 id );

   /// Sets hitsAtMark of each entry.
   void hitsMark()
   {
      for( auto& [ id, entry ] : entries_ )
         entry.hitsAtMark = entry.hits;
   }

   /// Changes with the entries in hardware and with the end of a claim, and not with an operation that changes nothing.
   U64 version() const { return version_; }

   U32 room() const { return room_; }
   U32 roomLeft() const { return roomUsed_ < room_ ? room_ - roomUsed_ : 0; }
   /// How many entries can be in use: the range has no more than its ids.
   U32 capacity() const { return std::min( room_, profile_.size ); }
   /// Entries in hardware stay there when the number shrinks.
   void roomIs( U32 room ) { room_ = room; }

   // The operations of an entry manager, with its rules.
   ClaimResult claim( U32 id, const std::string& name, const RequestKey& key );
   SdkCode install( U32 id );
   SdkCode reinstall( U32 id );
   void remove( U32 id );
   void release( U32 id );
   SdkCode enable( U32 id, bool enabled );

   /// For a new agent over the same chip: no entry is claimed any more, and those in hardware stay. A claim under the same
   /// name adopts what is in hardware until it is installed again; one under another name removes it first.
   void abandon();
   /// Removes the entries that have not been claimed since. Returns their names.
   std::vector<std::string> sweep();

   /// Ids whose last claim failed without an error of the caller.
   const std::set<U32>& turnedAway() const { return turnedAway_; }
   void turnedAwayIs( U32 id ) { turnedAway_.insert( id ); }

 private:
   bool takeRoom( FieldEntry& entry );
   void takeOut( FieldEntry& entry );
   void erase( U32 id );
   /// Puts the claim into hardware.
   void put( FieldEntry& entry, bool enabled );

   FieldGroupProfile profile_;
   U32 room_;
   U32 roomUsed_ = 0;
   U64 version_ = 0;
   std::map<U32, FieldEntry> entries_;
   std::set<U32> turnedAway_;
};

} // namespace Strata::Sim
