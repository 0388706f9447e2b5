// Installation: which state reaches hardware, when it is removed, and what is forgotten.
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
}

/// The slice reads counters from entries that it installs repeatedly.
static void hitsOutliveInstallations( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   if( !examiner.has( Hook::hitEntry ) )
      return;
   Entry entry( examiner, range, unit );
   entry.define();
   entry.install();
   examiner.port().hitEntry( unit, entry.id() );
   const Answer<U64> hits = entry.hits();
   examiner.expect(
      Promise::hitsSurviveInstall, hits.call, hits.value > 0, "gave 0 after a packet" );
   const auto expectKept = [ & ]( const std::string& call ) {
      const U64 left = entry.hits().value;
      examiner.expect( Promise::hitsSurviveInstall, call, left == hits.value,
         Vormel::format( "left %d hits of %d", left, hits.value ) );
   };
   expectKept( entry.reinstall().call );
   expectKept( entry.install().call );
   expectKept( entry.remove() );
   expectKept( entry.install().call );
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
   if( examiner.has( Hook::hitEntry ) )
      examiner.port().hitEntry( unit, entry.id() );
   entry.expectAbsent( Promise::releaseForgets, entry.release() );

   // The id is free for any name, and the state of the former claim is gone.
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

static void portSetsAreReplaced( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   const PortBitmap& all = examiner.portsOf( unit );
   if( !entry.takesPorts() || !entry.inspectable() || all.count() < 2 )
      return;
   PortBitmap one;
   one.add( *all.begin() );
   const auto expectOnly = [ & ]( const PortBitmap& ports, const std::string& call ) {
      entry.install();
      const InstalledEntry found = entry.installed().value_or( InstalledEntry() );
      if( !found.inPorts )
         return examiner.notTried( Promise::portSetsReplace, "needs inPorts of InstalledEntry" );
      examiner.expect( Promise::portSetsReplace, call, *found.inPorts == ports,
         Vormel::format( "left the arrival ports %s, not %s", *found.inPorts, ports ) );
   };
   entry.define();
   entry.portsAre( one );
   expectOnly( all - one, entry.portsAre( all - one ).call );
   entry.claim();
   expectOnly( one, entry.portsAre( one ).call );
}

void checkInstallation( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   installWritesTheClaim( examiner, range, unit );
   hitsOutliveInstallations( examiner, range, unit );
   removalKeepsTheDefinition( examiner, range, unit );
   releaseEndsTheClaim( examiner, range, unit );
   absentEntries( examiner, range, unit );
   portSets( examiner, range, unit );
   portSetsAreReplaced( examiner, range, unit );
}

} // namespace Strata::Conformance
