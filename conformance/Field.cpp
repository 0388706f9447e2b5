// Qualifiers, actions and the Field Processor lock.
#include "conformance/Checks.h"

namespace Strata::Conformance {

static bool promised( const Examiner& examiner, const ManagedRange& range, const Probe& probe )
{
   if( probe.notInAclKeys && range.manager->supportsAclGroup() )
      return false;
   return !probe.needs || examiner.chip().*probe.needs;
}

static void tryProbe( Examiner& examiner, const ManagedRange& range, Entry& entry,
   const Probe& probe, Promise promise )
{
   const Answer<int> answer = probe.make( examiner, entry.unit(), entry.id() );
   if( promised( examiner, range, probe ) )
      examiner.expectSuccess( promise, answer );
   else
      examiner.expectSuccessOrUnavailable( Promise::lackIsUnavailable, answer );
}

static void unclaimedIds( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   if( !examiner.port().provoke )
      return examiner.notTried( Promise::unclaimedRefused, "needs mistakes to be provoked" );
   Entry entry( examiner, range, unit );
   examiner.expectFailure(
      Promise::unclaimedRefused, entry.qualify(), examiner.port().notFoundCode );
   examiner.expectFailure( Promise::unclaimedRefused, entry.act(), examiner.port().notFoundCode );
}

void checkQualifiersAndActions( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   {
      Entry entry( examiner, range, unit );
      entry.claim();
      for( const Probe& probe : qualifiersOf( range ) )
         tryProbe( examiner, range, entry, probe, Promise::qualifiersAccepted );
      for( const Probe& probe : actionsOf( range ) )
         tryProbe( examiner, range, entry, probe, Promise::actionsAccepted );
   }
   {
      Entry entry( examiner, range, unit );
      entry.claim();
      entry.qualify();
      const Answer<int> again = entry.qualify();
      examiner.expectSuccess( Promise::repeatedQualifierReplaces, again );
      entry.act();
      entry.install();
      entry.expectInstalled( Promise::repeatedQualifierReplaces, again.call, 1, true );
   }
   unclaimedIds( examiner, range, unit );
}

/// As the slice rewrites an entry's actions: all of them, for one with a port bitmap.
static void rewriteActions( Examiner& examiner, Entry& entry, FieldAction action )
{
   const PortBitmap& ports = examiner.port().scsd->units().find( entry.unit() )->ports;
   const Answer<int> removed = examiner.fieldActionRemoveAll( entry.unit(), entry.id() );
   examiner.expectSuccess( Promise::actionsAccepted, removed );
   const Answer<int> added = examiner.fieldActionPortsAdd(
      entry.unit(), entry.id(), examiner.shim().fieldAction( action ), ports );
   examiner.expectSuccess( Promise::actionsAccepted, added );
}

void checkFieldLock( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   for( const FieldAction action : { FieldAction::RedirectPbmp, FieldAction::EgressPortsAdd } )
      examiner.underFieldLock( unit, [ & ] { rewriteActions( examiner, entry, action ); } );
   const Answer<int> installed = entry.install();
   examiner.expectSuccess( Promise::installSucceeds, installed );
   // One action is left of three that were given.
   entry.expectInstalled( Promise::removeAllEmpties, installed.call, 1, true );

   bool inTime = true;
   std::string removal;
   examiner.underFieldLock( unit, [ & ] {
      inTime = runBesideLockHolder(
         [ & ] { removal = examiner.fieldActionRemoveAll( unit, entry.id() ).call; } );
   } );
   examiner.expect( Promise::operationsNeedNoActivityLock, removal, inTime,
      "waited, with the FP lock held, for the activity lock that another thread held" );
   if( !examiner.port().provoke )
      return examiner.notTried( Promise::removeAllEmpties, "needs mistakes to be provoked" );
   const Answer<int> bare = entry.install();
   examiner.expect( Promise::removeAllEmpties, removal, !examiner.isSuccess( bare ),
      "left an entry that can be installed" );
}

} // namespace Strata::Conformance
