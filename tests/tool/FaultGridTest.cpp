// Every hardware call of every scenario fails in every way: the agent dies as prescribed, or what is wrong afterwards is
// where the fault was.
//
// STRATA_FAULTS=all: not a sample. STRATA_WATCHED: every how many faults of the sample are tried.
#include "desk/SwitchState.h"
#include "platform/runtime/Activity.h"
#include "tests/FromEnvironment.h"
#include "tests/tool/CommandLine.h"
#include "tool/ChildProcess.h"
#include "tool/ScenarioFile.h"
#include "tool/Session.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Strata::Tool {
namespace {

using Sim::FaultKind;
using Sim::RecordKind;
using Sim::SdkCode;

/// All faults of the n-th call of this name.
std::vector<Sim::Fault> faultsOf( const std::string& call, U64 nth )
{
   std::vector<Sim::Fault> faults;
   for( const SdkCode code : { SdkCode::Fail, SdkCode::Timeout, SdkCode::Resource,
           SdkCode::NotFound, SdkCode::Unavail, SdkCode{ 1 } } )
      for( const bool always : { false, true } )
         faults.push_back( { .call = call, .nth = nth, .code = code, .always = always } );
   if( call == "getEntry" )
      faults.resize( 2 ); // it returns 0 with any code
   if( call == "removeEntry" || call == "releaseEntry" )
      faults.clear();
   for( const FaultKind kind : { FaultKind::lost, FaultKind::twice, FaultKind::throws } )
      faults.push_back( { .call = call, .nth = nth, .kind = kind } );
   return faults;
}

/// The name of the call in an error line.
std::string errorName( const Sim::Fault& fault )
{
   const bool locks = fault.call == "bcm_field_lock" || fault.call == "bcm_field_unlock";
   return locks ? "FP_LOCK_INTERNAL_CHK" : fault.call;
}

/// The chips, a line for each value, in order: "UNIT|TITLE|FIELD|VALUE".
std::vector<std::string> chipsOf( const Sim::SimSwitch& hardware )
{
   const Desk::SwitchState state( hardware );
   std::vector<std::string> lines;
   for( const auto& [ key, part ] : state.parts() )
      for( const Desk::Field& field : part.fields )
         lines.push_back(
            std::to_string( key.unit ) + "|" + part.title + "|" + field.name + "|" + field.value );
   std::ranges::sort( lines );
   return lines;
}

/// The start, and behind '|' a part, of the lines about what a call is made on.
std::string placeOf( const Sim::Record& record )
{
   const std::string unit = record.field( "unit" ) + "|";
   using Title = std::pair<const char*, const char*>;
   for( const auto& [ field, title ] :
      { Title{ "id", " " }, Title{ "reg", "register " }, Title{ "index", "my-station " },
         Title{ "vlanId", "VLAN " }, Title{ "entry", " " }, Title{ "control", "control " } } )
      if( const std::string value = record.field( field ); !value.empty() )
         return unit + title + value;
   const bool isMisc = record.field( "call" ).find( "ING_MISC" ) != std::string::npos;
   return unit + ( isMisc ? "register ING_MISC_CONFIGr" : "options profile" );
}

/// What the copy of the process sends that has a fault.
enum Form : char
{
   struckForm = 'S', // the unit of a call that was struck, and behind '|' what it was made on
   afterForm = 'A',  // a call behind the first strike
   breachForm = 'B',
   noUrpfForm = 'U',    // the log message that uRPF has no entry
   refusedForm = 'R',   // why the line was refused, as with an exception
   heldForm = 'H',      // a lock or phase, at its end
   differentForm = 'D', // a line of the chips that is there only with the fault, or only without it
};

struct Ending
{
   ChildEnd child;

   std::vector<std::string> of( Form form ) const
   {
      std::vector<std::string> texts;
      for( const auto& [ sent, text ] : child.lines )
         if( sent == form )
            texts.push_back( text );
      return texts;
   }
   bool has( Form form ) const { return !of( form ).empty(); }
   bool says( const std::string& text ) const { return child.errorText.find( text ) != text.npos; }
};

/// Its parameter is a group of scenarios.
class FaultGrid : public testing::TestWithParam<std::vector<std::string>>
{
 protected:
   using Visit = std::function<void( const Line& )>;

