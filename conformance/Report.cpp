#include "conformance/Report.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Strata::Conformance {

static constexpr auto promiseTexts = std::to_array<std::string_view>( {
#define STRATA_PROMISE( name, hook, text, ... ) text,
#include "conformance/Promises.def"
} );

static constexpr auto promiseHooks = std::to_array<Hook>( {
#define STRATA_PROMISE( name, hook, ... ) Hook::hook,
#include "conformance/Promises.def"
} );

std::string_view promiseText( Promise promise )
{
   return promiseTexts[ static_cast<std::size_t>( promise ) ];
}

Hook hookOf( Promise promise )
{
   return promiseHooks[ static_cast<std::size_t>( promise ) ];
}

/// All promises that one depends on, directly and indirectly.
static std::set<Promise> basesOf( Promise promise )
{
   using enum Promise;
   static const std::vector<Promise> nearest[] = {
#define STRATA_PROMISE( name, hook, text, ... ) { __VA_ARGS__ },
#include "conformance/Promises.def"
   };
   std::set<Promise> bases;
   std::vector<Promise> open{ promise };
   while( !open.empty() ) {
      const Promise next = open.back();
      open.pop_back();
      for( const Promise base : nearest[ static_cast<std::size_t>( next ) ] )
         if( bases.insert( base ).second )
            open.push_back( base );
   }
   return bases;
}

std::string Finding::text() const
{
   return "broken promise " + std::string( Vormel::enumName( promise ) ) + ": " +
          std::string( promiseText( promise ) ) + ": " + call + " " + seen;
}

void Report::keptIs( Promise promise )
{
   Verdict& verdict = verdicts_[ static_cast<std::size_t>( promise ) ];
   verdict = std::max( verdict, Verdict::kept );
}

void Report::brokenIs( Finding finding )
{
   verdicts_[ static_cast<std::size_t>( finding.promise ) ] = Verdict::broken;
   findings_.push_back( std::move( finding ) );
}

void Report::notTriedIs( Promise promise, std::string why )
{
   whyNot_[ static_cast<std::size_t>( promise ) ] = std::move( why );
}

std::vector<Report::Root> Report::roots() const
{
   std::set<Promise> broken;
   for( const Finding& finding : findings_ )
      broken.insert( finding.promise );
   std::vector<Root> found;
   for( const Promise promise : broken ) {
      const auto isBroken = [ & ]( Promise base ) { return broken.contains( base ); };
      if( std::ranges::any_of( basesOf( promise ), isBroken ) )
         continue;
      const auto restsOnIt = [ & ](
                                Promise other ) { return basesOf( other ).contains( promise ); };
      found.push_back(
         { promise, static_cast<std::size_t>( std::ranges::count_if( broken, restsOnIt ) ) } );
   }
   return found;
}

std::string Report::text( bool all ) const
{
   static constexpr std::size_t shown =
      3; // of a promise: further ones usually repeat it for other units
   std::string text;
   for( const Promise promise : Vormel::enumValues<Promise>() ) {
      const Verdict itsVerdict = verdict( promise );
      if( !all && itsVerdict == Verdict::kept )
         continue;
      std::string word( Vormel::enumName( itsVerdict ) );
      word.resize( 11, ' ' );
      text += word + std::string( Vormel::enumName( promise ) ) + ": " +
              std::string( promiseText( promise ) );
      if( itsVerdict == Verdict::notTried && !whyNotTried( promise ).empty() )
         text += " (" + whyNotTried( promise ) + ")";
      text += '\n';
      std::size_t found = 0;
      for( const Finding& finding : findings_ )
         if( finding.promise == promise && ++found <= shown )
            text += "              " + finding.call + " " + finding.seen + '\n';
      if( found > shown )
         text += "              and " + std::to_string( found - shown ) + " more like these\n";
   }
   for( const Root& root : roots() )
      if( root.others != 0 )
         text += "likely root: " + std::string( Vormel::enumName( root.promise ) ) + ", on which " +
                 std::to_string( root.others ) + " of the other broken promises depend\n";
   const auto count = [ & ]( Verdict wanted ) {
      return std::to_string( std::ranges::count( verdicts_, wanted ) );
   };
   return text + count( Verdict::kept ) + " promises kept, " + count( Verdict::broken ) +
          " broken, " + count( Verdict::notTried ) + " not tried\n";
}

} // namespace Strata::Conformance
