// What the search for packets says about entries, in words.
#pragma once

#include "cover/Cover.h"
#include "platform/runtime/Types.h"
#include "report/Chronicle.h"

#include <string>
#include <vector>

namespace Strata::Tool {

class Session;

/// The name of an entry in the range that was searched, or its id.
std::string nameOf( const Session& session, const Cover::Coverage& about, U32 id );
/// The names of the entries that take all of its packets.
std::vector<std::string> blockerNames( const Session& session, const Cover::Coverage& about );
/// What excludes each packet.
std::string proofText( const Session& session, const Cover::Coverage& about );
struct EntryFinding
{
   Report::FindingKind kind;
   std::string text;
};
/// What is wrong with the entry: it never wins, has no effect, or its actions do not go together.
std::vector<EntryFinding> findingsOf( const Session& session, const Cover::Coverage& about );

} // namespace Strata::Tool
