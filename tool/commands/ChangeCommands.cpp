// What has changed in the chips since the last mark, and which writes have changed it.
#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/view/ChangesView.h"
#include "tool/words/Command.h"

#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>

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

U64 takeCount( Words& words, std::string_view what )
{
   return words.accept( "none" ) ? 0 : words.number( what, 0, std::numeric_limits<U32>::max() );
}

Act expectChanges( const Session&, Words& words )
{
   const U64 expected = takeCount( words, "a number of changes" );
   return [ expected ]( Session& live ) {
      const std::size_t found = changesSinceMark( live ).rows();
      live.expect( found == expected,
         "changes of the chips since the last mark: " + std::to_string( expected ),
         std::to_string( found ) + "; 'show changes' lists them" );
   };
}

struct WriteCount
{
   U64 times = 0;
   U64 redundant = 0;

   void add( const Sim::Record& record )
   {
      const std::string effect = record.field( "write" );
      times += effect.empty() ? 0 : 1;
      redundant += effect == "redundant" ? 1 : 0;
   }
};

WriteCount writesSinceMark( const Session& session )
{
   WriteCount all;
   for( const Sim::Record& record : session.window() )
      all.add( record );
   return all;
}

void showWrites( Session& session )
{
   std::map<std::pair<std::string, std::string>, WriteCount> counts; // by call and what it writes
   for( const Sim::Record& record : session.window() )
      if( !record.field( "write" ).empty() )
         counts[ { record.field( "call" ), writtenPlace( record, session.agent().hardware() ) } ]
            .add( record );
   Table table(
      { { "Call" }, { "Times", Align::right }, { "Redundant", Align::right }, { "What" } } );
   for( const auto& [ key, count ] : counts )
      table.row( { key.first, std::to_string( count.times ), std::to_string( count.redundant ),
                    key.second },
         { { "call", key.first }, { "what", key.second }, { "times", count.times },
            { "redundant", count.redundant } } );
   const WriteCount all = writesSinceMark( session );
   session.console().table( Vormel::format( "Writes since the last mark: %d, of which %d redundant",
                               all.times, all.redundant ),
      table );
}

Act expectWrites( const Session&, Words& words )
{
   words.expect( "redundant" );
   const U64 expected = takeCount( words, "a number of writes" );
   return [ expected ]( Session& live ) {
      const U64 found = writesSinceMark( live ).redundant;
      live.expect( found == expected,
         "redundant writes since the last mark: " + std::to_string( expected ),
         std::to_string( found ) + "; 'show writes' lists them" );
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
      { "show writes", "",
         "how often each part of the chips was written since the last mark, and how often with what it had",
         parseNone<showWrites>, true, true, true },
      { "expect writes", "redundant none|NUMBER",
         "so many writes since the last mark left the chip as it was", expectWrites, false, true,
         true },
   };
}

} // namespace Strata::Tool
