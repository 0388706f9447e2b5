// Reads lines: with editing, history and completion from a terminal, without them from other inputs.
#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

/// The whole words that can replace the last word of a line and start with it.
using Completer = std::function<std::vector<std::string>( std::string_view line )>;

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
   std::optional<std::string> next() override;

 private:
   std::istream& in_;
};

/// From the terminal. The history is kept in a file between sessions. One per process.
class TerminalReader : public LineReader
{
 public:
   TerminalReader( std::string prompt, Completer completer );
   ~TerminalReader() override;
   TerminalReader( const TerminalReader& ) = delete;
   TerminalReader& operator=( const TerminalReader& ) = delete;

   std::optional<std::string> next() override;

 private:
   std::string prompt_;
   std::string historyFile_; // empty if there is no directory for it
};

} // namespace Strata::Tool
