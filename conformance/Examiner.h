// The calls and expectations of all checks.
#pragma once

#include "conformance/Port.h"
#include "conformance/Report.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Format.h"

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Conformance {

/// The result of a call, with the text of the call.
template<class T>
struct Answer
{
   T value;
   std::string call;
};

class Examiner
{
 public:
   Examiner( const Port& port, Report& report ) : port_( port ), report_( report ) {}
   Examiner( const Examiner& ) = delete;
   Examiner& operator=( const Examiner& ) = delete;

   const Port& port() const { return port_; }
   SdkShimInterface& shim() const { return *port_.scsd->sdkShim(); }
   ChipAttributes chip() const { return chipAttributes( *port_.scsd ); }
   /// The unit numbers of the unit table, in its order.
   std::vector<U32> units() const;
   /// All ports of a unit of the table.
   const PortBitmap& portsOf( U32 unit ) const { return port_.scsd->units().find( unit )->ports; }

   // SDK operations, made as the slice makes them: after the pre-call hook, without the activity lock.
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) Answer<int> method parameters;
#include "platform/sdk/SdkOperations.def"
   /// Runs `work` as the slice rewrites actions: without the activity lock, with the unit's FP lock.
   void underFieldLock( U32 unit, const std::function<void()>& work );

   /// Runs a question or an entry-manager call, which leave the activity lock held.
   template<class Work>
   auto asked( const std::string& call, Work work )
   {
      const auto result = work();
      lockWasLeft( call, true );
      return result;
   }

   // Expectations. `seen` continues the sentence that begins with the call. A met expectation counts only if the port
   // has the promise's hook.
   void expect( Promise promise, const std::string& call, bool kept, const std::string& seen );
   template<class T>
   void expectEqual( Promise promise, const Answer<T>& answer, const T& wanted )
   {
      expect( promise, answer.call, answer.value == wanted,
         Vormel::format( "gave %s, not %s", answer.value, wanted ) );
   }
   void expectSuccess( Promise promise, const Answer<int>& answer );
   void expectSuccessOrUnavailable( Promise promise, const Answer<int>& answer );
   /// Expects a failure that ends the agent; `wanted` is its code, if that is known.
   void expectFailure(
      Promise promise, const Answer<int>& answer, std::optional<int> wanted = std::nullopt );
   /// Calls `write` only if the read is not available, because the slice then also writes.
   template<class Write>
   void expectReadable( const Answer<int>& read, Write write )
   {
      if( !isUnavailable( read ) )
         return expect( Promise::writesAreReadable, read.call, true, "" );
      const Answer<int> written = write();
      expect( Promise::writesAreReadable, read.call, isUnavailable( written ),
         "is not available, but " + written.call + " returned " + codeText( written.value ) );
   }
   void notTried( Promise promise, std::string why );
   bool has( Hook hook ) const;

   bool isSuccess( const Answer<int>& answer ) const;
   bool isUnavailable( const Answer<int>& answer ) const;
   /// "-16 (Feature unavailable)"
   std::string codeText( int code ) const;
   const std::set<int>& codesSeen() const
   {
      return codesSeen_;
   }

 private:
   template<class Work>
   Answer<int> operation( SdkOperation which, std::string call, Work work );
   void lockWasLeft( const std::string& call, bool held );

   const Port& port_;
   Report& report_;
   std::set<int> codesSeen_;
   std::set<SdkOperation> triedBesideLockHolder_;
};

} // namespace Strata::Conformance
