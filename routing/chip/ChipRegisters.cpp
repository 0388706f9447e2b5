// Ingress registers, and the controls that replace them on HSDK chips.
#include "messages/Traces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/tcam/CheckedCall.h"

namespace Strata {

void RoutingStatusHelper::initCpuControlM()
{
   const ChipAttributes chip = chipAttributes( shared() );
   if( !chip.cpuControlMMpls )
      return;
   for( const auto& i : shared().units() ) {
      if( chip.usesHsdk() ) {
         VORMEL_TRACE( routingTrace, 2, "Set CPU_CONTROL_M with HSDK methods" );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchMplsLabelMissToCpu, true ) );
         CHECKED_WITH_SIGNATURE(
            bcm_switch_control_set( i.key(), bcmSwitchMplsTtlErrToCpu, true ) );
      } else {
         U32 val = 0;
         CHECKED_WITH_SIGNATURE( soc_reg32_get( i.key(), CPU_CONTROL_Mr, REG_PORT_ANY, 0, &val ) );
         SdkShim->registerFieldSet(
            Register::CpuControlM, val, RegisterField::MplsLabelMissToCpu, 1 );
         SdkShim->registerFieldSet( Register::CpuControlM, val, RegisterField::MplsTtlErrToCpu, 1 );
         CHECKED_WITH_SIGNATURE( soc_reg32_set( i.key(), CPU_CONTROL_Mr, REG_PORT_ANY, 0, val ) );
      }
   }
}

void RoutingStatusHelper::doWriteIngConfig()
{
   const ChipAttributes chip = chipAttributes( shared() );
   if( chip.l3IntfUrpfControl )
      CHECKED_WITH_SIGNATURE(
         bcm_switch_control_set( SdkShim->kbSingleUnit(), bcmSwitchL3InterfaceUrpfEnable, true ) );
   if( chip.igmpReservedMcastControl )
      CHECKED_WITH_SIGNATURE( bcm_switch_control_set(
         SdkShim->kbSingleUnit(), bcmSwitchIgmpReservedMcastEnable, true ) );
   if( chip.usesHsdk() )
      return;

   U64 rval64 = 0;
   if( chip.myStation1ForNonTunnels ) {
      VORMEL_TRACE( routingTrace, 7, "set USE_MY_STATION1_FOR_NON_TUNNELS=0" );
      CHECKED_WITH_SIGNATURE(
         soc_reg_get( SdkShim->kbSingleUnit(), ING_CONFIG_64r, REG_PORT_ANY, 0, &rval64 ) );
      SdkShim->registerFieldSet(
         Register::IngConfig64, rval64, RegisterField::UseMyStation1ForNonTunnels, 0 );
      CHECKED_WITH_SIGNATURE(
         soc_reg_set( SdkShim->kbSingleUnit(), ING_CONFIG_64r, REG_PORT_ANY, 0, rval64 ) );
   }

   VORMEL_TRACE( routingTrace, 7, "Enable urpf on L3_IIF in ING_CONFIG register" );
   CHECKED_WITH_SIGNATURE(
      soc_reg_get( SdkShim->kbSingleUnit(), ING_CONFIG_64r, REG_PORT_ANY, 0, &rval64 ) );
   SdkShim->registerFieldSet( Register::IngConfig64, rval64, RegisterField::Ip4UrpfOnL3Iif, 1 );
   SdkShim->registerFieldSet( Register::IngConfig64, rval64, RegisterField::Ip6UrpfOnL3Iif, 1 );
   CHECKED_WITH_SIGNATURE(
      soc_reg_set( SdkShim->kbSingleUnit(), ING_CONFIG_64r, REG_PORT_ANY, 0, rval64 ) );
}

void RoutingStatusHelper::doNotCopyPacketFromCpuToCpu()
{
   Vormel::checkActivityLock( "doNotCopyPacketFromCpuToCpu" );
   VORMEL_TRACE( routingTrace, 2, "set DO_NOT_COPY_FROM_CPU_TO_CPUf in ING_MISC_CONFIG register" );
   U32 regVal = 0;
   CHECKED_WITH_SIGNATURE( READ_ING_MISC_CONFIGr( SdkShim->kbSingleUnit(), &regVal ) );
   SdkShim->registerFieldSet(
      Register::IngMiscConfig, regVal, RegisterField::DoNotCopyFromCpuToCpu, 1 );
   CHECKED_WITH_SIGNATURE( WRITE_ING_MISC_CONFIGr( SdkShim->kbSingleUnit(), regVal ) );
}

} // namespace Strata
