// The effect of each SDK operation on the simulated chips. The shim checks whether it may be called
// now, injects faults and records the call.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "sim/chip/FieldRule.h"
#include "sim/switch/Hardware.h"

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace Strata::Sim {

class ChipOperations
{
 public:
   explicit ChipOperations( const Hardware& hardware ) : hardware_( hardware ) {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) SdkCode method parameters;
#include "platform/sdk/SdkOperations.def"

   /// Whether the last operation has changed the chip; none if it was not a write, or was refused.
   std::optional<bool> takeChanged()
   {
      return std::exchange( changed_, std::nullopt );
   }
   /// Notes the result of the operation on the entry, register, VLAN or port, from the chip or a fault.
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
   /// A write: what `read` returns is compared before and behind it.
   template<class Read, class Work>
   SdkCode write( Read read, Work work );
   /// The same for state that has a cause, which is recorded.
   template<class Read, class Work>
   SdkCode write( U32 unit, const ChipPlace& place, Read read, Work work );
   SdkCode writeControl( U32 unit, SwitchControl control, int value );
   SdkCode writeRegister( U32 unit, Register reg, U64 value );
   bool isMyStation( SdkOperation operation, U32 unit, int memory, int block );
   /// Reports a breach, because the SDK has no such number, and returns the code for it.
   SdkCode unknown( SdkOperation operation, U32 unit, std::string_view what );

   Hardware hardware_;
   std::optional<bool> changed_;
};

} // namespace Strata::Sim
