#include "report/Links.h"

#include <algorithm>

namespace Strata::Report {

namespace {

template<class Writers, class Key>
std::vector<std::size_t> eventsUpTo( const Writers& writers, const Key& key, std::size_t last )
{
   std::vector<std::size_t> events;
   if( const auto at = writers.find( key ); at != writers.end() )
      events.assign( at->second.begin(), at->second.upper_bound( last ) );
   return events;
}

} // namespace

Links::Links( const Chronicle& chronicle ) : chronicle_( chronicle )
{
   for( std::size_t i = 0; i < chronicle.events.size(); ++i ) {
      const Event& event = chronicle.events[ i ];
      for( const LogLine& line : event.lines ) {
         if( line.kind == LineKind::record )
            events_.emplace( std::pair( event.chips, line.record ), i );
         if( line.write.empty() )
            continue;
         if( line.entry )
            writers_[ { event.chips, *line.entry } ].insert( i );
         else
            targetWriters_[ { event.chips, line.target } ].insert( i );
      }
   }
}

std::string Links::snapshot( std::size_t position ) const
{
   const auto begin = chronicle_.snapshots.begin();
   const auto shown = std::count_if( begin, begin + static_cast<std::ptrdiff_t>( position ),
      []( const Snapshot& snapshot ) { return snapshot.moment != Moment::made; } );
   return "m" + std::to_string( shown + 1 );
}

std::string Links::record( std::size_t chips, U64 number )
{
   const std::string own = "r" + std::to_string( number );
   return chips < 2 ? own : "s" + std::to_string( chips ) + "-" + own;
}

std::string Links::entry( std::size_t position, const EntryPlace& place ) const
{
   const auto& parts = chronicle_.snapshots[ position ].state.parts();
   const std::string id = snapshot( position ) + "-" + std::to_string( place.id );
   const bool isFirst = parts.empty() || parts.begin()->first.unit == place.unit;
   return isFirst ? id : id + "-u" + std::to_string( place.unit );
}

std::optional<std::size_t> Links::eventOf( std::size_t chips, U64 record ) const
{
   const auto at = events_.find( { chips, record } );
   return at == events_.end() ? std::nullopt : std::optional( at->second );
}

std::optional<std::size_t> Links::snapshotWith(
   std::size_t chips, const EntryPlace& place, std::size_t event ) const
{
   const Desk::PartKey key{ Desk::PartKind::entry, place.id, 0, place.unit };
   std::optional<std::size_t> found;
   for( std::size_t i = 0; i < chronicle_.snapshots.size(); ++i ) {
      const Snapshot& snapshot = chronicle_.snapshots[ i ];
      if( snapshot.chips != chips || snapshot.moment == Moment::made ||
          !snapshot.state.parts().contains( key ) )
         continue;
      found = i;
      if( snapshot.event >= event )
         break;
   }
   return found;
}

std::vector<std::size_t> Links::writersOf(
   std::size_t chips, const EntryPlace& place, std::size_t lastEvent ) const
{
   return eventsUpTo( writers_, std::pair( chips, place ), lastEvent );
}

std::vector<std::size_t> Links::writersOf(
   std::size_t chips, const std::string& target, std::size_t lastEvent ) const
{
   return eventsUpTo( targetWriters_, std::pair( chips, target ), lastEvent );
}

} // namespace Strata::Report
