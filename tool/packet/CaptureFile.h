// Files of captured frames.
#pragma once

#include "platform/runtime/Errors.h"
#include "sim/packet/Frame.h"

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Strata::Tool {

/// A pcap file, or a pcapng file if its name ends with ".pcapng", that is written frame by frame, so that captured frames
/// are in the file however the process ends.
class CaptureWriter
{
 public:
   /// Where a frame was seen, and what became of it.
   struct Note
   {
      std::string interface;
      std::string comment;
   };

   /// ValueError when the file cannot be written, or is a pipe, for which the session could wait.
   explicit CaptureWriter( const std::string& file );

   /// Whether a file of that name contains notes.
   static bool takesNotes( const std::string& file ) { return file.ends_with( ".pcapng" ); }
   bool takesNotes() const { return takesNotes( name_ ); }

   /// `seconds` of the clock, which a pcap file has in microseconds and a pcapng file in nanoseconds. A pcap file leaves
   /// the note out. Returns why the frame could not be written, or an empty text.
   std::string add( const Sim::Frame& frame, double seconds, const Note& note = {} );

   /// Whether it is this file, also under another name.
   bool writes( const std::string& file ) const;

 private:
   bool put( const void* bytes, std::size_t size );
   bool putBlocks( const Sim::Frame& frame, double seconds, const Note& note );

   std::string name_;
   std::unique_ptr<std::FILE, int ( * )( std::FILE* )> file_;
   std::map<std::string, U32> interfaces_; // of a pcapng file, with their numbers
};

/// Whether the file has contents that are not those of a capture, and that a capture would overwrite: a scenario, the
/// transcript of the run.
bool hasOtherContents( const std::string& file );

/// A frame of a file.
struct CapturedFrame
{
   Sim::Bytes bytes;
   U32 length; // on the wire, where the capture may have cut it

   /// ValueError if it is shorter than an Ethernet header.
   Sim::Frame frame() const { return { bytes, length }; }
};

/// A pcap or pcapng file of Ethernet frames, read from its start, frame by frame.
class CaptureReader
{
 public:
   /// ValueError when it cannot be read or is not a regular file, because reading a pipe consumes its data.
   explicit CaptureReader( const std::string& file );
   ~CaptureReader();
   CaptureReader( const CaptureReader& ) = delete;
   CaptureReader& operator=( const CaptureReader& ) = delete;

   /// None at the end. ValueError if the file is damaged.
   std::optional<CapturedFrame> next();
   /// The number of the frame that was read last; the first is 1.
   U32 number() const { return number_; }

 private:
   struct Source;

   std::string name_;
   std::unique_ptr<Source> source_;
   U32 number_ = 0;
};

/// A file has only `count` frames, so none with this number.
class NoSuchFrame : public Vormel::ValueError
{
 public:
   NoSuchFrame( const std::string& file, U32 number, U32 count );
};

/// The frame with this number, counted from 1. Raises NoSuchFrame if the file has fewer frames.
Sim::Frame frameInFile( const std::string& file, U32 number );

} // namespace Strata::Tool
