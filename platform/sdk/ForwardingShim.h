// A shim that hands everything on to another one: the base for those that only want to see, count or change some
// of what passes.
#pragma once

#include "platform/sdk/SdkShimInterface.h"

namespace Strata {

class VORMEL_EXPORT ForwardingShim : public SdkShimInterface
{
 public:
   /// `next` must outlive the shim.
   explicit ForwardingShim( SdkShimInterface& next ) : next_( next ) {}

   SdkShimInterface& next() const { return next_; }

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return next_.method arguments; \
   }
#include "platform/sdk/SdkOperations.def"

   void preCall() override
   {
      next_.preCall();
   }
   void errorHook() override
   {
      next_.errorHook();
   }

   int successCode() const override
   {
      return next_.successCode();
   }
   int featureNotAvailableCode() const override
   {
      return next_.featureNotAvailableCode();
   }
   std::string errorText( int code ) const override
   {
      return next_.errorText( code );
   }

   int fieldAction( FieldAction role ) const override
   {
      return next_.fieldAction( role );
   }
   int fieldIpType( FieldIpType role ) const override
   {
      return next_.fieldIpType( role );
   }
   U32 packetResult( PacketResult role ) const override
   {
      return next_.packetResult( role );
   }
   int switchControl( SwitchControl role ) const override
   {
      return next_.switchControl( role );
   }
   int portControl( PortControl role ) const override
   {
      return next_.portControl( role );
   }
   U32 vlanFlag( VlanFlag role ) const override
   {
      return next_.vlanFlag( role );
   }
   int ipOptionAction( IpOptionAction role ) const override
   {
      return next_.ipOptionAction( role );
   }
   int registerNumber( Register role ) const override
   {
      return next_.registerNumber( role );
   }
   int memory( Memory role ) const override
   {
      return next_.memory( role );
   }
   U32 exactMatchMask() const override
   {
      return next_.exactMatchMask();
   }
   U8 stpForward() const override
   {
      return next_.stpForward();
   }
   int anyRegisterPort() const override
   {
      return next_.anyRegisterPort();
   }
   int anyMemoryBlock() const override
   {
      return next_.anyMemoryBlock();
   }
   int chipWidePort() const override
   {
      return next_.chipWidePort();
   }
   int fieldEntryEnableMode() const override
   {
      return next_.fieldEntryEnableMode();
   }

   U32 kbSingleUnit() const override
   {
      return next_.kbSingleUnit();
   }
   int cpuPort( U32 unit ) const override
   {
      return next_.cpuPort( unit );
   }
   bool trapsTtlExceptions( U32 unit ) const override
   {
      return next_.trapsTtlExceptions( unit );
   }
   bool resolvesHigigTrunksAsLag( U32 unit ) const override
   {
      return next_.resolvesHigigTrunksAsLag( unit );
   }
   bool vlanExists( U32 unit, U16 vlanId ) const override
   {
      return next_.vlanExists( unit, vlanId );
   }
   UnitRecord unitRecord( U32 unit ) const override
   {
      return next_.unitRecord( unit );
   }

   void registerFieldSet( Register reg, U32& value, RegisterField field, U32 data ) const override
   {
      next_.registerFieldSet( reg, value, field, data );
   }
   void registerFieldSet( Register reg, U64& value, RegisterField field, U32 data ) const override
   {
      next_.registerFieldSet( reg, value, field, data );
   }
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data ) const override
   {
      next_.memoryFieldSet( entry, field, data );
   }
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const override
   {
      next_.memoryFieldSet( entry, field, mac );
   }
   U32 memoryField( const MemoryEntry& entry, MemoryField field ) const override
   {
      return next_.memoryField( entry, field );
   }
   EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const override
   {
      return next_.memoryMacField( entry, field );
   }

 private:
   SdkShimInterface& next_;
};

} // namespace Strata
