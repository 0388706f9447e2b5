#include "tool/packet/EntryCover.h"

#include "tool/Session.h"
#include "tool/packet/TableTrial.h"

#include <optional>

namespace Strata::Tool {

std::vector<Cover::Coverage> entryCover(
   Session& session, const std::vector<U32>& units, std::string_view range )
{
   std::vector<Cover::Coverage> all;
   Sim::SimSwitch& hardware = session.agent().hardware();
   // A trial changes the tables and takes the change back.
   const Sim::ForwardingTables tables = session.packets().tables();
   for( const U32 unit : units )
      for( Sim::FieldGroup& group : hardware.chip( unit ).groups() ) {
         if( !range.empty() && group.profile().name != range )
            continue;
         std::optional<Cover::RangeCover> cover;
         for( const auto& [ id, entry ] : group.entries() ) {
            if( !entry.installed() )
               continue;
            if( !cover )
               cover.emplace( hardware, tables, unit, group,
                  [ &session ]( const std::vector<std::string>& rows, const std::string& packet ) {
                     return tryPacket( session, rows, packet );
                  } );
            all.push_back( cover->of( id ) );
         }
      }
   return all;
}

} // namespace Strata::Tool
