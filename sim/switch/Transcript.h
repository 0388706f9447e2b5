// The one ordered transcript: hardware calls, entry-manager calls, notifications, traces, log
// messages and all other events, in order. It does not depend on pointers, times or hash order, so
// two runs of the same events differ only if the behaviour differs.
//
// Records may be added from any thread; records() is for the thread that drives the switch.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <array>
#include <concepts>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
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
   note )   // what becomes of the chips without the slice

/// An array, an object or null, as JSON.
struct JsonText
{
   std::string json;
   std::string text{}; // the same for people; expectations are compared with it
};

/// A named value of a record, for programs.
struct RecordField
{
   using Value = std::variant<bool, S64, U64, std::string, std::shared_ptr<const JsonText>>;

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
        value( std::make_shared<const JsonText>( std::move( v ) ) )
   {}
   RecordField( std::string_view fieldName, const char* v )
      : RecordField( fieldName, std::string( v ) )
   {}

   std::string_view name; // of static duration
   Value value;
};

/// What a record says, in words and in values.
struct RecordContent
{
   std::string text; // without the kind
   std::vector<RecordField> fields{};
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
   using Filter = std::function<bool( RecordKind )>;

   void add( RecordKind kind, std::string text, std::vector<RecordField> fields = {} )
   {
      add( kind, RecordContent{ std::move( text ), std::move( fields ) } );
   }
   void add( RecordKind kind, RecordContent content );
   /// `make` returns the record's content. It runs only if the record is kept or heard; otherwise the record has its
   /// number and is counted.
   template<std::invocable Make>
   void add( RecordKind kind, Make make )
   {
      if( wants( kind ) )
         add( kind, make() );
      else
         pass( kind );
   }

   /// The kept records. It and its elements remain valid while records are added.
   const std::deque<Record>& records() const { return records_; }
   U64 size() const { return records_.size(); }
   /// The number of the record that was added last; 0 for none.
   U64 lastNumber() const;
   /// Lets numbers go on behind this one.
   void lastNumberIs( U64 number );
   /// The number of records of a kind that were added, including those that were not kept.
   U64 count( RecordKind kind ) const;

   /// Gets each record of a kind that it hears, all of them without a filter, when it is added, and must not add any. A
   /// listener that writes a file flushes it, so that a crash loses no line. Empty for none.
   void listenerIs( Listener listener, Filter hears = {} );

   /// Whether records are kept; initially true. Otherwise only numbers, counts and the listener
   /// continue.
   void keepIs( bool keep );
   /// Removes the kept records; numbers continue.
   void clear();

 private:
   /// Whether a record of the kind is kept or heard.
   bool wants( RecordKind kind ) const;
   bool hears( RecordKind kind ) const { return listener_ && ( !hears_ || hears_( kind ) ); }
   void pass( RecordKind kind );

   mutable std::recursive_mutex mutex_; // the listener may cause further records
   std::deque<Record> records_;
   std::array<U64, Vormel::enumTable<RecordKind>.size()> counts_{};
   Listener listener_;
   Filter hears_;
   U64 added_ = 0;
   bool keep_ = true;
};

} // namespace Strata::Sim
