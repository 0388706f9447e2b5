// SDK operations that run under a unit's Field Processor lock.
//
// setPortsAddAction, setAddAction, setOneAction and setMplsAction return a call that is made later. It keeps its
// arguments by value, so that no state of the slice is read after the activity lock is released:
//
//    CHECKED( FP_LOCK_INTERNAL_CHK( unit, setAddAction( unit, entry ) ) );
#pragma once

#include "platform/sdk/SdkNames.h"

#include <type_traits>
#include <utility>

namespace Strata {

/// Drops a unit's FP lock at the end of a scope, also when an exception ends it.
class FieldUnlockGuard
{
 public:
   FieldUnlockGuard( SdkShimInterface& shim, U32 unit ) : shim_( &shim ), unit_( unit ) {}
   FieldUnlockGuard( const FieldUnlockGuard& ) = delete;
   FieldUnlockGuard& operator=( const FieldUnlockGuard& ) = delete;
   ~FieldUnlockGuard()
   {
      if( shim_ ) [[unlikely]]
         dropAfterException();
   }

   /// Drops the lock now; returns the SDK's code. The destructor does not drop it again.
   int drop() { return std::exchange( shim_, nullptr )->fieldUnlock( unit_ ); }

 private:
   void dropAfterException() noexcept;

   SdkShimInterface* shim_;
   U32 unit_;
};

/// Runs a deferred call with the activity lock released and the unit's FP lock held. On a chip without an FP lock it runs
/// with the activity lock, which each of its calls releases for itself. Returns the SDK's code for taking or dropping the
/// FP lock; a failure of the deferred call ends the agent.
template<class Deferred>
int FP_LOCK_INTERNAL_CHK( U32 unit, const Deferred& deferred )
{
   SdkShimInterface& shim = sdkShimInUse();
   shim.preCall();
   int rc = 0;
   {
      Vormel::MaybeGilUnlockAnchor gil;
      Vormel::UnlockAnchor anchor( Vormel::activityLock() );
      rc = shim.fieldLock( unit );
      if( rc >= 0 ) {
         FieldUnlockGuard guard( shim, unit );
         deferred();
         return guard.drop();
      }
   }
   if( rc == shim.featureNotAvailableCode() )
      deferred();
   return rc;
}

/// A call with copies of its arguments.
template<class Function, class... Arguments>
auto deferred( Function function, const Arguments&... arguments )
{
   return [ function, ... kept = arguments ] { function( kept... ); };
}

void runSetPortsAddAction( U32 unit, U32 entry, int action, const bcm_pbmp_t& pbmp );
void runSetAddAction( U32 unit, U32 entry );
void runSetOneAction( U32 unit, U32 entry, int action );
void runSetMplsAction( U32 unit, U32 entry, bool drop );

/// Leaves the entry with one action: `action` with the whole bitmap.
inline auto setPortsAddAction( U32 unit, U32 entry, int action, const bcm_pbmp_t& pbmp )
{
   return deferred( runSetPortsAddAction, unit, entry, action, pbmp );
}

/// Leaves the entry with one action: copy to the CPU.
inline auto setAddAction( U32 unit, U32 entry )
{
   return deferred( runSetAddAction, unit, entry );
}

/// Leaves the entry with one action, which takes no parameters.
inline auto setOneAction( U32 unit, U32 entry, int action )
{
   return deferred( runSetOneAction, unit, entry, action );
}

/// Leaves the entry with one action: drop, or the CPU queue of MPLS packets.
inline auto setMplsAction( U32 unit, U32 entry, bool drop )
{
   return deferred( runSetMplsAction, unit, entry, drop );
}

} // namespace Strata
