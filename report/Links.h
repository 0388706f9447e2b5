// The anchors of a report: what has which id, which is the same for every report of the same run.
#pragma once

#include "platform/runtime/Types.h"
#include "report/Chronicle.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

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
   /// "m1-1034", or on another unit than the first "m1-1034-u1".
   std::string entry( std::size_t snapshot, const EntryPlace& place ) const;

   /// The event with this record; nothing if no event has it.
   std::optional<std::size_t> eventOf( std::size_t chips, U64 record ) const;
   /// The first snapshot of the switch from this event on that has the entry, or else the last one before it.
   std::optional<std::size_t> snapshotWith(
      std::size_t chips, const EntryPlace& place, std::size_t event ) const;
   /// Events that have written an entry of the switch, up to this one; or what is written otherwise, on any unit.
   std::vector<std::size_t> writersOf(
      std::size_t chips, const EntryPlace& place, std::size_t lastEvent ) const;
   std::vector<std::size_t> writersOf(
      std::size_t chips, const std::string& target, std::size_t lastEvent ) const;

 private:
   const Chronicle& chronicle_;
   std::map<std::pair<std::size_t, U64>, std::size_t> events_; // by switch and record
   using Events = std::set<std::size_t>;
   std::map<std::pair<std::size_t, EntryPlace>, Events> writers_;
   std::map<std::pair<std::size_t, std::string>, Events> targetWriters_;
};

} // namespace Strata::Report
