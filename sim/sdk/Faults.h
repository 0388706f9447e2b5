// Faults to inject: the code that a call is to return instead of doing its work.
#pragma once

#include "platform/runtime/Types.h"
#include "sim/sdk/SdkCodes.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

struct Fault
{
   /// The SDK operation ("bcm_field_qualify_Ttl") or entry-manager operation ("installEntry");
   /// empty for any SDK operation. A failing "getEntry" returns 0.
   std::string call{};
   std::optional<U32> unit{}; // every unit if empty
   U64 nth = 1;               // applies to the n-th such call from now on
   /// Applies to the SDK operation with this number; the switch's first is 1. `nth` is not used then.
   std::optional<U64> callNumber{};
   SdkCode code = SdkCode::Fail;
   bool always = false; // from the n-th on, instead of once

   /// "bcm_field_qualify_Ttl nth 2 unit 0 code BCM_E_FAIL"
   std::string text() const;
};

class Faults
{
 public:
   /// ValueError when no call has that name, with the nearest one; when the call cannot fail; and
   /// when the numbers are invalid.
   void inject( const Fault& fault );
   void clear() { armed_.clear(); }
   /// Removes the faults of a call, or of one SDK operation by its number. False if there are none.
   bool clear( std::string_view call, std::optional<U64> callNumber = {} );
   /// The faults that have not applied yet, and those that apply always.
   std::vector<Fault> armed() const;

   /// The code that the call must return, if a fault applies to it. `callNumber` is 0 for entry-manager
   /// operations.
   std::optional<SdkCode> strike( std::string_view call, U32 unit, U64 callNumber );

   /// Every name that a fault can have.
   static std::span<const std::string_view> callNames();

 private:
   struct Armed
   {
      Fault fault;
      U64 seen = 0;
   };
   std::vector<Armed> armed_;
};

} // namespace Strata::Sim
