// Finds the winner of a range: the lowest id among the entries that match. For each qualifier, entries with
// the same value and mask form one set; a lookup intersects, for each qualifier in use, the set that fits the
// packet. So it costs about the same for ten entries as for a thousand. Not thread-safe.
#pragma once

#include "sim/chip/FieldGroup.h"
#include "sim/packet/FieldKey.h"

#include <unordered_map>
#include <vector>

namespace Strata::Sim {

class FieldLookup
{
 public:
   /// For the entries that are in hardware and enabled. Requires: they outlive the lookup unchanged; version()
   /// shows whether they changed.
   explicit FieldLookup( const FieldGroup& group );

   U64 version() const { return version_; }
   /// The winner's id, or 0.
   U32 winner( const FieldKey& key ) const;

 private:
   using Bits = std::vector<U64>;
   struct SameMask
   {
      U64 mask;
      std::unordered_map<U64, Bits> byValue;
   };
   struct Role
   {
      Qualifier role;
      Bits indifferent; // entries without this qualifier
      std::vector<SameMask> masks;
      std::vector<std::pair<U32, const FieldQualifier*>> portSets; // by entry
      mutable std::unordered_map<U32, Bits> byPort;                // filled by lookups
   };

   Role& role( Qualifier which );
   void add( U32 entry, const FieldQualifier& qualifier );
   Bits fitting( const Role& role, const FieldKey& key ) const;
   const Bits& fittingPort( const Role& role, const FieldKey& key ) const;

   U64 version_;
   std::vector<U32> ids_; // ascending; a bit's position is an index here
   Bits all_;
   std::vector<Role> roles_;
};

} // namespace Strata::Sim
