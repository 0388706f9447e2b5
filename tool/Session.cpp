#include "tool/Session.h"

#include "cover/Solver.h"
#include "desk/RecordedHardware.h"
#include "desk/Twin.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Format.h"
#include "tool/ChildProcess.h"
#include "tool/Interrupt.h"
#include "tool/RunListener.h"
#include "tool/packet/Transients.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Strata::Tool {

namespace {

/// The line that runs, for a scope: a line that includes a file runs again when the file has ended.
class Running
{
 public:
   Running( const Line*& running, const Line& line )
      : running_( running ),
        before_( std::exchange( running, &line ) )
   {}
   ~Running() { running_ = before_; }
   Running( const Running& ) = delete;
   Running& operator=( const Running& ) = delete;

 private:
   const Line*& running_;
   const Line* const before_;
};

} // namespace

/// Whether the command makes a switch, or runs its slice.
static bool needsSlice( const Command& command )
{
   static constexpr std::array<std::string_view, 10> names{ "switch", "no switch", "bring-up",
      "restart", "reactors start", "reactors stop", "call", "expect result", "router",
      "no router" };
   return std::ranges::find( names, command.name ) != names.end();
}

RunListener::~RunListener() = default;

Session::Session( Console& console, SessionConfig config )
   : console_( console ),
     config_( std::move( config ) )
{}

Session::~Session() = default;

void Session::run( const Line& line )
{
   if( line.words.empty() )
      return;
   safePoint( [ & ] { return "before " + line.file + ":" + std::to_string( line.number ); } );
   Line asked = line;
   Words words( asked );
   const Command& command = takeCommand( words );
   checkPossible( words, command );
   const std::optional<Line> filterLine = command.shows() ? cutFilters( asked ) : std::nullopt;
   const Word last = asked.words.back();
   const bool json = last.text == "--json" && !last.quoted;
   if( json )
      asked.words.pop_back();
   if( const Word& before = asked.words.back(); json && before.text == last.text && !before.quoted )
      words.failAt( last, "'--json' is given twice" );
   if( json && !command.takesJson() )
      words.failAt( last, "only commands that show something take --json" );
   if( json && filterLine )
      Words( *filterLine )
         .failAt( filterLine->words.front(), "JSON has all rows; filters are for text" );
   if( RunListener* const listener = console_.listener() )
      listener->begins( line );
   if( command.announced )
      console_.command( line );
   const Running running( running_, line );
   std::vector<Filter> filters;
   if( filterLine ) {
      Words filterWords( *filterLine );
      filters = takeFilters( filterWords );
   }
   const std::unique_ptr<Console, void ( * )( Console* )> whenDone(
      &console_, []( Console* console ) { console->commandEnds(); } );
   const Act act = command.act( *this, words ); // InputError before anything changes
   console_.rowsAsJsonIs( json );
   last_ = line;
   if( agent_ )
      agent_->hardware().causeIs( commandText( line ) );
   std::optional<Showing> showing;
   if( command.shows() )
      showing.emplace( console_, std::move( filters ) );
   if( config_.watchesEvents && command.isEvent() && !isCopy() )
      runWatchedForListener( *this, act, asked );
   else
      act( *this );
}

void Session::checkPossible( const Words& words, const Command& command ) const
{
   if( isTwin_ && needsSlice( command ) )
      words.failAt(
         words.line().words.front(), "'" + std::string( command.name ) +
                                        "' is not possible here: this is the twin of a recording, "
                                        "which has its switch and no slice" );
}

/// Whether the last lines of an agent that dies name such a record, or listeners get it.
static bool isNeeded( Sim::RecordKind kind )
{
   switch( kind ) {
   case Sim::RecordKind::call:
   case Sim::RecordKind::entry:
   case Sim::RecordKind::claim:
   case Sim::RecordKind::breach:
   case Sim::RecordKind::note:
      return true;
   default:
      return false;
   }
}

void Session::heard( const Sim::Record& record )
{
   if( isCall( record ) )
      lastCall_ = record.text;
   if( config_.listener && ( isCall( record ) || record.kind == Sim::RecordKind::claim ||
                              record.kind == Sim::RecordKind::note ) )
      config_.listener( *this, record );
   // The slice checks the result of a uRPF claim and continues without the entry.
   if( record.kind == Sim::RecordKind::claim && firstRefusedClaim_.empty() &&
       !record.text.starts_with( "urpf" ) )
      firstRefusedClaim_ = record.text;
   lastBreach_ = record.kind == Sim::RecordKind::breach ? record.text : std::string();
   console_.record( record );
}

Sim::Transcript::Listener Session::listener()
{
   return [ this ]( const Sim::Record& record ) { heard( record ); };
}

Sim::Transcript::Filter Session::filter() const
{
   return [ this ]( Sim::RecordKind kind ) { return isNeeded( kind ) || console_.hears( kind ); };
}

