// Installation: what reaches hardware, when it leaves it, and what is forgotten.
#include "conformance/Checks.h"

namespace Strata::Conformance {

static void installWritesTheClaim( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   entry.expectAbsent( Promise::installWrites, "defining " + std::to_string( entry.id() ) );
   const Answer<int> first = entry.install();
   examiner.expectSuccess( Promise::installSucceeds, first );
   entry.expectInstalled( Promise::installWrites, first.call, 1, true );

   const Answer<int> off = entry.enable( false );
   examiner.expectSuccess( Promise::enableSucceeds, off );
   entry.expectInstalled( Promise::enableSucceeds, off.call, 1, false );
   const Answer<int> rewritten = entry.reinstall();
   examiner.expectSuccess( Promise::reinstallSucceeds, rewritten );
   entry.expectInstalled( Promise::reinstallKeepsEnableState, rewritten.call, 1, false );
   const Answer<int> again = entry.install();
   examiner.expectSuccess( Promise::installSucceeds, again );
   entry.expectInstalled( Promise::installEnables, again.call, 1, true );
   const Answer<int> on = entry.enable( true );
   examiner.expectSuccess( Promise::enableSucceeds, on );
   entry.expectInstalled( Promise::enableSucceeds, on.call, 1, true );
   if( !entry.inspectable() )
      for( const Promise promise :
         { Promise::installWrites, Promise::installEnables, Promise::reinstallKeepsEnableState } )
         examiner.notTried( promise, "needs the hook installedEntry" );
}

static void removalKeepsTheDefinition( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   entry.install();
   entry.expectAbsent( Promise::removeKeepsDefinition, entry.remove() );
   const Answer<int> again = entry.install();
   examiner.expectSuccess( Promise::removeKeepsDefinition, again );
   entry.expectInstalled( Promise::removeKeepsDefinition, again.call, 1, true );
}

static void releaseEndsTheClaim( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   entry.install();
   if( examiner.port().hitEntry )
      examiner.port().hitEntry( unit, entry.id() );
   entry.expectAbsent( Promise::releaseForgets, entry.release() );

   // The id is free for any name, and nothing of the former claim is left.
   examiner.expectEqual( Promise::releaseForgets, entry.claim( otherName ), entry.id() );
   examiner.expectEqual( Promise::releaseForgets, entry.hits(), U64{ 0 } );
   if( !examiner.port().provoke )
      return examiner.notTried( Promise::installNeedsAction, "needs mistakes to be provoked" );
   entry.qualify();
   const Answer<int> bare = entry.install();
   examiner.expect( Promise::releaseForgets, bare.call, !examiner.isSuccess( bare ),
      "succeeded: the actions of the former claim are still there" );
   examiner.expectFailure( Promise::installNeedsAction, bare, examiner.port().configCode );
}

static void absentEntries( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.remove();
   entry.release();
   const Answer<U32> claimed = entry.claim();
   examiner.expect( Promise::absentIsHarmless, claimed.call, claimed.value == entry.id(),
      "failed after a release of the unclaimed id" );
   entry.release();
   if( !examiner.port().provoke )
      return examiner.notTried( Promise::installNeedsClaim, "needs mistakes to be provoked" );
   examiner.expectFailure(
      Promise::installNeedsClaim, entry.install(), examiner.port().notFoundCode );
}

static void portSets( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.claim();
   entry.expectPortSets();
}

void checkInstallation( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   installWritesTheClaim( examiner, range, unit );
   removalKeepsTheDefinition( examiner, range, unit );
   releaseEndsTheClaim( examiner, range, unit );
   absentEntries( examiner, range, unit );
   portSets( examiner, range, unit );
}

} // namespace Strata::Conformance
