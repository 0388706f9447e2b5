#include "tool/packet/WhatIf.h"

#include "platform/runtime/Errors.h"
#include "tool/Session.h"
#include "tool/packet/ExplanationView.h"

#include <map>
#include <nlohmann/json.hpp>
#include <utility>

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
   // In the order of now; what is only behind the command comes last.
   std::vector<ExplainedChange> all;
   std::map<std::pair<U32, std::string>, std::size_t> places;
   for( const ExplainedPart& part : now ) {
      places.emplace( std::pair( part.pass, part.part ), all.size() );
      all.push_back( { part.pass, part.part, part.text, std::nullopt } );
   }
   for( const auto& [ form, line ] : later.lines ) {
      const ordered_json row = ordered_json::parse( line );
      const auto [ at, isNew ] = places.emplace(
         std::pair( row[ 0 ].get<U32>(), row[ 1 ].get<std::string>() ), all.size() );
      if( isNew )
         all.push_back( { row[ 0 ], row[ 1 ], std::nullopt, std::nullopt } );
      all[ at->second ].then = row[ 2 ].get<std::string>();
   }
   std::erase_if( all, []( const ExplainedChange& change ) { return change.now == change.then; } );
   return all;
}

} // namespace Strata::Tool
