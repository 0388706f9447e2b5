// Packets: sending and explaining them.
#include "tool/RunListener.h"
#include "tool/Session.h"
#include "tool/packet/CoverageView.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/PacketWords.h"
#include "tool/packet/Untold.h"
#include "tool/packet/Wants.h"
#include "tool/packet/WhatIf.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

std::string arrivalText( Sim::PacketEngine& engine, const Sim::Arrival& arrival )
{
   return "In by " + engine.arrivalName( arrival ) + ": " + arrival.frame.text();
}

void showExplanation( Session& session, Sim::PacketEngine& engine, const Sim::Arrival& arrival,
   const Sim::Verdict& verdict, const Sim::Explanation& explanation, bool all )
{
   session.console().table(
      arrivalText( engine, arrival ),
      [ & ] { return explanationTable( engine, verdict, explanation, all ); },
      [ & ] { return explanationJson( engine, verdict, explanation ); } );
}

/// Says at a twin on which tables, that it was not told, the outcome depends.
void noteUntold( Session& session, const Sim::Explanation& explanation )
{
   const std::string names = untoldTables( explanation, session.packets().tables() );
   if( session.isTwin() && !names.empty() )
      session.console().notice( "This depends on what the twin was not told: " + names +
                                ". They belong to other parts of the agent; a scenario beside the "
                                "recording can give them." );
}

/// Takes an entrance and a frame, behind an optional -v.
Sim::Arrival takeArrivalBehind( const Session& session, Words& words )
{
   Sim::Arrival arrival = takeArrival( session, words );
   if( const Word* const next = words.peek(); next && next->text == "-v" )
      words.failAt( *next, "'-v' comes first, as in 'explain -v in PORT FRAME'" );
   return arrival;
}

Table whatIfTable( const std::vector<ExplainedChange>& changes )
{
   Table table( { { "Stage" }, { "Now, and after the command" } } );
   if( changes.empty() )
      table.row( { "", "Nothing differs." } );
   U32 pass = 1;
   for( const ExplainedChange& change : changes ) {
      if( std::exchange( pass, change.pass ) != change.pass )
         table.section( "Pass " + std::to_string( change.pass ) );
      table.row(
         { change.part, change.now.value_or( "-" ) + "\n-> " + change.then.value_or( "-" ) } );
   }
   return table;
}

ordered_json whatIfJson( const std::vector<ExplainedChange>& changes )
{
   const auto orNull = []( const std::optional<std::string>& text ) {
      return text ? ordered_json( *text ) : ordered_json();
   };
   auto rows = ordered_json::array();
   for( const ExplainedChange& change : changes )
      rows.push_back( { { "pass", change.pass }, { "stage", change.part },
         { "now", orNull( change.now ) }, { "then", orNull( change.then ) } } );
   return rows;
}

void showWhatIf( Session& session, const Sim::Arrival& arrival, const Planned& planned )
{
   const std::vector<ExplainedChange> changes = explainedChanges( session, arrival, planned );
   session.console().table(
      arrivalText( session.packets().engine(), arrival ) + ", after '" +
         commandText( planned.line ) + "'",
      [ & ] { return whatIfTable( changes ); }, [ & ] { return whatIfJson( changes ); } );
}

Table wantedTable( const Session& session, const Wanted& wanted )
{
   Table table( { { "Outcome" }, { "What it takes" } } );
   std::string outcome = Vormel::enumText( wanted.about.outcome );
   const auto add = [ & ]( const std::string& text ) {
      table.row( { std::exchange( outcome, {} ), text } );
   };
   if( wanted.already ) {
      table.row( { "wins", "nothing: the packet wins the entry as it is" } );
      return table;
   }
   for( const std::string& change : wanted.changes )
      add( change );
   for( const std::string& line : coverageLines( session, wanted.about ) )
      add( line );
   return table;
}

