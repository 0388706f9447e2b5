#include "bench/Recordings.h"

#include "bench/NullShim.h"
#include "platform/state/Interfaces.h"
#include "recording/Recorder.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace Bench {

namespace {

using Interface::ForwardingModel;

const std::string& recordingFile()
{
   static const std::string file = std::filesystem::temp_directory_path() /
                                   ( "strata-l3-bench-" + std::to_string( ::getpid() ) );
   return file;
}

/// Records of the longer kind: a MAC address, its mask, and sets of ports.
void recordedCalls( std::size_t rounds )
{
   NullShim next;
   Strata::Recorder recorder( recordingFile() );
   SdkShimInterface& shim = recorder.shim( next );
   PortBitmap ports;
   for( U32 port = 1; port < 64; port += 2 )
      ports.add( port );
   const EthAddr mac = EthAddr::fromNumber( 0x0200a1000001 );
   for( ; rounds != 0; --rounds ) {
      shim.fieldQualifyDstMac( 0, 1024, mac, EthAddr::broadcast );
      shim.fieldActionPortsAdd( 0, 1024, 1, ports );
   }
}

void recordedInputs( std::size_t rounds )
{
   Strata::Recorder recorder( recordingFile() );
   const auto status = Vormel::make<Interface::EthIntfStatus>( Vormel::IntfId::ethernet( 1 ) );
   recorder.input( "ethIntfStatusDir.intfStatus[Ethernet1]", status );
   for( ; rounds != 0; --rounds )
      status->forwardingModelIs(
         rounds % 2 == 0 ? ForwardingModel::routed : ForwardingModel::bridged );
}

constexpr Path recordings[] = {
   { "two calls, recorded", "", recordedCalls },
   { "input, recorded", "", recordedInputs },
};

/// The records of one round.
std::vector<std::string> linesOf( const Path& path )
{
   const auto read = [ & ]( std::size_t rounds ) {
      path.run( rounds );
      std::vector<std::string> lines;
      std::ifstream in( recordingFile() );
      for( std::string line; std::getline( in, line ); )
         lines.push_back( line + '\n' );
      return lines;
   };
   const std::size_t once = read( 1000 ).size();
   const auto lines = read( 1001 ); // "stop" is the last
   return { lines.end() - static_cast<std::ptrdiff_t>( lines.size() - once ) - 1, lines.end() - 1 };
}

void writeBytes( const std::vector<std::string>& lines, std::size_t rounds )
{
   const int file =
      ::open( recordingFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644 );
   for( ; rounds != 0; --rounds )
      for( const std::string& line : lines )
         if( ::write( file, line.data(), line.size() ) < 0 )
            throw std::runtime_error( "cannot write " + recordingFile() );
   ::close( file );
}

} // namespace

std::span<const Path> recordingPaths()
{
   return recordings;
}

std::vector<Pair> recordingPairs()
{
   std::vector<Pair> pairs;
   for( const Path& path : recordings )
      pairs.push_back( { std::string( path.name ) + ", beside write(2)", 2.5, path.run,
         [ lines = linesOf( path ) ]( std::size_t rounds ) { writeBytes( lines, rounds ); } } );
   std::filesystem::remove( recordingFile() );
   return pairs;
}

} // namespace Bench
