// Reads lines: with editing, history, completion and help from a terminal, without them from other inputs.
#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

class LineReader
{
 public:
   virtual ~LineReader();
   /// Returns nothing at the end of the input.
   virtual std::optional<std::string> next() = 0;
};

/// From a stream, without a prompt.
class StreamReader : public LineReader
{
 public:
   explicit StreamReader( std::istream& in ) : in_( in ) {}
   /// Of a line that is too long only the first bytes; it is the last one.
   std::optional<std::string> next() override;

 private:
   std::istream& in_;
   std::string buffer_;
};

/// The words that can replace the last word of a line: they start with it.
struct Completion
{
   std::string word; // the last word as typed, with an opening quote; may be empty
   std::vector<std::string> candidates;
};

/// What the reader asks about the line up to the cursor.
struct LineGuide
{
   std::function<Completion( std::string_view line )> complete;
   /// Shows what can come next.
   std::function<void( std::string_view line )> explain;
};

/// From the terminal. Each line is in the history file, which sessions share, before it is returned. Ctrl-C discards
/// the line that is typed. Tabs in pasted text are blanks. Requires: an InterruptWatch.
class TerminalReader : public LineReader
{
 public:
   TerminalReader( std::string prompt, LineGuide guide );
   ~TerminalReader() override;

   std::optional<std::string> next() override;

 private:
   class Editor;
   std::unique_ptr<Editor> editor_;
};

} // namespace Strata::Tool