   /// Runs the scenarios. `visit` comes before each line, `calls` gets its calls.
   void walk( const Visit& visit, const RecordListener& calls = {} )
   {
      std::ofstream nothing( "/dev/null" );
      Console console( nothing, nothing, {} );
      line_ = 0;
      for( const std::string& file : GetParam() ) {
         Session session( console, { .listener = calls } );
         session_ = &session;
         scenario_ = file;
         walkFile( file, {}, visit );
      }
   }

   bool canHaveFaults( const Line& line ) const
   {
      Words words( line );
      return session_->hasAgent() && takeCommand( words ).isEvent() &&
             session_->agent().hardware().faults().armed().empty();
   }

   /// `chips` are their lines without the fault, in order.
   Ending endingOf( const Line& line, const std::optional<Sim::Fault>& fault,
      const std::vector<std::string>& chips );

   Session* session_ = nullptr;
   std::string scenario_;
   std::size_t line_ = 0; // of all scenarios, from 1

 private:
   void walkFile( const std::string& file, const std::shared_ptr<const Inclusion>& inclusion,
      const Visit& visit )
   {
      ScenarioFile lines( file, inclusion );
      while( const std::optional<Line> line = lines.next() ) {
         if( line->words.empty() )
            continue;
         if( line->words.front().text == "include" ) {
            walkFile( includedFile( *line, line->words.at( 1 ).text ),
               std::make_shared<const Inclusion>(
                  Inclusion{ line->file, line->number, inclusion } ),
               visit );
            continue;
         }
         ++line_;
         visit( *line );
         session_->run( *line );
      }
   }

