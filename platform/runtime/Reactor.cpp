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
   // Members are destroyed one after the other; no change may reach a handler meanwhile.
   markForDeletion();
   delete this;
}

} // namespace Vormel
