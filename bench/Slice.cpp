#include "bench/Slice.h"

namespace Bench {

using Interface::ForwardingModel;
using Vormel::IntfId;
using Vormel::make;

constexpr U32 portsPerUnit = 512;

VORMEL_ENTITY_TYPE( NullManager, NULL_MANAGER_ATTRIBUTES )
VORMEL_ENTITY_TYPE( NullGroupManager, NULL_MANAGER_ATTRIBUTES )
VORMEL_ENTITY_TYPE( RecordingManager, RECORDING_MANAGER_ATTRIBUTES )

Slice::Slice( U32 units, U32 interfaces, Calls calls )
{
   const bool recorded = calls == Calls::recorded;
   sdkShimIs( recorded ? static_cast<SdkShimInterface*>( &recordingShim_ ) : &shim_ );
   ChipAttributes chip;
   chip.l3CpuFpEntries = chip.floodingPortSupported = chip.vxlanSupported = true;
   strataAttributes().chipAttributesIs( { "bench" }, chip );
   scsd_ = make<StrataCommonSmData>( &shim_ );
   StrataUnit unit;
   unit.chipInfo.model = "bench";
   for( U32 port = 1; port <= portsPerUnit; ++port )
      unit.ports.add( port );
   for( U32 number = 0; number < units; ++number )
      scsd_->units().unitIs( static_cast<U16>( number ), unit );
   for( U32 i = 0; i < interfaces; ++i ) {
      const IntfId intf = IntfId::ethernet( i + 1 );
      const U32 port = 1 + i % portsPerUnit;
      interfaces_.push_back( make<Interface::EthIntfStatus>( intf ) );
      interfaces_.back()->forwardingModelIs( ForwardingModel::bridged );
      dir_->intfStatusIs( intf, interfaces_.back() );
      scsd_->intfToLogicalPortIs( intf, port );
      scsd_->strataIntfToPortIs( intf, StrataPort( 0, static_cast<int>( port ), port ) );
   }
   const Ref<StrataBoundedTcamEntryManager> manager =
      recorded ? Ref<StrataBoundedTcamEntryManager>( recordingManager_ ) : manager_;
   helper_ = make<RoutingStatusHelper>( "bench", scsd_, make<NullGroupManager>( manager ), nullptr,
      false, nullptr, nullptr, nullptr, dir_, nullptr, nullptr, nullptr, nullptr );
   helper_->tcamManagerIs( manager );
   helper_->l2McastTableAllocationIs( make<L2McastTableAllocationEnt>() );
}

Slice::~Slice()
{
   redirect_ = nullptr;
   logging_ = nullptr;
   reactor_ = nullptr;
   sdkShimIs( nullptr );
}

void Slice::init()
{
   helper_->init( true, true );
   helper_->l3Init( true );
}

void Slice::startReactor()
{
   reactor_ = RoutingStatusSmIs(
      scsd_, nullptr, miscConfig_, helper_, nullptr, dir_, nullptr, nullptr, nullptr );
}

void Slice::bringUp()
{
   init();
   startReactor();
   reactor_->handleStrataIntfToPort();
}

Floor Slice::floorOf( const std::function<void( Slice& )>& job )
{
   Floor floor;
   recordingShim_.floorIs( &floor );
   recordingManager_->floorIs( &floor );
   job( *this );
   recordingShim_.floorIs( nullptr );
   recordingManager_->floorIs( nullptr );
   return floor;
}

void Slice::startDropping()
{
   for( U16 tc = 0; tc < 8; ++tc )
      miscConfig_->unknownMacDropTrafficClassIs( tc, true );
   logging_ = UnknownMacDropLoggingSmIs( miscConfig_, helper_ );
}

void Slice::startLag()
{
   const IntfId lag = IntfId::portChannel( 1 );
   std::vector<IntfId> members;
   for( const auto& intf : interfaces_ )
      members.push_back( intf->intfId() );
   lag_ = make<Interface::EthIntfStatus>( lag );
   lag_->forwardingModelIs( ForwardingModel::bridged );
   dir_->intfStatusIs( lag, lag_ );
   scsd_->lagMembersIs( lag, IntfIdList( members ) );
   for( const IntfId member : members )
      scsd_->lagOfMemberIs( member, lag );
}

void Slice::startPeerLink()
{
   startLag();
   const auto status = make<Mlag::Status>();
   status->peerMacAddrIs( EthAddr( 2, 0, 0, 0, 0, 1 ) );
   status->peerLinkIntfIs( lag_->intfId() );
   status->peerMacRoutingEnabledIs( true );
   const auto hardware = make<Mlag::Hardware::Status>();
   hardware->peerMacRoutingSupportedIs( true );
   redirect_ = l3PeerMacArpRedirectSmFactory( scsd_, status, hardware, helper_ );
}

static void turnOver( Interface::EthIntfStatus& intf )
{
   const bool routed = intf.forwardingModel() == ForwardingModel::routed;
   intf.forwardingModelIs( routed ? ForwardingModel::bridged : ForwardingModel::routed );
}

void Slice::turn( U32 index )
{
   turnOver( *interfaces_[ index ] );
}

void Slice::turnLag()
{
   turnOver( *lag_ );
}

void Slice::replug( U32 index )
{
   const IntfId intf = IntfId::ethernet( index + 1 );
   const int port = static_cast<int>( *scsd_->intfToLogicalPort().find( intf ) );
   if( scsd_->strataIntfToPort( intf ) )
      scsd_->strataIntfToPortDel( intf );
   else
      scsd_->strataIntfToPortIs( intf, StrataPort( 0, port, static_cast<U32>( port ) ) );
}

void Slice::regroup( U32 index )
{
   const IntfId intf = IntfId::ethernet( index + 1 );
   if( scsd_->lagOfMember().find( intf ) )
      scsd_->lagOfMemberDel( intf );
   else
      scsd_->lagOfMemberIs( intf, IntfId::portChannel( 1 ) );
}

} // namespace Bench
