// A chip SDK and entry managers that do nothing: what is measured is the slice alone.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "platform/tcam/TcamEntryManager.h"

#include <string>

namespace Bench {

using namespace Strata;

class NullShim : public SdkShimInterface
{
 public:
#define SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return nothing arguments; \
   }
#include "platform/sdk/SdkOperations.def"

   void preCall() override {}
   void errorHook() override {}
   int successCode() const override
   {
      return 0;
   }
   int featureNotAvailableCode() const override
   {
      return -1;
   }
   std::string errorText( int ) const override
   {
      return {};
   }
   int fieldAction( FieldAction role ) const override
   {
      return static_cast<int>( role );
   }
   int fieldIpType( FieldIpType role ) const override
   {
      return static_cast<int>( role );
   }
   U32 packetResult( PacketResult role ) const override
   {
      return static_cast<U32>( role );
   }
   int switchControl( SwitchControl role ) const override
   {
      return static_cast<int>( role );
   }
   int portControl( PortControl role ) const override
   {
      return static_cast<int>( role );
   }
   U32 vlanFlag( VlanFlag role ) const override
   {
      return 1u << static_cast<U32>( role );
   }
   int ipOptionAction( IpOptionAction ) const override
   {
      return 0;
   }
   int registerNumber( Register role ) const override
   {
      return static_cast<int>( role );
   }
   int memory( Memory role ) const override
   {
      return static_cast<int>( role );
   }
   U32 exactMatchMask() const override
   {
      return 0xFFFFFFFF;
   }
   U8 stpForward() const override
   {
      return 1;
   }
   int anyRegisterPort() const override
   {
      return -1;
   }
   int anyMemoryBlock() const override
   {
      return -1;
   }
   int chipWidePort() const override
   {
      return -1;
   }
   int fieldEntryEnableMode() const override
   {
      return 0;
   }
   U32 kbSingleUnit() const override
   {
      return 0;
   }
   int cpuPort( U32 ) const override
   {
      return 0;
   }
   bool trapsTtlExceptions( U32 ) const override
   {
      return false;
   }
   bool resolvesHigigTrunksAsLag( U32 ) const override
   {
      return false;
   }
   bool vlanExists( U32, U16 ) const override
   {
      return true;
   }
   UnitRecord unitRecord( U32 ) const override
   {
      return {};
   }
   void registerFieldSet( Register, U32&, RegisterField, U32 ) const override {}
   void registerFieldSet( Register, U64&, RegisterField, U32 ) const override {}
   void memoryFieldSet( MemoryEntry&, MemoryField, U32 ) const override {}
   void memoryFieldSet( MemoryEntry&, MemoryField, const EthAddr& ) const override {}
   U32 memoryField( const MemoryEntry&, MemoryField ) const override
   {
      return 0;
   }
   EthAddr memoryMacField( const MemoryEntry&, MemoryField ) const override
   {
      return {};
   }

 private:
   template<class... Arguments>
   static int nothing( const Arguments&... )
   {
      return 0;
   }
};

#define NULL_MANAGER_ATTRIBUTES( ROW )

class NullManager final : public StrataBoundedTcamEntryManager
{
   VORMEL_ENTITY( NullManager, NULL_MANAGER_ATTRIBUTES )

   U32 getEntry( U32, U32 id, const std::string&, const RequestKey& ) override { return id; }
   int installEntry( U32, U32 ) override { return 0; }
   int reinstallEntry( U32, U32 ) override { return 0; }
   void removeEntry( U32, U32 ) override {}
   void releaseEntry( U32, U32 ) override {}
   int enableEntry( U32, U32, bool, int ) override { return 0; }
   U64 hitsForEntry( U32, U32 ) const override { return 0; }
   int addInPortsForEntry( U32, U32, const PortBitmap&, const PortBitmap& ) override { return 0; }
   int qualifyPortsClassId( U32, U32, const PortBitmap&, bool ) override { return 0; }
   int addOutLoopbackPortForEntry( U32, U32, int, const PortBitmap& ) override { return 0; }
   bool supportsAclGroup() const override { return false; }
   U32 baseEntryId() const override { return 1; }
};

} // namespace Bench
