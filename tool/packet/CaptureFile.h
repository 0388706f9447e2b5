// Files of captured frames.
#pragma once

#include "platform/runtime/Errors.h"
#include "sim/packet/Frame.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Strata::Tool {

/// A pcap file that is written frame by frame: what was captured is in the file, whatever ends the process.
class CaptureWriter
{
 public:
   /// ValueError when the file cannot be written, or is a pipe, which could keep the session waiting.
   explicit CaptureWriter( const std::string& file );

   /// `seconds` of the clock. Why it could not be written, or nothing.
   std::string add( const Sim::Frame& frame, double seconds );

   /// Whether it is this file, by whatever name.
   bool writes( const std::string& file ) const;

 private:
   bool put( const void* bytes, std::size_t size );

   std::string name_;
   std::unique_ptr<std::FILE, int ( * )( std::FILE* )> file_;
};

/// A frame as a file holds it.
struct CapturedFrame
{
   Sim::Bytes bytes;
   U32 length; // on the wire, where the capture may have cut it

   /// ValueError when it has no whole Ethernet header.
   Sim::Frame frame() const { return { bytes, length }; }
};

/// A pcap or pcapng file of Ethernet frames, read from its start, frame by frame.
class CaptureReader
{
 public:
   /// ValueError when it cannot be read or is not a regular file, because reading a pipe takes its data away.
   explicit CaptureReader( const std::string& file );
   ~CaptureReader();
   CaptureReader( const CaptureReader& ) = delete;
   CaptureReader& operator=( const CaptureReader& ) = delete;

   /// None at the end. ValueError where the file is damaged.
   std::optional<CapturedFrame> next();
   /// Of the frame that came last, 1 being the first.
   U32 number() const { return number_; }

 private:
   struct Source;

   std::string name_;
   std::unique_ptr<Source> source_;
   U32 number_ = 0;
};

/// A file has `count` frames, and not the one with this number.
class NoSuchFrame : public Vormel::ValueError
{
 public:
   NoSuchFrame( const std::string& file, U32 number, U32 count );
};

/// The frame with this number, counted from 1. Raises NoSuchFrame if the file has fewer frames.
Sim::Frame frameInFile( const std::string& file, U32 number );

} // namespace Strata::Tool
