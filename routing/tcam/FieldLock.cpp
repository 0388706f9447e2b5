#include "routing/tcam/FieldLock.h"

#include "platform/state/StrataCommon.h"
#include "routing/tcam/CheckedCall.h"

namespace Strata {

void FieldUnlockGuard::dropAfterException() noexcept
{
   try {
      drop();
   } catch( ... ) {
      // Ignored: the exception that is already being handled is the one to report.
   }
}

void runSetPortsAddAction( U32 unit, U32 entry, int action, const bcm_pbmp_t& pbmp )
{
   CHECKED( bcm_field_action_remove_all( unit, entry ) );
   CHECKED( bcm_field_action_ports_add( unit, entry, action, pbmp ) );
}

void runSetAddAction( U32 unit, U32 entry )
{
   CHECKED( bcm_field_action_remove_all( unit, entry ) );
   CHECKED( bcm_field_action_add( unit, entry, bcmFieldActionCopyToCpu, 0, 0 ) );
}

void runSetOneAction( U32 unit, U32 entry, int action )
{
   CHECKED( bcm_field_action_remove_all( unit, entry ) );
   CHECKED( bcm_field_action_add( unit, entry, action, 0, 0 ) );
}

void runSetMplsAction( U32 unit, U32 entry, bool drop )
{
   CHECKED( bcm_field_action_remove_all( unit, entry ) );
   if( drop )
      CHECKED( bcm_field_action_add( unit, entry, bcmFieldActionDrop, 0, 0 ) );
   else
      CHECKED( bcm_field_action_add(
         unit, entry, bcmFieldActionCosQCpuNew, StrataCommon::cpuCosqMpls_, 0 ) );
}

} // namespace Strata
