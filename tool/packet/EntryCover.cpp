#include "tool/packet/EntryCover.h"

#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/packet/TableTrial.h"

#include <functional>
#include <optional>
#include <sstream>

namespace Strata::Tool {

namespace {

using Cover::Coverage;
using Cover::RangeCover;

constexpr char partsEnd = '\t';

/// Calls `each` for every entry in hardware that is chosen, with the search of its range.
void forEntries( Session& session, const std::vector<U32>& units, const EntryChoice& chosen,
   Cover::PortNames names, const std::function<void( RangeCover& cover, U32 unit, U32 id )>& each )
{
   Sim::SimSwitch& hardware = session.agent().hardware();
   // A trial changes the tables and takes the change back.
   const Sim::ForwardingTables tables = session.packets().tables();
   for( const U32 unit : units )
      for( Sim::FieldGroup& group : hardware.chip( unit ).groups() ) {
         std::optional<RangeCover> cover;
         for( const auto& [ id, entry ] : group.entries() ) {
            if( !entry.installed() || !chosen.includes( group, id, entry ) )
               continue;
            if( !cover )
               cover.emplace( hardware, tables, unit, group, packetTrials( session ), names );
            safePoint( [ &at = entry ] { return "at the entry '" + at.name + "'"; } );
            each( *cover, unit, id );
         }
      }
}

} // namespace

std::vector<Coverage> entryCover(
   Session& session, const std::vector<U32>& units, const EntryChoice& chosen )
{
   std::vector<Coverage> all;
   forEntries( session, units, chosen, Cover::PortNames::interfaces,
      [ & ]( RangeCover& cover, U32, U32 id ) { all.push_back( cover.of( id ) ); } );
   return all;
}

std::vector<std::string> EntryPacket::commands() const
{
   std::vector<std::string> all = rows;
   all.push_back( "explain " + packet );
   return all;
}

std::vector<Coverage> entryCover(
   Session& session, const std::vector<U32>& units, std::string_view range )
{
   EntryChoice chosen;
   chosen.group = range;
   return entryCover( session, units, chosen );
}

std::string EntryPacket::line() const
{
   std::string text = name + partsEnd + range + partsEnd + std::to_string( unit );
   for( const std::string& row : rows )
      text += partsEnd + row;
   return text + partsEnd + packet;
}

EntryPacket EntryPacket::of( const std::string& line )
{
   std::vector<std::string> parts;
   std::istringstream stream( line );
   for( std::string part; std::getline( stream, part, partsEnd ); )
      parts.push_back( part );
   return { parts[ 0 ], parts[ 1 ], static_cast<U32>( std::stoul( parts[ 2 ] ) ),
      { parts.begin() + 3, parts.end() - 1 }, parts.back() };
}

std::string rangeText( const Session& session, std::string_view range, U32 unit )
{
   const bool several = session.agent().hardware().units().size() > 1;
   return std::string( range ) + ( several ? " of unit " + std::to_string( unit ) : "" );
}

std::vector<EntryPacket> entryPackets( Session& session )
{
   Cover::Memory& memory = session.packets().entryPackets();
   std::vector<EntryPacket> all;
   forEntries( session, session.agent().hardware().units(), {}, Cover::PortNames::numbers,
      [ & ]( RangeCover& cover, U32 unit, U32 id ) {
         Coverage& known = memory[ { unit, id } ];
         if( !cover.isStill( known ) )
            known = cover.of( id );
         if( known.outcome == Cover::Outcome::found )
            all.push_back( { known.name, known.range, known.unit, known.rows, known.packet } );
      } );
   return all;
}

void needSolver( const Words& words )
{
   if( !Cover::Solver::available() )
      words.failAt( words.line().words.front(),
         "this build has no solver; install Debian's libz3-dev and build again" );
}

} // namespace Strata::Tool
