// The one ordered transcript: hardware calls, entry-manager calls, notifications, traces, log
// messages and all other events, in order. It does not depend on pointers, times or hash order, so
// two runs of the same events differ only if the behaviour differs.
//
// Records may be added from any thread; records() is for the thread that drives the switch.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <array>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Strata::Sim {

VORMEL_ENUM( RecordKind, U8,
   call,   // an SDK operation
   entry,  // an entry-manager operation
   notify, // a published change
   trace, log,
   fatal,  // a line that says why the agent ends
   error,  // the shim's error hook: the agent is about to end
   claim,  // a claim that an entry manager refused
   breach, // a broken convention
   packet,
   command, // a command of the tool
   note )

/// An array or object, as JSON.
struct JsonText
{
   std::string text;
};

/// A named value of a record, for programs.
struct RecordField
{
   using Value = std::variant<bool, S64, U64, std::string, JsonText>;

   RecordField( std::string_view fieldName, bool v ) : name( fieldName ), value( v ) {}
   RecordField( std::string_view fieldName, S64 v ) : name( fieldName ), value( v ) {}
   RecordField( std::string_view fieldName, S32 v ) : RecordField( fieldName, S64{ v } ) {}
   RecordField( std::string_view fieldName, U64 v ) : name( fieldName ), value( v ) {}
   RecordField( std::string_view fieldName, U32 v ) : RecordField( fieldName, U64{ v } ) {}
   RecordField( std::string_view fieldName, std::string v )
      : name( fieldName ),
        value( std::move( v ) )
   {}
   RecordField( std::string_view fieldName, std::string_view v )
      : RecordField( fieldName, std::string( v ) )
   {}
   RecordField( std::string_view fieldName, JsonText v )
      : name( fieldName ),
        value( std::move( v ) )
   {}
   RecordField( std::string_view fieldName, const char* v )
      : RecordField( fieldName, std::string( v ) )
   {}

   std::string name;
   Value value;
};

struct Record
{
   U64 number; // 1 is the transcript's first
   RecordKind kind;
   std::string text; // readable text, without the kind
   std::vector<RecordField> fields;

   /// "call   bcm_field_lock( unit 0 )"
   std::string line() const;
   /// One JSON object: number, kind, then the fields in order.
   std::string json() const;
   /// The field as text; empty if the record has no field of that name.
   std::string field( std::string_view name ) const;
};

class Transcript
{
 public:
   using Listener = std::function<void( const Record& )>;

   void add( RecordKind kind, std::string text, std::vector<RecordField> fields = {} );

   /// It and its elements remain valid while records are added.
   const std::deque<Record>& records() const { return records_; }
   U64 size() const { return records_.size(); }
   /// The number of the record that was added last; 0 for none.
   U64 lastNumber() const;
   /// The number of records of a kind that were added, including those that were not kept.
   U64 count( RecordKind kind ) const;

   /// Gets each record when it is added and must not add any. A listener that writes a file flushes it,
   /// so that a crash loses no line. Empty for none.
   void listenerIs( Listener listener );

   /// Whether records are kept; initially true. Otherwise only numbers, counts and the listener
   /// continue.
   void keepIs( bool keep ) { keep_ = keep; }
   /// Removes the kept records; numbers continue.
   void clear() { records_.clear(); }

 private:
   mutable std::mutex mutex_;
   std::deque<Record> records_;
   std::array<U64, Vormel::enumTable<RecordKind>.size()> counts_{};
   Listener listener_;
   U64 added_ = 0;
   bool keep_ = true;
};

} // namespace Strata::Sim
