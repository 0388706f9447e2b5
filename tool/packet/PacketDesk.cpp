#include "tool/packet/PacketDesk.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "tool/packet/ExplanationView.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace Strata::Tool {

using Vormel::format;
using Vormel::ValueError;

static std::string textOf( const std::vector<std::string>& reasons )
{
   std::string text;
   for( const std::string& reason : reasons )
      text += ( text.empty() ? "" : ", " ) + reason;
   return text;
}

PacketDesk::PacketDesk( Sim::SimSwitch& hardware, const Vormel::Clock& clock )
   : engine_( hardware ),
     clock_( clock )
{
   listen();
}

/// Packets are explained while a file takes notes, because that takes time.
void PacketDesk::listen()
{
   const auto takesNotes = []( const auto& item ) { return item.second->takesNotes(); };
   engine_.listenerIs( std::bind_front( &PacketDesk::write, this ),
      drops_ || std::ranges::any_of( ports_, takesNotes ) ||
         std::ranges::any_of( cpus_, takesNotes ) );
}

bool PacketDesk::isWriting( const std::string& file ) const
{
   const auto isIt = [ & ]( const auto& item ) { return item.second->writes( file ); };
   return std::ranges::any_of( ports_, isIt ) || std::ranges::any_of( cpus_, isIt ) ||
          ( drops_ && drops_->writes( file ) );
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
   listen();
}

void PacketDesk::captureCpu( U32 unit, const std::string& file )
{
   cpus_[ unit ] = opened( file );
   listen();
}

void PacketDesk::captureDrops( const std::string& file )
{
   drops_ = opened( file );
   listen();
}

void PacketDesk::capturePortEnd( Sim::PortRef port )
{
   ports_.erase( port );
   listen();
}

void PacketDesk::captureCpuEnd( U32 unit )
{
   cpus_.erase( unit );
   listen();
}

void PacketDesk::captureDropsEnd()
{
   drops_.reset();
   listen();
}

void PacketDesk::captureEnd()
{
   ports_.clear();
   cpus_.clear();
   drops_.reset();
   listen();
}

/// Returns false if the file has ended.
bool PacketDesk::addTo(
   CaptureWriter& file, const Sim::Frame& frame, const CaptureWriter::Note& note )
{
   const std::string problem = file.add( frame, clock_.now(), note );
   if( !problem.empty() )
      problem_ = problem;
   return problem.empty();
}

void PacketDesk::write(
   const Sim::Arrival& arrival, const Sim::Verdict& verdict, const Sim::Explanation* explanation )
{
   const auto add = [ & ]( auto& files, const auto& place, const Sim::Frame& frame,
                       std::size_t pass, const auto& interface, const auto& fate ) {
      const auto at = files.find( place );
      if( at == files.end() )
         return;
      CaptureWriter::Note note;
      if( at->second->takesNotes() )
         note = {
            interface(), frameComment( engine_, arrival, verdict, *explanation, pass, fate() ) };
      if( !addTo( *at->second, frame, note ) )
         files.erase( at );
   };
   for( std::size_t i = 0; i < verdict.passes.size(); ++i ) {
      const Sim::PassVerdict& pass = verdict.passes[ i ];
      for( const Sim::Departure& departure : pass.departures ) {
         const auto name = [ & ] { return engine_.portName( departure.port ); };
         add( ports_, departure.port, departure.frame, i, name, [ & ] {
            return "leaves on " + name() +
                   ( departure.tunnel.empty() ? "" : ", tunnel " + departure.tunnel );
         } );
      }
      if( pass.cpu )
         add(
            cpus_, pass.cpu->unit, pass.cpu->frame, i,
            [ & ] { return format( "CPU of unit %d", pass.cpu->unit ); },
            [ & ] {
               return format( "CPU queue %d: %s", pass.cpu->queue, textOf( pass.cpu->reasons ) );
            } );
      else if( drops_ && !pass.drop.empty() &&
               !addTo( *drops_, arrival.frame,
                  { engine_.arrivalName( arrival ),
                     frameComment( engine_, arrival, verdict, *explanation, i,
                        pass.drop.starts_with( "dropped " ) ? pass.drop
                                                            : "dropped: " + pass.drop ) } ) )
         drops_.reset();
   }
}

std::string PacketDesk::takeProblem()
{
   return std::exchange( problem_, {} );
}

} // namespace Strata::Tool
