// A shim without a chip: every operation answers that the feature is not available, which the slice tolerates.
// A port can start from it and override, step by step, what its chip has.
#pragma once

#include "platform/sdk/SdkShimInterface.h"

namespace Strata {

/// The codes and their texts are left to the port. No name has a number here: an SDK that gets one refuses it.
class UnavailableShim : public SdkShimInterface
{
 public:
   void preCall() override {}
   void errorHook() override {}

   int fieldAction( FieldAction ) const override { return -1; }
   int fieldIpType( FieldIpType ) const override { return -1; }
   U32 packetResult( PacketResult ) const override { return ~U32(); }
   int switchControl( SwitchControl ) const override { return -1; }
   int portControl( PortControl ) const override { return -1; }
   U32 vlanFlag( VlanFlag ) const override { return 0; }
   int ipOptionAction( IpOptionAction ) const override { return -1; }
   int registerNumber( Register ) const override { return -1; }
   int memory( Memory ) const override { return -1; }
   U32 exactMatchMask() const override { return ~U32(); }
   U8 stpForward() const override { return 0; }
   int anyRegisterPort() const override { return -1; }
   int anyMemoryBlock() const override { return -1; }
   int chipWidePort() const override { return -1; }
   int fieldEntryEnableMode() const override { return 0; }

   U32 kbSingleUnit() const override { return 0; }
   int cpuPort( U32 ) const override { return 0; }
   bool trapsTtlExceptions( U32 ) const override { return false; }
   bool resolvesHigigTrunksAsLag( U32 ) const override { return false; }
   bool vlanExists( U32, U16 ) const override { return false; }
   UnitRecord unitRecord( U32 ) const override { return {}; }

   void registerFieldSet( Register, U32&, RegisterField, U32 ) const override {}
   void registerFieldSet( Register, U64&, RegisterField, U32 ) const override {}
   void memoryFieldSet( MemoryEntry&, MemoryField, U32 ) const override {}
   void memoryFieldSet( MemoryEntry&, MemoryField, const EthAddr& ) const override {}
   U32 memoryField( const MemoryEntry&, MemoryField ) const override { return 0; }
   EthAddr memoryMacField( const MemoryEntry&, MemoryField ) const override { return {}; }

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return unavailable arguments; \
   }
#include "platform/sdk/SdkOperations.def"

 private:
   template<class... Arguments>
   int unavailable( const Arguments&... ) const
   {
      return featureNotAvailableCode();
   }
};

} // namespace Strata
