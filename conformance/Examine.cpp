#include "conformance/Checks.h"

#include <algorithm>
#include <exception>

namespace Strata::Conformance {

namespace {

/// Runs a check. An exception is a finding, and ends only this check.
template<class Check>
void run( Examiner& examiner, const char* name, Check check )
{
   try {
      check();
      examiner.expect( Promise::callsDoNotThrow, name, true, "" );
   } catch( const std::exception& error ) {
      examiner.expect( Promise::callsDoNotThrow, name, false,
         "met an exception: " + std::string( error.what() ) );
   } catch( ... ) {
      examiner.expect(
         Promise::callsDoNotThrow, name, false, "threw an object that is not a std::exception" );
   }
}

/// `run` has reported the call that did not return, and the reason.
template<class Question>
std::vector<std::string> answersTo( Examiner& examiner, const char* name, Question question )
{
   std::vector<std::string> answers;
   run( examiner, name, [ & ] { answers = question( examiner ); } );
   return answers;
}

void expectSame( Examiner& examiner, Promise promise, const std::vector<std::string>& before,
   const std::vector<std::string>& after )
{
   for( std::size_t i = 0; i < std::min( before.size(), after.size() ); ++i )
      examiner.expect(
         promise, before[ i ], before[ i ] == after[ i ], "no longer: now " + after[ i ] );
}

/// Entries of the uRPF ranges exist only on the single unit.
std::vector<U32> unitsOf( const Examiner& examiner, const ManagedRange& range )
{
   if( range.group == TcamGroup::urpfSingleWide || range.group == TcamGroup::urpfDoubleWide )
      return { examiner.shim().kbSingleUnit() };
   return examiner.units();
}

void examineRange( Examiner& examiner, const ManagedRange& range )
{
   for( const U32 unit : unitsOf( examiner, range ) ) {
      run( examiner, "claims", [ & ] { checkClaims( examiner, range, unit ); } );
      run( examiner, "installation", [ & ] { checkInstallation( examiner, range, unit ); } );
      run( examiner, "qualifiers and actions",
         [ & ] { checkQualifiersAndActions( examiner, range, unit ); } );
      if( !range.group )
         run( examiner, "the FP lock", [ & ] { checkFieldLock( examiner, range, unit ); } );
   }
}

void examineUnit( Examiner& examiner, U32 unit )
{
   run( examiner, "switch controls", [ & ] { checkSwitchControls( examiner, unit ); } );
   run( examiner, "VLANs", [ & ] { checkVlans( examiner, unit ); } );
   run( examiner, "options profiles", [ & ] { checkOptionsProfiles( examiner, unit ); } );
   run( examiner, "my-station memory", [ & ] { checkMyStation( examiner, unit ); } );
}

void examineAll( Examiner& examiner )
{
   const Port& port = examiner.port();
   run( examiner, "the shim", [ & ] { checkShim( examiner ); } );
   const std::vector<std::string> numbers = answersTo( examiner, "the numbers", stableNumbers );
   const std::vector<std::string> answers =
      answersTo( examiner, "questions about units", stableAnswers );

   run( examiner, "units", [ & ] { checkUnits( examiner ); } );
   run( examiner, "ranges", [ & ] { checkRanges( examiner ); } );
   for( const ManagedRange& range : port.ranges )
      if( range.manager && range.freeEntries != 0 )
         run( examiner, "a range", [ & ] { examineRange( examiner, range ); } );
   for( const U32 unit : examiner.units() )
      examineUnit( examiner, unit );
   for( const StrataPort& each : port.ports )
      run( examiner, "port controls", [ & ] { checkPortControls( examiner, each ); } );
   run( examiner, "the port table", [ & ] { checkPortTable( examiner ); } );
   run( examiner, "registers", [ & ] { checkRegisters( examiner ); } );
   run( examiner, "memory fields", [ & ] { checkMemoryFields( examiner ); } );
   run( examiner, "the activity lock", [ & ] { checkActivityLock( examiner ); } );
   run( examiner, "timers", [ & ] { checkTimers( examiner ); } );

   run( examiner, "code texts", [ & ] { checkCodeTexts( examiner ); } );
   expectSame( examiner, Promise::numbersStable, numbers,
      answersTo( examiner, "the numbers", stableNumbers ) );
   expectSame( examiner, Promise::unitAnswersStable, answers,
      answersTo( examiner, "questions about units", stableAnswers ) );
}

/// Reports the promises that need a hook which the port lacks.
void nameMissingHooks( Examiner& examiner, const Report& report )
{
   for( const Promise promise : Vormel::enumValues<Promise>() ) {
      const Hook hook = hookOf( promise );
      if( report.verdict( promise ) == Verdict::notTried && !examiner.has( hook ) )
         examiner.notTried( promise, "needs the hook " + Vormel::toText( hook ) );
   }
}

} // namespace

Report examine( const Port& port )
{
   Report report;
   Examiner examiner( port, report );
   // These are needed for every check.
   if( !port.scsd )
      examiner.expect( Promise::oneShim, "the port's scsd", false, "is null" );
   else if( !port.scsd->sdkShim() )
      examiner.expect( Promise::oneShim, "scsd->sdkShim()", false, "is null" );
   else
      examineAll( examiner );
   nameMissingHooks( examiner, report );
   return report;
}

} // namespace Strata::Conformance
