// Packets for the entries of the Field Processor.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/CoverageView.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/EntryFindings.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/TableTrial.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"
#include "tool/words/EntryChoice.h"

#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Tool {

namespace {

using Cover::Coverage;
using Cover::Outcome;
using nlohmann::ordered_json;
using Vormel::format;

struct CoverWords
{
   EntryChoice chosen;
   const Word* choice; // null if nothing is chosen
   std::vector<U32> units;
   std::string directory{}; // of the packets' captures; empty for none
};

CoverWords takeChoiceAndUnits( const Session& session, Words& words )
{
   constexpr std::array<std::string_view, 3> followers{ "unit", "pcap", "--json" };
   const Word* const first = words.peek();
   EntryChoice chosen = takeRangeOrEntry( session, words, followers );
   const Word* const choice = words.peek() == first ? nullptr : words.last();
   return { std::move( chosen ), choice, session.takeUnits( words ) };
}

/// InputError if the entry that is asked for is not in hardware.
std::vector<Coverage> coverOf( Session& session, const Words& words, const CoverWords& asked )
{
   std::vector<Coverage> all = entryCover( session, asked.units, asked.chosen );
   if( all.empty() && asked.chosen.isOne() )
      words.failAt(
         *asked.choice, notInHardware( session.agent().hardware(), asked.units, asked.chosen,
                           asked.units.size() == 1 ? format( "on unit %d", asked.units.front() )
                                                   : "on any unit" ) );
   return all;
}

/// With the reason why there is nothing to say about any entry.
std::string titleOf( const Session& session, const std::string& title, const CoverWords& asked,
   const std::vector<Coverage>& all )
{
   if( !all.empty() )
      return title;
   for( const U32 unit : asked.units )
      for( const Sim::FieldGroup& group : session.agent().hardware().chip( unit ).groups() )
         for( const auto& [ id, entry ] : group.entries() )
            if( entry.installed() )
               return title + ", of which none of " + asked.chosen.group +
                      " is in hardware; 'show room' lists the features that are off";
   return title + ", of which none is in hardware; 'bring-up' installs them";
}

std::string sectionOf( const Session& session, const Coverage& about )
{
   return rangeText( session, about.range, about.unit ) + ": " + about.name;
}

void showFindings( Session& session, const Words& words, const CoverWords& asked )
{
   Table table( { { "Finding" } } );
   const std::vector<Coverage> all = coverOf( session, words, asked );
   for( const Coverage& about : all ) {
      const std::vector<EntryFinding> findings = findingsOf( session, about );
      if( !findings.empty() )
         table.section( sectionOf( session, about ) );
      for( const auto& [ kind, finding ] : findings )
         table.row(
            { finding }, { { "unit", about.unit }, { "range", about.range }, { "id", about.id },
                            { "entry", about.name }, { "finding", finding } } );
   }
   session.console().table( titleOf( session, "Findings about the entries", asked, all ), table );
}

void showCoverage( Session& session, const CoverWords& asked, const std::vector<Coverage>& all )
{
   session.console().table(
      titleOf( session, "Packets for the entries", asked, all ),
      [ & ] {
         Table table( { { "Outcome" }, { "Packet, or what excludes it" } } );
         for( const Coverage& about : all ) {
            table.section( sectionOf( session, about ) );
            std::string outcome = Vormel::enumText( about.outcome );
            for( const std::string& line : coverageLines( session, about ) )
               table.row( { std::exchange( outcome, {} ), line } );
         }
         return table;
      },
      [ & ] {
         auto rows = ordered_json::array();
         for( const Coverage& about : all )
            rows.push_back( coverageJson( session, about ) );
         return rows;
      } );
}

/// How the frame of a packet comes in and what becomes of it, the commands that it needs, and the entries that it wins.
CaptureWriter::Note noteOf( Session& session, const Coverage& about, const Sim::Arrival& arrival )
{
   Sim::Explanation explanation;
   const Sim::Verdict verdict =
      *tryPacket( session, about.rows, about.packet, &explanation ).verdict;
   const Sim::PacketEngine& engine = session.packets().engine();
   std::string fate = "what becomes of it: " + engine.summary( verdict );
   for( const std::string& row : about.rows )
      fate += "\nneeds " + row;
   fate += "\nexplain " + about.packet;
   return { engine.arrivalName( arrival ),
      frameComment( engine, arrival, verdict, explanation, 0, fate ) };
}

/// Writes the frame of each packet that is found to a capture of its own: main-1016-unit-0.pcapng.
void writeCaptures(
   Session& session, const std::vector<Coverage>& all, const std::string& directory )
{
   std::vector<std::pair<std::string, const Coverage*>> files;
   for( const Coverage& about : all )
      if( about.outcome == Outcome::found )
         files.emplace_back(
            directory + format( "/%s-%d-unit-%d.pcapng", about.range, about.id, about.unit ),
            &about );
   for( const auto& [ file, about ] : files )
      if( hasOtherContents( file ) || std::filesystem::is_directory( file ) )
         throw Vormel::ValueError( "'" + file + "' exists and is not a capture" );
   for( const auto& [ file, about ] : files ) {
      const Scene scene = sceneOf( session, about->rows, about->packet );
      const std::string problem = CaptureWriter( file ).add(
         scene.arrival.frame, 0, noteOf( session, *about, scene.arrival ) );
      if( !problem.empty() )
         throw Vormel::ValueError( problem );
   }
}

Act cover( const Session& session, Words& words )
{
   CoverWords asked = takeChoiceAndUnits( session, words );
   const Word* directory = nullptr;
   if( words.accept( "pcap" ) ) {
      asked.directory = words.take( "a directory", "DIR" ).text;
      directory = words.last();
      if( !std::filesystem::is_directory( asked.directory ) )
         words.fail( "'" + asked.directory + "' is not a directory" );
   }
   needSolver( words );
   return [ asked, directory, &words ]( Session& live ) {
      const std::vector<Coverage> all = coverOf( live, words, asked );
      showCoverage( live, asked, all );
      if( directory && !live.checking() )
         words.blaming( *directory, [ & ] { writeCaptures( live, all, asked.directory ); } );
   };
}

Act lint( const Session& session, Words& words )
{
   const CoverWords asked = takeChoiceAndUnits( session, words );
   needSolver( words );
   return [ asked, &words ]( Session& live ) { showFindings( live, words, asked ); };
}

} // namespace

std::vector<Command> coverCommands()
{
   return {
      { "cover", "[RANGE|ENTRY] [unit N] [pcap DIR]",
         "find a packet that each entry wins, or prove that there is none", cover },
      { "lint", "[RANGE|ENTRY] [unit N]",
         "list entries that never win, have no effect, or whose actions do not go together", lint },
   };
}

} // namespace Strata::Tool
