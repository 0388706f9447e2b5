// Objects that exist once per process: the shim, the activity lock and manager, the registries, the chip attributes.
// They are in a source file because each shared object would have its own copy of an inline variable.
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Registries.h"
#include "platform/sdk/ChipInfo.h"
#include "platform/sdk/SdkShimInterface.h"

const char Vormel::BuiltWith::VORMEL_LOCK_MARK = 0;
const char Vormel::BuiltWith::VORMEL_REFS_MARK = 0;

namespace Vormel {

ActivityLock Detail::theActivityLock;

ActivityManager& activityManager()
{
   static ActivityManager manager;
   return manager;
}

ActivityManager::ActivityManager() : clock_( std::make_shared<RealClock>() ) {}
ActivityManager::~ActivityManager() = default;

void ActivityManager::clockIs( std::shared_ptr<Clock> clock )
{
   VORMEL_ASSERT( clock && "a clock is needed" );
   if( clock != clock_ )
      clock_->timersMoveTo( *clock );
   clock_ = std::move( clock );
}

Detail::TraceRegistry& Detail::traceRegistry()
{
   static TraceRegistry registry;
   return registry;
}

Detail::SyslogRegistry& Detail::syslogRegistry()
{
   static SyslogRegistry registry;
   return registry;
}

#if VORMEL_CHECKING
void checkActivityLock( const char* what )
{
   if( !activityLock().heldByThisThread() )
      assertionFailed( __FILE__, __LINE__, what, "the activity lock is held" );
}
#endif

} // namespace Vormel

namespace Strata {

SdkShimInterface::~SdkShimInterface() = default;

StrataAttributes& strataAttributes()
{
   static StrataAttributes attributes;
   return attributes;
}

ChipAttributes StrataAttributes::chipAttributes( const ChipInfo& chip ) const
{
   const auto at = chips_.find( chip );
   return at == chips_.end() ? ChipAttributes() : at->second;
}

void StrataAttributes::chipAttributesIs( const ChipInfo& chip, const ChipAttributes& attributes )
{
   chips_.insert_or_assign( chip, attributes );
}

} // namespace Strata
