#include "tool/packet/CaptureFile.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"

#include <pcap.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <tuple>
#include <unistd.h>

namespace Strata::Tool {

using Vormel::format;
using Vormel::ValueError;

namespace {

/// Opens without waiting for a peer, and without consuming data that another process is to read.
std::FILE* opened( const std::string& name, bool toWrite )
{
   const std::string cannot =
      std::string( "cannot " ) + ( toWrite ? "write" : "read" ) + " '" + name + "': ";
   const int flags = toWrite ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY;
   const int file = open( name.c_str(), flags | O_NONBLOCK | O_CLOEXEC, 0666 );
   struct stat about = {};
   if( file < 0 || fstat( file, &about ) != 0 )
      throw ValueError( cannot + std::strerror( errno ) );
   if( toWrite ? S_ISFIFO( about.st_mode ) : !S_ISREG( about.st_mode ) ) {
      close( file );
      throw ValueError( cannot + "it is not a regular file" );
   }
   return fdopen( file, toWrite ? "wb" : "rb" );
}

// The header of the file and of each frame, in the machine's byte order.
struct FileHead
{
   U32 magic = 0xA1B2C3D4;
   U16 major = 2;
   U16 minor = 4;
   U32 zone = 0;
   U32 accuracy = 0;
   U32 longest = 0x40000;
   U32 link = DLT_EN10MB;
};

struct FrameHead
{
   U32 seconds;
   U32 microseconds;
   U32 captured;
   U32 length;
};

/// A block of a pcapng file, in the machine's byte order: type, length, fields and options, length.
class Block
{
 public:
   explicit Block( U32 type )
   {
      number( type );
      number( U32{ 0 } ); // the length, once it is known
   }

   template<class T>
   void number( T value )
   {
      const auto bytes = std::bit_cast<std::array<char, sizeof value>>( value );
      text_.append( bytes.data(), bytes.size() );
   }
   /// Fills up to a multiple of four bytes.
   void bytes( const void* data, std::size_t size )
   {
      text_.append( static_cast<const char*>( data ), size );
      text_.append( ( 4 - size % 4 ) % 4, '\0' );
   }
   /// Left out if the text is empty. An option has at most 65,535 bytes.
   void option( U16 code, std::string_view text )
   {
      if( text.empty() )
         return;
      text = text.substr( 0, std::numeric_limits<U16>::max() );
      number( code );
      number( static_cast<U16>( text.size() ) );
      bytes( text.data(), text.size() );
   }
   /// The whole block. Requires: it is called once.
   const std::string& ended()
   {
      number( U32{ 0 } ); // behind the last option
      const U32 length = static_cast<U32>( text_.size() + sizeof length );
      number( length );
      std::memcpy( text_.data() + sizeof length, &length, sizeof length );
      return text_;
   }

