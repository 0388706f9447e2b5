#include "cover/Cover.h"

#include "cover/Recipe.h"
#include "sim/packet/FieldKey.h"

#include <algorithm>
#include <bit>

namespace Strata::Cover {

using namespace Sim;

RangeCover::RangeCover( const SimSwitch& hardware, const ForwardingTables& tables, U32 unit,
   FieldGroup& range, Evaluate evaluate, PortNames names, const std::optional<PacketPlace>& place )
   : facts_( hardware, tables, unit, names, place ),
     range_( range ),
     evaluate_( std::move( evaluate ) )
{}

/// The number of bits that a rule compares.
static U32 weight( const FieldRule& rule )
{
   U32 bits = 0;
   for( const FieldQualifier& qualifier : rule.qualifiers )
      bits += comparesValue( qualifier.role )
                 ? static_cast<U32>( std::popcount( valueMask( qualifier ).mask ) )
                 : 1;
   return bits;
}

void RangeCover::prove( Coverage& coverage, const Solver::Answer& answer ) const
{
   coverage.outcome = answer.limited ? Outcome::unknown : Outcome::proved;
   coverage.blockers = answer.blockers;
   if( answer.limited )
      coverage.tried.insert( coverage.tried.end(), answer.reasons.begin(), answer.reasons.end() );
   else
      coverage.reasons = answer.reasons;
   U32 fewest = ~0U;
   for( const U32 id : answer.blockers ) {
      const FieldRule& rule = *range_.find( id )->hardware;
      if( rule.actions != range_.find( coverage.id )->hardware->actions &&
          weight( rule ) < fewest ) {
         fewest = weight( rule );
         coverage.largest = id;
      }
   }
}

bool wins( const Verdict& verdict, U32 unit, const std::string& range, U32 id )
{
   return std::ranges::any_of( verdict.passes, [ & ]( const PassVerdict& pass ) {
      return pass.arrival.unit == unit &&
             std::ranges::find( pass.winners, Winner{ range, id } ) != pass.winners.end();
   } );
}

bool RangeCover::isWonBy( U32 id, const Verdict& verdict ) const
{
   return wins( verdict, facts_.unit, range_.profile().name, id );
}

bool sameEffect( const Verdict& one, const Verdict& other )
{
   const auto departures = []( const Departure* a, const Departure* b ) { return *a == *b; };
   const auto copies = []( const CpuCopy* a, const CpuCopy* b ) {
      return a->unit == b->unit && a->queue == b->queue && a->frame == b->frame;
   };
   const auto learned = []( const Verdict& verdict ) {
      std::vector<Learning> all;
      for( const PassVerdict& pass : verdict.passes )
         if( pass.learning )
            all.push_back( *pass.learning );
      return all;
   };
   return std::ranges::equal( one.departures(), other.departures(), departures ) &&
          std::ranges::equal( one.cpuCopies(), other.cpuCopies(), copies ) &&
          learned( one ) == learned( other );
}

std::optional<Verdict> RangeCover::without(
   U32 id, const std::vector<std::string>& rows, const std::string& packet )
{
   struct Disabled
   {
      FieldGroup& range;
      const U32 id;
      Disabled( FieldGroup& in, U32 entry ) : range( in ), id( entry )
      {
         range.enable( id, false );
      }
      ~Disabled() { range.enable( id, true ); }
   };
   const Disabled disabled( range_, id );
   return evaluate_( rows, packet ).verdict;
}

/// "leaves on 3 ports, for the CPU: TTL 1", without addresses.
static std::string fateText( const Verdict& verdict )
{
   std::string text;
   const auto add = [ & ](
                       const std::string& part ) { text += ( text.empty() ? "" : ", " ) + part; };
   if( const std::size_t ports = verdict.departures().size(); ports > 0 )
      add( "leaves on " + std::to_string( ports ) + ( ports == 1 ? " port" : " ports" ) );
   for( const Sim::CpuCopy* const copy : verdict.cpuCopies() )
      for( const std::string& reason : copy->reasons )
         add( "for the CPU: " + reason );
   if( !verdict.drop().empty() )
      add( "on no port: " + verdict.passes.back().dropReason );
   return text;
}

bool RangeCover::isStill( const Coverage& found )
{
   const FieldEntry* const entry = range_.find( found.id );
   if( found.outcome != Outcome::found || !entry || entry->name != found.name )
      return false;
   const Trial outcome = evaluate_( found.rows, found.packet );
   if( !outcome.verdict || !isWonBy( found.id, *outcome.verdict ) )
      return false;
   const std::optional<Verdict> other = without( found.id, found.rows, found.packet );
   return other && !sameEffect( *outcome.verdict, *other );
}

Coverage RangeCover::start( U32 id )
{
   const FieldEntry& entry = *range_.find( id );
   Coverage coverage{
      .unit = facts_.unit, .range = range_.profile().name, .id = id, .name = entry.name };
   if( !entry.enabled ) {
      coverage.outcome = Outcome::proved;
      coverage.reasons = { "it is disabled" };
   } else if( !solver_ ) {
      solver_.emplace( facts_, range_ );
   }
   return coverage;
}

bool RangeCover::isWonAfter( U32 id, const std::vector<std::string>& rows,
   const std::string& packet, std::string& refusal ) const
{
   const Trial outcome = evaluate_( rows, packet );
   refusal = outcome.refusal;
   return outcome.verdict && isWonBy( id, *outcome.verdict );
}

void RangeCover::leaveOutRows( Coverage& found ) const
{
   std::string refusal;
   for( std::size_t at = found.rows.size(); at-- > 0; ) {
      std::vector<std::string> fewer = found.rows;
      fewer.erase( fewer.begin() + static_cast<std::ptrdiff_t>( at ) );
      if( !isWonAfter( found.id, fewer, found.packet, refusal ) )
         continue;
      found.rows = std::move( fewer );
      at = found.rows.size(); // a row may be needed only because of the one that went
   }
}

Coverage RangeCover::nearest(
   U32 id, const FieldKey& key, const std::string& packet, bool otherPackets )
{
   Coverage coverage = start( id );
   for( U32 trial = 0; trial < mostTrials && coverage.outcome == Outcome::unknown; ++trial ) {
      const Solver::Answer answer = solver_->nearest( id, key );
      if( !answer.shape ) {
         prove( coverage, answer );
         break;
      }
      const Recipe recipe( facts_, *answer.shape );
      // The rows alone may be enough.
      for( const std::string& candidate : { packet, recipe.packet() } ) {
         if( candidate != packet && !otherPackets )
            break;
         std::string refusal;
         if( isWonAfter( id, recipe.rows(), candidate, refusal ) ) {
            coverage.outcome = Outcome::found;
            coverage.rows = recipe.rows();
            coverage.packet = candidate;
            leaveOutRows( coverage );
            break;
         }
         if( candidate != packet )
            coverage.tried.push_back( candidate + ( refusal.empty() ? "" : ": " + refusal ) );
      }
      solver_->refute( *answer.shape, false );
   }
   if( solver_ )
      solver_->reset();
   return coverage;
}

Coverage RangeCover::of( U32 id )
{
   Coverage coverage = start( id );
   if( coverage.outcome != Outcome::unknown )
      return coverage;
   search( coverage );
   // What becomes of the packets without the entry may depend on the VLAN.
   for( std::size_t vlan = 0; vlan < facts_.vlans.size(); ++vlan )
      if( coverage.outcome == Outcome::found && !coverage.hasEffect &&
          facts_.vlans[ vlan ].isFirstOfKind ) {
         solver_->lookUpIn( vlan );
         search( coverage );
      }
   return coverage;
}

/// Prefers a packet that fares otherwise without the entry to one that was found before.
void RangeCover::search( Coverage& coverage )
{
   const U32 id = coverage.id;
   U32 wonBy = 0;
   for( U32 trial = 0; trial < mostTrials && wonBy < mostWins && !coverage.hasEffect; ++trial ) {
      const Solver::Answer answer = solver_->find( id );
      if( !answer.shape ) {
         if( coverage.outcome == Outcome::unknown )
            prove( coverage, answer );
         break;
      }
      const Recipe recipe( facts_, *answer.shape );
      const Trial outcome = evaluate_( recipe.rows(), recipe.packet() );
      const bool won = outcome.verdict && isWonBy( id, *outcome.verdict );
      if( won ) {
         const std::optional<Verdict> other = without( id, recipe.rows(), recipe.packet() );
         const bool matters = other && !sameEffect( *outcome.verdict, *other );
         if( coverage.outcome == Outcome::unknown || matters ) {
            coverage.outcome = Outcome::found;
            coverage.rows = recipe.rows();
            coverage.packet = recipe.packet();
            coverage.hasEffect = matters;
         }
         ++wonBy;
         std::string words;
         for( const std::string& row : recipe.rows() )
            words += row + "; ";
         coverage.alike.insert( words + recipe.packet() );
         if( other )
            coverage.fates.insert( fateText( *other ) );
      } else {
         coverage.tried.push_back(
            recipe.packet() + ( outcome.refusal.empty() ? "" : ": " + outcome.refusal ) );
      }
      solver_->refute( *answer.shape, won );
   }
   if( coverage.hasEffect ) {
      coverage.alike.clear();
      coverage.fates.clear();
   }
   solver_->reset();
}

} // namespace Strata::Cover
