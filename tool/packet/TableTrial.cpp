#include "tool/packet/TableTrial.h"

#include "tool/Interrupt.h"
#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <optional>
#include <set>
#include <utility>

namespace Strata::Tool {

namespace {

/// Takes back what commands change in the tables, and the VLANs that they make.
class TableGuard
{
 public:
   explicit TableGuard( Session& session )
      : session_( session ),
        tables_( session.packets().tables() )
   {
      for( const auto& [ unit, chip ] : session.agent().hardware().chips() )
         for( const auto& [ id, vlan ] : chip.vlans() )
            vlans_.insert( id );
   }
   TableGuard( const TableGuard& ) = delete;
   TableGuard& operator=( const TableGuard& ) = delete;
   ~TableGuard()
   {
      session_.packets().tables() = std::move( tables_ );
      for( const U16 id : madeVlans() )
         session_.agent().hardware().vlanDel( id );
   }

   std::set<U16> madeVlans() const
   {
      std::set<U16> made;
      for( const auto& [ unit, chip ] : session_.agent().hardware().chips() )
         for( const auto& [ id, vlan ] : chip.vlans() )
            if( !vlans_.contains( id ) )
               made.insert( id );
      return made;
   }

 private:
   Session& session_;
   Sim::ForwardingTables tables_;
   std::set<U16> vlans_; // of all chips
};

/// Runs the commands, and takes the packet's words.
Sim::Arrival takeAfter(
   Session& session, const std::vector<std::string>& commands, const std::string& packet )
{
   for( const std::string& command : commands ) {
      const Line line = splitLine( {}, 0, command );
      Words words( line );
      takeCommand( words ).act( session, words )( session );
   }
   const Line line = splitLine( {}, 0, packet );
   Words words( line );
   return takeArrival( session, words );
}

} // namespace

Cover::Trial tryPacket( Session& session, const std::vector<std::string>& commands,
   const std::string& packet, Sim::Explanation* explanation )
{
   std::optional<TableGuard> guard;
   if( !commands.empty() )
      guard.emplace( session );
   try {
      return { session.packets().engine().explain(
         takeAfter( session, commands, packet ), explanation ) };
   } catch( const InputError& refusal ) {
      return { std::nullopt, refusal.problem() };
   }
}

Cover::Evaluate packetTrials( Session& session )
{
   return [ &session ]( const std::vector<std::string>& rows, const std::string& packet ) {
      safePoint( [ & ] { return "at the packet " + packet; } );
      return tryPacket( session, rows, packet );
   };
}

std::optional<Desk::ProbeVerdict> probeAfter(
   Session& session, const std::vector<std::string>& commands, const std::string& packet )
{
   const TableGuard guard( session );
   try {
      const Sim::Arrival arrival = takeAfter( session, commands, packet );
      return Desk::ProbeVerdict( session.packets().engine(), arrival );
   } catch( const InputError& ) {
      return std::nullopt;
   }
}

Scene sceneOf(
   Session& session, const std::vector<std::string>& commands, const std::string& packet )
{
   const TableGuard guard( session );
   Sim::Arrival arrival = takeAfter( session, commands, packet );
   return { session.packets().tables(), std::move( arrival ), guard.madeVlans() };
}

Sim::Verdict verdictIn( Session& session, Scene& scene )
{
   std::vector<std::pair<Sim::Chip*, U16>> made;
   for( auto& [ unit, chip ] : session.agent().hardware().chips() )
      for( const U16 id : scene.madeVlans )
         if( !chip.vlans().contains( id ) ) {
            chip.vlanIs( id );
            made.emplace_back( &chip, id );
         }
   std::swap( session.packets().tables(), scene.tables );
   Sim::Verdict verdict = session.packets().engine().explain( scene.arrival );
   std::swap( session.packets().tables(), scene.tables );
   for( const auto& [ chip, id ] : made )
      chip->vlanDel( id );
   return verdict;
}

} // namespace Strata::Tool
