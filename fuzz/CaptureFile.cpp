// A pcap or pcapng file is read, and its frames are written and read again.
#include "fuzz/Fuzz.h"

#include "platform/runtime/Errors.h"
#include "tool/packet/CaptureFile.h"
#include "tool/packet/PacketWords.h"

#include <algorithm>
#include <vector>

namespace Strata::Fuzz {
namespace {

/// The frames up to the first error, which must name the file.
std::vector<Tool::CapturedFrame> framesOf( const std::string& file )
{
   std::vector<Tool::CapturedFrame> frames;
   try {
      Tool::CaptureReader reader( file );
      while( auto captured = reader.next() ) {
         frames.push_back( *std::move( captured ) );
         require( reader.number() == frames.size(), "frames are counted from 1" );
      }
   } catch( const Vormel::ValueError& error ) {
      require( std::string_view( error.what() ).find( "'" + file + "'" ) != std::string_view::npos,
         "an error names the file" );
   }
   return frames;
}

/// Writes the frames that a port would accept, and reads them again.
void checkWritten( const std::vector<Tool::CapturedFrame>& captured )
{
   const MemoryFile file;
   std::vector<Sim::Frame> frames;
   Tool::CaptureWriter writer( file.name() );
   for( const Tool::CapturedFrame& each : captured )
      try {
         frames.push_back( Tool::checkedFrame( each.frame() ) );
         require( writer.add( frames.back(), 0.5 ).empty(), "a frame can be written" );
      } catch( const Vormel::ValueError& ) {
         // too short or too long
      }
   const std::vector<Tool::CapturedFrame> again = framesOf( file.name() );
   require( std::ranges::equal( frames, again, {}, {}, &Tool::CapturedFrame::frame ),
      "frames are read as they were written" );
   require( !Tool::hasOtherContents( file.name() ), "a file that was written is a capture" );
}

} // namespace
} // namespace Strata::Fuzz

int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
   using namespace Strata::Fuzz;
   const MemoryFile file( { data, size } );
   Strata::Tool::hasOtherContents( file.name() );
   checkWritten( framesOf( file.name() ) );
   return 0;
}
