// The port sets that entries qualify on or redirect to.
#include "routing/RoutingStatusHelper.h"

#include "platform/sdk/SdkNames.h"

namespace Strata {

PortBitmap RoutingStatusHelper::allPorts( U32 unit ) const
{
   const StrataUnit* const found = shared().units().find( unit );
   return found ? found->ports : PortBitmap();
}

PortBitmap RoutingStatusHelper::cpuPorts( U32 unit ) const
{
   return portBitmap( CMIC_PORT( unit ) );
}

PortBitmap RoutingStatusHelper::rxPorts( U32 unit ) const
{
   PortBitmap ports = allPorts( unit );
   ports.remove( static_cast<U32>( CMIC_PORT( unit ) ) );
   return ports;
}

std::optional<int> RoutingStatusHelper::loopbackPort( U32 unit ) const
{
   const StrataUnit* const found = shared().units().find( unit );
   return found ? found->loopbackPort : std::nullopt;
}

std::optional<int> RoutingStatusHelper::recircPort( U32 unit ) const
{
   if( recircStatus() ) {
      if( const S32* const port = recircStatus()->recircPort().find( static_cast<U16>( unit ) ) )
         return *port;
   }
   return chipAttributes( shared() ).lbPortAvailable ? loopbackPort( unit ) : std::nullopt;
}

PortBitmap RoutingStatusHelper::loopbackPorts( U32 unit ) const
{
   const std::optional<int> port = loopbackPort( unit );
   return port ? portBitmap( *port ) : PortBitmap();
}

PortBitmap RoutingStatusHelper::portBitmap( int port )
{
   PortBitmap ports;
   ports.add( static_cast<U32>( port ) );
   return ports;
}

} // namespace Strata
