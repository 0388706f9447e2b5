// Runs a piece of work in a copy of this process, to find out whether and how it dies. Only a real abort shows how
// code behaves that ends its process. The copy does not change the state of this process.
//
// Requires: the work does not depend on another thread of this process.
#pragma once

#include "tool/view/Console.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// The first character of a child's message that it broke a convention.
constexpr char brokenForm = 'B';

struct ChildEnd
{
   bool aborted = false;  // by abort()
   std::string how;       // "aborted", "ended with status 0", "was killed by signal 11"
   std::string errorText; // all of its standard error
   std::vector<std::pair<char, std::string>>
      lines; // the lines that it sent, in order: form and text

   bool gotThrough() const { return how == "ended with status 0"; }
   bool wasRefused() const { return how == "ended with status 1"; }
   /// "would be refused: WHY" or "would die: WHY", in one line, of work that is a command's. Requires: it has not got
   /// through.
   std::string obstacle() const;
};

/// The child ends with status 0 when the work returns, and with 1 when it throws; the exception's text is then
/// on its standard error. Standard output is captured together with standard error.
ChildEnd runInChild( const std::function<void( ChildChannel& )>& work );

} // namespace Strata::Tool
