// Generic access to the helper, log messages and trace levels, in lines as scenarios have them:
//    set ATTRIBUTE VALUE, set ATTRIBUTE[KEY] VALUE, del ATTRIBUTE, del ATTRIBUTE[KEY], call OPERATION ARGUMENT...,
//    log MESSAGE ARGUMENT..., trace SETTINGS
// An attribute may also be named by its number. A value is a text; with a '=' in front it is a number or truth value,
// "none" is no object, and "helper" the helper itself.
#include "fuzz/Fuzz.h"

#include "agent/Agent.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Assert.h"
#include "platform/runtime/Snapshot.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <sstream>

namespace Strata::Fuzz {
namespace {

using Vormel::Attribute;
using Vormel::Value;

/// Thrown by an assertion, in place of the end of the process.
struct Died
{
};

/// Whether the work was done; not if it was refused with a text.
template<class Work>
bool accepted( Work work )
{
   try {
      work();
      return true;
   } catch( const Vormel::Error& error ) {
      require( !std::string_view( error.what() ).empty(), "an error says what is wrong" );
      return false;
   }
}

template<class T>
std::optional<Value> numberIn( std::string_view text )
{
   T number{};
   const auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   return error == std::errc() && end == text.data() + text.size() ? std::optional<Value>( number )
                                                                   : std::nullopt;
}

Value valueOf( const std::string& word, const RoutingStatusHelper& helper )
{
   if( word == "none" )
      return {};
   if( word == "helper" )
      return Vormel::ObjectRef( &helper );
   if( !word.starts_with( '=' ) )
      return word;
   const std::string_view text = std::string_view( word ).substr( 1 );
   if( text == "true" || text == "false" )
      return text == "true";
   if( const auto number = numberIn<U64>( text ) )
      return *number;
   if( const auto number = numberIn<S64>( text ) )
      return *number;
   return numberIn<double>( text ).value_or( Value( word ) );
}

/// An attribute of the helper, and the key of a slot or member.
struct Place
{
   RoutingStatusHelper& helper;
   const Attribute& attribute;
   std::optional<Value> key;

   /// The value of the attribute, or of the slot or member, as text; nullopt while it cannot be read.
   std::optional<std::string> text() const
   {
      std::optional<std::string> found;
      accepted( [ & ] {
         found = toText( key ? attribute.read( helper, *key ) : attribute.read( helper ) );
      } );
      return found;
   }

   void is( const Value& value ) const
   {
      const std::optional<std::string> before = text();
      const bool written = accepted( [ & ] {
         if( key )
            attribute.write( helper, *key, value );
         else
            attribute.write( helper, value );
      } );
      if( !written ) {
         require( text() == before, "a refused write changes nothing" );
         return;
      }
      const std::string stored = toText( attribute.converted( value ) );
      require( text() == stored, "what was written is read" );
      require(
         attribute.holdsObject() || toText( attribute.converted( Value( stored ) ) ) == stored,
         "a value is read from its text" );
   }

