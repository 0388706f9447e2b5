#include "tool/Chronicler.h"

#include "desk/RecordingFile.h"
#include "desk/Texts.h"
#include "platform/runtime/Format.h"
#include "sim/switch/SimSwitch.h"
#include "tool/Session.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/EntryFindings.h"
#include "tool/packet/PacketStory.h"
#include "tool/view/ChangesView.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

using Report::LineKind;
using Report::LogLine;
using Report::Moment;

namespace {

constexpr const char* roomTitle = "Room for features that are off";

bool isFailure( const Sim::Record& record )
{
   switch( record.kind ) {
   case Sim::RecordKind::fatal:
   case Sim::RecordKind::error:
   case Sim::RecordKind::claim:
   case Sim::RecordKind::breach:
      return true;
   default:
      return false;
   }
}

/// The entry that a call is about.
std::optional<Report::EntryPlace> entryOf( const Sim::Record& record )
{
   const std::string id = record.field( record.kind == Sim::RecordKind::entry ? "id" : "entry" );
   const std::string unit = record.field( "unit" );
   if( id.empty() || unit.empty() || id.find_first_not_of( "0123456789" ) != id.npos )
      return std::nullopt;
   return Report::EntryPlace{
      static_cast<U32>( std::stoul( unit ) ), static_cast<U32>( std::stoul( id ) ) };
}

/// What a write is about.
void addTarget( LogLine& line, const Sim::Record& record, const Sim::SimSwitch& hardware )
{
   line.target = writtenPlace( record, hardware );
   line.entry = entryOf( record );
   if( const std::string unit = record.field( "unit" ); !unit.empty() )
      line.unit = static_cast<U32>( std::stoul( unit ) );
}

/// "hsdk, 2 units with 32 ports each"
std::string chipText( const Sim::SimSwitch& hardware )
{
   return Vormel::format( "%s, %s of %s", hardware.profile().name,
      Desk::counted( hardware.units().size(), "unit" ),
      Desk::counted( hardware.portsPerUnit(), "port" ) );
}

/// What became of a frame, and which entries won it.
std::string frameKey( const Sim::PacketEngine& engine, const Sim::Verdict& verdict )
{
   std::string key = engine.summary( verdict );
   for( const Sim::PassVerdict& pass : verdict.passes )
      for( const Sim::Winner& winner : pass.winners )
         key += Vormel::format( "\n%d %s %d", pass.arrival.unit, winner.group, winner.id );
   return key;
}

Report::Shown shownOf( const Table& table )
{
   Report::Shown shown{ table.titles(), {} };
   table.visit(
      [ & ]( const std::string& section ) {
         shown.rows.push_back( { { section }, true } );
      },
      [ & ]( const std::vector<std::string>& cells ) { shown.rows.push_back( { cells } ); } );
   return shown;
}

/// The inputs of a recording, each with the records that it caused.
class RecordedEvents
{
 public:
   RecordedEvents( const Desk::RecordingFile& recording, const Session& session )
      : recording_( recording ),
        hardware_( session.agent().hardware() )
   {
      for( const Sim::Record& record : session.window() )
         made_.emplace( record.number, &record );
   }

   void addTo( Report::Chronicle& chronicle, std::size_t chips )
   {
      std::optional<U64> start;
      for( const Desk::RecordedLine& record : recording_.records() ) {
         const Desk::Json json = record.json();
         const U64 time = json.at( "t" ).get<U64>();
         if( !start )
            start = time;
         if( Desk::isInput( record.kind ) ) {
            events_[ record.number ] = chronicle.events.size();
            chronicle.events.push_back( { .file = recording_.name(),
               .line = static_cast<U32>( record.line ),
               .text = Desk::recordText( json ),
               .chips = chips,
               .seconds = static_cast<double>( time - *start ) / 1e9 } );
         } else if( const std::string word = wordOf( record, json ); !word.empty() ) {
            const auto cause = events_.find( json.value( "cause", U64{ 0 } ) );
            if( cause == events_.end() && chronicle.events.empty() )
               chronicle.events.push_back( { .text = "start", .chips = chips } );
            const std::size_t event =
               cause == events_.end() ? chronicle.events.size() - 1 : cause->second;
            chronicle.events[ event ].lines.push_back( lineOf( record, json, word ) );
         }
      }
   }

 private:
   /// As in transcripts; empty for what is not shown.
   static std::string wordOf( const Desk::RecordedLine& record, const Desk::Json& json )
   {
      switch( record.kind ) {
      case Desk::RecordedKind::begin:
      case Desk::RecordedKind::chip:
         return json.contains( "manager" ) ? "entry" : "call";
      case Desk::RecordedKind::notify:
      case Desk::RecordedKind::trace:
      case Desk::RecordedKind::log:
      case Desk::RecordedKind::fatal:
         return std::string( Vormel::enumName( record.kind ) );
      default:
         return {};
      }
   }