ordered_json wantedJson( const Session& session, const Wanted& wanted )
{
   ordered_json row = coverageJson( session, wanted.about );
   if( wanted.already )
      row = { { "unit", wanted.about.unit }, { "range", wanted.about.range },
         { "id", wanted.about.id }, { "entry", wanted.about.name }, { "outcome", "wins" } };
   row.erase( "effect" );
   if( wanted.about.outcome == Cover::Outcome::found )
      row[ "changes" ] = wanted.changes;
   return ordered_json::array( { row } );
}

/// The packet's words are those in front.
Act explainWant( const Session& session, Words& words, const Sim::Arrival& arrival )
{
   Line inFront = words.line();
   inFront.words = { inFront.words.begin() + 1,
      inFront.words.begin() + ( words.last() - words.line().words.data() ) };
   const std::string packet = commandText( inFront );
   const Word* const first = words.peek();
   const EntryChoice entry = takeEntry( session, words );
   needSolver( words );
   return [ arrival, packet, entry, first, &words ]( Session& live ) {
      const Wanted wanted =
         words.blaming( *first, [ & ] { return wantsEntry( live, arrival, packet, entry ); } );
      live.console().table(
         arrivalText( live.packets().engine(), arrival ) + " wants '" + wanted.about.name + "' (" +
            wanted.about.range + " " + std::to_string( wanted.about.id ) + ")",
         [ & ] { return wantedTable( live, wanted ); },
         [ & ] { return wantedJson( live, wanted ); } );
   };
}

Act explainPacket( const Session& session, Words& words )
{
   const bool all = words.accept( "-v" );
   const Word* const option = words.last();
   const Sim::Arrival arrival = takeArrivalBehind( session, words );
   const bool after = words.accept( "after" );
   const bool wants = !after && words.accept( "wants" );
   if( all && ( after || wants ) )
      words.failAt( *option, "'-v' shows all of one explanation, and '" + words.last()->text +
                                "' shows none; leave it out" );
   if( wants )
      return explainWant( session, words, arrival );
   if( after )
      return [ arrival, planned = takePlanned( session, words ) ](
                Session& live ) { showWhatIf( live, arrival, planned ); };
   return [ all, arrival ]( Session& live ) {
      PacketDesk& desk = live.packets();
      Sim::Explanation explanation;
      const Sim::Verdict verdict = desk.engine().explain( arrival, &explanation );
      if( RunListener* const listener = live.console().listener() )
         listener->explained( live, arrival, verdict, explanation, false );
      showExplanation( live, desk.engine(), arrival, verdict, explanation, all );
      noteUntold( live, explanation );
      desk.lastIs( { arrival, verdict } );
   };
}

void send( Session& session, const Words& words, const Sim::Arrival& arrival, bool all )
{
   PacketDesk& desk = session.packets();
   Sim::Explanation explanation;
   RunListener* const listener = session.console().listener();
   if( all || session.isTwin() || listener ) {
      const Sim::Verdict verdict = desk.engine().explain( arrival, &explanation );
      if( listener )
         listener->explained( session, arrival, verdict, explanation, true );
   }
   const Sim::Verdict verdict = desk.engine().send( arrival );
   if( all )
      showExplanation( session, desk.engine(), arrival, verdict, explanation, true );
   noteUntold( session, explanation );
   desk.lastIs( { arrival, verdict } );
   if( verdict.loops )
      words.failAt( words.line().words.front(),
         "the packet loops: " + Sim::PacketEngine::loopText() + "; 'explain' shows each" );
   checkCaptures( desk, words );
}

Act sendPacket( const Session& session, Words& words )
{
   const bool all = words.accept( "-v" );
   return [ all, arrival = takeArrivalBehind( session, words ), &words ](
             Session& live ) { send( live, words, arrival, all ); };
}

} // namespace

std::vector<Command> packetCommands()
{
   return {
      { "packet", "[-v] in PORT FRAME|probe NAME", "send a packet into a port", sendPacket },
      { "explain", "[-v] in PORT FRAME|probe NAME [after COMMAND...|wants ENTRY]",
         "explain the outcome of a packet, what a command would change in it, or what it would take to win an entry; changes nothing",
         explainPacket },
   };
}

} // namespace Strata::Tool
