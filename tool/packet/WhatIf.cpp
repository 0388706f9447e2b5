#include "tool/packet/WhatIf.h"

#include "platform/runtime/Errors.h"
#include "tool/Session.h"
#include "tool/packet/ExplanationView.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

std::vector<ExplainedPart> partsNow( Session& session, const Sim::Arrival& arrival )
{
   Sim::PacketEngine& engine = session.packets().engine();
   Sim::Explanation explanation;
   const Sim::Verdict verdict = engine.explain( arrival, &explanation );
   return explainedParts( engine, verdict, explanation );
}

} // namespace

std::vector<ExplainedChange> explainedChanges(
   Session& session, const Sim::Arrival& arrival, const Planned& planned )
{
   const std::vector<ExplainedPart> now = partsNow( session, arrival );
   const Look later = lookAfter( session, planned, [ & ]( ChildChannel& channel ) {
      if( !session.hasAgent() )
         throw Vormel::ValueError( "there is no switch behind it" );
      for( const ExplainedPart& part : partsNow( session, arrival ) )
         channel.send( {}, ordered_json( { part.pass, part.part, part.text } )
                              .dump( -1, ' ', false, ordered_json::error_handler_t::replace ) );
   } );
   if( !later.why.empty() )
      throw Vormel::ValueError( "'" + commandText( planned.line ) + "' " + later.why );
   std::vector<ExplainedChange> all;
   for( const ExplainedPart& part : now )
      all.push_back( { part.pass, part.part, part.text, std::nullopt } );
   // What is only behind the command comes behind the stage before it there.
   auto place = all.begin();
   for( const auto& [ form, line ] : later.lines ) {
      const ordered_json row = ordered_json::parse( line );
      const U32 pass = row[ 0 ];
      const std::string part = row[ 1 ];
      const auto same = std::ranges::find_if( all, [ & ]( const ExplainedChange& change ) {
         return change.pass == pass && change.part == part;
      } );
      if( same != all.end() ) {
         place = same;
      } else {
         while( place != all.end() && place->pass < pass )
            ++place;
         place = all.insert( place, { pass, part, std::nullopt, std::nullopt } );
      }
      place->then = row[ 2 ];
      ++place;
   }
   std::erase_if( all, []( const ExplainedChange& change ) { return change.now == change.then; } );
   return all;
}

} // namespace Strata::Tool
