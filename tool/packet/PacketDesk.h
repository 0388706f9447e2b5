// The packets of a session: the engine that forwards them, the last one, and the captures to files.
#pragma once

#include "cover/Cover.h"
#include "platform/runtime/Clock.h"
#include "sim/packet/PacketEngine.h"
#include "tool/packet/CaptureFile.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Strata::Tool {

struct LastPacket
{
   Sim::Arrival arrival;
   Sim::Verdict verdict;
};

class PacketDesk
{
 public:
   /// Captured frames have the times of the clock.
   PacketDesk( Sim::SimSwitch& hardware, const Vormel::Clock& clock );
   PacketDesk( const PacketDesk& ) = delete;
   PacketDesk& operator=( const PacketDesk& ) = delete;

   Sim::PacketEngine& engine() { return engine_; }
   const Sim::PacketEngine& engine() const { return engine_; }
   Sim::ForwardingTables& tables() { return engine_.tables(); }
   const Sim::ForwardingTables& tables() const { return engine_.tables(); }

   /// The last packet that was sent or explained; null if there was none.
   const LastPacket* last() const { return last_ ? &*last_ : nullptr; }
   void lastIs( LastPacket last ) { last_.emplace( std::move( last ) ); }

   /// Packets that were found for entries.
   Cover::Memory& entryPackets() { return entryPackets_; }

   bool captures( Sim::PortRef port ) const { return ports_.contains( port ); }
   bool capturesCpu( U32 unit ) const { return cpus_.contains( unit ); }
   /// Writes frames that leave on the port from now on, or go to the unit's CPU, to a capture file, which replaces
   /// an earlier one of the port. ValueError when the file cannot be written, or is in use.
   void capturePort( Sim::PortRef port, const std::string& file );
   void captureCpu( U32 unit, const std::string& file );
   void capturePortEnd( Sim::PortRef port );
   void captureCpuEnd( U32 unit );
   /// The same for frames that are dropped on any unit, as they arrived. Requires: the file takes notes.
   void captureDrops( const std::string& file );
   void captureDropsEnd();
   bool capturesDrops() const { return drops_ != nullptr; }
   /// Closes all files.
   void captureEnd();
   bool isWriting( const std::string& file ) const;
   /// The write errors since the last call; files with an error are closed. Empty if there was none.
   std::string takeProblem();

 private:
   std::unique_ptr<CaptureWriter> opened( const std::string& file ) const;
   void listen();
   void write( const Sim::Arrival& arrival, const Sim::Verdict& verdict,
      const Sim::Explanation* explanation );
   bool addTo( CaptureWriter& file, const Sim::Frame& frame, const CaptureWriter::Note& note );

   Sim::PacketEngine engine_;
   const Vormel::Clock& clock_;
   std::optional<LastPacket> last_;
   Cover::Memory entryPackets_;
   std::map<Sim::PortRef, std::unique_ptr<CaptureWriter>> ports_;
   std::map<U32, std::unique_ptr<CaptureWriter>> cpus_;
   std::unique_ptr<CaptureWriter> drops_;
   std::string problem_;
};

} // namespace Strata::Tool
