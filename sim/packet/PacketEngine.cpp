#include "sim/packet/PacketEngine.h"

#include "platform/runtime/Assert.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "sim/packet/Pass.h"
#include "sim/switch/Values.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <vector>

namespace Strata::Sim {

using Vormel::format;

PacketEngine::PacketEngine( SimSwitch& hardware ) : hardware_( hardware )
{
   const L2McastTableAllocationEnt& groups = *hardware.l2McastTableAllocation();
   for( const U32 number : { groups.cpuGroup(), groups.cpuAndFloodGroup(), groups.floodGroup() } ) {
      tables_.l2Groups[ number ].everyPort = true;
      tables_.l2Groups[ number ].cpu = true;
   }
   tables_.l2Groups[ groups.size() - 1 ].everyPort = true;
   if( const U32 number = hardware.scsd()->vxlanFloodL2Mc(); number != 0 ) {
      tables_.l2Groups[ number ].everyPort = true;
      tables_.l2Groups[ number ].everyTunnel = true;
   }
}

std::map<U32, U32> PacketEngine::recircPorts() const
{
   std::map<U32, U32> ports;
   for( const auto& [ unit, port ] : hardware_.recircStatus()->recircPort() )
      ports[ unit ] = static_cast<U32>( port );
   return ports;
}

template<class Work>
auto PacketEngine::withView( Work work ) const
{
   const std::map<U32, U32> recirc = recircPorts();
   const SimSwitch& hardware = hardware_;
   return work( PacketView( hardware.chips(), *hardware.scsd(), tables_, recirc, lookups_ ) );
}

static bool hasPort( const Chip& chip, U32 port )
{
   return port < PortBitmap::size && chip.ports().contains( port );
}

Verdict PacketEngine::explain( const Arrival& arrival, Explanation* explanation ) const
{
   const Chip& chip = hardware_.chip( arrival.port.unit ); // ValueError for an unknown one
   if( !arrival.higig && !hasPort( chip, arrival.port.port ) )
      throw Vormel::ValueError( format( "unit %d has no port %d; it has %s", arrival.port.unit,
         arrival.port.port, chip.ports().toString() ) );
   return withView( [ & ]( const PacketView& view ) {
      Verdict verdict;
      std::vector<Arrival> again; // of the passes behind the first one
      for( const Arrival* next = &arrival; next; ) {
         if( verdict.passes.size() == maxPasses ) {
            verdict.loops = true;
            verdict.passes.back().drop = verdict.passes.back().dropReason =
               format( "a loop: more than %d passes", maxPasses );
            break;
         }
         PassExplanation* const about = explanation ? &explanation->passes.emplace_back(
                                                         PassExplanation{ *next, {}, {}, {}, {} } )
                                                    : nullptr;
         Pass::Result result = Pass( view, *next, about ).run();
         verdict.passes.push_back( std::move( result.verdict ) );
         std::ranges::move( result.again, std::back_inserter( again ) );
         const std::size_t made = verdict.passes.size();
         next = made <= again.size() ? &again[ made - 1 ] : nullptr;
      }
      return verdict;
   } );
}

Verdict PacketEngine::send( const Arrival& arrival )
{
   Explanation explanation;
   Verdict verdict = explain( arrival, explained_ ? &explanation : nullptr );
#if VORMEL_CHECKING
   Explanation again;
   VORMEL_ASSERT(
      verdict == explain( arrival, explained_ ? nullptr : &again ) && "explained as forwarded" );
#endif
   apply( arrival, verdict );
   hardware_.transcript().add(
      RecordKind::packet, [ & ] { return contentOf( arrival, verdict ); } );
   if( listener_ )
      listener_( arrival, verdict, explained_ ? &explanation : nullptr );
   if( verdict.loops )
      hardware_.transcript().add( RecordKind::breach,
         format( "a packet loop on unit %d: %s", arrival.port.unit, loopText() ),
         { { "what", loopText() }, { "call", "packet" }, { "unit", arrival.port.unit } } );
   return verdict;
}

std::string PacketEngine::loopText()
{
   return format( "a packet makes at most %d passes", maxPasses );
}

void PacketEngine::apply( const Arrival& arrival, const Verdict& verdict )
{
   if( !arrival.higig )
      ++counters_.ports[ arrival.port ].in;
   for( const PassVerdict& pass : verdict.passes ) {
      for( const Winner& winner : pass.winners )
         ++hardware_.chip( pass.arrival.unit ).group( winner.group )->find( winner.id )->hits;
      if( pass.learning )
         tables_.stations[ pass.learning->key ] = { pass.learning->place };
      for( const Departure& departure : pass.departures )
         ++counters_.ports[ departure.port ].out;
      if( pass.cpu )
         ++counters_.cpuQueues[ { pass.cpu->unit, pass.cpu->queue } ];
      if( !pass.drop.empty() && !pass.cpu ) {
         DropCounter& drops = counters_.drops[ pass.dropReason ];
         ++drops.packets;
         drops.last = pass.drop;
      }
   }
}

std::string PacketEngine::portName( PortRef port ) const
{
   return withView( [ & ]( const PacketView& view ) { return view.portName( port ); } );
}

std::string PacketEngine::portNames( const std::vector<PortRef>& ports ) const
{
   return withView( [ & ]( const PacketView& view ) { return portsText( view, ports ); } );
}

std::string PacketEngine::lagOf( PortRef port ) const
{
   return withView( [ & ]( const PacketView& view ) { return lagName( view, port ); } );
}

std::string PacketEngine::placeName( PortRef port ) const
{
   return withView( [ & ]( const PacketView& view ) { return Sim::placeName( view, port ); } );
}

std::string PacketEngine::nextHopName( const NextHop& nextHop ) const
{
   return withView( [ & ]( const PacketView& view ) { return nextHopText( view, nextHop ); } );
}

std::string PacketEngine::summary( const Verdict& verdict ) const
{
   std::string text;
   const auto add = [ &text ]( const std::string& part, const char* between ) {
      text += ( text.empty() ? "" : between ) + part;
   };
   std::vector<PortRef> plain; // of departures outside tunnels
   const auto addPlain = [ & ] {
      if( !plain.empty() )
         add( portNames( plain ), ", " );
      plain.clear();
   };
   for( const Departure* const departure : verdict.departures() ) {
      if( departure->tunnel.empty() ) {
         plain.push_back( departure->port );
         continue;
      }
      addPlain();
      add( portName( departure->port ) + " (tunnel " + departure->tunnel + ")", ", " );
   }
   addPlain();
   for( const CpuCopy* const copy : verdict.cpuCopies() ) {
      std::string reasons;
      for( const std::string& reason : copy->reasons )
         reasons += ( reasons.empty() ? "" : ", " ) + reason;
      add( format( "CPU queue %d: %s", copy->queue, reasons ), "; " );
   }
   if( !verdict.drop().empty() )
      add( "leaves on no port: " + verdict.drop(), "; " );
   return text;
}

static Json jsonOf( const PacketEngine& engine, const Verdict& verdict )
{
   Json json{ { "departures", Json::array() }, { "passes", verdict.passes.size() },
      { "cpu", Json::array() } };
   for( const Departure* const departure : verdict.departures() )
      json[ "departures" ].push_back( engine.portName( departure->port ) );
   for( const CpuCopy* const copy : verdict.cpuCopies() )
      json[ "cpu" ].push_back(
         { { "unit", copy->unit }, { "queue", copy->queue }, { "reasons", copy->reasons } } );
   if( !verdict.drop().empty() )
      json[ "drop" ] = verdict.drop();
   return json;
}

std::string PacketEngine::verdictJson( const Verdict& verdict ) const
{
   return jsonText( jsonOf( *this, verdict ) );
}

std::string PacketEngine::arrivalName( const Arrival& arrival ) const
{
   return arrival.higig ? format( "the stack link of unit %d", arrival.port.unit )
                        : portName( arrival.port );
}

RecordContent PacketEngine::contentOf( const Arrival& arrival, const Verdict& verdict ) const
{
   const Json json = jsonOf( *this, verdict );
   std::vector<RecordField> fields{
      { "in", arrivalName( arrival ) }, { "frame", arrival.frame.text() } };
   for( const char* const name : { "departures", "passes", "cpu" } )
      fields.emplace_back( name, JsonText{ jsonText( json[ name ] ) } );
   if( json.contains( "drop" ) )
      fields.emplace_back( "drop", verdict.drop() );
   return { "in " + arrivalName( arrival ) + ": " + arrival.frame.payloadText() + " => " +
               summary( verdict ),
      std::move( fields ) };
}

} // namespace Strata::Sim
