// Commands of the shell that scenarios do not have.
#include "tool/Session.h"
#include "tool/view/Catalogue.h"
#include "tool/words/Command.h"

namespace Strata::Tool {

namespace {

Act help( const Session&, Words& words )
{
   const std::string name = takeNameStart( words );
   return [ name ]( Session& live ) {
      live.console().table( "Commands", name.empty() ? overviewTable() : helpTable( name ) );
   };
}

Act setLength( const Session&, Words& words )
{
   const U32 lines = words.value<U32>( "the lines of a screen, 0 for no pager" );
   return [ lines ]( Session& live ) { live.console().lengthIs( lines ); };
}

void quit( Session& session )
{
   session.quit();
}

} // namespace

std::vector<Command> shellCommands()
{
   return {
      { "help", "[COMMAND]", "list the commands, or explain one", help, true, false },
      { "terminal length", "N", "page output that is longer than N lines; 0 for no pager",
         setLength, false, false },
      { "quit", "", "end the shell", parseNone<quit>, false, false },
      { "exit", "", "end the shell", parseNone<quit>, false, false },
   };
}

} // namespace Strata::Tool
