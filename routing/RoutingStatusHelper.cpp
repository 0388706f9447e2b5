#include "routing/RoutingStatusHelper.h"

#include "messages/Traces.h"
#include "platform/runtime/Assert.h"

namespace Strata {

RoutingStatusHelper::RoutingStatusHelper( const std::string& name,
   const Ref<StrataCommonSmData>& scsd, const Ref<StrataTcamGroupManager>& tcamGroupManager,
   const Ref<const StrataPbrInfo>& strataPbrInfo, bool fabricMode,
   const Ref<const Mlag::Status>& mlagStatus, const Ref<const Mlag::Hardware::Status>& mlagHwStatus,
   const Ref<Lag::Recirc::RecircFeatureStatus>& recircStatus,
   const Ref<const Interface::EthIntfStatusDir>& ethIntfStatusDir,
   const Ref<const IntfVlanId::Table>& intfVlanIdTable,
   const Ref<StrataUrpfCommonData>& strataUrpfCommonData,
   const Ref<const VirtualPortStatus>& virtualPortStatus, const Ref<PortSwTable>& portSwTablePtr )
   : name_( name ),
     scsd_( scsd ),
     tcamGroupManager_( tcamGroupManager ),
     strataPbrInfo_( strataPbrInfo ),
     fabricMode_( fabricMode ),
     mlagStatus_( mlagStatus ),
     mlagHwStatus_( mlagHwStatus ),
     recircStatus_( recircStatus ),
     ethIntfStatusDir_( ethIntfStatusDir ),
     intfVlanIdTable_( intfVlanIdTable ),
     strataUrpfCommonData_( strataUrpfCommonData ),
     virtualPortStatus_( virtualPortStatus ),
     portSwTablePtr_( portSwTablePtr )
{
   lookUpChip( "RoutingStatusHelper" );
}

RoutingStatusHelper::~RoutingStatusHelper() = default;

VORMEL_ALLOCATION( RoutingStatusHelper )

const StrataCommonSmData& RoutingStatusHelper::shared() const
{
   VORMEL_ASSERT( scsd() );
   return *scsd();
}

void RoutingStatusHelper::lookUpChip( const char* operation )
{
   if( chipLookedUp_ || !scsd_ || scsd_->units().empty() )
      return;
   chipLookedUp_ = true;
   const UnitTable& units = scsd_->units();
   const ChipInfo& chip = units.find( units.begin().key() )->chipInfo;
   if( !strataAttributes().known( chip ) )
      VORMEL_TRACE_AS( routingTrace, 1, operation,
         operation << ": no attributes are known of the chip model '" << chip.model
                   << "': it counts as a chip without any capability" );
}

U32 RoutingStatusHelper::reprogramVlanFloodRequiredInc( U32 delta )
{
   const U32 value = reprogramVlanFloodRequired() + delta;
   reprogramVlanFloodRequiredIs( value );
   return value;
}

} // namespace Strata
