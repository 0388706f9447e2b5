// The SDK shim over simulated chips. Every operation goes the same way: the critic looks at the
// circumstances, a fault may strike, the chip does its work, the transcript gets the call.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "sim/ChipOperations.h"
#include "sim/Hardware.h"

#include <array>
#include <string>
#include <string_view>

namespace Strata::Sim {

class SimShim final : public SdkShimInterface
{
 public:
   explicit SimShim( const Hardware& hardware ) : hardware_( hardware ), operations_( hardware ) {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) int method parameters override;
#include "platform/sdk/SdkOperations.def"

   void preCall() override;
   void errorHook() override;

   int successCode() const override;
   int featureNotAvailableCode() const override;
   std::string errorText( int code ) const override;

   int fieldAction( FieldAction role ) const override;
   int fieldIpType( FieldIpType role ) const override;
   U32 packetResult( PacketResult role ) const override;
   int switchControl( SwitchControl role ) const override;
   int portControl( PortControl role ) const override;
   U32 vlanFlag( VlanFlag role ) const override;
   int ipOptionAction( IpOptionAction role ) const override;
   int registerNumber( Register role ) const override;
   int memory( Memory role ) const override;
   U32 exactMatchMask() const override;
   U8 stpForward() const override;
   int anyRegisterPort() const override;
   int anyMemoryBlock() const override;
   int chipWidePort() const override;
   int fieldEntryEnableMode() const override;

   U32 kbSingleUnit() const override;
   int cpuPort( U32 unit ) const override;
   bool trapsTtlExceptions( U32 unit ) const override;
   bool resolvesHigigTrunksAsLag( U32 unit ) const override;
   bool vlanExists( U32 unit, U16 vlanId ) const override;
   UnitRecord unitRecord( U32 unit ) const override;

   void registerFieldSet( Register reg, U32& value, RegisterField field, U32 data ) const override;
   void registerFieldSet( Register reg, U64& value, RegisterField field, U32 data ) const override;
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data ) const override;
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const override;
   U32 memoryField( const MemoryEntry& entry, MemoryField field ) const override;
   EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const override;

   /// How often the operation was called.
   U64 calls( SdkOperation operation ) const
   {
      return callsOf_[ static_cast<std::size_t>( operation ) ];
   }
   /// How often any operation was called: the number of the last call.
   U64 calls() const
   {
      return calls_;
   }

 private:
   template<class Work, class... Arguments>
   int perform( SdkOperation operation, std::string_view names, Work work, U32 unit,
      const Arguments&... arguments );
   const Chip* findChip( U32 unit, std::string_view question ) const;

   Hardware hardware_;
   ChipOperations operations_;
   std::array<U64, roleNames<SdkOperation>.size()> callsOf_{};
   U64 calls_ = 0;
};

} // namespace Strata::Sim
