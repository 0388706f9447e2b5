#include "sim/packet/PacketView.h"

#include "platform/runtime/Format.h"

namespace Strata::Sim {

using Vormel::format;

const FieldLookup& FieldLookups::of( const FieldGroup& group )
{
   std::unique_ptr<FieldLookup>& lookup = known_[ &group ];
   if( !lookup || lookup->version() != group.version() )
      lookup = std::make_unique<FieldLookup>( group );
   return *lookup;
}

PortRef portRef( const Chips& chips, const StrataPort& port )
{
   const auto chip = chips.find( port.unit() );
   const auto logical =
      chip == chips.end() ? std::nullopt : chip->second.logicalPort( port.sdkPort() );
   return { port.unit(), logical.value_or( port.logicalPort() ) };
}

std::vector<PortRef> portsOf(
   const Chips& chips, const StrataCommonSmData& scsd, const IntfIdList& members )
{
   std::vector<PortRef> ports;
   for( const auto& member : members )
      if( const StrataPort at = scsd.strataIntfToPort( member ) )
         ports.push_back( portRef( chips, at ) );
   return ports;
}

const std::vector<Lag>& PacketView::lags() const
{
   if( lags_ )
      return *lags_;
   lags_.emplace();
   for( const auto& [ name, members ] : scsd_.lagMembers() ) {
      Lag lag{ name.toString(), portsOf( chips_, scsd_, members ) };
      if( !lag.ports.empty() )
         lags_->push_back( std::move( lag ) );
   }
   return *lags_;
}

U32 PacketView::modId( U32 unit ) const
{
   const StrataUnit* const found = scsd_.units().find( unit );
   return found ? found->modId : 0;
}

std::optional<U32> PacketView::unitOfModId( U32 modId ) const
{
   for( const auto& [ unit, chip ] : chips_ )
      if( const StrataUnit* const found = scsd_.units().find( unit );
          found && found->modId == modId )
         return unit;
   return std::nullopt;
}

bool PacketView::isCpuPort( PortRef port ) const
{
   return static_cast<int>( port.port ) == chip( port.unit ).profile().specialPorts.cpu;
}

bool PacketView::isLoopback( PortRef port ) const
{
   return static_cast<int>( port.port ) == chip( port.unit ).profile().specialPorts.loopback;
}

bool PacketView::isInternal( PortRef port ) const
{
   const auto named = recircPorts_.find( port.unit );
   return isLoopback( port ) ||
          static_cast<int>( port.port ) == chip( port.unit ).profile().specialPorts.recirculation ||
          ( named != recircPorts_.end() && named->second == port.port );
}

bool PacketView::isFrontPanel( PortRef port ) const
{
   return port.port < PortBitmap::size &&
          chip( port.unit ).frontPanelPorts().contains( port.port ) && !isInternal( port );
}

const ChipVlan* PacketView::vlan( U32 unit, U16 vlanId ) const
{
   const auto& vlans = chip( unit ).vlans();
   const auto at = vlans.find( vlanId );
   return at == vlans.end() ? nullptr : &at->second;
}

std::string PacketView::portName( PortRef port ) const
{
   for( const auto& [ intf, at ] : scsd_.strataIntfToPort() )
      if( at && at.unit() == port.unit && portRef( chips_, at ) == port )
         return intf.toString();
   std::string what;
   if( isCpuPort( port ) )
      what = " (CPU)";
   else if( isLoopback( port ) )
      what = " (loopback)";
   else if( isInternal( port ) )
      what = " (recirculation)";
   return format( "port %d of unit %d", chip( port.unit ).sdkPort( port.port ), port.unit ) + what;
}

std::string nextHopText( const PacketView& view, const NextHop& nextHop )
{
   switch( nextHop.kind ) {
   case NextHop::Kind::cpu:
      return "the CPU";
   case NextHop::Kind::flood:
      return format( "flood in VLAN %d for %s", U32{ nextHop.vlanId }, nextHop.mac.toString() );
   case NextHop::Kind::tunnel:
      return format( "%s in VLAN %d behind tunnel %s", nextHop.mac.toString(),
         U32{ nextHop.vlanId }, nextHop.tunnel );
   case NextHop::Kind::port:
      break;
   }
   return format( "%s in VLAN %d on %s", nextHop.mac.toString(), U32{ nextHop.vlanId },
      view.portName( nextHop.port ) );
}

std::string nextHopText( const PacketView& view, const std::vector<NextHop>& nextHops )
{
   std::string text;
   for( const NextHop& nextHop : nextHops )
      text += ( text.empty() ? "" : " or " ) + nextHopText( view, nextHop );
   return text;
}

} // namespace Strata::Sim
