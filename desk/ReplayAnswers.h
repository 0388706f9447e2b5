// The shim and the entry managers of a replay: a simulated switch whose answers are the recorded ones.
#pragma once

#include "desk/RecordedHardware.h"
#include "desk/RecordingFile.h"
#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/ForwardingTcamEntryManager.h"
#include "platform/state/PortSwTable.h"
#include "recording/SdkDictionary.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Strata::Desk {

/// What a replay has recorded for the slice's present call or question.
class Answers
{
 public:
   virtual ~Answers();

   /// The end of the recorded call that the slice is making; nothing if it makes another one.
   virtual std::optional<Json> endOfCall() = 0;
   /// The answer to the question that is recorded next; nothing if that is another one.
   virtual std::optional<Json> answerTo( std::string_view question ) = 0;
   /// A recorded value cannot be what the call needs: ends the replay.
   virtual void fail( const std::string& what ) = 0;
};

/// The code of a recorded call.
class RecordedCodes
{
 public:
   /// A number of the recording for which the shim has another meaning gets another number.
   int codeOf( const SdkShimInterface& shim, const Json& end );
   /// Null for a code that is not recorded.
   const std::string* textOf( int code ) const;

 private:
   std::map<int, std::string> texts_;
};

class AnsweringShim final : public ForwardingShim
{
 public:
   AnsweringShim( SdkShimInterface& chip, Answers& answers )
      : ForwardingShim( chip ),
        answers_( answers ),
        names_( chip )
   {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) int method parameters override;
#include "platform/sdk/SdkOperations.def"

   std::string errorText( int code ) const override;
   U32 kbSingleUnit() const override;
   int cpuPort( U32 unit ) const override;
   bool trapsTtlExceptions( U32 unit ) const override;
   bool resolvesHigigTrunksAsLag( U32 unit ) const override;
   bool vlanExists( U32 unit, U16 vlanId ) const override;
   UnitRecord unitRecord( U32 unit ) const override;

   RecordedCodes& codes()
   {
      return codes_;
   }

 private:
   template<class... Arguments>
   int answered(
      SdkOperation operation, std::string_view names, int code, const Arguments&... arguments );
   template<class Answer>
   Answer answer( std::string_view question, Answer ofChip ) const;

   Answers& answers_;
   const Recording::SdkDictionary names_;
   RecordedCodes codes_;
};

#define STRATA_ANSWERING_MANAGER_ATTRIBUTES( ROW )

/// An entry manager of the recording. Without a range of the simulated chip behind it, calls that are not recorded
/// succeed.
class AnsweringManager final : public StrataBoundedTcamEntryManager
{
   VORMEL_ENTITY( AnsweringManager, STRATA_ANSWERING_MANAGER_ATTRIBUTES )

   AnsweringManager( std::string name, U32 baseEntryId, Ref<StrataBoundedTcamEntryManager> chip,
      AnsweringShim& shim, Answers& answers );

   std::string entityName() const override { return name_; }
   U32 baseEntryId() const override { return baseEntryId_; }

#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result method parameters override;
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result method parameters const override;
#include "platform/sdk/TcamOperations.def"

 private:
   template<class Result, class Call>
   Result called( const Call& call ) const;
   template<class Result>
   Result answered( Result ofChip ) const;

   std::string name_;
   U32 baseEntryId_;
   Ref<StrataBoundedTcamEntryManager> chip_;
   AnsweringShim& shim_;
   Answers& answers_;
};

using RecordedManagers = std::map<std::string, Ref<AnsweringManager>>;

#define STRATA_ANSWERING_GROUP_MANAGER_ATTRIBUTES( ROW )

class AnsweringGroupManager final : public StrataTcamGroupManager
{
   VORMEL_ENTITY( AnsweringGroupManager, STRATA_ANSWERING_GROUP_MANAGER_ATTRIBUTES )

   AnsweringGroupManager( const RecordedManagers& managers, Answers& answers )
      : managers_( managers ),
        answers_( answers )
   {}

   Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const override;

 private:
   const RecordedManagers& managers_;
   Answers& answers_;
};

#define STRATA_ANSWERING_PORT_SW_TABLE_ATTRIBUTES( ROW )

class AnsweringPortSwTable final : public PortSwTable
{
   VORMEL_ENTITY( AnsweringPortSwTable, STRATA_ANSWERING_PORT_SW_TABLE_ATTRIBUTES )

   explicit AnsweringPortSwTable( Answers& answers ) : answers_( answers ) {}

   PortSwEntry entry( const StrataPort& port ) const override;
   void entryCommit( const StrataPort& port, const PortSwEntry& entry ) override;

 private:
   Answers& answers_;
};

} // namespace Strata::Desk