   LogLine lineOf(
      const Desk::RecordedLine& record, const Desk::Json& json, const std::string& word ) const
   {
      LogLine line{ .text = Desk::recordText( json ),
         .record = record.number,
         .word = word,
         .failed = record.kind == Desk::RecordedKind::fatal };
      if( word == "notify" )
         line.text = line.text.substr( word.size() + 1 );
      if( ( word == "trace" || word == "log" ) && json.contains( "text" ) )
         line.text = json.at( "text" ).get<std::string>();
      // The twin writes what the agent has read, too; only a call that it made itself tells of the agent's.
      const auto made = made_.find( record.number );
      if( made != made_.end() && json.contains( "call" ) &&
          made->second->field( "call" ) == json.at( "call" ).get<std::string>() ) {
         line.write = made->second->field( "write" );
         line.call = made->second->field( "call" );
         if( !line.write.empty() )
            addTarget( line, *made->second, hardware_ );
      }
      return line;
   }

   const Desk::RecordingFile& recording_;
   const Sim::SimSwitch& hardware_;
   std::map<U64, const Sim::Record*> made_; // calls of the twin, by the number of what is recorded
   std::map<U64, std::size_t> events_;
};

} // namespace

Report::Event& Chronicler::event()
{
   if( chronicle_.events.empty() )
      chronicle_.events.push_back( { .text = "start" } );
   return chronicle_.events.back();
}

void Chronicler::add( LogLine line )
{
   event().lines.push_back( std::move( line ) );
}

void Chronicler::take( Moment moment, Session& session )
{
   event();
   const Sim::SimSwitch& hardware = session.agent().hardware();
   Report::Snapshot snapshot{
      moment, chips_, chronicle_.events.size() - 1, Desk::SwitchState( hardware ) };
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         for( const auto& [ id, entry ] : group.entries() )
            if( entry.hits > 0 )
               snapshot.hits[ { unit, id } ] = entry.hits;
   if( moment != Moment::made )
      takeTables( session, snapshot );
   chronicle_.snapshots.push_back( std::move( snapshot ) );
}

/// Whether the ranges have as much room as in the snapshot before, which has tables.
static bool hasRoomOf( const Report::Snapshot& before, const Report::Snapshot& now )
{
   const auto roomsOf = []( const Report::Snapshot& snapshot ) {
      std::vector<std::string> rooms;
      for( const auto& [ key, part ] : snapshot.state.parts() )
         if( key.kind == Desk::PartKind::room )
            rooms.push_back( part.text );
      return rooms;
   };
   return before.moment != Moment::made && now.moment != Moment::end &&
          roomsOf( before ) == roomsOf( now );
}

void Chronicler::takeTables( Session& session, Report::Snapshot& snapshot )
{
   tablesOf_ = &snapshot;
   for( const char* const text :
      { "show lags", "show routes", "show macs", "show forwarding", "show probes", "show room" } ) {
      // What features would need is found by copies of the process, which takes a moment.
      if( text == std::string_view( "show room" ) &&
          hasRoomOf( chronicle_.snapshots.back(), snapshot ) ) {
         const auto& before = chronicle_.snapshots.back().tables;
         if( const auto at = before.find( roomTitle ); at != before.end() )
            snapshot.tables.insert( *at );
         continue;
      }
      const Line line = splitLine( "report", 1, text );
      Words words( line );
      const Command& command = takeCommand( words );
      try {
         session.checkPossible( words, command );
         command.act( session, words )( session );
      } catch( const InputError& ) {
         // A recording does not tell it.
      }
   }
   tablesOf_ = nullptr;
   // The room itself is part of the state.
   if( auto room = snapshot.tables.extract( "Room for entries" ) ) {
      auto& rows = room.mapped().rows;
      const auto heading = std::ranges::find( rows, true, &Report::Shown::Row::heading );
      rows.erase( rows.begin(), heading == rows.end() ? heading : heading + 1 );
      room.key() = roomTitle;
      if( !rows.empty() )
         snapshot.tables.insert( std::move( room ) );
   }
}

void Chronicler::switchBegins()
{
   ++chips_;
   event().chips = chips_;
   session_ = nullptr;
}

void Chronicler::twinMade( const Session& session, const Desk::RecordingFile& recording )
{
   chronicle_.recorded = true;
   twinIsNew_ = true;
   RecordedEvents( recording, session ).addTo( chronicle_, chips_ );
}

void Chronicler::begins( const Line& line )
{
   frames_.clear();
   chronicle_.events.push_back( { .file = line.file,
      .line = line.number,
      .text = commandText( line ),
      .chips = chips_,
      .seconds = session_ && session_->hasAgent() ? session_->agent().clock().now() : 0,
      .remark = line.words.front().text == "note",
      .inCopy = line.words.front().text == "plan" } );
}

void Chronicler::marked( Session& session )
{
   if( !session_ )
      chronicle_.chips.push_back( chipText( session.agent().hardware() ) );
   if( !std::exchange( twinIsNew_, false ) )
      take( session_ ? Moment::mark : Moment::made, session );
   session_ = &session;
}

