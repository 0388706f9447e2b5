// Packets for the entries of the Field Processor.
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/CoverageView.h"
#include "tool/packet/EntryCover.h"
#include "tool/packet/EntryFindings.h"
#include "tool/packet/TableTrial.h"
#include "tool/view/Table.h"
#include "tool/words/Command.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

using Cover::Coverage;
using Cover::Outcome;
using nlohmann::ordered_json;
using Vormel::format;

struct CoverWords
{
   std::string range; // empty for all
   std::vector<U32> units;
   std::string directory{}; // of the packets' captures; empty for none
};

std::vector<std::string_view> rangeNames( const Session& session )
{
   std::vector<std::string_view> names;
   for( const Sim::FieldGroupProfile& group : session.agent().hardware().profile().groups )
      names.push_back( group.name );
   return names;
}

CoverWords takeRangeAndUnits( const Session& session, Words& words )
{
   CoverWords asked;
   const std::vector<std::string_view> ranges = rangeNames( session );
   const Word* const first = words.peek();
   asked.range = words.acceptOneOf( ranges );
   asked.units = session.takeUnits( words );
   if( first && words.peek() == first && first->text != "pcap" )
      words.failAt(
         *first, "there is no range '" + first->text + "'" +
                    didYouMean( first->text, ranges, "; the switch has " + joined( ranges ) ) );
   return asked;
}

std::string sectionOf( const Session& session, const Coverage& about )
{
   return rangeText( session, about.range, about.unit ) + ": " + about.name;
}

void showFindings( Session& session, const CoverWords& asked )
{
   Table table( { { "Finding" } } );
   for( const Coverage& about : entryCover( session, asked.units, asked.range ) ) {
      const std::vector<EntryFinding> findings = findingsOf( session, about );
      if( !findings.empty() )
         table.section( sectionOf( session, about ) );
      for( const auto& [ kind, finding ] : findings )
         table.row(
            { finding }, { { "unit", about.unit }, { "range", about.range }, { "id", about.id },
                            { "entry", about.name }, { "finding", finding } } );
   }
   session.console().table( "Findings about the entries", table );
}

void showCoverage( Session& session, const std::vector<Coverage>& all )
{
   session.console().table(
      "Packets for the entries",
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

/// Writes the frame of each packet that is found to a capture of its own: main-1016-unit-0.pcap.
void writeCaptures(
   Session& session, const std::vector<Coverage>& all, const std::string& directory )
{
   for( const Coverage& about : all ) {
      if( about.outcome != Outcome::found )
         continue;
      const std::string file =
         directory + format( "/%s-%d-unit-%d.pcap", about.range, about.id, about.unit );
      if( hasOtherContents( file ) )
         throw Vormel::ValueError( "'" + file + "' exists and is not a capture" );
      const Scene scene = sceneOf( session, about.rows, about.packet );
      const std::string problem = CaptureWriter( file ).add( scene.arrival.frame, 0 );
      if( !problem.empty() )
         throw Vormel::ValueError( problem );
   }
}

Act cover( const Session& session, Words& words )
{
   CoverWords asked = takeRangeAndUnits( session, words );
   const Word* directory = nullptr;
   if( words.accept( "pcap" ) ) {
      asked.directory = words.take( "a directory", "DIR" ).text;
      directory = words.last();
      if( !std::filesystem::is_directory( asked.directory ) )
         words.fail( "'" + asked.directory + "' is not a directory" );
   }
   needSolver( words );
   return [ asked, directory, &words ]( Session& live ) {
      const std::vector<Coverage> all = entryCover( live, asked.units, asked.range );
      showCoverage( live, all );
      if( directory && !live.checking() )
         words.blaming( *directory, [ & ] { writeCaptures( live, all, asked.directory ); } );
   };
}

Act lint( const Session& session, Words& words )
{
   const CoverWords asked = takeRangeAndUnits( session, words );
   needSolver( words );
   return [ asked ]( Session& live ) { showFindings( live, asked ); };
}

} // namespace

std::vector<Command> coverCommands()
{
   return {
      { "cover", "[RANGE] [unit N] [pcap DIR]",
         "find a packet that each entry wins, or prove that there is none", cover },
      { "lint", "[RANGE] [unit N]",
         "list entries that never win, have no effect, or whose actions do not go together", lint },
   };
}

} // namespace Strata::Tool
