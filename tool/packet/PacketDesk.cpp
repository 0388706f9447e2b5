#include "tool/packet/PacketDesk.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"

#include <tins/ethernetII.h>
#include <tins/exceptions.h>
#include <tins/packet.h>
#include <tins/packet_writer.h>
#include <tins/rawpdu.h>
#include <tins/timestamp.h>

#include <pcap.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace Strata::Tool {

using Vormel::format;
using Vormel::ValueError;

class PacketDesk::File
{
 public:
   explicit File( const std::string& name )
   try : name_( name ), writer_( name, Tins::DataLinkType<Tins::EthernetII>() ) {
   } catch( const Tins::exception_base& error ) {
      throw ValueError( "cannot write '" + name + "': " + error.what() );
   }

   void add( const Sim::Frame& frame, double seconds )
   {
      const Tins::RawPDU bytes( frame.bytes().data(), static_cast<U32>( frame.bytes().size() ) );
      const auto time = std::chrono::microseconds( std::llround( seconds * 1e6 ) );
      Tins::Packet packet( bytes, Tins::Timestamp( time ) );
      writer_.write( packet );
   }

   bool writes( const std::string& name ) const
   {
      std::error_code none;
      return name == name_ || std::filesystem::equivalent( name, name_, none );
   }

 private:
   std::string name_;
   Tins::PacketWriter writer_;
};

PacketDesk::PacketDesk( Sim::SimSwitch& hardware, const Vormel::Clock& clock )
   : engine_( hardware ),
     clock_( clock )
{
   engine_.listenerIs(
      [ this ]( const Sim::Arrival&, const Sim::Verdict& verdict ) { write( verdict ); } );
}

PacketDesk::~PacketDesk() = default;

std::unique_ptr<PacketDesk::File> PacketDesk::opened( const std::string& file ) const
{
   const auto isIt = [ & ]( const auto& item ) { return item.second->writes( file ); };
   if( std::ranges::any_of( ports_, isIt ) || std::ranges::any_of( cpus_, isIt ) )
      throw ValueError( "'" + file + "' is being written already; 'no capture' closes all files" );
   return std::make_unique<File>( file );
}

void PacketDesk::capturePort( Sim::PortRef port, const std::string& file )
{
   if( ports_.contains( port ) )
      throw ValueError(
         engine_.portName( port ) + " is being captured already; 'no capture' closes all files" );
   ports_[ port ] = opened( file );
}

void PacketDesk::captureCpu( U32 unit, const std::string& file )
{
   if( cpus_.contains( unit ) )
      throw ValueError( format(
         "the CPU of unit %d is being captured already; 'no capture' closes all files", unit ) );
   cpus_[ unit ] = opened( file );
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
         at->second->add( departure->frame, clock_.now() );
   for( const Sim::CpuCopy* const copy : verdict.cpuCopies() )
      if( const auto at = cpus_.find( copy->unit ); at != cpus_.end() )
         at->second->add( copy->frame, clock_.now() );
}

Sim::Frame frameInFile( const std::string& file, U32 number )
{
   char problem[ PCAP_ERRBUF_SIZE ] = "";
   const std::unique_ptr<pcap_t, decltype( &pcap_close )> source(
      pcap_open_offline( file.c_str(), problem ), pcap_close );
   if( !source )
      throw ValueError( "cannot read '" + file + "': " + problem );
   if( const int link = pcap_datalink( source.get() ); link != DLT_EN10MB )
      throw ValueError( format( "'%s' holds no Ethernet frames (link type %d)", file, link ) );
   for( U32 i = 1;; ++i ) {
      pcap_pkthdr* header = nullptr;
      const u_char* bytes = nullptr;
      const int found = pcap_next_ex( source.get(), &header, &bytes );
      if( found == PCAP_ERROR_BREAK )
         throw ValueError( format( "'%s' has no frame %d; it has %d", file, number, i - 1 ) );
      if( found != 1 )
         throw ValueError( format(
            "cannot read '%s' behind frame %d: %s", file, i - 1, pcap_geterr( source.get() ) ) );
      if( i == number )
         return Sim::Frame( Sim::Bytes( bytes, bytes + header->caplen ), header->len );
   }
}

} // namespace Strata::Tool
