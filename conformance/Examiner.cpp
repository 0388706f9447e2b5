#include "conformance/Checks.h"

#include <exception>

namespace Strata::Conformance {

namespace {

std::string argumentText( const PortBitmap& ports )
{
   return "ports " + ports.toString();
}

std::string argumentText( const EthAddr& mac )
{
   return mac.toString();
}

std::string argumentText( const VlanControl& control )
{
   return Vormel::format( "flags 0x%x", control.flags() );
}

template<class T>
std::string argumentText( const T* )
{
   return "...";
}

template<class T>
requires std::is_integral_v<T> std::string argumentText( T value )
{
   return Vormel::toText( value );
}

/// "bcm_field_qualify_Ttl( unit 0, 1001, 1, 255 )"
template<class... Arguments>
std::string callText( std::string_view name, U32 unit, const Arguments&... arguments )
{
   std::string text = std::string( name ) + "( unit " + std::to_string( unit );
   ( ( text += ", " + argumentText( arguments ) ), ... );
   return text + " )";
}

} // namespace

std::vector<U32> Examiner::units() const
{
   std::vector<U32> numbers;
   for( const auto& i : port_.scsd->units() )
      numbers.push_back( i.key() );
   return numbers;
}

void Examiner::lockWasLeft( const std::string& call, bool held )
{
   const bool holds = Vormel::activityLock().heldByThisThread();
   expect( Promise::activityLockLeftAlone, call, holds == held,
      held ? "gave the activity lock away" : "took the activity lock and kept it" );
   if( holds && !held )
      Vormel::activityLock().unlock();
   else if( held && !holds )
      Vormel::activityLock().lock();
}

/// Calls the hook of the call that takes the FP lock, before the activity lock is released.
static bool hasPreCall( SdkOperation which )
{
   return which != SdkOperation::fieldLock && which != SdkOperation::fieldUnlock;
}

template<class Work>
Answer<int> Examiner::operation( SdkOperation which, std::string call, Work work )
{
   if( hasPreCall( which ) )
      shim().preCall();
   const Vormel::UnlockAnchor anchor( Vormel::activityLock() );
   int code = 0;
   const auto make = [ & ] {
      code = work();
      lockWasLeft( call, false );
   };
   // Repeated until it succeeds, because a call that is refused may not reach the lock.
   if( triedBesideLockHolder_.contains( which ) ) {
      make();
   } else {
      const bool inTime = runBesideLockHolder( make );
      expect( Promise::operationsNeedNoActivityLock, call, inTime,
         "waited for the activity lock that another thread held" );
      if( code >= 0 || !inTime )
         triedBesideLockHolder_.insert( which );
   }
   if( code != 0 )
      codesSeen_.insert( code );
   return { code, std::move( call ) };
}

#define CONFORMANCE_LIST( ... ) __VA_ARGS__
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   Answer<int> Examiner::method parameters \
   { \
      return operation( SdkOperation::method, callText( #name, CONFORMANCE_LIST arguments ), \
         [ & ] { return shim().method arguments; } ); \
   }
#include "platform/sdk/SdkOperations.def"
#undef CONFORMANCE_LIST

void Examiner::underFieldLock( U32 unit, const std::function<void()>& work )
{
   shim().preCall();
   const Vormel::UnlockAnchor anchor( Vormel::activityLock() );
   const auto locked = [ & ]( const char* call, bool wanted ) {
      if( port_.fieldLocked )
         expect( Promise::fieldLockPairs, callText( call, unit ),
            port_.fieldLocked( unit ) == wanted,
            wanted ? "left the lock free" : "left the lock held" );
   };
   const Answer<int> lock = fieldLock( unit );
   expectSuccessOrUnavailable( Promise::fieldLockPairs, lock );
   if( !isSuccess( lock ) ) {
      if( isUnavailable( lock ) )
         work();
      return;
   }
   locked( "bcm_field_lock", true );
   std::exception_ptr thrown;
   try {
      work();
   } catch( ... ) {
      thrown = std::current_exception();
   }
   expectSuccess( Promise::fieldLockPairs, fieldUnlock( unit ) );
   locked( "bcm_field_unlock", false );
   if( thrown )
      std::rethrow_exception( thrown );
}

void Examiner::expect(
   Promise promise, const std::string& call, bool kept, const std::string& seen )
{
   if( !kept )
      report_.brokenIs( { promise, call, seen } );
   else if( has( hookOf( promise ) ) )
      report_.keptIs( promise );
}

bool Examiner::has( Hook hook ) const
{
   switch( hook ) {
   case Hook::none:
      return true;
   case Hook::installedEntry:
      return bool( port_.installedEntry );
   case Hook::hitEntry:
      return bool( port_.hitEntry );
   case Hook::fieldLocked:
      return bool( port_.fieldLocked );
   case Hook::switchControlValue:
      return bool( port_.switchControlValue );
   case Hook::portControlValue:
      return bool( port_.portControlValue );
   case Hook::vlanMembers:
      return bool( port_.vlanMembers );
   }
   return false;
}

bool Examiner::isSuccess( const Answer<int>& answer ) const
{
   return answer.value == shim().successCode();
}

bool Examiner::isUnavailable( const Answer<int>& answer ) const
{
   return answer.value == shim().featureNotAvailableCode();
}

std::string Examiner::codeText( int code ) const
{
   return Vormel::format( "%d (%s)", code, shim().errorText( code ) );
}

void Examiner::expectSuccess( Promise promise, const Answer<int>& answer )
{
   expect( promise, answer.call, isSuccess( answer ),
      "returned " + codeText( answer.value ) + ", not success" );
}

void Examiner::expectSuccessOrUnavailable( Promise promise, const Answer<int>& answer )
{
   expect( promise, answer.call, isSuccess( answer ) || isUnavailable( answer ),
      "returned " + codeText( answer.value ) +
         ", neither success nor the feature-not-available code" );
}

void Examiner::expectFailure(
   Promise promise, const Answer<int>& answer, std::optional<int> wanted )
{
   const bool kept =
      wanted ? answer.value == *wanted : answer.value < 0 && !isUnavailable( answer );
   expect( promise, answer.call, kept,
      "returned " + codeText( answer.value ) + ", not " +
         ( wanted ? codeText( *wanted ) : "a failure" ) );
}

void Examiner::notTried( Promise promise, std::string why )
{
   report_.notTriedIs( promise, std::move( why ) );
}

} // namespace Strata::Conformance
