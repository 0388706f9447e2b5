// What each SDK operation does to the simulated chips, and nothing else: whether it may be called
// now, whether a fault strikes it and how it is written down is the shim's business.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "sim/FieldRule.h"
#include "sim/Hardware.h"

#include <functional>
#include <span>
#include <string_view>

namespace Strata::Sim {

class ChipOperations
{
 public:
   explicit ChipOperations( const Hardware& hardware ) : hardware_( hardware ) {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) SdkCode method parameters;
#include "platform/sdk/SdkOperations.def"

   /// The operation on the entry, register, VLAN or port was answered so, by the chip or by a fault.
   void answeredUnavailable( SdkOperation operation, U32 unit, S64 target );

 private:
   Chip& chip( U32 unit )
   {
      return hardware_.chips.at( unit );
   }
   FieldEntry* claimed( SdkOperation operation, U32 unit, U32 entry );
   SdkCode qualify( SdkOperation operation, U32 unit, U32 entry, const FieldQualifier& qualifier );
   SdkCode qualifyExact(
      SdkOperation operation, U32 unit, U32 entry, Qualifier role, U64 data, U32 mask );
   /// A unit of the switch does.
   bool hasPort( U32 modId, U32 port ) const;
   SdkCode addAction( SdkOperation operation, U32 unit, U32 entry, const FieldActionData& action );
   using RegisterAccess = std::function<void( Chip&, Register )>;
   SdkCode accessRegister( SdkOperation operation, U32 unit, int reg, int port, int index,
      std::span<const Register> allowed, const RegisterAccess& access );
   /// Records the cause of what a call with this result has written there.
   SdkCode written( U32 unit, const ChipPlace& place, SdkCode code );
   SdkCode writeRegister( U32 unit, Register reg, U64 value );
   bool isMyStation( SdkOperation operation, U32 unit, int memory, int block );
   /// A breach: the SDK has no such number. Returns the code for it.
   SdkCode unknown( SdkOperation operation, U32 unit, std::string_view what );

   Hardware hardware_;
};

} // namespace Strata::Sim
