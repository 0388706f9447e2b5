// A packet for every entry of the Field Processor, or a proof that no packet wins the entry.
//
// Requires: the activity lock is held.
#pragma once

#include "cover/Solver.h"
#include "sim/packet/PacketEngine.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Cover {

class Recipe;

/// Evaluates a packet after commands that change the tables, and takes the commands back. Without a verdict the commands
/// or the packet are refused, for the reason given.
struct Trial
{
   std::optional<Sim::Verdict> verdict;
   std::string refusal{};
};
using Evaluate =
   std::function<Trial( const std::vector<std::string>& rows, const std::string& packet )>;

VORMEL_ENUM( Outcome, U8,
   found,  // a packet wins
   proved, // no packet can
   unknown )

struct Coverage
{
   U32 unit = 0;
   std::string range;
   U32 id = 0;
   std::string name;
   Outcome outcome = Outcome::unknown;

   // Found: the packet as words, and the commands before it.
   std::vector<std::string> rows{};
   std::string packet{};
   bool hasEffect = false; // without the entry the packet would fare otherwise
   // If not: the packets that won, as words with their rows, and how they fare without the entry, which is the same.
   std::set<std::string> alike{};
   std::set<std::string> fates{};

   // Proved: what excludes each packet. Neither: the entry's qualifiers exclude each other.
   std::vector<U32> blockers{};
   std::optional<U32> largest{}; // the blocker with other actions that compares the fewest bits
   std::vector<std::string> reasons{};

   // Unknown: what was tried, or why there is no proof.
   std::vector<std::string> tried{};
};

/// Whether packets fare alike: the frames that leave, the copies for the CPU, what is learned; whatever the reasons, and
/// the passes in between.
bool sameEffect( const Sim::Verdict& one, const Sim::Verdict& other );

/// Whether the packet wins the entry, in any pass through the unit.
bool wins( const Sim::Verdict& verdict, U32 unit, const std::string& range, U32 id );

/// Packets that were found before, by unit and entry.
using Memory = std::map<std::pair<U32, U32>, Coverage>;

class RangeCover
{
 public:
   /// Packets that are tried for one entry, and those of them that win it but fare the same without it.
   static constexpr U32 mostTrials = 32;
   static constexpr U32 mostWins = 16;

   /// Requires: the switch, its tables and the range do not change while it exists; Solver::available().
   RangeCover( const Sim::SimSwitch& hardware, const Sim::ForwardingTables& tables, U32 unit,
      Sim::FieldGroup& range, Evaluate evaluate, PortNames names = PortNames::interfaces,
      const std::optional<PacketPlace>& place = {} );

   /// For an entry in hardware. Of packets that win it, one that fares otherwise without the entry is preferred.
   Coverage of( U32 id );
   /// A packet that wins the entry and is as like as possible to this one, which presents the key to the range and comes
   /// in at the place; with rows of which none can be left out. Without `otherPackets`, only rows are looked for.
   /// Requires: there is a place.
   Coverage nearest(
      U32 id, const Sim::FieldKey& key, const std::string& packet, bool otherPackets = true );
   /// Whether a packet that was found before still wins its entry, and fares otherwise without it.
   bool isStill( const Coverage& found );

 private:
   Coverage start( U32 id );
   void search( Coverage& coverage );
   void leaveOutRows( Coverage& found ) const;
   bool isWonAfter( U32 id, const std::vector<std::string>& rows, const std::string& packet,
      std::string& refusal ) const;
   bool isWonBy( U32 id, const Sim::Verdict& verdict ) const;
   /// How the packet fares without the entry; nothing if the rows are refused then.
   std::optional<Sim::Verdict> without(
      U32 id, const std::vector<std::string>& rows, const std::string& packet );
   void prove( Coverage& coverage, const Solver::Answer& answer ) const;

   Facts facts_;
   Sim::FieldGroup& range_;
   Evaluate evaluate_;
   std::optional<Solver> solver_; // made when it is needed
};

} // namespace Strata::Cover
