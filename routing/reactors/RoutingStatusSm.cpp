// Lifecycle and dispatch of the main reactor; its reactions are in IntfReactions.cpp and FeatureReactions.cpp.
#include "routing/reactors/RoutingStatusSm.h"

#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "platform/sdk/SdkNames.h"
#include "routing/reactors/NestedReactors.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Strata {

namespace {

/// Notes which rows of ports and LAG members change while the reactor is constructed, before it has subscribed.
class RowChanges final : public Vormel::Subscriber
{
 public:
   using Rows = std::set<std::pair<Vormel::AttributeNumber, IntfId>>;

   RowChanges( const Ref<const StrataCommonSmData>& scsd, Rows& rows )
      : scsd_( scsd ),
        rows_( rows )
   {
      if( scsd_ )
         scsd_->subscriberAdd( *this );
   }
   ~RowChanges()
   {
      if( scsd_ )
         scsd_->subscriberDel( *this );
   }
   RowChanges( const RowChanges& ) = delete;
   RowChanges& operator=( const RowChanges& ) = delete;

   void onChange( const Vormel::Change& change ) noexcept override
   {
      if( change.number == StrataCommonSmData::lagOfMemberNumber ||
          change.number == StrataCommonSmData::strataIntfToPortNumber )
         rows_.emplace( change.number, change.key.as<IntfId>() );
   }

 private:
   const Ref<const StrataCommonSmData> scsd_;
   Rows& rows_;
};

} // namespace

Ref<RoutingStatusSm> RoutingStatusSmIs( const Ref<const StrataCommonSmData>& scsd,
   const Ref<const Features>& features, const Ref<const StrataMiscConfig>& miscConfig,
   const Ref<RoutingStatusHelper>& routingStatusHelper,
   const Ref<const StrataPbrInfo>& strataPbrInfo,
   const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
   const Ref<const BastleSourceIpLookupConfig>& bastleSourceIpLookupConfig,
   const Ref<HwStatus>& hwStatus, const Ref<const NexthopStatusDir>& nexthopStatusDir )
{
   Ref<RoutingStatusSm> sm( new RoutingStatusSm( scsd, features, miscConfig, routingStatusHelper,
      strataPbrInfo, ethIntfStatusDir, bastleSourceIpLookupConfig, hwStatus, nexthopStatusDir ) );
   const std::vector<U32> pairsBefore =
      routingStatusHelper ? Vormel::keysOf( routingStatusHelper->tcamEntryVlanFloodDrop() )
                          : std::vector<U32>();
   RowChanges::Rows rows;
   {
      const RowChanges changes( scsd, rows );
      sm->start();
   }
   sm->hasNotificationActiveIs( true );
   sm->catchUp( pairsBefore );
   for( const auto& [ number, intf ] : rows )
      if( number == StrataCommonSmData::lagOfMemberNumber )
         sm->doAddOrRemoveLagPortFlood( intf );
      else
         sm->handleStrataIntfToPort( intf );
   return sm;
}

RoutingStatusSm::RoutingStatusSm( const Ref<const StrataCommonSmData>& scsd,
   const Ref<const Features>& features, const Ref<const StrataMiscConfig>& miscConfig,
   const Ref<RoutingStatusHelper>& routingStatusHelper,
   const Ref<const StrataPbrInfo>& strataPbrInfo,
   const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
   const Ref<const BastleSourceIpLookupConfig>& bastleSourceIpLookupConfig,
   const Ref<HwStatus>& hwStatus, const Ref<const NexthopStatusDir>& nexthopStatusDir )
   : scsd_( scsd ),
     features_( features ),
     miscConfig_( miscConfig ),
     routingStatusHelper_( routingStatusHelper ),
     strataPbrInfo_( strataPbrInfo ),
     ethIntfStatusDir_( ethIntfStatusDir ),
     bastleSourceIpLookupConfig_( bastleSourceIpLookupConfig ),
     hwStatus_( hwStatus ),
     nexthopStatusDir_( nexthopStatusDir ),
     scsdInput_( *this, scsd ),
     miscConfigInput_( *this, miscConfig ),
     pbrInfoInput_( *this, strataPbrInfo ),
     intfStatusDirInput_( *this, ethIntfStatusDir ),
     sourceIpLookupInput_( *this, bastleSourceIpLookupConfig )
{}

