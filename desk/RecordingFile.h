// A recording that was read from its file (docs/recording.md), record by record.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Strata::Desk {

using Json = nlohmann::ordered_json;

/// The kinds of records, under the names that they have in the file.
VORMEL_ENUM( RecordedKind, U8, header, unit, manager, state, input, call, make, drop, run, set, del,
   timer, returned, begin, end, question, notify, trace, log, fatal, chip, stop,
   unknown // of a newer writer
)

/// Whether the agent does it to the slice: everything else is what the slice does about it.
constexpr bool isInput( RecordedKind kind )
{
   return kind >= RecordedKind::input && kind <= RecordedKind::timer;
}
/// Whether a record of the kind `returned` ends it.
constexpr bool returns( RecordedKind kind )
{
   return kind >= RecordedKind::call && kind <= RecordedKind::del;
}

/// A file that is no recording, or a broken one. The text names the file and the line.
class RecordingError : public std::runtime_error
{
 public:
   RecordingError( const std::string& file, std::size_t line, const std::string& what );
};

struct RecordedLine
{
   RecordedKind kind;
   U64 number;
   std::size_t line; // in the file; the first is 1
   std::string text;

   /// All its members; those that the page lists are of their types, and there unless they may be missing.
   Json json() const;
};

class RecordingFile
{
 public:
   /// RecordingError if it cannot be read. A last line that was cut off is left out.
   explicit RecordingFile( const std::string& file );

   const std::string& name() const { return name_; }
   const std::vector<RecordedLine>& records() const { return records_; }
   /// The record `end` or `returned` that refers to this number; null if nothing refers to it.
   const RecordedLine* endOf( U64 number ) const;
   /// The record's cause in a few words; "no event" if it has none in this file.
   std::string eventText( const Json& record ) const;
   /// Whether it starts with the agent, and not with a later file of it.
   bool startsWithAgent() const { return startsWithAgent_; }
   /// What a reader should know: parts that were passed over, a line that was cut off.
   const std::vector<std::string>& notes() const { return notes_; }

   [[noreturn]] void fail( const RecordedLine& at, const std::string& what ) const
   {
      throw RecordingError( name_, at.line, what );
   }

 private:
   /// Checks the members and notes those that are unknown.
   RecordedLine checked( const Json& object, std::size_t line );
   void checkHeader( const Json& object, std::size_t line );

   std::string name_;
   std::vector<RecordedLine> records_;
   std::unordered_map<U64, std::size_t> ends_; // by the number of what they end
   bool startsWithAgent_ = true;
   std::vector<std::string> notes_;
   std::string unknown_; // the first unknown part
   std::size_t unknownCount_ = 0;
};

/// Whether the file begins as a recording does.
bool isRecording( const std::string& file );

/// std::runtime_error unless a recording may be written there: it replaces a recording, and nothing else that has contents.
/// `what` is to be written.
void checkReplaceable( const std::string& file, const std::string& what );

/// A record in a few words, for people: "bcm_field_qualify_Ttl( unit 0, entry 3, data 0, mask 255 )",
/// "scsd.vxlanEnabled = true", "call l3Init( true )".
std::string recordText( const Json& record );

} // namespace Strata::Desk
