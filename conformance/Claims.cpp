// Claims: the id that a claim returns, and the state that a second claim under the same name keeps.
#include "conformance/Checks.h"

#include <algorithm>

namespace Strata::Conformance {

static void everyIdCanBeClaimed( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   for( U32 offset = 0; offset < range.freeEntries; ++offset ) {
      Entry entry( examiner, range, unit, offset );
      examiner.expectEqual( Promise::claimGivesTheId, entry.claim(), entry.id() );
      examiner.expectEqual( Promise::hitsStartAtZero, entry.hits(), U64{ 0 } );
   }
}

static void reclaimKeepsWhatItMust( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   entry.install();
   entry.enable( false );
   if( examiner.has( Hook::hitEntry ) ) {
      entry.enable( true );
      examiner.port().hitEntry( unit, entry.id() );
      entry.enable( false );
   }
   const Answer<U64> hits = entry.hits();

   const Answer<U32> again = entry.claim();
   examiner.expectEqual( Promise::reclaimGivesTheId, again, entry.id() );
   entry.expectInstalled( Promise::reclaimKeepsHardware, again.call, 1, false );
   if( examiner.has( Hook::hitEntry ) )
      examiner.expect( Promise::hitsSurviveReclaim, hits.call, hits.value > 0,
         "gave 0 after a packet: nothing to keep" );
   examiner.expectEqual( Promise::hitsSurviveReclaim, entry.hits(), hits.value );

   // The actions were kept, so it can be installed; the new qualifier is the only one.
   entry.qualify( true );
   const Answer<int> reinstalled = entry.reinstall();
   examiner.expect( Promise::reclaimKeepsActions, again.call, examiner.isSuccess( reinstalled ),
      "left a claim that cannot be installed: " + examiner.codeText( reinstalled.value ) );
   if( !entry.inspectable() )
      return;
   const InstalledEntry installed = entry.installed().value_or( InstalledEntry() );
   examiner.expect( Promise::reclaimKeepsActions, again.call, installed.actions == 1,
      Vormel::format( "left %d actions for hardware, not 1", installed.actions ) );
   examiner.expect( Promise::reclaimClearsQualifiers, again.call, installed.qualifiers == 1,
      Vormel::format( "and one qualifier after it left %d qualifiers in hardware, not 1",
         installed.qualifiers ) );
}

static void mistakesAreRefused( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   if( !examiner.port().provoke ) {
      for( const Promise promise : { Promise::otherNameRefused, Promise::outsideRangeRefused } )
         examiner.notTried( promise, "needs mistakes to be provoked" );
      return;
   }
   Entry entry( examiner, range, unit );
   entry.define();
   examiner.expectEqual( Promise::otherNameRefused, entry.claim( otherName ), U32{ 0 } );
   const Answer<int> installed = entry.install();
   examiner.expect( Promise::otherNameRefused, installed.call, examiner.isSuccess( installed ),
      "failed after the id was claimed under another name: " +
         examiner.codeText( installed.value ) );

   const U32 before = range.manager->baseEntryId() - 1;
   const std::string call =
      Vormel::format( "%s: getEntry( unit %d, id %d )", range.name, unit, before );
   const U32 given = examiner.asked(
      call, [ & ] { return range.manager->getEntry( unit, before, firstName, {} ); } );
   examiner.expectEqual( Promise::outsideRangeRefused, Answer<U32>{ given, call }, U32{ 0 } );
}

static void pairsGetTheSameIds( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   if( range.freeEntries < 2 )
      return examiner.notTried( Promise::pairRule, "needs two ids" );
   Entry first( examiner, range, unit );
   Entry second( examiner, range, unit, 1 );
   for( int pass = 0; pass < 2; ++pass ) {
      examiner.expectEqual( Promise::pairRule, first.claim( firstName, true ), first.id() );
      examiner.expectEqual( Promise::pairRule, first.claim( otherName, true ), second.id() );
   }
   first.release();
   examiner.expectEqual( Promise::pairRule, first.claim( otherName, true ), second.id() );
}

static void unitsAreApart( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   const std::vector<U32> units = examiner.units();
   const auto other = std::ranges::find_if( units, [ & ]( U32 known ) { return known != unit; } );
   const bool singleUnitOnly =
      range.group == TcamGroup::urpfSingleWide || range.group == TcamGroup::urpfDoubleWide;
   if( other == units.end() || singleUnitOnly )
      return examiner.notTried( Promise::unitsApart, "needs two units" );
   Entry here( examiner, range, unit );
   Entry there( examiner, range, *other );
   here.claim();
   examiner.expectEqual( Promise::unitsApart, there.claim( otherName ), there.id() );
}

void checkClaims( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   everyIdCanBeClaimed( examiner, range, unit );
   reclaimKeepsWhatItMust( examiner, range, unit );
   mistakesAreRefused( examiner, range, unit );
   pairsGetTheSameIds( examiner, range, unit );
   unitsAreApart( examiner, range, unit );
}

} // namespace Strata::Conformance
