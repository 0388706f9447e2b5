// What happened in a run, or in a recorded agent, as values: what a report shows. It refers to nothing of the run.
#pragma once

#include "desk/SwitchState.h"
#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "sim/switch/Cause.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Report {

/// A table that a command showed.
struct Shown
{
   struct Row
   {
      std::vector<std::string> cells; // of a heading between rows, its text alone
      bool heading = false;

      bool operator==( const Row& ) const = default;
   };

   std::vector<std::string> columns;
   std::vector<Row> rows;

   bool operator==( const Shown& ) const = default;
};

/// An entry of a chip.
struct EntryPlace
{
   U32 unit = 0;
   U32 id = 0;

   auto operator<=>( const EntryPlace& ) const = default;
};

VORMEL_ENUM( LineKind, U8,
   record, // of the transcript
   note,   // a remark, or a notice of the command
   result, // of an operation
   shown,  // a table, or a document
   child,  // what a copy of the process wrote
   bad )   // a broken convention, a line that cannot be run, the agent's death

/// A line of an event, in the order in which they came.
struct LogLine
{
   LineKind kind = LineKind::record;
   std::string text{};                // the title of what is shown
   U64 record = 0;                    // its number, if it is a record
   std::string word{};                // the kind of the record: "call"
   std::string write{};               // "changed", "redundant" or empty, as in JSON
   std::string call{};                // the operation, of a write
   std::string target{};              // what is written, in words, of a write
   U32 unit = 0;                      // where it is
   std::optional<EntryPlace> entry{}; // that the call is about
   std::optional<Shown> table{};
   bool failed = false; // a call with an error, a refused claim, a fatal line
};

/// An expectation with its result.
struct Judgement
{
   bool held = false;
   std::string expected{};
   std::string found{};
};

/// A command of the scenario, or an input that a recorded agent got.
struct Event
{
   std::string file{}; // and line, of the scenario or the recording
   U32 line = 0;
   std::string text{};
   std::size_t chips = 0; // which switch of the run, from 1; 0 before the first
   double seconds = 0;    // of the clock, when it began
   std::vector<LogLine> lines{};
   std::optional<Judgement> judgement{};
   // Positions of its packets and transients.
   std::vector<std::size_t> packets{};
   std::vector<std::size_t> transients{};
   bool remark = false; // only its notes matter
   bool inCopy = false; // it was done in a copy of the process, of which the switch knows nothing
};

VORMEL_ENUM( Moment, U8, made, mark, end )

/// What the chips held when their switch was made, at a mark, or at the end.
struct Snapshot
{
   Moment moment = Moment::made;
   std::size_t chips = 0;
   std::size_t event = 0; // position of the event that it was taken in
   Desk::SwitchState state{};
   std::map<EntryPlace, U64>
      hits{}; // packets that an entry has won since it was claimed; those with none are left out
   std::map<std::string, Shown> tables{}; // of other parts of the agent, by their titles
};

VORMEL_ENUM( StepKind, U8, stage, state, wins, misses, unmatched, leaves, cpu, lost )

/// A step of a packet's way through a chip.
struct Step
{
   /// What a cause did, and the cause.
   using Act = std::pair<std::string, Sim::Cause>;

   /// State other than entries that the chip looked at.
   struct Read
   {
      U32 unit = 0;
      std::string target; // "L3EgressMode", as in a write
      std::string text;   // "L3EgressMode is 1"
      Sim::Cause cause;   // its last write
   };

   StepKind kind = StepKind::stage;
   std::string stage{}; // "my-station", or the range
   std::string text{};
   std::string detail{};              // advice, or the rule of an entry
   std::vector<Act> acts{};           // "installed", and by what
   std::vector<Read> reads{};         // of the one step that has them
   std::optional<EntryPlace> entry{}; // that wins or misses
};

struct Pass
{
   std::string in;
   std::vector<Step> steps{};
};

/// An entry that won, and what would have become of the packet without it.
struct Without
{
   EntryPlace entry;
   std::string name;
   std::string outcome;
};

/// A packet that was sent or explained.
struct Packet
{
   std::size_t chips = 0;
   std::size_t event = 0;
   std::string frame{}; // with where it came in
   std::string outcome{};
   bool sent = false; // else only explained
   // Of a capture: the frames that fared like this one, which is the first of them, in ranges of the first and the last one.
   std::vector<std::pair<U32, U32>> frames{};
   std::vector<Pass> passes{};
   std::vector<Without> withouts{};
};

VORMEL_ENUM( FindingKind, U8, neverWins, noEffect, actions )

/// What `lint` finds about the entries of a switch at its end.
struct Findings
{
   struct Finding
   {
      EntryPlace entry;
      std::string name;
      FindingKind kind;
      std::string text;
      // Those that were tried, as commands, and how they fare with and without the entry.
      std::set<std::string> packets{};
      std::set<std::string> fates{};
   };

   std::size_t chips = 0;
   std::vector<Finding> all{};
};

/// A packet that fared neither as before nor as after a command while that ran: between two of its calls.
struct Transient
{
   std::string packet; // the entry that it wins before or after, or its name as a probe
   // Of the entry. Empty and 0 for a probe.
   std::string range{};
   U32 unit = 0;
   std::string place{};               // "main", or "main of unit 1" of a switch with several
   std::vector<std::string> commands; // that show it; the last one explains
   // The call that makes it fare otherwise, and the one that ends it, by their record's numbers and texts.
   U64 from = 0;
   U64 to = 0;
   std::string call;
   std::string endedBy;
   std::string before;
   std::string meanwhile;
   std::string after;
   std::optional<std::string> reason{}; // why it is accepted; nothing if it is not
   std::size_t event = 0;

   /// "main: vlan flood", or the probe.
   std::string title() const { return place.empty() ? packet : place + ": " + packet; }
};

/// As many frames of a capture have pictures, each of one that fared otherwise than those before.
constexpr std::size_t mostFramePictures = 100;

struct Chronicle
{
   std::string title{};
   std::vector<std::string> chips{}; // each switch in words, in the order in which they were made
   bool recorded = false;            // of a recorded agent, else of a scenario
   std::vector<std::string> notes{}; // what a reader should know first
   std::vector<Event> events{};
   std::vector<Packet> packets{};
   std::vector<Snapshot> snapshots{};
   std::size_t watched = 0; // commands during which packets were watched
   std::vector<Transient> transients{};
   std::vector<Findings> findings{}; // of each switch; none without a solver
   std::string end{};                // why it ended before its end
};

} // namespace Strata::Report
