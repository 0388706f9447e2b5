// Runs a piece of work in a copy of this process, to see whether and how it dies: an abort is the only truth
// about code that ends its process. What the copy does leaves this process untouched.
//
// For one thread: the process must have no other that the work depends on.
#pragma once

#include "tool/Console.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// How a child says that it broke a convention.
constexpr char brokenForm = 'B';

struct ChildEnd
{
   bool aborted = false;  // by abort()
   std::string how;       // "aborted", "ended with status 0", "was killed by signal 11"
   std::string errorText; // all of its standard error
   std::vector<std::pair<char, std::string>> lines; // what it sent, in order: form and text
};

/// The child ends with status 0 when the work returns, and with 1 when it throws; the exception's text is then
/// on its standard error. Standard output goes the way of standard error.
ChildEnd runInChild( const std::function<void( ChildChannel& )>& work );

} // namespace Strata::Tool
