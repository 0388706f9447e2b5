// An SDK operation with its arguments and its result, for the transcript: names instead of the SDK's numbers.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/ArgumentNames.h"
#include "platform/sdk/SdkShimInterface.h"
#include "sim/sdk/Faults.h"
#include "sim/sdk/SdkCodes.h"
#include "sim/sdk/SdkNumbers.h"
#include "sim/switch/Transcript.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

class SdkCallText
{
 public:
   /// `names` is the operation's column of arguments, "( unit, entry )". Results are rendered
   /// with their present values. Requires: the operation has returned.
   template<class... Arguments>
   SdkCallText( SdkOperation operation, const SdkNumbers& numbers, std::string_view names,
      const Arguments&... arguments )
      : numbers_( numbers ),
        operation_( operation ),
        names_( names )
   {
      ( add( takeArgumentName( names_ ), arguments ), ... );
   }

   /// "bcm_field_lock( unit 0 )"
   std::string text() const;
   std::vector<RecordField> fields() const { return fields_; }

 private:
   void add( std::string_view name, U8 value ) { add( name, U32{ value } ); }
   void add( std::string_view name, U16 value ) { add( name, U32{ value } ); }
   void add( std::string_view name, U32 value );
   void add( std::string_view name, U64 value );
   void add( std::string_view name, int value );
   void add( std::string_view name, const EthAddr& value );
   void add( std::string_view name, const PortBitmap& value );
   void add( std::string_view name, const VlanControl& value );
   void add( std::string_view name, const MemoryEntry& value );
   template<class T>
   void add( std::string_view name, T* value )
   {
      if( value )
         add( name, *value );
      else
         addText( name, "null" );
   }
   void addText( std::string_view name, const std::string& text );
   void addNumber( std::string_view name, RecordField field, const std::string& text );
   std::optional<std::string> nameOfNumber( std::string_view argument, S64 number );

   const SdkNumbers& numbers_;
   SdkOperation operation_;
   std::string_view names_;
   std::optional<Register> register_; // whose value is shown
   std::string arguments_;
   std::vector<RecordField> fields_;
};

/// " -> BCM_E_UNAVAIL", " -> BCM_E_FAIL (injected)", " -> lost (injected)"; no text for a success. `changed` is whether
/// a write has changed the chip; none if the call is not a write.
RecordContent outcomeContent(
   SdkCode code, const std::optional<Strike>& fault, std::optional<bool> changed );
/// Adds the fault, if there is one, to what is recorded of the outcome of a call.
void addFault( RecordContent& outcome, const std::optional<Strike>& fault );

} // namespace Strata::Sim
