#include "conformance/Report.h"

#include <algorithm>
#include <utility>

namespace Strata::Conformance {

static constexpr auto promiseTexts = std::to_array<std::string_view>( {
#define STRATA_PROMISE( name, text ) text,
#include "conformance/Promises.def"
} );

std::string_view promiseText( Promise promise )
{
   return promiseTexts[ static_cast<std::size_t>( promise ) ];
}

std::string Finding::text() const
{
   return "broken promise " + std::string( promiseName( promise ) ) + ": " +
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

std::string Report::text( bool all ) const
{
   static constexpr const char* words[] = { "not tried", "kept", "BROKEN" };
   static constexpr std::size_t shown = 3; // of a promise: the rest says the same of other units
   std::string text;
   std::array<std::size_t, 3> counts{};
   for( std::size_t i = 0; i < verdicts_.size(); ++i ) {
      const auto promise = static_cast<Promise>( i );
      const auto verdict = static_cast<std::size_t>( verdicts_[ i ] );
      ++counts[ verdict ];
      if( !all && verdicts_[ i ] == Verdict::kept )
         continue;
      std::string word = words[ verdict ];
      word.resize( 11, ' ' );
      text += word + std::string( promiseName( promise ) ) + ": " +
              std::string( promiseText( promise ) );
      if( verdicts_[ i ] == Verdict::notTried && !whyNot_[ i ].empty() )
         text += " (" + whyNot_[ i ] + ")";
      text += '\n';
      std::size_t found = 0;
      for( const Finding& finding : findings_ )
         if( finding.promise == promise && ++found <= shown )
            text += "              " + finding.call + " " + finding.seen + '\n';
      if( found > shown )
         text += "              and " + std::to_string( found - shown ) + " more like these\n";
   }
   return text + std::to_string( counts[ 1 ] ) + " promises kept, " +
          std::to_string( counts[ 2 ] ) + " broken, " + std::to_string( counts[ 0 ] ) +
          " not tried\n";
}

} // namespace Strata::Conformance
