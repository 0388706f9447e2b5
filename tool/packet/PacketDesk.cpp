#include "tool/packet/PacketDesk.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"

#include <tins/ethernetII.h>
#include <tins/exceptions.h>
#include <tins/packet_writer.h>
#include <tins/rawpdu.h>
#include <tins/sniffer.h>

namespace Strata::Tool {

using Vormel::format;
using Vormel::ValueError;

class PacketDesk::File
{
 public:
   explicit File( const std::string& name )
   try : writer_( name, Tins::DataLinkType<Tins::EthernetII>() ) {
   } catch( const Tins::exception_base& error ) {
      throw ValueError( "cannot write '" + name + "': " + error.what() );
   }

   void add( const Sim::Frame& frame )
   {
      Tins::RawPDU bytes( frame.bytes().data(), static_cast<U32>( frame.bytes().size() ) );
      writer_.write( bytes );
   }

 private:
   Tins::PacketWriter writer_;
};

PacketDesk::PacketDesk( Sim::SimSwitch& hardware ) : engine_( hardware )
{
   engine_.listenerIs(
      [ this ]( const Sim::Arrival&, const Sim::Verdict& verdict ) { write( verdict ); } );
}

PacketDesk::~PacketDesk() = default;

void PacketDesk::capturePort( Sim::PortRef port, const std::string& file )
{
   ports_[ port ] = std::make_unique<File>( file );
}

void PacketDesk::captureCpu( U32 unit, const std::string& file )
{
   cpus_[ unit ] = std::make_unique<File>( file );
}

void PacketDesk::captureEnd()
{
   ports_.clear();
   cpus_.clear();
}

void PacketDesk::write( const Sim::Verdict& verdict )
{
   for( const Sim::Departure* const departure : verdict.departures() )
      if( const auto at = ports_.find( departure->port ); at != ports_.end() )
         at->second->add( departure->frame );
   for( const Sim::CpuCopy* const copy : verdict.cpuCopies() )
      if( const auto at = cpus_.find( copy->unit ); at != cpus_.end() )
         at->second->add( copy->frame );
}

Sim::Frame frameInFile( const std::string& file, U32 number )
{
   try {
      Tins::FileSniffer sniffer( file );
      sniffer.set_extract_raw_pdus( true );
      for( U32 i = 1;; ++i ) {
         const Tins::Packet packet( sniffer.next_packet() );
         if( !packet )
            throw ValueError( format( "'%s' has no frame %d; it has %d", file, number, i - 1 ) );
         if( i == number )
            return Sim::Frame( packet.pdu()->rfind_pdu<Tins::RawPDU>().payload() );
      }
   } catch( const Tins::exception_base& error ) {
      throw ValueError( "cannot read '" + file + "': " + error.what() );
   }
}

} // namespace Strata::Tool
