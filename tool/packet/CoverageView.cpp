#include "tool/packet/CoverageView.h"

#include "tool/packet/EntryFindings.h"

#include <nlohmann/json.hpp>

namespace Strata::Tool {

using Cover::Coverage;
using Cover::Outcome;
using nlohmann::ordered_json;

std::vector<std::string> coverageLines( const Session& session, const Coverage& about )
{
   std::vector<std::string> lines;
   if( about.outcome == Outcome::proved )
      return { proofText( session, about ) };
   if( about.outcome == Outcome::unknown )
      return about.tried;
   lines = about.rows;
   lines.push_back( "explain " + about.packet );
   return lines;
}

ordered_json coverageJson( const Session& session, const Coverage& about )
{
   ordered_json json{ { "unit", about.unit }, { "range", about.range }, { "id", about.id },
      { "entry", about.name }, { "outcome", Vormel::enumText( about.outcome ) } };
   if( about.outcome == Outcome::found )
      json.update( { { "commands", about.rows }, { "packet", about.packet },
         { "effect", about.hasEffect } } );
   else if( about.outcome == Outcome::unknown )
      json.update( { { "tried", about.tried } } );
   else {
      json.update(
         { { "blockers", blockerNames( session, about ) }, { "reasons", about.reasons } } );
      if( about.largest )
         json[ "largest" ] = nameOf( session, about, *about.largest );
   }
   return json;
}

} // namespace Strata::Tool
