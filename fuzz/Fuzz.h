// What the targets share. libFuzzer calls the LLVMFuzzerTestOneInput() of a target with one input after another. An
// input that aborts the process, takes too long or too much memory is a finding.
#pragma once

#include "platform/runtime/Types.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size );

namespace Strata::Tool {
class Session;
} // namespace Strata::Tool

namespace Strata::Fuzz {

using Input = std::span<const U8>;

/// Unless it holds, writes the text to standard error and aborts: a finding.
void require( bool holds, std::string_view text );

/// A file in memory, with a name under which other code can open it.
class MemoryFile
{
 public:
   explicit MemoryFile( Input contents = {} );
   ~MemoryFile();
   MemoryFile( const MemoryFile& ) = delete;
   MemoryFile& operator=( const MemoryFile& ) = delete;

   const std::string& name() const { return name_; }

 private:
   int descriptor_;
   std::string name_;
};

/// A session with the switch of fuzz/switch.scenario; another scenario can be named by the environment variable
/// STRATA_FUZZ_SWITCH. Lives until the process ends, and so does the activity lock that it holds. Its output is dropped.
Tool::Session& session();

} // namespace Strata::Fuzz