// Separate from the constructor, because handlers may take references, which must not happen before there is one.
void RoutingStatusSm::start()
{
   kibNexthopStatusDir_ = Vormel::make<KibNexthopStatusDir>( nexthopStatusDir_, this );
   kibNexthopStatusDir_->hasNotificationActiveIs( true );
   if( ethIntfStatusDir_ )
      for( const IntfId intf : Vormel::keysOf( ethIntfStatusDir_->intfStatus() ) )
         if( const auto status = ethIntfStatusDir_->intfStatus( intf ) )
            intfStatusIs( status );
   handleInitialized();
}

// Handles the interfaces and traffic classes that were added or removed, and a dual hash that was switched, before the
// reactor had subscribed: a subscriber of a change that is published during its construction may do so.
void RoutingStatusSm::catchUp( const std::vector<U32>& pairsBefore )
{
   if( ethIntfStatusDir_ ) {
      for( const IntfId intf : Vormel::keysOf( intfStatus_ ) )
         if( !ethIntfStatusDir_->intfStatus().contains( intf ) )
            intfStatusDel( intf );
      for( const IntfId intf : Vormel::keysOf( ethIntfStatusDir_->intfStatus() ) ) {
         const Ref<Interface::EthIntfStatus> status = ethIntfStatusDir_->intfStatus( intf );
         const auto* const nested = intfStatus_.find( intf );
         if( status && !( nested && ( *nested )->follows( *status ) ) )
            intfStatusIs( status );
      }
   }
   if( miscConfig_ && ( miscConfig_->l2DualHash() != inForce().l2DualHash ||
                         miscConfig_->l3DualHash() != inForce().l3DualHash ) )
      handleDualHash();
   const Ref<RoutingStatusHelper> helper = routingStatusHelper_;
   if( !helper || !helper->tcamManager() )
      return;
   for( const U16 tc : Vormel::keysOf( miscConfig_->unknownMacDropTrafficClass() ) )
      if( helper->tcamEntryVlanFloodDrop( tc ) == 0 )
         handleUnknownMacDrop( tc );
   for( const U32 key : Vormel::keysOf( helper->tcamEntryVlanFloodDrop() ) ) {
      const U16 tc = static_cast<U16>( key );
      if( std::ranges::find( pairsBefore, key ) == pairsBefore.end() &&
          !miscConfig_->unknownMacDropTrafficClass().contains( tc ) )
         handleUnknownMacDrop( tc );
   }
}

RoutingStatusSm::~RoutingStatusSm()
{
   markForDeletion();
   kibDoZombieReactors();
   intfStatusDelAll();
   unknownMacDropLoggingSmDel();
}

// All become zombies before any is released: releasing one may destroy its notifier, which would notify the others.
void RoutingStatusSm::kibDoZombieReactors()
{
   for( const auto& nested : intfStatus_ )
      nested.value->zombieIs();
   if( kibNexthopStatusDir_ )
      kibNexthopStatusDir_->zombieIs();
}

void RoutingStatusSm::subscriptionsAre( bool active )
{
   scsdInput_.activeIs( active );
   miscConfigInput_.activeIs( active );
   pbrInfoInput_.activeIs( active );
   intfStatusDirInput_.activeIs( active );
   sourceIpLookupInput_.activeIs( active );
}

