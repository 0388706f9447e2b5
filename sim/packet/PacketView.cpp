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

namespace {

/// A port's name around its number.
struct NumberedName
{
   explicit NumberedName( const std::string& name )
   {
      const std::size_t at = std::min( name.find_first_of( digits ), name.size() );
      const std::size_t end = std::min( name.find_first_not_of( digits, at ), name.size() );
      before = name.substr( 0, at );
      number = at < end ? std::stoul( name.substr( at, end - at ) ) : 0;
      behind = name.substr( end );
   }

   bool follows( const NumberedName& other, std::size_t distance ) const
   {
      return before == other.before && behind == other.behind &&
             number == other.number + distance && !behind.starts_with( '/' );
   }

   /// Of the ports from this one to number `last`.
   std::string range( unsigned long last ) const
   {
      return ( behind.empty() ? before : "ports " ) + std::to_string( number ) + "-" +
             std::to_string( last ) + behind;
   }

   static constexpr const char* digits = "0123456789";
   std::string before;
   unsigned long number = 0;
   std::string behind;
};

} // namespace

std::string lagName( const PacketView& view, PortRef port )
{
   const auto lag =
      std::ranges::find_if( view.lags(), [ & ]( const Lag& known ) { return known.has( port ); } );
   return lag == view.lags().end() ? std::string() : lag->name;
}

std::string placeName( const PacketView& view, PortRef port )
{
   const std::string lag = lagName( view, port );
   return lag.empty() ? view.portName( port ) : lag;
}

std::string portsText( const PacketView& view, const std::vector<PortRef>& ports )
{
   constexpr std::size_t fewest = 3; // ports in a row that are shown as a range
   std::vector<std::string> names;
   for( const PortRef port : ports )
      names.push_back( view.portName( port ) );
   std::string text;
   for( std::size_t at = 0; at < names.size(); ) {
      const NumberedName first( names[ at ] );
      std::size_t count = 1;
      while(
         at + count < names.size() && NumberedName( names[ at + count ] ).follows( first, count ) )
         ++count;
      const bool range = count >= fewest;
      text += ( text.empty() ? "" : ", " ) +
              ( range ? first.range( first.number + count - 1 ) : names[ at ] );
      at += range ? count : 1;
   }
   return text;
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
      placeName( view, nextHop.port ) );
}

std::string nextHopText( const PacketView& view, const std::vector<NextHop>& nextHops )
{
   std::string text;
   for( const NextHop& nextHop : nextHops )
      text += ( text.empty() ? "" : " or " ) + nextHopText( view, nextHop );
   return text;
}

} // namespace Strata::Sim
