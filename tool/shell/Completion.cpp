#include "tool/shell/Completion.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Trace.h"
#include "sim/ChipProfile.h"
#include "sim/Faults.h"
#include "sim/SdkCodes.h"
#include "tool/Command.h"
#include "tool/EntryView.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <set>

namespace Strata::Tool {

namespace {

using Candidates = std::set<std::string>;

template<class Range>
void addAll( Candidates& candidates, const Range& names )
{
   for( const auto& name : names )
      candidates.emplace( name );
}

void addInterfaces( Session& session, Candidates& candidates )
{
   for( const auto& status : session.agent().hardware().ethIntfStatusDir()->intfStatus() )
      candidates.insert( status.key.toString() );
}

void addObjects( Session& session, Candidates& candidates )
{
   addAll( candidates, session.agent().objectNames() );
   addInterfaces( session, candidates );
}

/// Before the dot the objects, and the helper's attributes, which need none; behind it the object's.
void addAttributes( Session& session, std::string_view word, Candidates& candidates )
{
   const std::size_t dot = word.find( '.' );
   const std::string object( dot == word.npos ? "helper" : word.substr( 0, dot ) );
   const Ref<Entity> entity = session.agent().object( object );
   if( entity )
      for( const auto& attribute : entity->entityType().attributes() )
         candidates.insert(
            ( dot == word.npos ? "" : object + "." ) + std::string( attribute->info().name ) );
   if( dot != word.npos )
      return;
   Candidates objects;
   addObjects( session, objects );
   for( const std::string& name : objects )
      candidates.insert( name + "." );
}

void addOperations( Session& session, Candidates& candidates )
{
   for( const auto& operation : session.agent().helper()->entityType().operations() )
      candidates.emplace( operation->name() );
}

void addEntries( Session& session, Candidates& candidates )
{
   addAll( candidates, entryOffsetNames() );
   for( const auto& manager : session.agent().hardware().tcamManagers() )
      candidates.insert( manager->profile().name );
}

struct Placeholder
{
   std::string_view name; // as the syntax of a command has it
   std::function<void( Session&, std::string_view word, Candidates& )> add;
};

const std::vector<Placeholder>& placeholders()
{
   using S = Session;
   using W = std::string_view;
   using C = Candidates;
   static const std::vector<Placeholder> all{
      { "PROFILE",
         []( S&, W, C& c ) {
            for( const Sim::ChipProfile& profile : Sim::chipProfiles() )
               c.insert( profile.name );
         } },
      { "CAPABILITY", []( S&, W, C& c ) { addAll( c, Sim::capabilityNames() ); } },
      { "INTERFACE", []( S& s, W, C& c ) { addInterfaces( s, c ); } },
      { "PORT",
         []( S& s, W, C& c ) {
            addInterfaces( s, c );
            addAll( c, portWords() );
         } },
      { "LAG", []( S& s, W, C& c ) { addInterfaces( s, c ); } },
      { "OBJECT", []( S& s, W, C& c ) { addObjects( s, c ); } },
      { "ATTRIBUTE", addAttributes },
      { "PATH", addAttributes },
      { "OPERATION", []( S& s, W, C& c ) { addOperations( s, c ); } },
      { "INPUT", []( S&, W, C& c ) { addAll( c, Agent::optionalInputs() ); } },
      { "NAME", []( S& s, W, C& c ) { addEntries( s, c ); } },
      { "GROUP", []( S& s, W, C& c ) { addEntries( s, c ); } },
      { "CALL", []( S&, W, C& c ) { addAll( c, Sim::Faults::callNames() ); } },
      { "CODE",
         []( S&, W, C& c ) {
            for( const Sim::SdkCodeInfo& code : Sim::sdkCodes() )
               c.emplace( code.name );
         } },
      { "CONTROL",
         []( S&, W, C& c ) {
            addAll( c, roleNames<SwitchControl> );
            addAll( c, roleNames<PortControl> );
         } },
      { "REGISTER", []( S&, W, C& c ) { addAll( c, roleNames<Register> ); } },
      { "FIELD",
         []( S&, W, C& c ) {
            addAll( c, roleNames<RegisterField> );
            addAll( c, roleNames<MemoryField> );
         } },
      { "FLAG", []( S&, W, C& c ) { addAll( c, roleNames<VlanFlag> ); } },
      { "HANDLE",
         []( S&, W, C& c ) {
            for( const Vormel::TraceHandle* const handle : Vormel::traceHandles() )
               c.insert( std::string( handle->name() ) + "=" );
         } },
   };
   return all;
}

/// The words of a syntax: literals such as `unit`, and placeholders such as PROFILE.
std::vector<std::string> syntaxWords( std::string_view syntax )
{
   std::vector<std::string> words( 1 );
   for( const char c : syntax )
      if( std::isalnum( static_cast<unsigned char>( c ) ) || c == '-' )
         words.back() += c;
      else if( c == '.' ) // "[OBJECT.]ATTRIBUTE": a path completes as a whole
         words.back().clear();
      else if( !words.back().empty() )
         words.emplace_back();
   return words;
}

bool isPlaceholder( std::string_view word )
{
   return std::isupper( static_cast<unsigned char>( word.front() ) );
}

bool isLiteral( std::string_view word )
{
   return std::islower( static_cast<unsigned char>( word.front() ) );
}

void addArguments(
   Session& session, const Command& command, std::string_view word, Candidates& candidates )
{
   for( const std::string& wanted : syntaxWords( command.syntax ) ) {
      if( wanted.empty() )
         continue;
      if( isLiteral( wanted ) )
         candidates.insert( wanted );
      if( !isPlaceholder( wanted ) || ( !session.hasAgent() && wanted != "PROFILE" ) )
         continue;
      for( const Placeholder& placeholder : placeholders() )
         if( placeholder.name == wanted )
            placeholder.add( session, word, candidates );
   }
}

/// Reads what is there of a packet, and adds what could go on.
void addPacketWords( Session& session, Words words, Candidates& candidates )
{
   takeCommand( words );
   words.accept( "-v" );
   words.offersTo( candidates );
   try {
      takeArrival( session, words );
   } catch( const InputError& ) {
      // Most packets are incomplete while they are typed.
   } catch( const Vormel::Error& ) {}
}

} // namespace

std::vector<std::string> completions( Session& session, std::string_view line )
{
   const std::size_t blank = line.find_last_of( " \t" );
   const std::string_view word = blank == line.npos ? line : line.substr( blank + 1 );
   const std::string before( line.substr( 0, line.size() - word.size() ) );
   Candidates candidates;
   try {
      const Line known = splitLine( {}, 1, before );
      Words words( known );
      for( const std::string_view next : commandWords( words ) )
         candidates.emplace( next );
      if( const Command* const command = findCommand( words ) ) {
         addArguments( session, *command, word, candidates );
         if( session.hasAgent() && command->syntax.find( "FRAME" ) != std::string_view::npos )
            addPacketWords( session, words, candidates );
      }
   } catch( const InputError& ) {
      return {}; // within quotes
   }
   std::vector<std::string> fitting;
   std::ranges::copy_if( candidates, std::back_inserter( fitting ),
      [ & ]( const std::string& candidate ) { return candidate.starts_with( word ); } );
   return fitting;
}

} // namespace Strata::Tool
