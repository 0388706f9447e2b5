// The generic interface of the input objects, and their checks.
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/L3State.h"
#include "platform/state/Mlag.h"
#include "platform/state/StrataCommonSmData.h"
#include "platform/state/StrataPort.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

VORMEL_ENTITY_TYPE( Interface::EthIntfStatus, STRATA_ETH_INTF_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( Interface::EthIntfStatusDir, STRATA_ETH_INTF_STATUS_DIR_ATTRIBUTES )
VORMEL_ENTITY_TYPE( IntfVlanId::Table, STRATA_INTF_VLAN_ID_TABLE_ATTRIBUTES )
VORMEL_ENTITY_TYPE( Mlag::Status, STRATA_MLAG_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( Mlag::Hardware::Status, STRATA_MLAG_HARDWARE_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( Lag::Recirc::RecircFeatureStatus, STRATA_RECIRC_FEATURE_STATUS_ATTRIBUTES )

namespace Strata {

VORMEL_ENTITY_TYPE( VirtualPortStatus, STRATA_VIRTUAL_PORT_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( StrataCommonSmData, STRATA_COMMON_SM_DATA_ATTRIBUTES )
VORMEL_ENTITY_TYPE( Features, STRATA_FEATURES_ATTRIBUTES )
VORMEL_ENTITY_TYPE( StrataMiscConfig, STRATA_MISC_CONFIG_ATTRIBUTES )
VORMEL_ENTITY_TYPE( StrataPbrInfo, STRATA_PBR_INFO_ATTRIBUTES )
VORMEL_ENTITY_TYPE( BastleSourceIpLookupConfig, STRATA_BASTLE_SOURCE_IP_LOOKUP_CONFIG_ATTRIBUTES )
VORMEL_ENTITY_TYPE( L2McastTableAllocationEnt, STRATA_L2_MCAST_TABLE_ALLOCATION_ATTRIBUTES )
VORMEL_ENTITY_TYPE( StrataUrpfCommonData, STRATA_URPF_COMMON_DATA_ATTRIBUTES )
VORMEL_ENTITY_TYPE( HwStatus, STRATA_HW_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( NexthopStatus, STRATA_NEXTHOP_STATUS_ATTRIBUTES )
VORMEL_ENTITY_TYPE( NexthopStatusDir, STRATA_NEXTHOP_STATUS_DIR_ATTRIBUTES )

void StrataMiscConfig::checkTrafficClass( U16 trafficClass, bool )
{
   if( trafficClass > highestTrafficClass )
      throw Vormel::ValueError( "unknownMacDropTrafficClass: traffic class " +
                                std::to_string( trafficClass ) + " is out of the range 0 to " +
                                std::to_string( highestTrafficClass ) );
}

void StrataMiscConfig::checkSyslogTimeout( double seconds )
{
   if( std::isfinite( seconds ) && ( seconds == 0.0 || seconds >= shortestPollInterval ) )
      return;
   std::ostringstream text;
   text << "syslogTimeout must be 0 (no polling) or a finite number of at least "
        << shortestPollInterval << " seconds, not " << seconds;
   throw Vormel::ValueError( text.str() );
}

/// Whether a port bitmap can contain the port.
static bool isLogicalPort( S64 port )
{
   return port >= 0 && port < PortBitmap::size;
}

[[noreturn]] static void badLogicalPort( const std::string& what, S64 port )
{
   throw Vormel::ValueError( what + ": port " + std::to_string( port ) +
                             " is out of the range 0 to " +
                             std::to_string( PortBitmap::size - 1 ) );
}

void StrataCommonSmData::checkPort( IntfId intf, const StrataPort& port )
{
   if( !isLogicalPort( port.logicalPort() ) )
      badLogicalPort( "strataIntfToPort[" + intf.toString() + "]", port.logicalPort() );
}

void StrataCommonSmData::checkLogicalPort( IntfId intf, U32 port )
{
   if( !isLogicalPort( port ) )
      badLogicalPort( "intfToLogicalPort[" + intf.toString() + "]", port );
}

void UnitTable::unitIs( U16 number, const StrataUnit& unit )
{
   if( unit.loopbackPort && !isLogicalPort( *unit.loopbackPort ) )
      badLogicalPort( "the loopback port of unit " + std::to_string( number ), *unit.loopbackPort );
   if( units_.insert_or_assign( number, unit ).second )
      numbers_.insert( std::upper_bound( numbers_.begin(), numbers_.end(), number ), number );
}

void UnitTable::unitDel( U16 number )
{
   units_.erase( number );
   std::erase( numbers_, number );
}

std::size_t UnitTable::Iterator::firstAfter( U16 key ) const
{
   return static_cast<std::size_t>(
      std::upper_bound( numbers_->begin(), numbers_->end(), key ) - numbers_->begin() );
}

void StrataCommonSmData::checkFloodingModId( U32 modId )
{
   if( modId > 0xFF )
      throw Vormel::ValueError(
         "floodingModId: " + std::to_string( modId ) + " is out of the range 0 to 255" );
}

/// Calls `use` with each port of a link, in member order, until it returns true.
template<class Use>
static void eachPortOfLink( const StrataCommonSmData& scsd, IntfId link, Use use )
{
   if( const StrataPort* const port = scsd.strataIntfToPort().find( link ); port && *port ) {
      use( *port );
      return;
   }
   if( const IntfIdList* const members = scsd.lagMembers().find( link ) )
      for( const IntfId member : *members )
         if( const StrataPort port = scsd.strataIntfToPort( member ); port && use( port ) )
            return;
}

StrataPort portOfLink( const StrataCommonSmData& scsd, IntfId link )
{
   StrataPort first;
   eachPortOfLink( scsd, link, [ &first ]( const StrataPort& port ) {
      first = port;
      return true;
   } );
   return first;
}

PortBitmap portsOfLink( const StrataCommonSmData& scsd, IntfId link, U32 unit )
{
   PortBitmap ports;
   eachPortOfLink( scsd, link, [ &ports, unit ]( const StrataPort& port ) {
      if( port.unit() == unit )
         ports.add( port.logicalPort() );
      return false;
   } );
   return ports;
}

ChipAttributes chipAttributes( const StrataCommonSmData& scsd )
{
   if( scsd.units().empty() )
      return {};
   const U16 first = scsd.units().begin().key();
   return strataAttributes().chipAttributes( scsd.units().find( first )->chipInfo );
}

bool isFloodingPortSupported( const StrataCommonSmData& scsd )
{
   return chipAttributes( scsd ).floodingPortSupported;
}

std::optional<StrataPort> StrataPort::parse( std::string_view text )
{
   U32 numbers[ 3 ] = {};
   std::size_t count = 0;
   const char* at = text.data();
   const char* const end = text.data() + text.size();
   for( ;; ) {
      const auto result = std::from_chars( at, end, numbers[ count ] );
      if( result.ec != std::errc() )
         return std::nullopt;
      ++count;
      at = result.ptr;
      if( at == end )
         break;
      if( *at != '/' || count == 3 )
         return std::nullopt;
      ++at;
   }
   if( count < 2 || numbers[ 1 ] > 0x7FFFFFFF )
      return std::nullopt;
   return StrataPort( numbers[ 0 ], static_cast<int>( numbers[ 1 ] ), numbers[ count - 1 ] );
}

std::string toText( const StrataPort& port )
{
   if( !port )
      return "none";
   return std::to_string( port.unit() ) + "/" + std::to_string( port.sdkPort() ) + "/" +
          std::to_string( port.logicalPort() );
}

std::optional<IntfIdList> IntfIdList::parse( std::string_view text )
{
   std::vector<IntfId> intfs;
   if( text.empty() )
      return IntfIdList();
   for( bool more = true; more; ) {
      const auto comma = text.find( ',' );
      const auto intf = IntfId::parse( text.substr( 0, comma ) );
      if( !intf )
         return std::nullopt;
      intfs.push_back( *intf );
      more = comma != text.npos;
      text.remove_prefix( more ? comma + 1 : 0 );
   }
   return IntfIdList( std::move( intfs ) );
}

std::string toText( const IntfIdList& list )
{
   std::string text;
   for( const IntfId intf : list )
      text += ( text.empty() ? "" : "," ) + intf.toString();
   return text;
}

} // namespace Strata

void Lag::Recirc::RecircFeatureStatus::checkRecircPort( U16 unit, S32 port )
{
   if( !Strata::isLogicalPort( port ) )
      Strata::badLogicalPort( "recircPort[" + std::to_string( unit ) + "]", port );
}

std::string Interface::EthIntfStatus::entityName() const
{
   return intfId_.toString();
}

void IntfVlanId::Table::checkVlanId( IntfId intf, U16 vlanId )
{
   if( vlanId < 1 || vlanId > 4094 )
      throw Vormel::ValueError( "vlanId: VLAN " + std::to_string( vlanId ) + " of " +
                                intf.toString() + " is out of the range 1 to 4094" );
}

bool Mlag::isPeerMacRoutingStatusEnabled( const Status& status )
{
   return status.peerMacRoutingEnabled();
}
