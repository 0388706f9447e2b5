// The anchors of a report: what has which id, which is the same for every report of the same run.
#pragma once

#include "platform/runtime/Types.h"
#include "report/Chronicle.h"

#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Strata::Report {

class Links
{
 public:
   explicit Links( const Chronicle& chronicle );

   // Positions count from 0, anchors from 1.
   static std::string event( std::size_t position ) { return "e" + std::to_string( position + 1 ); }
   static std::string packet( std::size_t position )
   {
      return "p" + std::to_string( position + 1 );
   }
   static std::string transient( std::size_t position )
   {
      return "t" + std::to_string( position + 1 );
   }
   /// "e5-f7": frame 7 of the capture of an event.
   static std::string frame( std::size_t event, const std::string& number )
   {
      return Links::event( event ) + "-f" + number;
   }
   /// "m1" for the first mark or end.
   std::string snapshot( std::size_t position ) const;
   /// "r113"; records of the second switch are "s2-r113".
   static std::string record( std::size_t chips, U64 number );
   /// The row of what is written: "m1-L3EgressMode", of an entry "m1-1034", or on another unit than the first
   /// "m1-1034-u1".
   std::string row( std::size_t snapshot, U32 unit, const std::string& target ) const;
   /// What a write to an entry is about.
   static std::string target( U32 entry ) { return std::to_string( entry ); }

   /// The event with this record; nothing if no event has it.
   std::optional<std::size_t> eventOf( std::size_t chips, U64 record ) const;
   /// The row in the first snapshot of the switch from this event on that has it, or else in the last one before it.
   /// `shownAt` is set to the last event before that snapshot.
   std::optional<std::string> rowAfter( std::size_t chips, U32 unit, const std::string& target,
      std::size_t event, std::size_t* shownAt = nullptr ) const;

   struct Write
   {
      std::size_t event = 0;
      U64 record = 0;
      bool changed = false;
      std::string call{};
   };

   /// The writes to a place, in the order of their records, up to this event and record.
   std::vector<Write> writesTo( std::size_t chips, U32 unit, const std::string& target,
      std::size_t lastEvent, U64 lastRecord = std::numeric_limits<U64>::max() ) const;

 private:
   const Chronicle& chronicle_;
   std::map<std::pair<std::size_t, U64>, std::size_t> events_; // by switch and record
   std::map<std::tuple<std::size_t, U32, std::string>, std::vector<Write>> writes_;
   std::vector<std::set<std::string>> rows_; // of each snapshot that is shown
};

} // namespace Strata::Report
