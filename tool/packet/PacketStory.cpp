#include "tool/packet/PacketStory.h"

#include "platform/runtime/Format.h"
#include "tool/packet/ExplanationView.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

using Report::Step;
using Report::StepKind;
using Vormel::format;

namespace {

/// The steps of one pass.
class PassStory
{
 public:
   PassStory( Sim::PacketEngine& engine, const Sim::PassVerdict& verdict,
      const Sim::PassExplanation& explanation )
      : engine_( engine ),
        verdict_( verdict ),
        explanation_( explanation )
   {}

   std::vector<Step> steps()
   {
      for( const Sim::StageNote& note : explanation_.stages )
         add( { .stage = std::string( note.stage ),
            .text = note.text,
            .detail = note.culprit ? adviceOn( engine_, *note.culprit, verdict_.arrival )
                                   : std::string() } );
      addState();
      for( const Sim::RangeNote& range : explanation_.ranges )
         addRange( range );
      for( const Sim::StageNote& note : explanation_.after )
         if( note.stage != "entry" ) // the range says so
            add( { .stage = std::string( note.stage ), .text = note.text } );
      addOutcome();
      return std::move( steps_ );
   }

 private:
   void add( Step step ) { steps_.push_back( std::move( step ) ); }

   /// What was read and has been written.
   void addState()
   {
      Step step{ .kind = StepKind::state, .stage = "state" };
      for( const Sim::StateNote& note : explanation_.state ) {
         if( !note.cause || note.cause->text.empty() )
            continue;
         const std::string text = note.text();
         const std::size_t end = std::min( text.find( " is " ), text.find( " has " ) );
         step.reads.push_back(
            { verdict_.arrival.unit, text.substr( 0, end ), text, *note.cause } );
      }
      if( !step.reads.empty() )
         add( std::move( step ) );
   }

   static void addEnabling( Step& step, const Sim::FieldEntry& entry )
   {
      const Sim::Cause* const cause = entry.enableCause();
      if( cause && !cause->text.empty() && cause->text != entry.cause.text )
         step.acts.emplace_back( entry.enabled ? "enabled" : "disabled", *cause );
   }

   void addRange( const Sim::RangeNote& range )
   {
      std::string stage = range.group;
      for( const Sim::EntryNote& note : range.entries )
         if( note.won ) {
            Step step{ .kind = StepKind::wins,
               .stage = std::exchange( stage, {} ),
               .text = format( "%d \"%s\" wins", note.id, note.entry->name ),
               .detail = "match " + note.entry->hardware->text( "\ndo " ),
               .entry = Report::EntryPlace{ verdict_.arrival.unit, note.id } };
            if( !note.entry->cause.text.empty() )
               step.acts.emplace_back( "installed", note.entry->cause );
            addEnabling( step, *note.entry );
            add( std::move( step ) );
         }
      if( !stage.empty() )
         add( { .kind = StepKind::unmatched,
            .stage = std::exchange( stage, {} ),
            .text = "no entry matches" } );
      for( const Sim::EntryNote* const note : nearMisses( range ) ) {
         Step step{ .kind = StepKind::misses,
            .text = format( "%d \"%s\" misses: ", note->id, note->entry->name ) +
                    missReason( range, *note ),
            .entry = Report::EntryPlace{ verdict_.arrival.unit, note->id } };
         if( !note->wanted )
            addEnabling( step, *note->entry );
         add( std::move( step ) );
      }
   }

   void addOutcome()
   {
      for( const Sim::Departure& departure : verdict_.departures )
         addDeparture( engine_.portName( departure.port ),
            ( departure.tunnel.empty() ? "" : "tunnel " + departure.tunnel + ": " ) +
               departure.frame.text() );
      if( verdict_.cpu )
         for( const std::string& reason : verdict_.cpu->reasons )
            add( { .kind = StepKind::cpu,
               .stage = "CPU",
               .text = format( "queue %d: %s", verdict_.cpu->queue, reason ) } );
      if( !verdict_.drop.empty() )
         add( { .kind = verdict_.cpu ? StepKind::unmatched : StepKind::lost,
            .stage = "leaves",
            .text = ( verdict_.cpu ? "on no port, the CPU alone gets it: " : "on no port: " ) +
                    verdict_.drop } );
   }

   /// Ports on which the same frame leaves are listed together.
   void addDeparture( const std::string& port, const std::string& frame )
   {
      const auto same = std::ranges::find_if( steps_, [ & ]( const Step& step ) {
         return step.kind == StepKind::leaves && step.detail == frame;
      } );
      if( same != steps_.end() )
         same->text += ", " + port;
      else
         add( { .kind = StepKind::leaves,
            .stage = "leaves",
            .text = "on " + port,
            .detail = frame } );
   }

   Sim::PacketEngine& engine_;
   const Sim::PassVerdict& verdict_;
   const Sim::PassExplanation& explanation_;
   std::vector<Step> steps_;
};

/// Disables an entry for a scope.
class Disabled
{
 public:
   Disabled( Sim::FieldGroup& range, U32 id ) : range_( range ), id_( id )
   {
      range_.enable( id_, false );
   }
   ~Disabled() { range_.enable( id_, true ); }
   Disabled( const Disabled& ) = delete;
   Disabled& operator=( const Disabled& ) = delete;

 private:
   Sim::FieldGroup& range_;
   const U32 id_;
};

std::vector<Report::Without> outcomesWithout( Sim::PacketEngine& engine, Sim::SimSwitch& hardware,
   const Sim::Arrival& arrival, const Sim::Verdict& verdict )
{
   std::vector<Report::Without> all;
   for( const Sim::PassVerdict& pass : verdict.passes )
      for( const Sim::Winner& winner : pass.winners ) {
         const Report::EntryPlace place{ pass.arrival.unit, winner.id };
         if( std::ranges::find( all, place, &Report::Without::entry ) != all.end() )
            continue;
         for( Sim::FieldGroup& range : hardware.chip( place.unit ).groups() )
            if( range.profile().name == winner.group ) {
               const Disabled disabled( range, winner.id );
               all.push_back( { place, range.find( winner.id )->name,
                  engine.summary( engine.explain( arrival ) ) } );
            }
      }
   return all;
}

} // namespace

Report::Packet packetStory( Sim::PacketEngine& engine, Sim::SimSwitch& hardware,
   const Sim::Arrival& arrival, const Sim::Verdict& verdict, const Sim::Explanation& explanation )
{
   Report::Packet packet;
   packet.frame = arrival.frame.payloadText() + " in " + engine.arrivalName( arrival );
   packet.outcome = engine.summary( verdict );
   for( std::size_t i = 0; i < verdict.passes.size(); ++i )
      packet.passes.push_back( { engine.portName( verdict.passes[ i ].arrival ),
         PassStory( engine, verdict.passes[ i ], explanation.passes[ i ] ).steps() } );
   packet.withouts = outcomesWithout( engine, hardware, arrival, verdict );
   return packet;
}

} // namespace Strata::Tool
