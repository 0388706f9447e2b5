#include "tool/shell/Completion.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Trace.h"
#include "sim/chip/ChipProfile.h"
#include "sim/sdk/Faults.h"
#include "sim/sdk/SdkCodes.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/view/EntryView.h"
#include "tool/words/Command.h"

#include <algorithm>
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

void addInterfaces( const Session& session, Candidates& candidates )
{
   for( const auto& status : session.agent().hardware().ethIntfStatusDir()->intfStatus() )
      candidates.insert( status.key.toString() );
}

void addObjects( const Session& session, Candidates& candidates )
{
   addAll( candidates, session.agent().objectNames() );
   addInterfaces( session, candidates );
}

/// Before the dot: objects, and the helper's attributes, which need no object. Behind it: the object's attributes.
void addAttributes( const Session& session, std::string_view word, Candidates& candidates )
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

void addOperations( const Session& session, Candidates& candidates )
{
   for( const auto& operation : session.agent().helper()->entityType().operations() )
      candidates.emplace( operation->name() );
}

void addEntries( const Session& session, Candidates& candidates )
{
   addAll( candidates, entryOffsetNames() );
   for( const auto& manager : session.agent().hardware().tcamManagers() )
      candidates.insert( manager->profile().name );
}

struct Placeholder
{
   std::string_view name; // as given to Words::take()
   std::function<void( const Session&, std::string_view word, Candidates& )> add;
};

const std::vector<Placeholder>& placeholders()
{
   using S = const Session;
   using W = std::string_view;
   using C = Candidates;
   static const std::vector<Placeholder> all{
      { "INTERFACE", []( S& s, W, C& c ) { addInterfaces( s, c ); } },
      { "PORT",
         []( S& s, W, C& c ) {
            addInterfaces( s, c );
            addAll( c, portWords() );
         } },
      { "OBJECT", []( S& s, W, C& c ) { addObjects( s, c ); } },
      { "PATH", addAttributes },
      { "OPERATION", []( S& s, W, C& c ) { addOperations( s, c ); } },
      { "NAME", []( S& s, W, C& c ) { addEntries( s, c ); } },
      { "CALL", []( S&, W, C& c ) { addAll( c, Sim::Faults::callNames() ); } },
      { "CODE",
         []( S&, W, C& c ) {
            for( const Sim::SdkCodeInfo& code : Sim::sdkCodes() )
               c.emplace( code.name );
         } },
      { "REGISTER", []( S&, W, C& c ) { addAll( c, roleNames<Register> ); } },
      { "FIELD",
         []( S&, W, C& c ) {
            addAll( c, roleNames<RegisterField> );
            addAll( c, roleNames<MemoryField> );
         } },
      { "HANDLE",
         []( S&, W, C& c ) {
            for( const Vormel::TraceHandle* const handle : Vormel::traceHandles() )
               c.insert( std::string( handle->name() ) + "=" );
         } },
   };
   return all;
}

/// The words that the command would accept behind its present words.
Candidates offersOf( const Session& session, const Line& line )
{
   Candidates offers;
   Words words( line );
   words.offersTo( offers );
   try {
      takeCommand( words ).act( session, words );
   } catch( const InputError& ) {
      // That the line is not finished.
   }
   return offers;
}

/// Replaces kinds of words by the words of that kind.
void addOffers(
   const Session& session, const Candidates& offers, std::string_view word, Candidates& candidates )
{
   for( const std::string& offer : offers ) {
      const auto known = std::ranges::find( placeholders(), offer, &Placeholder::name );
      if( known != placeholders().end() )
         known->add( session, word, candidates );
      else
         candidates.insert( offer );
   }
}

} // namespace

std::string_view lastWord( std::string_view line )
{
   const std::size_t blank = line.find_last_of( " \t" );
   return blank == line.npos ? line : line.substr( blank + 1 );
}

std::vector<std::string> completions( const Session& session, std::string_view line )
{
   const std::string_view word = lastWord( line );
   const std::string before( line.substr( 0, line.size() - word.size() ) );
   Candidates candidates;
   try {
      const Line known = splitLine( {}, 1, before );
      addOffers( session, offersOf( session, known ), word, candidates );
   } catch( const InputError& ) {
      return {}; // within quotes
   }
   std::vector<std::string> fitting;
   std::ranges::copy_if( candidates, std::back_inserter( fitting ),
      [ & ]( const std::string& candidate ) { return candidate.starts_with( word ); } );
   return fitting;
}

} // namespace Strata::Tool