   Vormel::LockAnchor lock_{ Vormel::activityLock() };
};

/// Sends what is recorded, if it is whole.
void report( const Sim::Record& record, bool& struck, ChildChannel& channel )
{
   const bool injected = nlohmann::json::parse( record.json() ).value( "injected", false );
   if( record.kind == RecordKind::breach )
      channel.send( breachForm, record.text );
   if( record.kind == RecordKind::log &&
       record.text.find( "URPF_HW_RESOURCE_FULL" ) != std::string::npos )
      channel.send( noUrpfForm, record.text );
   if( record.kind != RecordKind::call && record.kind != RecordKind::entry )
      return;
   if( std::exchange( struck, struck || injected ) )
      channel.send( afterForm, record.text );
   if( injected )
      channel.send( struckForm, placeOf( record ) );
}

void reportHeld( Agent& agent, ChildChannel& channel )
{
   if( !Vormel::activityLock().heldByThisThread() )
      channel.send( heldForm, "not the activity lock" );
   if( agent.helper()->l3Initializing() || agent.helper()->l3CleaningUp() )
      channel.send( heldForm, "a phase" );
   for( const auto& [ unit, chip ] : agent.hardware().chips() )
      if( chip.fieldLocked )
         channel.send( heldForm, "an FP lock" );
}

Ending FaultGrid::endingOf(
   const Line& line, const std::optional<Sim::Fault>& fault, const std::vector<std::string>& chips )
{
   return { runInChild( [ & ]( ChildChannel& channel ) {
      ::alarm( 20 );
      Sim::SimSwitch& hardware = session_->agent().hardware();
      hardware.critic().collect();
      bool struck = false;
      hardware.transcript().listenerIs(
         [ & ]( const Sim::Record& record ) { report( record, struck, channel ); } );
      if( fault )
         hardware.faults().inject( *fault );
      try {
         session_->run( line );
      } catch( const InputError& error ) {
         channel.send( refusedForm, error.problem() );
      }
      reportHeld( session_->agent(), channel );
      std::vector<std::string> different;
      std::ranges::set_symmetric_difference(
         chips, chipsOf( hardware ), std::back_inserter( different ) );
      for( const std::string& text : different )
         channel.send( differentForm, text );
   } ) };
}

/// Whether what is different, or a call, is about the place of a call that was struck.
bool isNamed( const std::string& text, const std::string& place )
{
   const std::size_t bar = place.find( '|' ) + 1;
   return text.starts_with( place.substr( 0, bar ) ) &&
          ( text.find( place.substr( bar ) ) != text.npos ||
             ( place[ bar ] == ' ' && text.find( "|room of " ) != text.npos ) );
}

/// Whether the agent died of what the fault had left behind: of a call on a struck entry, or of a MAC that it reads back.
bool follows( const Sim::Fault& fault, const Ending& ending )
{
   const std::vector<std::string> after = ending.of( afterForm );
   if( fault.kind == FaultKind::twice )
      return after.empty() && ending.says( errorName( fault ) + "(" ) &&
             ending.says( " API ERROR:" );
   if( fault.call == "getEntry" && ending.says( "Assertion 'entryId == group" ) )
      return true;
   if( fault.call.starts_with( "soc_mem_" ) )
      return ending.says( "routing/chip/MyStation.cpp" ) && ending.says( ": Assertion '" ) &&
             !ending.says( "API ERROR" );
   const std::vector<std::string> places = ending.of( struckForm );
   return !after.empty() && after.back().ends_with( " -> BCM_E_NOT_FOUND" ) &&
          std::ranges::any_of( places, [ & ]( const std::string& place ) {
             return after.back().find( place.substr( place.find( '|' ) + 1 ) ) != place.npos;
          } );
}

/// The class of the outcome; "WRONG: ..." if it is not as prescribed.
std::string judged( const Sim::Fault& fault, const Ending& ending )
{
   const bool sdk = std::ranges::count( roleNames<SdkOperation>, fault.call ) != 0;
   const bool died = ending.child.aborted;
   const std::vector<std::string> after = ending.of( afterForm );
   if( !ending.has( struckForm ) )
      return "WRONG: it was not struck";
   if( !died && ending.child.how != "ended with status 0" )
      return "WRONG: it neither ended nor died";
   for( const std::string& held : ending.of( heldForm ) )
      if( fault.call != "bcm_field_unlock" || held != "an FP lock" )
         return "WRONG: it holds " + held;
   if( std::ranges::count( ending.child.errorText, '\n' ) > 2 )
      return "WRONG: it says too much";
   if( fault.kind == FaultKind::throws ) {
      const std::string text = "an injected exception of " + fault.call;
      const std::vector<std::string> refused = ending.of( refusedForm );
      const bool thrown = died ? ending.says( text ) && ending.says( "terminate called" )
                               : refused.size() == 1 && refused[ 0 ].starts_with( text );
      const bool last = std::ranges::all_of(
         after, []( const auto& call ) { return call.starts_with( "bcm_field_unlock" ); } );
      return thrown && last && !ending.has( breachForm ) ? "exception" : "WRONG: exception";
   }
   const bool fatal =
      sdk ? fault.code < SdkCode::None && fault.code != SdkCode::Unavail : fault.call != "getEntry";
   if( fault.kind == FaultKind::code && fatal ) {
      const int code = static_cast<int>( fault.code );
      const bool says =
         sdk ? ending.says( errorName( fault ) + "(" ) &&
                  ending.says( " API ERROR:" + Sim::sdkCodeText( code ) + " (" +
                               std::to_string( code ) + ")\n" ) &&
                  ending.says( "Assertion '0' failed." )
             : !ending.says( "API ERROR" ) && ending.says( "Assertion 'rc == BCM_E_NONE && \"" +
                                                           fault.call + " failed\"' failed." );
      return died && says && after.empty() && !ending.has( breachForm ) ? "died"
                                                                        : "WRONG: fatal code";
   }
   if( ending.has( refusedForm ) )
      return "WRONG: it was refused";
   if( ending.has( breachForm ) )
      return "critic";
   if( died )
      return follows( fault, ending ) ? "followed" : "WRONG: it died";
   if( fault.call == "getEntry" && ending.has( noUrpfForm ) )
      return "difference"; // the log message names it; IPv6 does without too
   const std::vector<std::string> places = ending.of( struckForm );
   for( const std::string& different : ending.of( differentForm ) )
      if( std::ranges::none_of(
             places, [ & ]( const auto& place ) { return isNamed( different, place ); } ) )
         return "WRONG: a difference elsewhere";
   return ending.has( differentForm ) ? "difference" : "tolerated";
}

std::string textOf( const Ending& ending )
{
   std::string text = ending.child.how + ": " + ending.child.errorText;
   for( const auto& [ form, sent ] : ending.child.lines )
      text += std::string( "\n" ) + form + ' ' + sent;
   return text.substr( 0, 2000 );
}

bool areAllWanted()
{
   const char* const wish = std::getenv( "STRATA_FAULTS" );
   return wish && wish == std::string_view( "all" );
}

/// By the number of the line. A sample has each fault of each operation once.
std::map<std::size_t, std::vector<Sim::Fault>> chosen(
   const std::vector<std::pair<std::size_t, Sim::Fault>>& all )
{
   std::map<std::string, std::pair<std::size_t, std::size_t>>
      best; // a hash, and the place in `all`
   std::map<std::size_t, std::vector<Sim::Fault>> faults;
   for( std::size_t i = 0; i < all.size(); ++i ) {
      Sim::Fault any = all[ i ].second;
      any.nth = areAllWanted() ? i + 2 : 1;
      const std::pair mine{ ( i + 1 ) * 2654435761U % 65521, i };
      const auto [ at, isFirst ] = best.try_emplace( any.text(), mine );
      at->second = std::min( at->second, mine );
   }
   const U64 every = areAllWanted() ? 1 : fromEnvironment( "STRATA_WATCHED", 1 );
   U64 place = 0;
   for( const auto& [ text, first ] : best )
      if( const auto& [ line, fault ] = all[ first.second ]; place++ % every == 0 )
         faults[ line ].push_back( fault );
   return faults;
}

TEST_P( FaultGrid, EveryFaultEndsAsPrescribed )
{
   std::vector<std::pair<std::size_t, Sim::Fault>> all;
   std::map<std::string, U64> madeInLine;
   bool counts = false;
   walk(
      [ & ]( const Line& line ) {
         counts = canHaveFaults( line );
         madeInLine.clear();
      },
      [ & ]( const Session&, const Sim::Record& record ) {
         const std::string call = record.field( "call" );
         if( counts && isCall( record ) && std::ranges::count( Sim::Faults::callNames(), call ) )
            for( const Sim::Fault& fault : faultsOf( call, ++madeInLine[ call ] ) )
               all.emplace_back( line_, fault );
      } );
   const auto faults = chosen( all );
   std::map<std::string, std::map<std::string, U64>> outcomes; // of the scenarios
   walk( [ & ]( const Line& line ) {
      const auto here = faults.find( line_ );
      if( here == faults.end() )
         return;
      const std::vector<std::string> chips = endingOf( line, std::nullopt, {} ).of( differentForm );
      for( const Sim::Fault& fault : here->second ) {
         const Ending ending = endingOf( line, fault, chips );
         const std::string outcome = judged( fault, ending );
         ++outcomes[ scenario_ ][ outcome ];
         if( outcome.starts_with( "WRONG" ) )
            ADD_FAILURE() << fault.text() << " in " << line.file << ":" << line.number << " "
                          << line.text << "\n"
                          << outcome << "\n"
                          << textOf( ending );
      }
   } );
   for( const auto& [ scenario, classes ] : outcomes ) {
      U64 tried = 0;
      for( const auto& [ outcome, count ] : classes )
         tried += count;
      std::cout << scenario << ": faults tried: " << tried;
      for( const auto& [ outcome, count ] : classes )
         std::cout << ", " << outcome << " " << count;
      std::cout << std::endl;
   }
}

/// Each scenario alone, or all of them in eight groups of about the same size.
std::vector<std::vector<std::string>> gridGroups()
{
   std::vector<std::string> files;
   for( const auto& entry : std::filesystem::directory_iterator( "scenarios" ) )
      if( entry.path().extension() == ".scenario" )
         files.push_back( entry.path().string() );
   std::ranges::sort( files );
   std::vector<std::vector<std::string>> groups( areAllWanted() ? files.size() : 8 );
   for( std::size_t i = 0; i < files.size(); ++i )
      groups[ i % groups.size() ].push_back( files[ i ] );
   return groups;
}

INSTANTIATE_TEST_SUITE_P(
   Scenarios, FaultGrid, testing::ValuesIn( gridGroups() ), []( const auto& instance ) {
      std::string name = std::filesystem::path( instance.param.front() ).stem();
      std::erase( name, '-' );
      return name;
   } );

} // namespace
} // namespace Strata::Tool
