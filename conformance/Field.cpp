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

/// Bring-up runs twice, so the second time each action is added to a claim that already has it.
static void givenTwice(
   Examiner& examiner, const ManagedRange& range, U32 unit, const std::vector<Probe>& actions )
{
   Entry entry( examiner, range, unit );
   std::optional<InstalledEntry> first;
   for( const bool again : { false, true } ) {
      entry.claim();
      for( const Probe& probe : qualifiersOf( range ) )
         if( promised( examiner, range, probe ) )
            tryProbe( examiner, range, entry, probe, Promise::qualifiersAccepted );
      entry.expectPortSets();
      for( const Probe& probe : actions )
         if( promised( examiner, range, probe ) )
            tryProbe( examiner, range, entry, probe,
               again ? Promise::repeatedActionReplaces : Promise::actionsAccepted );
      const Answer<int> installed = entry.install();
      examiner.expectSuccess( Promise::installSucceeds, installed );
      if( !entry.inspectable() )
         continue;
      const InstalledEntry found = entry.installed().value_or( InstalledEntry() );
      if( again && first )
         examiner.expect( Promise::repeatedActionReplaces, installed.call,
            found.actions == first->actions,
            Vormel::format( "of the same actions again left %d in hardware, not %d", found.actions,
               first->actions ) );
      first = found;
   }
}

void checkQualifiersAndActions( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   const std::vector<std::vector<Probe>> actions = actionsOf( range );
   for( const std::vector<Probe>& together : actions ) {
      Entry entry( examiner, range, unit );
      entry.claim();
      for( const Probe& probe : qualifiersOf( range ) )
         tryProbe( examiner, range, entry, probe, Promise::qualifiersAccepted );
      for( const Probe& probe : together )
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
   for( const std::vector<Probe>& together : actions )
      givenTwice( examiner, range, unit, together );
   unclaimedIds( examiner, range, unit );
}

/// Replaces an entry's actions by one with a port bitmap, as the slice does. Returns the call that added it.
static std::string rewriteActions(
   Examiner& examiner, Entry& entry, FieldAction action, const PortBitmap& ports )
{
   const Answer<int> removed = examiner.fieldActionRemoveAll( entry.unit(), entry.id() );
   examiner.expectSuccess( Promise::actionsAccepted, removed );
   const Answer<int> added = examiner.fieldActionPortsAdd(
      entry.unit(), entry.id(), examiner.shim().fieldAction( action ), ports );
   examiner.expectSuccess( Promise::actionsAccepted, added );
   return added.call;
}

static void actionsAreRewritten(
   Examiner& examiner, Entry& entry, FieldAction action, const PortBitmap& ports )
{
   std::string call;
   examiner.underFieldLock(
      entry.unit(), [ & ] { call = rewriteActions( examiner, entry, action, ports ); } );
   const Answer<int> installed = entry.install();
   examiner.expectSuccess( Promise::installSucceeds, installed );
   // Only one of the actions remains.
   entry.expectInstalled( Promise::removeAllEmpties, installed.call, 1, true );
   if( !entry.inspectable() )
      return;
   const InstalledEntry found = entry.installed().value_or( InstalledEntry() );
   if( !found.actionPorts )
      return examiner.notTried(
         Promise::actionPortsReplace, "needs actionPorts of InstalledEntry" );
   examiner.expect( Promise::actionPortsReplace, call, *found.actionPorts == ports,
      Vormel::format( "left an action with the ports %s", *found.actionPorts ) );
}

void checkFieldLock( Examiner& examiner, const ManagedRange& range, U32 unit )
{
   Entry entry( examiner, range, unit );
   entry.define();
   PortBitmap some = examiner.portsOf( unit );
   actionsAreRewritten( examiner, entry, FieldAction::RedirectPbmp, some );
   some.remove( *some.begin() );
   actionsAreRewritten( examiner, entry, FieldAction::EgressPortsAdd, some );

   std::string removal;
   examiner.underFieldLock(
      unit, [ & ] { removal = examiner.fieldActionRemoveAll( unit, entry.id() ).call; } );
   entry.expectInstalled( Promise::removeAllKeepsHardware, removal, 1, true );
   if( !examiner.port().provoke )
      return;
   const Answer<int> bare = entry.install();
   examiner.expect( Promise::removeAllEmpties, removal, !examiner.isSuccess( bare ),
      "left an entry that can be installed" );
}

} // namespace Strata::Conformance
