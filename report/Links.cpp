#include "report/Links.h"

#include "report/StateRows.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace Strata::Report {

namespace {

/// "IP4-of-port-1"
std::string idText( const std::string& target )
{
   std::string id;
   for( const char c : target )
      id += std::isalnum( static_cast<unsigned char>( c ) ) != 0 ? c : '-';
   return id;
}

} // namespace

Links::Links( const Chronicle& chronicle ) : chronicle_( chronicle )
{
   for( std::size_t i = 0; i < chronicle.events.size(); ++i ) {
      const Event& event = chronicle.events[ i ];
      for( const LogLine& line : event.lines ) {
         if( line.kind == LineKind::record )
            events_.emplace( std::pair( event.chips, line.record ), i );
         if( !line.write.empty() )
            writes_[ { event.chips, line.unit,
                        line.entry ? target( line.entry->id ) : line.target } ]
               .push_back( { i, line.record, line.write == "changed", line.call } );
      }
   }
   for( auto& [ place, writes ] : writes_ )
      std::ranges::sort( writes, {}, &Write::record );
   rows_.resize( chronicle.snapshots.size() );
   for( std::size_t i = 0; i < chronicle.snapshots.size(); ++i ) {
      if( chronicle.snapshots[ i ].moment == Moment::made )
         continue;
      for( const StateRow& each :
         stateRows( chronicle.snapshots[ i ].state, chronicle.snapshots[ i - 1 ].state ) )
         if( each.change != RowChange::gone )
            for( const U32 unit : each.units )
               for( const std::string& target : targetsOf( each ) )
                  rows_[ i ].insert( row( i, unit, target ) );
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

std::string Links::row( std::size_t position, U32 unit, const std::string& target ) const
{
   const auto& parts = chronicle_.snapshots[ position ].state.parts();
   const std::string id = snapshot( position ) + "-" + idText( target );
   const bool isFirst = parts.empty() || parts.begin()->first.unit == unit;
   return isFirst ? id : id + "-u" + std::to_string( unit );
}

std::optional<std::size_t> Links::eventOf( std::size_t chips, U64 record ) const
{
   const auto at = events_.find( { chips, record } );
   return at == events_.end() ? std::nullopt : std::optional( at->second );
}

std::optional<std::string> Links::rowAfter( std::size_t chips, U32 unit, const std::string& target,
   std::size_t event, std::size_t* shownAt ) const
{
   std::optional<std::string> found;
   for( std::size_t i = 0; i < chronicle_.snapshots.size(); ++i ) {
      const Snapshot& snapshot = chronicle_.snapshots[ i ];
      if( snapshot.chips != chips || snapshot.moment == Moment::made )
         continue;
      std::string id = row( i, unit, target );
      if( !rows_[ i ].contains( id ) )
         continue;
      found = std::move( id );
      if( shownAt )
         *shownAt = snapshot.event;
      if( snapshot.event >= event )
         break;
   }
   return found;
}

std::vector<Links::Write> Links::writesTo( std::size_t chips, U32 unit, const std::string& target,
   std::size_t lastEvent, U64 lastRecord ) const
{
   std::vector<Write> writes;
   if( const auto at = writes_.find( { chips, unit, target } ); at != writes_.end() )
      std::ranges::copy_if( at->second, std::back_inserter( writes ), [ & ]( const Write& write ) {
         return write.event <= lastEvent && write.record <= lastRecord;
      } );
   return writes;
}

} // namespace Strata::Report
