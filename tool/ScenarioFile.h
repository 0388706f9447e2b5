// The lines of a scenario, read one by one while they are run, so that a file of any length needs little memory. A
// regular file, a pipe or a terminal can be a scenario; a directory or another device cannot.
#pragma once

#include "tool/words/Words.h"

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Strata::Tool {

/// A scenario cannot be read; the text names it and says why.
class ScenarioFileError : public std::runtime_error
{
 public:
   using std::runtime_error::runtime_error;
};

class ScenarioFile
{
 public:
   /// "-" is standard input. Opening a pipe does not wait for its writer. ScenarioFileError if it cannot be a scenario.
   /// `inclusion` is that of its lines.
   explicit ScenarioFile(
      const std::string& file, std::shared_ptr<const Inclusion> inclusion = {} );
   ScenarioFile( const ScenarioFile& ) = delete;
   ScenarioFile& operator=( const ScenarioFile& ) = delete;
   ~ScenarioFile();

   /// Called once, when the file is not regular and has delivered nothing for a second.
   void whenItWaits( std::function<void()> waits ) { waits_ = std::move( waits ); }

   /// The next line; none at the end. InputError for a line that is too long or not text; the next call continues
   /// behind it. ScenarioFileError if reading fails.
   std::optional<Line> next();

   /// As it is named in reports.
   const std::string& name() const { return name_; }

 private:
   [[noreturn]] void fail( const std::string& why ) const;
   void await();
   /// Reads more into the buffer; false at the end.
   bool fill();
   std::optional<std::string> nextText();

   std::string file_;
   std::string name_;
   std::shared_ptr<const Inclusion> inclusion_;
   int descriptor_ = -1;
   bool regular_ = false;
   std::function<void()> waits_;
   std::string buffer_; // what was read
   std::size_t at_ = 0; // the start of the next line in it
   bool skips_ = false; // the rest of a line that is too long
   U32 number_ = 0;     // of the last line
};

/// The file that an `include` line names: relative to the directory of its own file, and absolute names as they are. What
/// is typed in the shell is in no directory.
std::string includedFile( const Line& line, const std::string& name );

/// Whether a run of the scenario reads the file, itself or by `include`, as far as it can be told before the run: a pipe
/// can be read only once.
bool readsFile( const std::string& scenario, const std::string& file );

} // namespace Strata::Tool
