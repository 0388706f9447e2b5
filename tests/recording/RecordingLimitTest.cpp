// A recording with a limit goes on in another file, which is complete on its own, and loses nothing between the two.
#include "desk/RecordingFile.h"
#include "desk/SwitchState.h"
#include "platform/runtime/Activity.h"
#include "platform/sdk/ForwardingShim.h"
#include "recording/Recorder.h"
#include "tests/tool/CommandLine.h"
#include "tool/Session.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sys/stat.h>

namespace Strata::Recording {
namespace {

using Json = nlohmann::ordered_json;
using Records = std::vector<Json>;
using testing::IsEmpty;
using Tool::Agent;
using Vormel::IntfId;

Records readRecords( const std::string& file )
{
   Records records;
   std::ifstream in( file );
   for( std::string line; std::getline( in, line ); )
      records.push_back( Json::parse( line ) );
   return records;
}

bool isKind( const Json& record, std::initializer_list<std::string_view> kinds )
{
   return std::ranges::find( kinds, record.at( "record" ).get_ref<const std::string&>() ) !=
          kinds.end();
}

/// The records that a later file starts with.
Records headOf( const Records& records )
{
   const auto end = std::ranges::find_if( records, []( const Json& record ) {
      return !isKind( record, { "header", "unit", "question", "manager", "state", "chip" } );
   } );
   return { records.begin(), end };
}

U64 predecessorsOf( const std::string& file )
{
   std::ifstream in( file );
   std::string header;
   std::getline( in, header );
   return Json::parse( header ).value( "continues", U64{ 0 } );
}

class RecordingLimit : public testing::Test
{
 protected:
   Tool::AgentConfig config( U64 limit ) const
   {
      Tool::AgentConfig config;
      config.hardware.profile = "register";
      config.hardware.ports = 4;
      config.recordingFile = file;
      config.recordingLimit = limit;
      return config;
   }

   /// What fills an agent's recording and ends as it began.
   static void events( Agent& agent )
   {
      Sim::SimSwitch& hardware = agent.hardware();
      for( const U32 port : { 1u, 2u } ) {
         const auto status = hardware.intfStatus( IntfId::ethernet( port ) );
         status->forwardingModelIs( Interface::ForwardingModel::routed );
         status->forwardingModelIs( Interface::ForwardingModel::bridged );
      }
      agent.recorder().call( "enableVlanRouting", U16{ 10 }, true );
      agent.recorder().call( "enableVlanRouting", U16{ 10 }, false );
      agent.clock().advanceBy( 6.0 );
   }
   static void bringUp( Agent& agent )
   {
      agent.bringUp();
      Sim::SimSwitch& hardware = agent.hardware();
      for( const U32 port : { 1u, 2u } )
         hardware.addInterface( IntfId::ethernet( port ), 0, static_cast<int>( port ) );
      hardware.vlanIs( 10 );
      hardware.miscConfig()->syslogTimeoutIs( 5.0 );
      agent.helper()->routerMacAddrIs( *EthAddr::parse( "02:00:00:00:00:0a" ) );
      agent.recorder().call( "handleRouting", true, true );
   }
   /// What the slice seldom does: entries that are disabled, taken out, being changed, or gone; failures; all ports of a
   /// control; ports of a VLAN; options profiles.
   static void changeByHand( Agent& agent );
   /// Works until the file is replaced; the new file.
   Records replaced( Agent& agent, void ( *work )( Agent& ) = events ) const
   {
      const U64 before = predecessorsOf( file );
      do
         work( agent );
      while( predecessorsOf( file ) == before );
      return readRecords( file );
   }

