// Searches for a packet that an entry wins: one that the entry matches and no earlier one of its range does, and that
// can come to the switch. Uses an SMT solver; a build without it has none of these answers.
#pragma once

#include "cover/Facts.h"
#include "cover/Shape.h"
#include "sim/chip/FieldGroup.h"
#include "sim/packet/FieldKey.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Strata::Cover {

class Solver
{
 public:
   /// Whether this build has one.
   static bool available();

   /// Requires: the facts and the range outlive it unchanged; available().
   Solver( const Facts& facts, const Sim::FieldGroup& range );
   Solver( const Solver& ) = delete;
   Solver& operator=( const Solver& ) = delete;
   ~Solver();

   struct Answer
   {
      std::optional<Shape> shape; // that should win; empty if no packet can
      // Otherwise what excludes it, of which nothing can be left out:
      std::vector<U32> blockers;        // earlier entries
      std::vector<std::string> reasons; // why such a packet cannot be
      bool limited = false; // one of the reasons is a limit of this search, not of the switch
   };
   /// For an entry in hardware. Neither blockers nor reasons: its qualifiers exclude each other.
   Answer find( U32 id );
   /// The same, as like as possible to a packet that presents the key to the range's stage, and comes in at the place of
   /// the facts. Requires: the facts have a place.
   Answer nearest( U32 id, const Sim::FieldKey& key );
   /// Excludes shapes like this one, whatever their addresses and numbers, from further answers for the entry; with
   /// `everywhere`, also those that arrive by another port or in another VLAN.
   void refute( const Shape& shape, bool everywhere );
   /// Until reset(): only packets that are looked up in this VLAN of the facts, by index.
   void lookUpIn( std::size_t vlan );
   /// Ends the search for an entry: forgets what was refuted.
   void reset();

 private:
   class Search;
   std::unique_ptr<Search> search_;
};

} // namespace Strata::Cover
