// The result of an examination: each promise is kept, broken, or not tried.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Conformance {

enum class Promise : U8
{
#define STRATA_PROMISE( name, ... ) name,
#include "conformance/Promises.def"
};

constexpr auto enumNames( Promise )
{
   return std::to_array<Vormel::EnumName<Promise>>( {
#define STRATA_PROMISE( name, ... ) { Promise::name, #name },
#include "conformance/Promises.def"
   } );
}
/// The promise in words.
std::string_view promiseText( Promise promise );

/// The hooks of Port that promises need: without its hook, a promise is found broken or not tried, never kept.
VORMEL_ENUM( Hook, U8, none, installedEntry, hitEntry, fieldLocked, switchControlValue,
   portControlValue, vlanMembers )
Hook hookOf( Promise promise );

enum class Verdict : U8
{
   notTried,
   kept,
   broken,
};
VORMEL_ENUM_NAMES( Verdict, { Verdict::notTried, "not tried" }, { Verdict::kept, "kept" },
   { Verdict::broken, "BROKEN" } )

struct Finding
{
   Promise promise;
   std::string call; // "main: getEntry( unit 0, id 1001, "conformance" )"
   std::string seen; // the result: "gave 0, not 1001"

   /// "broken promise reclaimGivesTheId: <what it says>: <call> <seen>"
   std::string text() const;
};

class Report
{
 public:
   void keptIs( Promise promise );
   void brokenIs( Finding finding );
   /// Why a promise, or a part of it, could not be tried.
   void notTriedIs( Promise promise, std::string why );

   Verdict verdict( Promise promise ) const
   {
      return verdicts_[ static_cast<std::size_t>( promise ) ];
   }
   /// Why the promise, or a part of it, was not tried.
   const std::string& whyNotTried( Promise promise ) const
   {
      return whyNot_[ static_cast<std::size_t>( promise ) ];
   }
   const std::vector<Finding>& findings() const { return findings_; }
   /// Whether no promise is broken. Promises that were not tried do not count.
   bool conforms() const { return findings_.empty(); }

   /// A broken promise that does not depend on another broken one.
   struct Root
   {
      Promise promise;
      std::size_t others; // the number of broken promises that depend on it
   };
   /// In the order of Promises.def. They are the likely causes when many promises are broken.
   std::vector<Root> roots() const;

   /// A line for each promise, with the results below a broken one; a line for each root on which others depend; a line
   /// with numbers. `all` false: without the promises that are kept.
   std::string text( bool all = true ) const;

 private:
   std::array<Verdict, Vormel::enumTable<Promise>.size()> verdicts_{};
   std::array<std::string, Vormel::enumTable<Promise>.size()> whyNot_;
   std::vector<Finding> findings_;
};

} // namespace Strata::Conformance
