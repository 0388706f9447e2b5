#include "tool/shell/Completion.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Format.h"
#include "platform/runtime/Trace.h"
#include "sim/chip/ChipProfile.h"
#include "sim/sdk/Faults.h"
#include "sim/sdk/SdkCodes.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/shell/Guide.h"
#include "tool/view/EntryView.h"
#include "tool/words/Command.h"
#include "tool/words/Filter.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <ranges>
#include <system_error>

namespace Strata::Tool {

namespace {

/// Words, with their meanings where they have one.
using Candidates = std::map<std::string, std::string>;

constexpr char quote = '"';

template<class Range>
void addAll( Candidates& candidates, const Range& names )
{
   for( const auto& name : names )
      candidates.emplace( name, std::string() );
}

void addInterfaces( const Session& session, Candidates& candidates )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   for( const auto& status : hardware.ethIntfStatusDir()->intfStatus() ) {
      const StrataPort at = hardware.scsd()->strataIntfToPort( status.key );
      candidates.emplace( status.key.toString(),
         at ? Vormel::format( "port %d of unit %d", at.sdkPort(), at.unit() ) : "no port" );
   }
}

void addLags( const Session& session, Candidates& candidates )
{
   for( const auto& lag : session.agent().hardware().scsd()->lagMembers() )
      candidates.emplace( lag.key.toString(), "a LAG" );
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
         candidates.emplace(
            ( dot == word.npos ? "" : object + "." ) + std::string( attribute->info().name ),
            attribute->info().meaning );
   if( dot != word.npos )
      return;
   Candidates objects;
   addObjects( session, objects );
   for( const auto& [ name, meaning ] : objects )
      candidates.emplace( name + ".", meaning );
}

void addOperations( const Session& session, Candidates& candidates )
{
   for( const auto& operation : session.agent().helper()->entityType().operations() )
      candidates.emplace( operation->name(), operation->summary() );
}

/// Offsets' names and ranges; within quotes the names that entries are claimed under.
void addEntries( const Session& session, std::string_view word, Candidates& candidates )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   if( word.starts_with( quote ) ) {
      for( const auto& [ unit, chip ] : hardware.chips() )
         for( const Sim::FieldGroup& group : chip.groups() )
            for( const auto& [ id, entry ] : group.entries() )
               candidates.emplace( quote + entry.name + quote, std::string() );
      return;
   }
   addAll( candidates, entryOffsetNames() );
   for( const auto& manager : hardware.tcamManagers() )
      candidates.emplace( manager->profile().name, "a range of entries" );
}

void addVlans( const Session& session, Candidates& candidates )
{
   for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const auto& [ id, vlan ] : chip.vlans() )
         candidates.emplace( std::to_string( id ), std::string() );
}

/// The names that the user gave to things; those that a line must quote are quoted.
template<class Map>
void addNames( const Map& things, std::string_view word, Candidates& candidates )
{
   for( const auto& [ name, thing ] : things ) {
      const bool quoted = word.starts_with( quote ) || name.find_first_of( " \t#" ) != name.npos;
      candidates.emplace( quoted ? quote + name + quote : name, std::string() );
   }
}

/// Files and folders; names that a line must quote are quoted.
void addFiles( std::string_view word, Candidates& candidates )
{
   namespace fs = std::filesystem;
   const bool quoted = word.starts_with( quote );
   const std::string_view path = word.substr( quoted ? 1 : 0 );
   const std::string folder( path.substr( 0, path.rfind( '/' ) + 1 ) );
   const bool hidden = path.substr( folder.size() ).starts_with( '.' );
   std::error_code problem;
   for( fs::directory_iterator file( folder.empty() ? "." : folder, problem ), end;
        !problem && file != end; file.increment( problem ) ) {
      const std::string name = file->path().filename().string();
      if( name.starts_with( '.' ) && !hidden )
         continue;
      const bool isFolder = file->is_directory( problem );
      std::string whole = folder + name + ( isFolder ? "/" : "" );
      if( quoted || whole.find_first_of( " \t#" ) != whole.npos )
         whole = quote + whole + ( isFolder ? "" : std::string( 1, quote ) );
      candidates.emplace( whole, std::string() );
   }
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
      { "LAG", []( S& s, W, C& c ) { addLags( s, c ); } },
      { "PORT",
         []( S& s, W, C& c ) {
            addInterfaces( s, c );
            addAll( c, portWords() );
         } },
      { "OBJECT", []( S& s, W, C& c ) { addObjects( s, c ); } },
      { "PATH", addAttributes },
      { "OPERATION", []( S& s, W, C& c ) { addOperations( s, c ); } },
      { "NAME", addEntries },
      { "VLAN", []( S& s, W, C& c ) { addVlans( s, c ); } },
      { "TUNNEL", []( S& s, W w, C& c ) { addNames( s.packets().tables().tunnels, w, c ); } },
      { "PROBE", []( S& s, W w, C& c ) { addNames( s.probes(), w, c ); } },
      { "RULE", []( S& s, W w, C& c ) { addNames( s.packets().tables().steering, w, c ); } },
      { "ENTITY",
         []( S& s, W w, C& c ) {
            addNames( s.agent().hardware().nexthopStatusDir()->entity(), w, c );
         } },
      { "FILE", []( S&, W w, C& c ) { addFiles( w, c ); } },
      { "CALL", []( S&, W, C& c ) { addAll( c, Sim::Faults::callNames() ); } },
      { "CODE",
         []( S&, W, C& c ) {
            for( const Sim::SdkCodeInfo& code : Sim::sdkCodes() )
               c.emplace( code.name, std::string() );
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
               c.emplace( std::string( handle->name() ) + "=", std::string() );
         } },
   };
   return all;
}