   const Vormel::LockAnchor lock{ Vormel::activityLock() };
   const std::string file = testing::TempDir() +
                            testing::UnitTest::GetInstance()->current_test_info()->name() +
                            ".recording";
   const std::string old = file + ".old";
};

void RecordingLimit::changeByHand( Agent& agent )
{
   Sim::SimSwitch& live = agent.hardware();
   live.critic().handlerIs( []( const Sim::Breach& ) {} ); // calls hold the wrong locks here
   SdkShimInterface& shim = sdkShimInUse();
   const auto main = agent.helper()->tcamManager();
   const int copy = shim.fieldAction( FieldAction::CopyToCpu );
   const int drop = shim.fieldAction( FieldAction::Drop );
   const auto install = [ & ]( const char* name ) {
      U32 id = main->baseEntryId();
      while( live.chip( 0 ).group( "main" )->find( id ) )
         ++id;
      EXPECT_EQ( main->getEntry( 0, id, name, {} ), id );
      shim.fieldQualifyTtl( 0, id, 7, 255 );
      shim.fieldQualifyTtl( 0, id, 1, 255 );
      shim.fieldActionAdd( 0, id, copy, 0, 0 );
      main->installEntry( 0, id );
      return id;
   };
   const int mode = shim.fieldEntryEnableMode();
   main->enableEntry( 0, install( "disabled" ), false, mode );
   main->removeEntry( 0, install( "taken out" ) );
   main->releaseEntry( 0, install( "gone" ) );
   const U32 enabled = install( "disabled for a while" );
   main->enableEntry( 0, enabled, false, mode );
   main->enableEntry( 0, enabled, true, mode );
   const U32 changed = install( "installed with others" );
   for( const bool again : { true, false } ) { // in hardware, and for the next time
      EXPECT_EQ( main->getEntry( 0, changed, "installed with others", {} ), changed );
      shim.fieldQualifyL3Routable( 0, changed, again ? 1 : 0, 1 );
      shim.fieldActionRemoveAll( 0, changed );
      shim.fieldActionAdd( 0, changed, drop, 0, 0 );
      if( again )
         main->reinstallEntry( 0, changed );
   }
   EXPECT_LT( shim.fieldQualifyTtl( 0, 1, 1, 255 ), 0 );
   EXPECT_EQ( main->getEntry( 0, changed, "of another", {} ), 0 );
   EXPECT_EQ( main->getEntry( 0, enabled, "disabled for a while", {} ), enabled );
   shim.fieldActionRemoveAll( 0, enabled );
   EXPECT_LT( main->installEntry( 0, enabled ), 0 ); // without actions
   for( const bool value : { true, false } )
      for( const int port : { 1, shim.chipWidePort() } )
         shim.switchControlPortSet( 0, port, shim.switchControl( SwitchControl::L3UcTtlErrToCpu ),
            port == 1 ? value : !value );
   const auto ports = []( const char* text ) { return *PortBitmap::parse( text ); };
   shim.vlanPortAdd( 0, 10, ports( "1-3" ), ports( "2" ) );
   shim.vlanPortRemove( 0, 10, ports( "3" ) );
   shim.vlanPortAdd( 0, 10, ports( "1" ), ports( "1" ) );
   int first = 0;
   int second = 0;
   shim.l3Ip4OptionsProfileCreate(
      0, 0, shim.ipOptionAction( IpOptionAction::CopyCPUAndDrop ), &first );
   shim.l3Ip4OptionsProfileCreate(
      0, 0, shim.ipOptionAction( IpOptionAction::CopyCPUAndDrop ), &second );
   shim.l3Ip4OptionsProfileDestroy( 0, second );
}

/// As records of an agent that has no limit.
Records withoutNumbers( Records records )
{
   for( Json& record : records )
      for( const char* const member : { "n", "t", "cause", "of" } )
         record.erase( member );
   return records;
}

TEST_F( RecordingLimit, NothingIsLostOrDoubled )
{
   const auto run = [ & ]( U64 limit ) {
      Agent agent( config( limit ) );
      bringUp( agent );
      for( int i = 0; i < 20; ++i )
         events( agent );
   };
   run( 0 );
   const auto whole = withoutNumbers( readRecords( file ) );
   const U64 size = std::filesystem::file_size( file );
   run( size * 2 / 3 );
   Records first = readRecords( old );
   const Records second = readRecords( file );
   EXPECT_EQ( predecessorsOf( old ), 0 );
   EXPECT_EQ( predecessorsOf( file ), 1 );
   const std::size_t head = headOf( second ).size();
   first.insert( first.end(), second.begin(), second.end() );
   for( std::size_t i = 0; i < first.size(); ++i )
      ASSERT_EQ( first[ i ].at( "n" ), i + 1 );
   EXPECT_TRUE( std::ranges::is_sorted(
      first, {}, []( const Json& record ) { return record.at( "t" ).get<U64>(); } ) );
   const auto headBegin = first.end() - static_cast<std::ptrdiff_t>( second.size() );
   first.erase( headBegin, headBegin + static_cast<std::ptrdiff_t>( head ) );
   EXPECT_EQ( withoutNumbers( first ), whole );
   EXPECT_GT( whole.size(), 1000 );
}

TEST_F( RecordingLimit, AFileStartsWithAnInputAndEndsWhatItBegins )
{
   Agent agent( config( 1 ) );
   bringUp( agent );
   for( int times = 0; times < 4; ++times ) {
      const Records records = replaced( agent );
      EXPECT_TRUE( isKind( records.at( headOf( records ).size() ),
         { "input", "call", "make", "run", "drop", "timer" } ) );
      std::set<U64> open;
      for( const Json& record : readRecords( old ) )
         if( isKind( record, { "begin", "call", "make", "run", "drop" } ) )
            open.insert( record.at( "n" ).get<U64>() );
         else if( isKind( record, { "end", "returned" } ) ) {
            EXPECT_EQ( open.erase( record.at( "of" ).get<U64>() ), 1 ) << record;
         }
      EXPECT_THAT( open, IsEmpty() );
   }
}

TEST_F( RecordingLimit, StatesAreThoseOfTheObjects )
{
   const std::string beside = file + ".beside";
   const auto statesOf = []( const Records& records ) {
      std::map<std::string, Json> states;
      for( const Json& record : records )
         if( isKind( record, { "state", "unit" } ) ) {
            Json known = record;
            known.erase( "n" );
            known.erase( "t" );
            const std::string name = record.value( "object", "unit" );
            if( name == "helper" ) // managers are not the other recorder's
               for( const char* const manager :
                  { "tcamManager", "tcamGroupManager", "portSwTablePtr" } )
                  known.at( "attributes" ).erase( manager );
            EXPECT_TRUE( states.emplace( name, known ).second ) << name;
         }
      return states;
   };
   Agent agent( config( 1 ) );
   bringUp( agent );
   const Records head = headOf( replaced(
      agent, []( Agent& same ) { same.recorder().call( "handleRouting", true, true ); } ) );
   Recorder other( beside );
   other.sharedData( agent.hardware().scsd() );
   for( const auto& known : Sim::SimSwitch::objects() )
      if( known.name != "scsd" )
         other.input( std::string( known.name ), known.in( agent.hardware() ) );
   other.helper( agent.helper() );
   const auto states = statesOf( head );
   const auto live = statesOf( readRecords( beside ) );
   EXPECT_EQ( states.size(), live.size() );
   for( const auto& [ name, state ] : live )
      EXPECT_EQ( states.at( name ), state );
   EXPECT_EQ( head.front().at( "format" ), 1 );
}

TEST_F( RecordingLimit, TheCallsOfAFileRebuildTheChips )
{
   for( const char* const profile : { "register", "acl", "hsdk", "fabric-vfi" } ) {
      SCOPED_TRACE( profile );
      std::ofstream nothing( "/dev/null" );
      Tool::ConsoleConfig quiet;
      quiet.quiet = true;
      Tool::Console console( nothing, nothing, quiet );
      Tool::Session session( console, { .recordingFile = file, .recordingLimit = 1 } );
      std::ifstream scenario( std::string( "scenarios/entries-" ) + profile + ".scenario" );
      int switches = 0;
      for( std::string line; std::getline( scenario, line ); )
         if( ( switches += line.starts_with( "switch " ) ? 1 : 0 ) <
             2 ) // the first has most entries
            session.run( Tool::splitLine( profile, 1, line ) );
      Agent& agent = session.agent();
      Sim::SimSwitch& live = agent.hardware();
      live.vlanIs( 10 );
      agent.recorder().call( "enableVlanRouting", U16{ 10 }, true );
      for( const U32 index : { 3u, 4u } )
         agent.recorder().call( "addMyStationTcamEntry", 0u, index,
            EthAddr::fromNumber( 0x020000000000 + index ), true, U16{ 10 }, false, true, true );
      changeByHand( agent );
      const Records head = headOf( replaced(
         agent, []( Agent& same ) { same.recorder().call( "handleRouting", true, true ); } ) );
      const Desk::SwitchState wanted( live );
      session.twinIs( Desk::RecordingFile( file ) );
      const auto calls = static_cast<std::size_t>( std::ranges::count_if(
         head, []( const Json& record ) { return isKind( record, { "chip" } ); } ) );
      std::size_t entries = 0;
      for( const auto& [ key, part ] : wanted.parts() )
         entries += key.kind == Desk::PartKind::entry ? 1 : 0;
      EXPECT_GT( entries, 20 );
      EXPECT_GT( calls, 4 * entries ); // claim, qualifier, action, installation
      for( const Desk::Difference& difference :
         differences( wanted, Desk::SwitchState( session.agent().hardware() ) ) )
         // Of a chip and its room, a recording knows what the slice has asked only.
         if( difference.key.kind != Desk::PartKind::chip &&
             difference.key.kind != Desk::PartKind::room )
            ADD_FAILURE() << difference.part << " " << difference.field << ": "
                          << difference.before.value_or( "-" ) << " -> "
                          << difference.after.value_or( "-" );
   }
}

TEST_F( RecordingLimit, WhatIsKnownOfTheChipsDoesNotGrow )
{
   Agent agent( config( 1 ) );
   bringUp( agent );
   replaced( agent ); // what the events touch first
   const std::size_t size = headOf( replaced( agent ) ).size();
   for( int times = 0; times < 5; ++times )
      EXPECT_EQ( headOf( replaced( agent ) ).size(), size );
}

TEST_F( RecordingLimit, AnInputWithinACallWaits )
{
   /// Changes an input while a call is made, as another thread does.
   class Intruder final : public ForwardingShim
   {
    public:
      Intruder( SdkShimInterface& next, Sim::SimSwitch& hardware )
         : ForwardingShim( next ),
           hardware_( hardware )
      {}
      int vlanControlSet( U32 unit, U16 vlanId, const VlanControl& control ) override
      {
         {
            const Vormel::LockAnchor lock( Vormel::activityLock() );
            hardware_.mlagStatus()->peerMacAddrIs(
               EthAddr::fromNumber( 0x020000000000 + ++count_ ) );
         }
         return next().vlanControlSet( unit, vlanId, control );
      }

    private:
      Sim::SimSwitch& hardware_;
      U64 count_ = 0;
   };
   Tool::AgentConfig unrecorded = config( 0 );
   unrecorded.recordingFile.clear();
   Agent agent( unrecorded );
   Intruder intruder( agent.hardware().observedShim(), agent.hardware() );
   Recorder recorder( file, 1 );
   recorder.input( "mlagStatus", agent.hardware().mlagStatus() );
   recorder.helper( agent.helper() );
   sdkShimIs( &recorder.shim( intruder ) );
   agent.bringUp();
   agent.hardware().vlanIs( 10 );
   for( const bool enabled : { true, false } )
      agent.helper()->enableVlanRouting( 10, enabled ); // not an input by itself
   const Records records = readRecords( file );
   EXPECT_GE( std::ranges::count_if(
                 records, []( const Json& record ) { return isKind( record, { "input" } ); } ),
      2 );
   EXPECT_EQ( predecessorsOf( file ), 0 );
   recorder.call( "doNotCopyPacketFromCpuToCpu" );
   EXPECT_EQ( predecessorsOf( file ), 1 );
   sdkShimIs( &agent.hardware().observedShim() );
}

TEST_F( RecordingLimit, AFileThatCannotBeReplacedEndsTheRecording )
{
   std::filesystem::remove_all( old );
   std::filesystem::create_directories( old + "/occupied" );
   Vormel::traceLevelsIs( "StrataRecording=1" );
   {
      Agent agent( config( 1 ) );
      bringUp( agent );
      for( int i = 0; i < 100 && agent.recorder().recording(); ++i )
         events( agent );
      EXPECT_FALSE( agent.recorder().recording() );
      events( agent );
      const auto& records = agent.hardware().transcript().records();
      EXPECT_EQ( std::ranges::count_if( records,
                    []( const Sim::Record& record ) {
                       return record.text.find( "the recording has ended: cannot rename" ) !=
                              std::string::npos;
                    } ),
         1 );
   }
   Vormel::traceLevelsIs( "StrataRecording=off" );
   std::filesystem::remove_all( old );
   // What is not a regular file has no limit.
   std::filesystem::remove( file );
   ASSERT_EQ( ::mkfifo( file.c_str(), 0600 ), 0 );
   std::fstream reader( file );
   Recorder recorder( file, 1 );
   for( int i = 0; i < 10; ++i )
      recorder.run( "nothing", [] {} );
   EXPECT_TRUE( recorder.recording() );
   EXPECT_FALSE( std::filesystem::exists( old ) );
   std::filesystem::remove( file );
}

TEST( RecordCommand, HasALimit )
{
   const std::string file = testing::TempDir() + "limited.recording";
   const std::string old = file + ".old";
   std::filesystem::remove( old );
   const Tool::Outcome outcome = Tool::runLine( { "record", "scenarios/interfaces.scenario",
      "--quiet", "-o", file.c_str(), "--limit", "150000" } );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_GE( std::filesystem::file_size( old ), 150'000 );
   EXPECT_EQ( Tool::runLine( { "record", "a", "-o", "b", "--limit", "much" } ).status, 2 );
}

} // namespace
} // namespace Strata::Recording
