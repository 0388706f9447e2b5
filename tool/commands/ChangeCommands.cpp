// What has changed in the chips since the last mark.
#include "tool/Session.h"
#include "tool/view/ChangesView.h"
#include "tool/words/Command.h"

#include <limits>
#include <string>

namespace Strata::Tool {

namespace {

Table changesSinceMark( const Session& session )
{
   return changesTable(
      Desk::differences( session.stateAtMark(), Desk::SwitchState( session.agent().hardware() ) ) );
}

void showChanges( Session& session )
{
   session.console().table(
      "Changes of the chips since the last mark", changesSinceMark( session ) );
}

Act expectChanges( const Session&, Words& words )
{
   const U64 expected = words.accept( "none" ) ? 0
                                               : words.number( "a number of changes", 0,
                                                    std::numeric_limits<U32>::max() );
   return [ expected ]( Session& live ) {
      const std::size_t found = changesSinceMark( live ).rows();
      live.expect( found == expected,
         "changes of the chips since the last mark: " + std::to_string( expected ),
         std::to_string( found ) + "; 'show changes' lists them" );
   };
}

} // namespace

std::vector<Command> changeCommands()
{
   return {
      { "show changes", "",
         "what has changed in the chips since the last mark, and by which command",
         parseNone<showChanges> },
      { "expect changes", "none|NUMBER",
         "so many rows of 'show changes': what the chips hold differs from the last mark",
         expectChanges, false },
   };
}

} // namespace Strata::Tool
