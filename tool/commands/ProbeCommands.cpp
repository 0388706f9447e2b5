// The packets that are sent again and again: their names, and what becomes of them now.
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

/// Takes `in PORT` and the words of it.
std::pair<Entrance, std::string> takeEntranceText( const Session& session, Words& words )
{
   const Word* word = words.peek();
   const Entrance entrance = takeEntrance( session, words );
   std::string text;
   while( word++ != words.last() )
      text += ( text.empty() ? "" : " " ) + word->text;
   return { entrance, text };
}

Act addProbe( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 1> behind{ "in" };
   const std::string name = words.name( "the probe's name", behind );
   const auto [ entrance, in ] = takeEntranceText( session, words );
   Desk::Probe probe{ in, { entrance.port, takeFrame( session, words ), entrance.higig } };
   return [ name, probe ]( Session& live ) { live.probes().insert_or_assign( name, probe ); };
}

Act removeProbe( const Session& session, Words& words )
{
   return [ name = takeProbe( session, words ) ]( Session& live ) { live.probes().erase( name ); };
}

void showProbes( Session& session )
{
   const Sim::PacketEngine& engine = session.packets().engine();
   Table table( { { "Probe" }, { "What becomes of it" } } );
   for( const auto& [ name, probe ] : session.probes() ) {
      const Desk::ProbeVerdict now( engine, probe.arrival );
      const std::string frame = probe.arrival.frame.text();
      ordered_json row{ { "probe", name }, { "in", probe.in }, { "frame", frame } };
      if( const Sim::Verdict* const verdict = now.verdict() )
         row.update( ordered_json::parse( engine.verdictJson( *verdict ) ) );
      else
         row[ "notSent" ] = now.obstacle();
      table.row( { name, "in " + probe.in + ": " + frame + "\n  => " + now.text( engine ) },
         std::move( row ) );
   }
   session.console().table( "Probes, as the switch is now", table );
}

} // namespace

std::vector<Command> probeCommands()
{
   return {
      { "probe", "NAME in PORT FRAME",
         "keep a packet under a name, for 'show probes' and 'explain probe NAME'", addProbe },
      { "no probe", "NAME", "forget a packet", removeProbe },
      { "show probes", "", "the packets that are kept, and what becomes of each now",
         parseNone<showProbes> },
   };
}

} // namespace Strata::Tool
