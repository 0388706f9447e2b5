// The chip SDK as the slice sees it. A port implements this class beside its SDK's own headers: no name here
// is one of an SDK.
//
// Operations (SdkOperations.def) are called with the activity lock released; each is preceded by preCall().
// Everything else is a question, answered at once and never failing. Hook and questions come with the lock
// held, except while the Field Processor lock is.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/types/EthAddr.h"
#include "platform/types/PortBitmap.h"

#include <array>
#include <cstddef>
#include <string>

namespace Strata {

using Vormel::EthAddr;

/// A VLAN's control record. The slice reads and changes the flags; the rest is the port's and travels as
/// read.
class VlanControl
{
 public:
   U32 flags() const { return flags_; }
   void flagsIs( U32 flags ) { flags_ = flags; }

   std::array<std::byte, 252> rest{};

 private:
   U32 flags_ = 0;
};

/// One entry of a chip memory, opaque: its fields are reached through the shim.
struct MemoryEntry
{
   std::array<U32, 16> words{};
};

/// 27 words: the bitmap of a unit's active front-panel ports (word w, bit b is logical port 32 * w + b).
using UnitRecord = std::array<U32, 27>;

class VORMEL_EXPORT SdkShimInterface
{
 public:
   virtual ~SdkShimInterface();

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   virtual int method parameters = 0;
#include "platform/sdk/SdkOperations.def"

   /// Called right before every operation; fieldUnlock belongs to the call that took the lock.
   virtual void preCall() = 0;
   /// Called after a fatal code was reported and before the agent ends.
   virtual void errorHook() = 0;

   virtual int successCode() const = 0;
   virtual int featureNotAvailableCode() const = 0;
   virtual std::string errorText( int code ) const = 0;

   // The SDK's numbers. They may not change while the process runs.
   virtual int fieldAction( FieldAction role ) const = 0;
   virtual int fieldIpType( FieldIpType role ) const = 0;
   virtual U32 packetResult( PacketResult role ) const = 0;
   virtual int switchControl( SwitchControl role ) const = 0;
   virtual int portControl( PortControl role ) const = 0;
   virtual U32 vlanFlag( VlanFlag role ) const = 0;
   virtual int ipOptionAction( IpOptionAction role ) const = 0;
   virtual int registerNumber( Register role ) const = 0;
   virtual int memory( Memory role ) const = 0;
   virtual U32 exactMatchMask() const = 0; // for packet result, priority and group qualifiers
   virtual U8 stpForward() const = 0;
   virtual int anyRegisterPort() const = 0;
   virtual int anyMemoryBlock() const = 0;
   virtual int chipWidePort() const = 0;         // addresses all ports in switchControlPortSet
   virtual int fieldEntryEnableMode() const = 0; // handed to the entry manager's enableEntry

   // The unit that single-unit registers live on, and questions about units.
   virtual U32 kbSingleUnit() const = 0;
   virtual int cpuPort( U32 unit ) const = 0;
   /// The unit traps TTL 0 and 1 by itself, but takes ARP replies for ordinary frames.
   virtual bool trapsTtlExceptions( U32 unit ) const = 0;
   /// The unit cancels HiGig trunk resolution by HgTrunkCancelLag instead of HgTrunkCancel.
   virtual bool resolvesHigigTrunksAsLag( U32 unit ) const = 0;
   virtual bool vlanExists( U32 unit, U16 vlanId ) const = 0;
   virtual UnitRecord unitRecord( U32 unit ) const = 0;

   // Fields of register values and memory entries that are in the caller's hands.
   virtual void registerFieldSet(
      Register reg, U32& value, RegisterField field, U32 data ) const = 0;
   virtual void registerFieldSet(
      Register reg, U64& value, RegisterField field, U32 data ) const = 0;
   virtual void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data ) const = 0;
   virtual void memoryFieldSet(
      MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const = 0;
   virtual U32 memoryField( const MemoryEntry& entry, MemoryField field ) const = 0;
   virtual EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const = 0;
};

/// The process's one shim. An agent sets it before it makes the first helper and keeps it alive.
VORMEL_EXPORT void sdkShimIs( SdkShimInterface* shim );

namespace Detail {
extern VORMEL_EXPORT SdkShimInterface* theSdkShim;
}

inline SdkShimInterface* sdkShim()
{
   return Detail::theSdkShim;
}

} // namespace Strata
