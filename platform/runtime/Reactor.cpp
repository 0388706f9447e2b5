#include "platform/runtime/Reactor.h"

namespace Vormel {

Reactor::~Reactor() = default;

void Reactor::hasNotificationActiveIs( bool active )
{
   if( active == notificationActive_ || ( active && zombie_ ) )
      return;
   notificationActive_ = active;
   subscriptionsAre( active );
}

void Reactor::zombieIs()
{
   if( zombie_ )
      return;
   zombie_ = true;
   markForDeletion();
   hasNotificationActiveIs( false );
   ownerGone();
}

void Reactor::onLastRelease() const noexcept
{
   // No change may reach a handler while members are destroyed one after the other.
   markForDeletion();
   delete this;
}

} // namespace Vormel
