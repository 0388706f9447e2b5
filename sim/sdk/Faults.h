// Faults to inject: what becomes of a call instead of its work.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Types.h"
#include "sim/sdk/SdkCodes.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

VORMEL_ENUM( FaultKind, U8,
   code,    // returned; nothing is done
   lost,    // nothing is done, and success is returned
   twice,   // the work is done again after a success
   throws ) // an InjectedException; nothing is done

struct Fault
{
   /// The SDK operation ("bcm_field_qualify_Ttl") or entry-manager operation ("installEntry");
   /// empty for any SDK operation. A "getEntry" with a code returns 0.
   std::string call{};
   std::optional<U32> unit{}; // every unit if empty
   U64 nth = 1;               // applies to the n-th such call from now on
   /// Applies to the SDK operation with this number; the switch's first is 1. `nth` is not used then.
   std::optional<U64> callNumber{};
   SdkCode code = SdkCode::Fail; // if that is the kind of the fault
   FaultKind kind = FaultKind::code;
   bool always = false; // from the n-th on, instead of once

   /// "bcm_field_qualify_Ttl nth 2 unit 0 code BCM_E_FAIL", "installEntry lost"
   std::string text() const;
   /// "BCM_E_FAIL", "lost"
   std::string effect() const;
};

/// Thrown by a call that a fault strikes.
class InjectedException : public Vormel::Error
{
 public:
   InjectedException( std::string_view call, U32 unit );
};

/// A fault that applies to the present call.
struct Strike
{
   FaultKind kind;
   SdkCode code;

   std::string name() const { return std::string( Vormel::enumName( kind ) ); }
   /// What the call returns. `work` is the call without a fault.
   template<class Work>
   SdkCode outcome( Work work ) const
   {
      if( kind == FaultKind::twice )
         if( const SdkCode first = work(); first != SdkCode::None )
            return first;
      return kind == FaultKind::twice ? work() : kind == FaultKind::code ? code : SdkCode::None;
   }
   /// Whether the call does its work.
   bool works() const { return kind == FaultKind::twice; }
   /// InjectedException if that is the kind of the fault; called when the call is recorded.
   void throwIfAsked( std::string_view call, U32 unit ) const
   {
      if( kind == FaultKind::throws )
         throw InjectedException( call, unit );
   }
};

class Faults
{
 public:
   /// ValueError when no call has that name, with the nearest one; when the call cannot have that
   /// kind of fault; and when the numbers are invalid.
   static void check( const Fault& fault );
   /// The same errors.
   void inject( const Fault& fault );
   void clear() { armed_.clear(); }
   /// Removes the faults of a call, or of one SDK operation by its number. False if there are none.
   bool clear( std::string_view call, std::optional<U64> callNumber = {} );
   /// The faults that have not applied yet, and those that apply always.
   std::vector<Fault> armed() const;

   /// The fault that applies to the call, if there is one. `callNumber` is 0 for entry-manager operations.
   std::optional<Strike> strike( std::string_view call, U32 unit, U64 callNumber );

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
