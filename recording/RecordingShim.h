// The shim and the entry managers of a recorded agent: they write each call, before and after, and pass it on.
#pragma once

#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/ForwardingTcamEntryManager.h"
#include "platform/state/PortSwTable.h"
#include "recording/Journal.h"
#include "recording/SdkText.h"

#include <map>
#include <memory>
#include <string>

namespace Strata::Recording {

class RecordingShim final : public ForwardingShim
{
 public:
   RecordingShim( SdkShimInterface& next, Journal& journal )
      : ForwardingShim( next ),
        journal_( journal ),
        names_( next )
   {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) int method parameters override;
#include "platform/sdk/SdkOperations.def"

   /// Records how the unit differs from others of its kind.
   void describe( U32 unit ) const;

   // The questions whose answers depend on the switch. Those about the SDK's own numbers and layouts are answered by
   // the names in the records.
   void errorHook() override;
   U32 kbSingleUnit() const override;
   int cpuPort( U32 unit ) const override;
   bool trapsTtlExceptions( U32 unit ) const override;
   bool resolvesHigigTrunksAsLag( U32 unit ) const override;
   bool vlanExists( U32 unit, U16 vlanId ) const override;
   UnitRecord unitRecord( U32 unit ) const override;

 private:
   template<class Call, class... Arguments>
   int recorded(
      SdkOperation operation, std::string_view names, Call call, const Arguments&... arguments );
   template<class Answer, class Fill>
   Answer asked( std::string_view question, const Answer& answer, Fill fill ) const;

   Journal& journal_;
   const SdkDictionary names_;
};

#define STRATA_RECORDING_MANAGER_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "its name in the recording", "recording" )

class RecordingManager final : public ForwardingTcamEntryManager
{
   VORMEL_ENTITY( RecordingManager, STRATA_RECORDING_MANAGER_ATTRIBUTES )

   RecordingManager(
      std::string name, Ref<StrataBoundedTcamEntryManager> next, std::shared_ptr<Journal> journal );

   /// Records that there is this manager.
   void describe() const;

#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result method parameters override;
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result method parameters const override;
#include "platform/sdk/TcamOperations.def"

 private:
   template<class Result, class Call, class... Arguments>
   Result recorded( TcamOperation operation, std::string_view method, std::string_view names,
      Call call, const Arguments&... arguments ) const;

   template<class Result>
   void addResult( JsonObject& record, Result result ) const;

   std::shared_ptr<Journal> journal_;
};

#define STRATA_RECORDING_GROUP_MANAGER_ATTRIBUTES( ROW )

/// Returns a recording manager for each range, the same at each question.
class RecordingGroupManager final : public StrataTcamGroupManager
{
   VORMEL_ENTITY( RecordingGroupManager, STRATA_RECORDING_GROUP_MANAGER_ATTRIBUTES )

   RecordingGroupManager( Ref<StrataTcamGroupManager> next, std::shared_ptr<Journal> journal );

   Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const override;
   /// Records which managers there are.
   void describe() const;

 private:
   Ref<StrataTcamGroupManager> next_;
   std::shared_ptr<Journal> journal_;
   mutable std::map<TcamGroup, Ref<RecordingManager>> managers_;
};

#define STRATA_RECORDING_PORT_SW_TABLE_ATTRIBUTES( ROW )

class RecordingPortSwTable final : public PortSwTable
{
   VORMEL_ENTITY( RecordingPortSwTable, STRATA_RECORDING_PORT_SW_TABLE_ATTRIBUTES )

   RecordingPortSwTable( Ref<PortSwTable> next, std::shared_ptr<Journal> journal );

   PortSwEntry entry( const StrataPort& port ) const override;
   void entryCommit( const StrataPort& port, const PortSwEntry& entry ) override;

 private:
   Ref<PortSwTable> next_;
   std::shared_ptr<Journal> journal_;
};

/// The name of a group in records.
std::string_view groupName( TcamGroup group );

} // namespace Strata::Recording