 private:
   std::string text_;
};

std::string sectionHead()
{
   Block block( 0x0A0D0D0A );
   block.number( U32{ 0x1A2B3C4D } ); // shows the byte order
   block.number( U16{ 1 } );          // version
   block.number( U16{ 0 } );
   block.number( ~U64{ 0 } );      // the section's length is not known
   block.option( 4, "strata-l3" ); // the application
   return block.ended();
}

std::string interfaceBlock( const std::string& name )
{
   constexpr char nanoseconds = 9;
   Block block( 1 );
   block.number( U16{ DLT_EN10MB } );
   block.number( U16{ 0 } );
   block.number( U32{ 0 } ); // no limit for the length of a frame
   block.option( 2, name );
   block.option( 9, { &nanoseconds, 1 } ); // the resolution of times
   return block.ended();
}

std::string packetBlock(
   U32 interface, const Sim::Frame& frame, double seconds, const std::string& comment )
{
   const auto time = static_cast<U64>( std::llround( seconds * 1e9 ) );
   Block block( 6 );
   block.number( interface );
   block.number( static_cast<U32>( time >> 32 ) );
   block.number( static_cast<U32>( time ) );
   block.number( static_cast<U32>( frame.bytes().size() ) );
   block.number( static_cast<U32>( frame.length() ) );
   block.bytes( frame.bytes().data(), frame.bytes().size() );
   block.option( 1, comment );
   return block.ended();
}

} // namespace

CaptureWriter::CaptureWriter( const std::string& file )
   : name_( file ),
     file_( opened( file, true ), std::fclose )
{
   const FileHead plain;
   const std::string section = sectionHead();
   if( !( takesNotes() ? put( section.data(), section.size() ) : put( &plain, sizeof plain ) ) ||
       std::fflush( file_.get() ) != 0 )
      throw ValueError( "cannot write '" + name_ + "': " + std::strerror( errno ) );
}

bool CaptureWriter::put( const void* bytes, std::size_t size )
{
   return std::fwrite( bytes, 1, size, file_.get() ) == size;
}

bool CaptureWriter::putBlocks( const Sim::Frame& frame, double seconds, const Note& note )
{
   const auto [ at, isNew ] =
      interfaces_.try_emplace( note.interface, static_cast<U32>( interfaces_.size() ) );
   const std::string blocks = ( isNew ? interfaceBlock( note.interface ) : "" ) +
                              packetBlock( at->second, frame, seconds, note.comment );
   return put( blocks.data(), blocks.size() );
}

std::string CaptureWriter::add( const Sim::Frame& frame, double seconds, const Note& note )
{
   const auto time = static_cast<U64>( std::llround( seconds * 1e6 ) );
   const auto size = static_cast<U32>( frame.bytes().size() );
   const FrameHead head{ static_cast<U32>( time / 1'000'000 ), static_cast<U32>( time % 1'000'000 ),
      size, static_cast<U32>( frame.length() ) };
   const bool written = takesNotes()
                           ? putBlocks( frame, seconds, note )
                           : put( &head, sizeof head ) && put( frame.bytes().data(), size );
   if( written && std::fflush( file_.get() ) == 0 )
      return {};
   return "the capture ends, because '" + name_ + "' cannot be written: " + std::strerror( errno );
}

bool CaptureWriter::writes( const std::string& file ) const
{
   std::error_code none;
   return file == name_ || std::filesystem::equivalent( file, name_, none );
}

bool hasOtherContents( const std::string& file )
{
   // Of pcap files with microseconds and with nanoseconds, in either byte order, and of pcapng files.
   constexpr std::array<U32, 5> magics{
      0xA1B2C3D4, 0xD4C3B2A1, 0xA1B23C4D, 0x4D3CB2A1, 0x0A0D0D0A };
   std::error_code none;
   if( !std::filesystem::is_regular_file( file, none ) )
      return false;
   std::array<char, sizeof( U32 )> start{};
   std::ifstream in( file, std::ios::binary );
   if( !in.read( start.data(), start.size() ) )
      return in.gcount() > 0;
   return std::ranges::find( magics, std::bit_cast<U32>( start ) ) == magics.end();
}

NoSuchFrame::NoSuchFrame( const std::string& file, U32 number, U32 count )
   : ValueError( format( "'%s' has no frame %d; it has %d", file, number, count ) )
{}

struct CaptureReader::Source
{
   std::unique_ptr<pcap_t, decltype( &pcap_close )> capture;
};

CaptureReader::CaptureReader( const std::string& file ) : name_( file )
{
   char problem[ PCAP_ERRBUF_SIZE ] = "";
   std::unique_ptr<std::FILE, int ( * )( std::FILE* )> stream( opened( file, false ), std::fclose );
   source_ = std::make_unique<Source>(
      Source{ { pcap_fopen_offline( stream.get(), problem ), pcap_close } } );
   if( !source_->capture )
      throw ValueError( "cannot read '" + file + "': " + problem );
   std::ignore = stream.release(); // the capture closes it
   if( const int link = pcap_datalink( source_->capture.get() ); link != DLT_EN10MB )
      throw ValueError(
         format( "'%s' does not contain Ethernet frames (link type %d)", file, link ) );
}

CaptureReader::~CaptureReader() = default;

std::optional<CapturedFrame> CaptureReader::next()
{
   pcap_pkthdr* header = nullptr;
   const u_char* bytes = nullptr;
   pcap_t* const capture = source_->capture.get();
   const int found = pcap_next_ex( capture, &header, &bytes );
   if( found == PCAP_ERROR_BREAK )
      return std::nullopt;
   if( found != 1 )
      throw ValueError(
         format( "cannot read '%s' behind frame %d: %s", name_, number_, pcap_geterr( capture ) ) );
   ++number_;
   return CapturedFrame{ Sim::Bytes( bytes, bytes + header->caplen ), header->len };
}

Sim::Frame frameInFile( const std::string& file, U32 number )
{
   CaptureReader reader( file );
   while( const auto captured = reader.next() )
      if( reader.number() == number )
         return captured->frame();
   throw NoSuchFrame( file, number, reader.number() );
}

} // namespace Strata::Tool