void RoutingStatusSm::handleInitialized()
{
   VORMEL_TRACE( routingTrace, 8, "handleInitialized" );
   handleDualHash();
   handleUnknownMacDrop();
   unknownMacDropLoggingSmIs( miscConfig_, routingStatusHelper_ );

   // Ports that were mapped before the reactor started receive floods; handleIntfFlood() below takes out the routed ones.
   VORMEL_ASSERT( scsd() );
   if( routingStatusHelper_ && !scsd_->units().empty() )
      routingStatusHelper_->unitRecordIs( SdkShim->unitRecord( scsd_->units().begin().key() ) );

   if( nexthopStatusDir_ ) {
      for( const std::string& name : Vormel::keysOf( nexthopStatusDir_->entity() ) )
         handleNexthopStatus( name );
   } else {
      VORMEL_TRACE( routingTrace, 1, "handleInitialized: nexthopStatusDir is not present" );
   }

   initialized_ = true;
   handleIntfFlood();
}

Ref<UnknownMacDropLoggingSm> RoutingStatusSm::unknownMacDropLoggingSmIs(
   const Ref<const StrataMiscConfig>& miscConfig, const Ref<RoutingStatusHelper>& helper )
{
   if( unknownMacDropLoggingSm_ && unknownMacDropLoggingSm_->miscConfig() == miscConfig &&
       unknownMacDropLoggingSm_->routingStatusHelper() == helper )
      return unknownMacDropLoggingSm_;
   // Kept alive until the end: the arguments may be references to its members.
   const Ref<UnknownMacDropLoggingSm> old = unknownMacDropLoggingSmDel();
   Ref<UnknownMacDropLoggingSm> made = unknownMacDropLoggingSmFactory( miscConfig, helper );
   unknownMacDropLoggingSmDel(); // a subscriber of its counters may have made another one
   unknownMacDropLoggingSm_ = made;
   return made;
}

Ref<UnknownMacDropLoggingSm> RoutingStatusSm::unknownMacDropLoggingSmDel()
{
   Ref<UnknownMacDropLoggingSm> old = std::exchange( unknownMacDropLoggingSm_, nullptr );
   if( old )
      old->hasNotificationActiveIs( false );
   return old;
}

// Each dispatcher keeps a reference to the reactor while its handler runs, because a subscriber of the helper may drop
// the reactor.

void RoutingStatusSm::onScsd( const Vormel::Change& change )
{
   const Ref<RoutingStatusSm> keep( this );
   switch( change.number ) {
   case StrataCommonSmData::strataIntfToPortNumber:
      return handleStrataIntfToPort( change.key.as<IntfId>() );
   case StrataCommonSmData::vxlanEnabledNumber:
      return handleVxlanEnabled();
   case StrataCommonSmData::lagOfMemberNumber:
      return doAddOrRemoveLagPortFlood( change.key.as<IntfId>() );
   default:
      return;
   }
}

void RoutingStatusSm::onMiscConfig( const Vormel::Change& change )
{
   const Ref<RoutingStatusSm> keep( this );
   switch( change.number ) {
   case StrataMiscConfig::l2DualHashNumber:
   case StrataMiscConfig::l3DualHashNumber:
      return handleDualHash();
   case StrataMiscConfig::unknownMacDropTrafficClassNumber:
      return handleUnknownMacDrop( change.key.as<U16>() );
   default:
      return;
   }
}

void RoutingStatusSm::onPbrInfo( const Vormel::Change& change )
{
   const Ref<RoutingStatusSm> keep( this );
   if( change.number == StrataPbrInfo::pbrEnabledNumber )
      handleStrataPbrEnabled();
}

void RoutingStatusSm::onIntfStatusDir( const Vormel::Change& change )
{
   const Ref<RoutingStatusSm> keep( this );
   if( change.number != Interface::EthIntfStatusDir::intfStatusNumber )
      return;
   const IntfId intf = change.key.as<IntfId>();
   if( const auto status = ethIntfStatusDir_->intfStatus( intf ) )
      intfStatusIs( status );
   else
      intfStatusDel( intf );
}

void RoutingStatusSm::onSourceIpLookup( const Vormel::Change& change )
{
   const Ref<RoutingStatusSm> keep( this );
   if( change.number == BastleSourceIpLookupConfig::l2TrafficRoutingNumber )
      handleL2TrafficRoutingStatus();
}

} // namespace Strata