void Session::twinIs( const Desk::RecordingFile& recording )
{
   AgentConfig config;
   config.hardware = Desk::hardwareOf( recording );
   makeAgent( config );
   isTwin_ = true;
   Sim::SimSwitch& hardware = agent_->hardware();
   const auto notes = Desk::makeTwin( recording, hardware, agent_->helper() );
   hardware.transcript().listenerIs( listener(), filter() );
   if( RunListener* const listener = console_.listener() )
      listener->twinMade( *this, recording );
   for( const std::string& note : notes )
      console_.notice( note );
   mark();
}

void Session::agentIs( AgentConfig config )
{
   config.listener = listener();
   config.hears = filter();
   makeAgent( std::move( config ) );
}

void Session::makeAgent( AgentConfig config )
{
   config.keepsRecords = config_.keepsRecords;
   config.recordingFile = config_.recordingFile;
   config.recordingLimit = config_.recordingLimit;
   check( config ); // first, so that the old switch is kept if the new one is refused
   const std::string asked = config.hardware.profile;
   config.hardware = played( std::move( config.hardware ) );
   agentDel(); // first, because there is one shim per process
   if( RunListener* const listener = console_.listener() )
      listener->switchBegins();
   lastCall_ = lastBreach_ = firstRefusedClaim_ = {};
   agent_ = std::make_unique<Agent>( config );
   packets_ = std::make_unique<PacketDesk>( agent_->hardware(), agent_->clock() );
   foreign_ = config.hardware.profile != asked;
   if( foreign_ ) {
      agent_->hardware().critic().handlerIs(
         [ this ]( const Sim::Breach& breach ) { broken( breach.text() ); } );
      console_.notice( "This is " + config_.profile + " in place of " + asked +
                       ": expectations are not judged; deaths and broken conventions are." );
   }
   mark();
}

void Session::agentDel()
{
   if( RunListener* const listener = console_.listener(); listener && agent_ )
      listener->switchEnds( *this );
   end();
   packets_.reset();
   agent_.reset();
   foreign_ = false;
   isTwin_ = false;
}

void Session::check( const AgentConfig& config ) const
{
   Sim::SimSwitch::check( played( config.hardware ) );
}

Sim::SimSwitchConfig Session::played( Sim::SimSwitchConfig config ) const
{
   if( !config_.profile.empty() )
      config.profile = config_.profile;
   return config;
}

Ref<Entity> Session::objectNamed( const Words& words, std::string_view name ) const
{
   const Agent& known = agent();
   if( Ref<Entity> object = known.object( name ) )
      return object;
   const std::vector<std::string> names = known.objectNames();
   const std::vector<std::string_view> views( names.begin(), names.end() );
   words.fail( "there is no object '" + std::string( name ) + "'" + didYouMean( name, views ) +
               " ('show objects' lists them; interfaces have their own names)" );
}

Ref<Entity> Session::takeObject( Words& words ) const
{
   const Word& word = words.take( "an object, such as helper", "OBJECT" );
   return objectNamed( words, word.text );
}

static const Vormel::Attribute* attributeNamed(
   const Words& words, const Entity& object, const std::string& name )
{
   const Vormel::EntityType& type = object.entityType();
   if( const Vormel::Attribute* const found = type.findAttribute( name ) )
      return found;
   std::vector<std::string_view> names;
   for( const auto& attribute : type.attributes() )
      names.push_back( attribute->info().name );
   words.fail( std::string( type.name() ) + " has no attribute '" + name + "'" +
               didYouMean( name, names, "; 'show attributes' lists those of each object" ) );
}

AttributePath Session::takeAttribute( Words& words ) const
{
   const std::string text = words.take( "an attribute, as in helper.useLb", "PATH" ).text;
   AttributePath path{ {}, nullptr, text, std::nullopt };
   const std::size_t bracket = text.find( '[' );
   if( bracket != std::string::npos ) {
      if( !text.ends_with( ']' ) )
         words.fail( "the key is not closed; end it with ]" );
      path.key = text.substr( bracket + 1, text.size() - bracket - 2 );
   }
   const std::string name = text.substr( 0, bracket );
   const std::size_t dot = name.find( '.' );
   if( dot == std::string::npos && agent().object( name ) &&
       !agent().helper()->entityType().findAttribute( name ) )
      words.fail( "'" + name + "' is an object; write one of its attributes, as in '" + name +
                  ".ATTRIBUTE'" );
   path.object = objectNamed( words, dot == std::string::npos ? "helper" : name.substr( 0, dot ) );
   path.attribute = attributeNamed(
      words, *path.object, dot == std::string::npos ? name : name.substr( dot + 1 ) );
   if( path.attribute->info().kind == Vormel::AttributeKind::Array && path.key )
      path.attribute->read( *path.object, *path.key );
   else if( path.key )
      path.attribute->convertedKey( *path.key ); // AccessError for a text that is not a key
   return path;
}

