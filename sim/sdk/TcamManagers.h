// The agent's entry managers over simulated chips: each owns one range of every unit's Field
// Processor.
#pragma once

#include "platform/sdk/TcamEntryManager.h"
#include "sim/switch/Hardware.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

// clang-format off
#define STRATA_SIM_TCAM_ENTRY_MANAGER_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "the group that it serves", "simulator" )

#define STRATA_SIM_TCAM_GROUP_MANAGER_ATTRIBUTES( ROW )
// clang-format on

class SimTcamEntryManager : public StrataBoundedTcamEntryManager
{
   VORMEL_ENTITY( SimTcamEntryManager, STRATA_SIM_TCAM_ENTRY_MANAGER_ATTRIBUTES )

   SimTcamEntryManager( const FieldGroupProfile& profile, const Hardware& hardware );

   std::string entityName() const override { return name_; }
   const FieldGroupProfile& profile() const { return profile_; }

#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result method parameters override;
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result method parameters const override;
#include "platform/sdk/TcamOperations.def"
   U32 baseEntryId() const override
   {
      return profile_.base;
   }

 private:
   /// A part of a call's record, made only if the record is kept or heard; its text starts with a blank. May be empty.
   using Details = std::function<RecordContent()>;

   FieldGroup* group( U32 unit ) const;
   enum class Effect : U8
   {
      claim, // what the next install writes
      write,
   };
   /// Runs `work` on the unit's range unless a fault applies to the call, and records the call.
   template<class Work>
   SdkCode perform( std::string_view call, U32 unit, U32 entryId, Effect effect,
      const Details& details, Work work );
   /// Records the call.
   void write( std::string_view call, U32 unit, U32 entryId, const Details& details,
      const Details& outcome ) const;
   int installed( std::string_view call, U32 unit, U32 entryId, bool again );
   int qualified( std::string_view call, U32 unit, U32 entryId, const FieldQualifier& qualifier );

   FieldGroupProfile profile_;
   Hardware hardware_;
};

/// The group manager of the profile's ranges; each assignment can be removed.
class SimTcamGroupManager : public StrataTcamGroupManager
{
   VORMEL_ENTITY( SimTcamGroupManager, STRATA_SIM_TCAM_GROUP_MANAGER_ATTRIBUTES )

   Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const override;
   /// Null removes the assignment. The manager may wrap that of the range.
   void managerIs( TcamGroup group, Ref<StrataBoundedTcamEntryManager> manager );

 private:
   std::map<TcamGroup, Ref<StrataBoundedTcamEntryManager>> managers_;
};

} // namespace Strata::Sim