/// What a kind of word stands for; null for a keyword.
const Placeholder* placeholder( std::string_view offer )
{
   const auto found = std::ranges::find( placeholders(), offer, &Placeholder::name );
   return found == placeholders().end() ? nullptr : &*found;
}

bool startsWith( std::string_view text, std::string_view start, bool anyCase )
{
   const auto folded = [ anyCase ]( char c ) {
      return anyCase ? std::tolower( static_cast<unsigned char>( c ) ) : c;
   };
   return text.size() >= start.size() &&
          std::ranges::equal( text.substr( 0, start.size() ), start, {}, folded, folded );
}

/// Leaves the words that start with `word`, or else those that start with it in other letters, as "Ethernet1" with "et".
void keepFitting( Candidates& candidates, std::string_view word )
{
   const bool anyCase = std::ranges::none_of(
      candidates, [ & ]( const auto& item ) { return startsWith( item.first, word, false ); } );
   std::erase_if(
      candidates, [ & ]( const auto& item ) { return !startsWith( item.first, word, anyCase ); } );
}

/// Where the last word starts, which may have blanks within quotes.
std::size_t lastWordAt( std::string_view line )
{
   std::size_t start = 0;
   bool inQuotes = false;
   for( std::size_t at = 0; at < line.size(); ++at )
      if( line[ at ] == quote )
         inQuotes = !inQuotes;
      else if( inQuotes && line[ at ] == '\\' )
         ++at;
      else if( !inQuotes && ( line[ at ] == ' ' || line[ at ] == '\t' ) )
         start = at + 1;
   return start;
}

} // namespace

std::string_view lastWord( std::string_view line )
{
   return line.substr( lastWordAt( line ) );
}

bool isKeyword( std::string_view offer )
{
   return offer != Words::anyWord && !placeholder( offer );
}

Expected expectedBehind( const Session& session, Line line )
{
   line.typed = true;
   Expected expected;
   Words words( line );
   words.offersTo( expected.offers );
   try {
      const Command& command = takeCommand( words );
      expected.command = &command;
      if( command.shows() ) {
         if( const auto filters = cutFilters( line ) ) {
            Words behind( *filters );
            behind.offersTo( expected.offers );
            takeFilters( behind );
         }
      }
      command.act( session, words );
   } catch( const InputError& ) {
      // That the line is not finished.
   }
   return expected;
}

std::vector<std::string> completions( const Session& session, std::string_view line )
{
   const std::string_view word = lastWord( line );
   const std::string before( line.substr( 0, line.size() - word.size() ) );
   Candidates candidates;
   try {
      const Line known = expanded( session, splitLine( {}, 1, before ) );
      for( const auto& [ offer, what ] : expectedBehind( session, known ).offers )
         if( const Placeholder* const kind = placeholder( offer ) )
            kind->add( session, word, candidates );
         else if( isKeyword( offer ) )
            candidates.emplace( offer, std::string() );
   } catch( const InputError& ) {
      return {}; // it has an error already
   }
   keepFitting( candidates, word );
   std::vector<std::string> fitting;
   std::ranges::copy( std::views::keys( candidates ), std::back_inserter( fitting ) );
   return fitting;
}

std::map<std::string, std::string> namesFor(
   const Session& session, std::string_view kind, std::string_view word )
{
   Candidates candidates;
   if( const Placeholder* const known = placeholder( kind ) )
      known->add( session, word, candidates );
   keepFitting( candidates, word );
   return candidates;
}

} // namespace Strata::Tool