   void del() const
   {
      const bool removed = accepted( [ & ] {
         if( key )
            attribute.del( helper, *key );
         else
            attribute.delAll( helper );
      } );
      if( removed && attribute.info().kind == Vormel::AttributeKind::Map )
         require( key ? !text() : attribute.members( helper ).empty(), "what was removed is gone" );
   }
};

/// "ATTRIBUTE[KEY]". AccessError if there is no such attribute.
Place placeOf( RoutingStatusHelper& helper, const std::string& word )
{
   const std::size_t bracket = word.find( '[' );
   const std::string name = word.substr( 0, bracket );
   const Vormel::EntityType& type = helper.entityType();
   Vormel::AttributeNumber number = 0;
   const auto [ end, error ] = std::from_chars( name.data(), name.data() + name.size(), number );
   const bool numbered = error == std::errc() && end == name.data() + name.size();
   const Attribute& attribute = numbered ? type.attribute( number ) : type.attribute( name );
   require( numbered ? attribute.info().number == number : attribute.info().name == name,
      "an attribute has the name by which it was found" );
   std::optional<Value> key;
   if( bracket != std::string::npos )
      key = valueOf( word.substr( bracket + 1, word.size() - bracket - 2 ), helper );
   return { helper, attribute, key };
}

void log( const std::string& key, const std::vector<Value>& arguments )
{
   const auto handles = Vormel::syslogHandles();
   const auto handle = std::ranges::find( handles, key, &Vormel::SyslogHandle::key );
   if( handle == handles.end() )
      return;
   std::vector<Vormel::FormatArgument> formatted;
   for( const Value& argument : arguments )
      std::visit(
         [ & ]( const auto& value ) {
            if constexpr( std::is_arithmetic_v<std::decay_t<decltype( value )>> )
               formatted.emplace_back( value );
            else
               formatted.emplace_back( toText( Value( value ) ) );
         },
         argument );
   Vormel::logArguments( const_cast<Vormel::SyslogHandle&>( **handle ), formatted );
   accepted( [ & ] { Vormel::formatArguments( key.c_str(), formatted ); } );
}

/// Sets trace levels, and all of them off again.
void trace( const std::string& settings )
{
   const auto levels = [] {
      std::vector<U32> all;
      for( const Vormel::TraceHandle* const handle : Vormel::traceHandles() )
         all.push_back( handle->levels() );
      return all;
   };
   const auto before = levels();
   if( !accepted( [ & ] { Vormel::traceLevelsIs( settings ); } ) )
      require( levels() == before, "refused settings change no level" );
   Vormel::traceLevelsIs( "*=off" );
}

/// What an input does, on a helper of its own.
class Accesses
{
 public:
   explicit Accesses( Tool::Agent& agent ) : helper_( agent.newHelper() )
   {
      helper_->tcamManagerIs( agent.hardware().tcamManager() );
      helper_->l2McastTableAllocationIs( agent.hardware().l2McastTableAllocation() );
   }

   /// Returns whether the chips may have changed.
   bool run( std::istringstream lines )
   {
      try {
         for( std::string line; std::getline( lines, line ); )
            runLine( std::istringstream( line ) );
      } catch( const Died& ) {
         called_ = true; // as an operation does on a unit that does not exist
      }
      require(
         nlohmann::json::accept( Vormel::snapshotJson( *helper_ ) ), "a snapshot's JSON is valid" );
      return called_;
   }

 private:
   void runLine( std::istringstream line )
   {
      std::string what;
      std::string name;
      line >> what >> name;
      std::vector<Value> values;
      for( std::string word; line >> word; )
         values.push_back( valueOf( word, *helper_ ) );
      if( what == "set" && !values.empty() )
         accepted( [ & ] { placeOf( *helper_, name ).is( values.front() ); } );
      else if( what == "del" )
         accepted( [ & ] { placeOf( *helper_, name ).del(); } );
      else if( what == "call" )
         call( name, values );
      else if( what == "log" )
         log( name, values );
      else if( what == "trace" )
         trace( name );
   }

   void call( const std::string& name, const std::vector<Value>& arguments )
   {
      accepted( [ & ] {
         const Vormel::Operation& operation = helper_->entityType().operation( name );
         called_ |= arguments.size() == operation.parameters().size();
         operation.call( *helper_, arguments );
      } );
   }

   Vormel::Ref<RoutingStatusHelper> helper_;
   bool called_ = false;
};

} // namespace
} // namespace Strata::Fuzz

int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
   using namespace Strata;
   static const Vormel::LockAnchor& lock = *new Vormel::LockAnchor( Vormel::activityLock() );
   static_cast<void>( lock );
   Vormel::assertionHookIs( []( const Vormel::AssertionFailure& failure ) {
      Fuzz::require( !failure.text.empty(), "an assertion has a text" );
      throw Fuzz::Died();
   } );
   // Making an agent takes longest, so inputs that leave the chips alone share one.
   static std::unique_ptr<Tool::Agent>& agent = *new std::unique_ptr<Tool::Agent>;
   if( !agent ) {
      agent = std::make_unique<Tool::Agent>(
         Tool::AgentConfig{ .hardware = { .units = { 0, 1 }, .ports = 4, .seed = 7 },
            .hears = []( Sim::RecordKind ) { return false; },
            .keepsRecords = false } );
      agent->hardware().critic().collect();
   }
   const std::string text( reinterpret_cast<const char*>( data ), size );
   if( Fuzz::Accesses( *agent ).run( std::istringstream( text ) ) )
      agent.reset();
   return 0;
}