std::string Session::takeObjectName( Words& words, const AttributePath& path ) const
{
   words.offer( "none" );
   const std::string name = words.take( "an object, such as helper, or none", "OBJECT" ).text;
   const bool isMember =
      !path.attribute->info().keyType.empty() && name == path.key.value_or( name );
   if( name != "none" && !isMember )
      objectNamed( words, name );
   return name;
}

U32 Session::takeUnit( Words& words ) const
{
   const std::vector<U32>& units = agent().hardware().units();
   for( const U32 number : units )
      words.offer( std::to_string( number ) );
   const std::string& text = words.take( "a unit number" ).text;
   const auto unit = Vormel::ValueTraits<U32>::from( Vormel::Value( text ) );
   std::string known;
   for( const U32 number : units ) {
      if( number == unit )
         return number;
      known += ( known.empty() ? "" : ", " ) + std::to_string( number );
   }
   words.fail( "there is no unit " + text + "; the switch has " + known );
}

int Session::takePortNumber( Words& words ) const
{
   const std::string& text = words.take( "a port number" ).text;
   if( const auto port = Vormel::ValueTraits<int>::from( Vormel::Value( text ) ) )
      return *port;
   const auto intf = Vormel::IntfId::parse( text );
   const StrataPort at = intf ? agent().hardware().scsd()->strataIntfToPort( *intf ) : StrataPort();
   words.fail( "'" + text + "' is not a port number" +
               ( at ? Vormel::format( "; it is port %d of unit %d", at.sdkPort(), at.unit() )
                    : ", such as 1 for the unit's first front-panel port" ) );
}

std::pair<int, std::vector<U32>> Session::takePortAndUnits( Words& words ) const
{
   const int port = takePortNumber( words );
   const Word* const word = words.last();
   std::vector<U32> units = takeUnits( words );
   for( const U32 unit : units )
      if( const Sim::Chip& chip = agent().hardware().chip( unit ); !chip.hasPort( port ) )
         words.failAt( *word, Vormel::format( "unit %d has no port %d; it has %s", unit, port,
                                 chip.sdkPorts().toString() ) );
   return { port, std::move( units ) };
}

std::vector<U32> Session::takeUnits( Words& words ) const
{
   if( words.accept( "unit" ) )
      return { takeUnit( words ) };
   return agent().hardware().units();
}

const std::deque<Sim::Record>& Session::window() const
{
   static const std::deque<Sim::Record> none;
   return agent_ ? agent_->hardware().transcript().records() : none;
}

void Session::mark()
{
   if( !agent_ )
      return;
   agent_->hardware().transcript().clear();
   stateAtMark_ = Desk::SwitchState( agent_->hardware() );
   for( const U32 unit : agent_->hardware().units() )
      for( Sim::FieldGroup& group : agent_->hardware().chip( unit ).groups() )
         group.hitsMark();
   if( RunListener* const listener = console_.listener() )
      listener->marked( *this );
}

void Session::expect( bool held, const std::string& expected, const std::string& found )
{
   if( foreign_ || checking() ) {
      ++counts_.notJudged;
      return;
   }
   ++counts_.expectations;
   if( held )
      return console_.held( *running_ );
   ++counts_.failures;
   console_.failed( *running_, expected, found );
}

void Session::broken( const std::string& what )
{
   if( channel_ )
      return channel_->send( brokenForm, what );
   ++counts_.broken;
   console_.broken( running_, what );
}

void Session::refused( const InputError& error )
{
   if( !refusals_.insert( error.what() ).second )
      return;
   ++counts_.refused;
   console_.refused( error );
   console_.error( error.what() );
}

void Session::passedOver( const Line& line, const std::string& why )
{
   console_.notice(
      ( line.inclusion ? placeText( line ) : "Line " + std::to_string( line.number ) ) +
      " is skipped: " + why );
}

void Session::tellIdleAcceptances()
{
   // Other chips have other transients, and without a solver only those of probes are seen.
   if( !config_.profile.empty() || !Cover::Solver::available() )
      return;
   for( const std::string& text : acceptedTransients_.idle( config_.watchesEvents ) )
      console_.notice( text );
}

void Session::end()
{
   if( !agent_ )
      return;
   // Errors at the end are reported at the line that ran last.
   const Line* const before = running_;
   if( !running_ && last_ )
      running_ = &*last_;
   agent_->hardware().critic().ends();
   running_ = before;
}

void Session::childOf( ChildChannel& channel )
{
   Vormel::assertionHookIs( nullptr );
   // The files belong to the parent.
   if( packets_ )
      packets_->captureEnd();
   if( agent_ )
      agent_->recorder().leave();
   channel_ = &channel;
   console_.childOf( channel );
}

} // namespace Strata::Tool
