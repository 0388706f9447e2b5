#include "tool/packet/TableTrial.h"

#include "tool/Session.h"
#include "tool/packet/PacketWords.h"
#include "tool/words/Command.h"

#include <set>

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
      for( auto& [ unit, chip ] : session_.agent().hardware().chips() ) {
         std::set<U16> made;
         for( const auto& [ id, vlan ] : chip.vlans() )
            if( !vlans_.contains( id ) )
               made.insert( id );
         for( const U16 id : made )
            chip.vlanDel( id );
      }
   }

 private:
   Session& session_;
   Sim::ForwardingTables tables_;
   std::set<U16> vlans_; // of all chips
};

} // namespace

Cover::Trial tryPacket( Session& session, const std::vector<std::string>& commands,
   const std::string& packet, Sim::Explanation* explanation )
{
   std::optional<TableGuard> guard;
   if( !commands.empty() )
      guard.emplace( session );
   try {
      for( const std::string& command : commands ) {
         const Line line = splitLine( {}, 0, command );
         Words words( line );
         takeCommand( words ).act( session, words )( session );
      }
      const Line line = splitLine( {}, 0, packet );
      Words words( line );
      return { session.packets().engine().explain( takeArrival( session, words ), explanation ) };
   } catch( const InputError& refusal ) {
      return { std::nullopt, refusal.problem() };
   }
}

} // namespace Strata::Tool
