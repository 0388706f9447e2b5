// Changes as texts, and a subscriber that passes them on.
#pragma once

#include "platform/runtime/Entity.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Publisher.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace Vormel {

VORMEL_ENUM_NAMES( ChangeKind, { ChangeKind::Changed, "changed" },
   { ChangeKind::Inserted, "inserted" }, { ChangeKind::Removed, "removed" } )

/// One published change, in texts.
struct VORMEL_EXPORT ChangeText
{
   std::string object; // the watcher's name for it
   std::string attribute;
   AttributeNumber number;
   ChangeKind kind;
   std::string key;      // empty for scalars
   std::string oldValue; // empty for a new member
   std::string newValue; // empty for a removed one; the present value if it has changed again

   /// "helper.useLb (157): false -> true", "helper.unknownMacCountersPerTc[3] (154): inserted 0"
   std::string line() const;
   /// "changed", "inserted" or "removed"
   std::string_view kindName() const;
};

/// Requires: the activity lock is held.
VORMEL_EXPORT ChangeText describeChange( std::string object, const Change& change );

/// The number of changes that were published to subscribers since the process started: of inputs, the helper and all
/// other entities, a change of several subscribers once. Requires: the activity lock is held.
VORMEL_EXPORT U64 changesPublished() noexcept;

/// Passes every change of one entity to a sink during the watcher's lifetime. Requires: the activity lock is held.
class VORMEL_EXPORT ChangeWatcher final : public Subscriber
{
 public:
   using Sink = std::function<void( const ChangeText& )>;

   /// Holds a reference to the entity. The name is used in the texts; if empty, it is the type's name without
   /// namespaces. Without a sink the watcher only counts. An exception of the sink ends the process.
   explicit ChangeWatcher( Ref<const Entity> entity, std::string name = {}, Sink sink = {} );
   ~ChangeWatcher();
   ChangeWatcher( const ChangeWatcher& ) = delete;
   ChangeWatcher& operator=( const ChangeWatcher& ) = delete;

   /// The number of changes.
   U64 changes() const { return changes_; }
   /// The number of changes of each attribute, by its number.
   const std::map<AttributeNumber, U64>& changesByNumber() const { return byNumber_; }

   void onChange( const Change& change ) noexcept override;

 private:
   Ref<const Entity> entity_;
   std::string name_;
   Sink sink_;
   U64 changes_ = 0;
   std::map<AttributeNumber, U64> byNumber_;
};

} // namespace Vormel
