// An entry manager that passes every call to another one: the base for managers that observe or change some of the
// calls.
#pragma once

#include "platform/sdk/TcamEntryManager.h"

#include <string>
#include <utility>

namespace Strata {

class VORMEL_EXPORT ForwardingTcamEntryManager : public StrataBoundedTcamEntryManager
{
 public:
   /// Requires: `next` is not null.
   explicit ForwardingTcamEntryManager( Ref<StrataBoundedTcamEntryManager> next )
      : next_( std::move( next ) )
   {}

   StrataBoundedTcamEntryManager& next() const { return *next_; }

   std::string entityName() const override { return next().entityName(); }

#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result method parameters override \
   { \
      return next().method arguments; \
   }
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result method parameters const override \
   { \
      return next().method arguments; \
   }
#include "platform/sdk/TcamOperations.def"

   U32 baseEntryId() const override
   {
      return next().baseEntryId();
   }

 private:
   Ref<StrataBoundedTcamEntryManager> next_;
};

} // namespace Strata
