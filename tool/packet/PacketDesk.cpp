#include "tool/packet/PacketDesk.h"

#include "platform/runtime/Errors.h"

#include <algorithm>
#include <utility>

namespace Strata::Tool {

using Vormel::ValueError;

PacketDesk::PacketDesk( Sim::SimSwitch& hardware, const Vormel::Clock& clock )
   : engine_( hardware ),
     clock_( clock )
{
   engine_.listenerIs(
      [ this ]( const Sim::Arrival&, const Sim::Verdict& verdict ) { write( verdict ); } );
}

bool PacketDesk::isWriting( const std::string& file ) const
{
   const auto isIt = [ & ]( const auto& item ) { return item.second->writes( file ); };
   return std::ranges::any_of( ports_, isIt ) || std::ranges::any_of( cpus_, isIt );
}

std::unique_ptr<CaptureWriter> PacketDesk::opened( const std::string& file ) const
{
   if( isWriting( file ) )
      throw ValueError( "'" + file + "' is being written already; 'no capture' closes all files" );
   return std::make_unique<CaptureWriter>( file );
}

void PacketDesk::capturePort( Sim::PortRef port, const std::string& file )
{
   ports_[ port ] = opened( file );
}

void PacketDesk::captureCpu( U32 unit, const std::string& file )
{
   cpus_[ unit ] = opened( file );
}

void PacketDesk::captureEnd()
{
   ports_.clear();
   cpus_.clear();
}

void PacketDesk::write( const Sim::Verdict& verdict )
{
   const auto add = [ this ]( auto& files, const auto& place, const Sim::Frame& frame ) {
      const auto at = files.find( place );
      if( at == files.end() )
         return;
      const std::string problem = at->second->add( frame, clock_.now() );
      if( problem.empty() )
         return;
      problem_ = problem;
      files.erase( at );
   };
   for( const Sim::Departure* const departure : verdict.departures() )
      add( ports_, departure->port, departure->frame );
   for( const Sim::CpuCopy* const copy : verdict.cpuCopies() )
      add( cpus_, copy->unit, copy->frame );
}

std::string PacketDesk::takeProblem()
{
   return std::exchange( problem_, {} );
}

} // namespace Strata::Tool
