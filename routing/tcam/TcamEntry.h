// The common steps of all FP entries: claim, install with its assertion, recording, removal.
//
// An operation that makes an entry reads like a table:
//
//    TcamEntry entry( tcamManager(), TcamL3EntryId::mplsPkt, "mpls traffic drop" );
//    for( const auto& i : shared().units() ) {
//       const U32 entryId = entry.claim( i.key() );
//       CHECKED( bcm_field_qualify_... );
//       CHECKED( bcm_field_action_add( ... ) );
//       entry.install( i.key() );
//    }
//    tcamEntryMplsPktIs( entry.recordable() );
//    entry.traceAllocated( __func__, "Allocated mpls traffic drop tcam entry (ID:" );
#pragma once

#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/StrataCommonSmData.h"
#include "routing/TcamL3EntryId.h"

#include <memory>
#include <string>

namespace Strata {

using Vormel::Ref;

/// Whether the slice has its entry manager. If not, a level-1 trace says that `operation` is skipped.
bool hasManager( const Ref<StrataBoundedTcamEntryManager>& manager, const char* operation );

/// Claims an entry with the default request. The name is a pointer, so that the binary contains it as one string: an
/// optimising compiler splits the literal that a std::string is constructed from.
U32 claimEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId, const char* name );

/// Each fails an assertion, such as "rc == BCM_E_NONE && \"installEntry failed\"", on any other code, after a level-1
/// trace with id, unit and code, and the entry's name if it is given.
void installEntry(
   StrataTcamEntryManager& manager, U32 unit, U32 entryId, const char* name = nullptr );
void reinstallEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId );
void enableEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId, bool enable );

/// Qualifies on arrival by one of `ports`, by class or by port set, depending on the manager's group.
void qualifyInPorts( StrataTcamEntryManager& manager, U32 unit, U32 entryId,
   const PortBitmap& ports, const PortBitmap& allPorts );
/// Qualifies on packets that have not passed through the recirculation port.
void qualifyOutLoopback( StrataTcamEntryManager& manager, U32 unit, U32 entryId, int recircPort,
   const PortBitmap& allPorts );

/// Releases a recorded entry on every unit, if the id is not 0. Returns the id to record now, which is 0.
U32 deleteEntry(
   const Ref<StrataBoundedTcamEntryManager>& manager, const UnitTable& units, U32 recordedId );

class TcamEntry
{
 public:
   /// Requires: the manager is not null.
   TcamEntry( const Ref<StrataBoundedTcamEntryManager>& manager, U32 offset, const char* name );
   TcamEntry(
      const Ref<StrataBoundedTcamEntryManager>& manager, TcamL3EntryId offset, const char* name )
      : TcamEntry( manager, static_cast<U32>( offset ), name )
   {}
   TcamEntry( const TcamEntry& ) = delete;
   TcamEntry& operator=( const TcamEntry& ) = delete;
   ~TcamEntry();

   U32 id() const { return id_; }

   U32 claim( U32 unit );
   void install( U32 unit );
   /// For a unit that cannot have the entry: releases it there if it was recorded.
   void passOver( U32 unit, U32 recordedId );

   /// The id to record; 0 when no unit carries the entry.
   U32 recordable() const { return carried_ ? id_ : 0; }
   /// Traces `text` and the id, if a unit carries the entry. Requires: the id has been recorded.
   void traceAllocated( const char* operation, const char* text ) const;

 private:
   Ref<StrataBoundedTcamEntryManager> manager_;
   U32 id_;
   std::unique_ptr<std::string> name_; // each claim takes it as a string
   bool carried_ = false;
};

} // namespace Strata
