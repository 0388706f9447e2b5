// Interfaces, LAGs and VLANs of a simulated switch, which an agent keeps consistent for the slice.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "sim/switch/SimSwitch.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Strata::Sim {

using Interface::EthIntfStatus;
using Interface::ForwardingModel;
using Vormel::IntfId;
using Vormel::ValueError;

Ref<EthIntfStatus> SimSwitch::intfStatus( IntfId intf )
{
   if( Ref<EthIntfStatus> known = ethIntfStatusDir_->intfStatus( intf ) )
      return known;
   Ref<EthIntfStatus> status = Vormel::make<EthIntfStatus>( intf );
   status->forwardingModelIs( ForwardingModel::bridged );
   if( sinks_ )
      recorder_.record( status, intf.toString() );
   ethIntfStatusDir_->intfStatusIs( intf, status );
   return status;
}

void SimSwitch::checkInterface( IntfId intf, U32 unit, int port ) const
{
   if( !intf.isEthernet() )
      throw ValueError( intf.toString() + " cannot have a port: only Ethernet interfaces can" );
   if( port < 1 || static_cast<U32>( port ) > ports_ )
      throw ValueError( "the front-panel ports of a unit are 1 to " + std::to_string( ports_ ) +
                        ", not " + std::to_string( port ) );
   chip( unit ); // ValueError for an unknown one
   for( const auto& mapped : scsd_->strataIntfToPort() )
      if( mapped.value.unit() == unit && mapped.value.sdkPort() == port && mapped.key != intf )
         throw ValueError( Vormel::format(
            "port %d of unit %d is %s; take that away first, as in 'no interface %s'", port, unit,
            mapped.key.toString(), mapped.key.toString() ) );
}

void SimSwitch::addInterface( IntfId intf, U32 unit, int port, std::optional<ForwardingModel> model,
   std::optional<U32> logicalPort )
{
   checkInterface( intf, unit, port );
   const Ref<EthIntfStatus> status = intfStatus( intf );
   const U32 logical = logicalPort.value_or( *chip( unit ).logicalPort( port ) );
   scsd_->intfToLogicalPortIs( intf, logical );
   scsd_->strataIntfToPortIs( intf, StrataPort( unit, port, logical ) );
   // The model is set last, because a port that appears enters the flood set regardless of the model.
   if( model )
      status->forwardingModelIs( *model );
}

void SimSwitch::removeStatus( IntfId intf )
{
   const Ref<EthIntfStatus> status = ethIntfStatusDir_->intfStatusDel( intf );
   if( status )
      recorder_.forget( *status );
}

void SimSwitch::removeInterface( IntfId intf )
{
   const Ref<EthIntfStatus> status = ethIntfStatusDir_->intfStatus( intf );
   if( !status )
      throw ValueError( "there is no interface " + intf.toString() );
   if( const IntfId lag = scsd_->lagOfMember( intf ); !lag.empty() )
      takeOutOfLag( lag, intf );
   // The model is set first, because handling its change needs the port.
   if( status->forwardingModel() == ForwardingModel::routed )
      status->forwardingModelIs( ForwardingModel::bridged );
   scsd_->strataIntfToPortDel( intf );
   scsd_->intfToLogicalPortDel( intf );
   removeStatus( intf );
}

void SimSwitch::takeOutOfLag( IntfId lag, IntfId member )
{
   const IntfIdList members = scsd_->lagMembers( lag );
   std::vector<IntfId> others;
   std::ranges::copy_if(
      members, std::back_inserter( others ), [ & ]( IntfId other ) { return other != member; } );
   scsd_->lagMembersIs( lag, IntfIdList( std::move( others ) ) );
   scsd_->lagOfMemberDel( member );
}

void SimSwitch::checkLag( IntfId lag, const std::vector<IntfId>& members ) const
{
   if( !lag.isPortChannel() )
      throw ValueError( lag.toString() + " is not a LAG; LAGs are Port-Channel interfaces" );
   for( const IntfId member : members )
      if( !member.isEthernet() )
         throw ValueError(
            member.toString() + " cannot be a member of a LAG: only Ethernet interfaces can" );
      else if( !ethIntfStatusDir_->intfStatus( member ) )
         throw ValueError( Vormel::format(
            "there is no %s; put it on a port first, as in 'interface %s unit 0 port 1'",
            member.toString(), member.toString() ) );
      else if( std::ranges::count( members, member ) > 1 )
         throw ValueError( member.toString() + " is listed twice" );
}

void SimSwitch::lagIs( IntfId lag, const std::vector<IntfId>& members )
{
   checkLag( lag, members );
   intfStatus( lag );
   const IntfIdList before = scsd_->lagMembers( lag );
   for( const IntfId member : members )
      if( const IntfId other = scsd_->lagOfMember( member ); !other.empty() && other != lag )
         takeOutOfLag( other, member );
   // Before lagOfMember: the reactors read the LAG's members when the LAG of a member changes.
   scsd_->lagMembersIs( lag, IntfIdList( members ) );
   for( const IntfId member : before )
      if( std::ranges::find( members, member ) == members.end() )
         scsd_->lagOfMemberDel( member );
   for( const IntfId member : members )
      scsd_->lagOfMemberIs( member, lag );
}

void SimSwitch::lagDel( IntfId lag )
{
   const IntfIdList members = scsd_->lagMembers( lag );
   scsd_->lagMembersDel( lag );
   for( const IntfId member : members )
      scsd_->lagOfMemberDel( member );
   removeStatus( lag );
}

void SimSwitch::nexthopIs( const std::string& name, bool programmed, bool usesL3Egress )
{
   const auto entity = Vormel::make<NexthopStatus>( name );
   entity->programmedIs( programmed );
   entity->usesL3EgressIs( usesL3Egress );
   nexthopStatusDir_->entityIs( name, entity );
}

void SimSwitch::vlanIs( U16 vlanId )
{
   if( vlanId < 1 || vlanId > 4094 )
      throw ValueError( "VLANs are 1 to 4094, not " + std::to_string( vlanId ) );
   for( auto& [ unit, chip ] : chips_ )
      chip.vlanIs( vlanId );
}

void SimSwitch::vlanDel( U16 vlanId )
{
   for( auto& [ unit, chip ] : chips_ )
      chip.vlanDel( vlanId );
}

void SimSwitch::hasIpOptionsProfileIs( U32 unit, bool has )
{
   chip( unit ); // ValueError for an unknown one
   StrataUnit record = *scsd_->units().find( unit );
   record.hasIpOptionsProfile = has;
   scsd_->units().unitIs( static_cast<U16>( unit ), record );
}

} // namespace Strata::Sim
