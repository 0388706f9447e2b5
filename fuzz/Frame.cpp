// A frame comes in by a port of a switch: it is parsed, explained and forwarded. The first byte of the input selects
// the port, whether the IPv4 checksum is mended, and whether the explanation is shown; the second says how many of the
// frame's last bytes the capture has not got.
#include "fuzz/Fuzz.h"

#include "platform/runtime/Errors.h"
#include "tool/Session.h"
#include "tool/packet/ExplanationView.h"
#include "tool/packet/PacketWords.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace Strata::Fuzz {
namespace {

using Sim::Frame;

constexpr std::size_t choices = 2; // bytes before the frame
constexpr U8 portChoice = 0x0F;
constexpr U8 byStackLink = 0x20;
constexpr U8 mendsChecksum = 0x40;
constexpr U8 showsExplanation = 0x80;

/// Without this most changed packets would only be dropped for their checksum.
Sim::Bytes withChecksum( Sim::Bytes bytes )
{
   const Frame frame( bytes );
   if( !frame.headers().ip || frame.headers().ip->source.isV6() )
      return bytes;
   const std::size_t start = frame.headers().l3Offset;
   const std::size_t size = std::size_t{ bytes[ start ] & 0x0Fu } * 4;
   if( start + size > bytes.size() )
      return bytes;
   bytes[ start + 10 ] = bytes[ start + 11 ] = 0;
   const U16 checksum = Sim::internetChecksum( std::span( bytes ).subspan( start, size ) );
   bytes[ start + 10 ] = static_cast<U8>( checksum >> 8 );
   bytes[ start + 11 ] = static_cast<U8>( checksum );
   return bytes;
}

/// None if the bytes are no frame that a port accepts.
std::optional<Frame> frameOf( Input input )
{
   Sim::Bytes bytes( input.begin() + choices, input.end() );
   const std::size_t length = bytes.size();
   try {
      if( input[ 0 ] & mendsChecksum )
         bytes = withChecksum( std::move( bytes ) );
      bytes.resize( length - std::min<std::size_t>( input[ 1 ], length ) );
      return Tool::checkedFrame( Frame( std::move( bytes ), length ) );
   } catch( const Vormel::ValueError& ) {
      return std::nullopt;
   }
}

void checkFrame( const Frame& frame )
{
   require(
      frame == Frame( frame.bytes(), frame.length() ), "a frame is its bytes and its length" );
   require( !frame.text().empty(), "a frame has a text" );
   if( frame.headers().vxlan )
      require( Sim::decapsulated( frame ).length() <= frame.length(),
         "a frame in a tunnel is no longer than what carries it" );
}

void checkVerdict( Sim::PacketEngine& engine, const Sim::Verdict& verdict )
{
   require(
      !verdict.departures().empty() || !verdict.cpuCopies().empty() || !verdict.drop().empty(),
      "a packet leaves, is for the CPU, or is dropped for a reason" );
   for( const Sim::Departure* const departure : verdict.departures() ) {
      checkFrame( departure->frame );
      require( departure->frame.length() >= Sim::shortestFrame, "a frame that leaves is padded" );
      require( departure->tunnel.empty() || departure->frame.headers().vxlan.has_value(),
         "a frame for a tunnel is encapsulated" );
   }
   for( const Sim::CpuCopy* const copy : verdict.cpuCopies() ) {
      checkFrame( copy->frame );
      require( !copy->reasons.empty(), "a copy for the CPU has a reason" );
   }
   require( nlohmann::json::accept( engine.verdictJson( verdict ) ), "a verdict's JSON is valid" );
   require( !engine.summary( verdict ).empty(), "a verdict has a text" );
}

void checkExplanation(
   Sim::PacketEngine& engine, const Sim::Verdict& verdict, const Sim::Explanation& explanation )
{
   require( explanation.passes.size() == verdict.passes.size(), "every pass is explained" );
   for( const bool all : { false, true } )
      require( !Tool::explanationTable( engine, verdict, explanation, all ).lines().empty(),
         "an explanation has lines" );
   require( nlohmann::json::accept( Tool::explanationJson( engine, verdict, explanation ).dump() ),
      "an explanation's JSON is valid" );
}

/// What all packets have in common: the switch, its ports, and the stations that it knew before the first packet.
struct Switch
{
   Tool::Session& session = Fuzz::session();
   Sim::PacketEngine& engine = session.packets().engine();
   std::vector<U32> ports;
   decltype( Sim::ForwardingTables::stations ) stations = engine.tables().stations;

   Switch()
   {
      session.agent().hardware().transcript().keepIs( false );
      for( const U32 port : session.agent().hardware().chip( 0 ).ports() )
         ports.push_back( port );
   }

   void comesIn( const Sim::Arrival& arrival, bool shown )
   {
      checkFrame( arrival.frame );
      Sim::Explanation explanation;
      const Sim::Verdict verdict = engine.explain( arrival, &explanation );
      require( verdict == engine.send( arrival ), "a packet fares as it was explained" );
      checkVerdict( engine, verdict );
      if( shown ) // which takes longest
         checkExplanation( engine, verdict, explanation );
      engine.tables().stations = stations; // an input must not depend on those before it
   }
};

} // namespace
} // namespace Strata::Fuzz

int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
   using namespace Strata::Fuzz;
   static Switch ofProcess;
   if( size < choices )
      return 0;
   const auto frame = frameOf( { data, size } );
   const auto& ports = ofProcess.ports;
   if( frame )
      ofProcess.comesIn( { { 0, ports[ ( data[ 0 ] & portChoice ) % ports.size() ] }, *frame,
                            ( data[ 0 ] & byStackLink ) != 0 },
         ( data[ 0 ] & showsExplanation ) != 0 );
   return 0;
}
