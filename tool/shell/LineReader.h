// Lines from whoever types: with editing, history and completion on a terminal, plainly from anything else.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

/// What can stand where the last word of a line begins, whole words that start with what is there.
using Completer = std::function<std::vector<std::string>( std::string_view line )>;

class LineReader
{
 public:
   virtual ~LineReader();
   /// Nothing at the end of the input.
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

/// From the terminal. The history is kept in a file from one time to the next. One per process.
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
   std::string historyFile_; // empty when there is no place for one
};

} // namespace Strata::Tool