void Chronicler::switchEnds( Session& session )
{
   take( Moment::end, session );
   if( !findsEntries_ || !Cover::Solver::available() )
      return;
   Report::Findings findings{ .chips = chips_ };
   for( const Cover::Coverage& about : entryCover( session, session.agent().hardware().units() ) )
      for( const auto& [ kind, text ] : findingsOf( session, about ) ) {
         findings.all.push_back( { { about.unit, about.id }, about.name, kind, text } );
         if( kind == Report::FindingKind::noEffect ) {
            findings.all.back().packets = about.alike;
            findings.all.back().fates = about.fates;
         }
      }
   chronicle_.findings.push_back( std::move( findings ) );
}

void Chronicler::explained( Session& session, const Sim::Arrival& arrival,
   const Sim::Verdict& verdict, const Sim::Explanation& explanation, bool isSent )
{
   Report::Packet packet = packetStory(
      session.packets().engine(), session.agent().hardware(), arrival, verdict, explanation );
   packet.sent = isSent;
   add( std::move( packet ) );
}

void Chronicler::add( Report::Packet packet )
{
   packet.chips = chips_;
   packet.event = chronicle_.events.size() - 1;
   event().packets.push_back( chronicle_.packets.size() );
   chronicle_.packets.push_back( std::move( packet ) );
}

void Chronicler::frameComes( Session& session, U32 frame, const Sim::Arrival& arrival )
{
   Sim::PacketEngine& engine = session.packets().engine();
   const Sim::Verdict verdict = engine.explain( arrival );
   const auto [ at, isNew ] = frames_.try_emplace( frameKey( engine, verdict ) );
   if( isNew && event().packets.size() < Report::mostFramePictures ) {
      at->second = chronicle_.packets.size();
      Sim::Explanation explanation;
      engine.explain( arrival, &explanation );
      Report::Packet packet =
         packetStory( engine, session.agent().hardware(), arrival, verdict, explanation );
      packet.sent = true;
      add( std::move( packet ) );
   }
   if( !at->second )
      return;
   auto& frames = chronicle_.packets[ *at->second ].frames;
   if( frames.empty() || frames.back().second + 1 != frame )
      frames.emplace_back( frame, frame );
   frames.back().second = frame;
}

void Chronicler::watched( const std::vector<Report::Transient>& transients )
{
   ++chronicle_.watched;
   for( const Report::Transient& transient : transients ) {
      event().transients.push_back( chronicle_.transients.size() );
      chronicle_.transients.push_back( transient );
      chronicle_.transients.back().event = chronicle_.events.size() - 1;
   }
}

void Chronicler::recorded( const Sim::Record& record )
{
   LogLine line{ .text = record.text,
      .record = record.number,
      .word = std::string( Vormel::enumName( record.kind ) ),
      .write = record.field( "write" ),
      .failed = isFailure( record ) };
   if( !line.write.empty() && session_ ) {
      line.call = record.field( "call" );
      addTarget( line, record, session_->agent().hardware() );
   }
   add( std::move( line ) );
}

void Chronicler::noted( std::string_view text )
{
   if( twinIsNew_ )
      chronicle_.notes.emplace_back( text );
   else
      add( { .kind = LineKind::note, .text = std::string( text ) } );
}

void Chronicler::shown( const std::string& title, const Table& table )
{
   if( tablesOf_ ) {
      Report::Shown shown = shownOf( table );
      if( !shown.rows.empty() )
         tablesOf_->tables.emplace( title, std::move( shown ) );
      return;
   }
   const std::vector<std::size_t>& packets = event().packets;
   const bool isCapture = !packets.empty() && !chronicle_.packets[ packets.back() ].frames.empty();
   if( ( !packets.empty() && !isCapture ) || !event().transients.empty() )
      return; // they are shown in their own section
   add( { .kind = LineKind::shown, .text = title, .table = shownOf( table ) } );
}

void Chronicler::shown( const std::string& title, const std::string& json )
{
   add( { .kind = LineKind::shown,
      .text = title,
      .table = Report::Shown{ { "JSON" }, { { { json } } } } } );
}

void Chronicler::resulted( const std::string& text )
{
   add( { .kind = LineKind::result, .text = "= " + text } );
}

void Chronicler::held( const Line& )
{
   event().judgement = Report::Judgement{ .held = true };
}

void Chronicler::failed( const Line&, const std::string& expected, const std::string& found )
{
   event().judgement = Report::Judgement{ false, expected, found };
}

void Chronicler::childWrote( std::string_view text )
{
   event().inCopy = true;
   add( { .kind = LineKind::child, .text = std::string( text ) } );
}

void Chronicler::complained( const std::string& text )
{
   add( { .kind = LineKind::bad, .text = text } );
}

void Chronicler::refused( const std::string& text )
{
   chronicle_.end = text;
}

void Chronicler::died( const std::string& text )
{
   chronicle_.end = text;
   if( whenDead_ )
      whenDead_();
}

} // namespace Strata::Tool
