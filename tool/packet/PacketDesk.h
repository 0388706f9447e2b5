// Packets of a session: the engine that forwards them, the last one, and who writes them to files.
#pragma once

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
   /// What is captured has the clock's times.
   PacketDesk( Sim::SimSwitch& hardware, const Vormel::Clock& clock );
   PacketDesk( const PacketDesk& ) = delete;
   PacketDesk& operator=( const PacketDesk& ) = delete;

   Sim::PacketEngine& engine() { return engine_; }
   const Sim::PacketEngine& engine() const { return engine_; }
   Sim::ForwardingTables& tables() { return engine_.tables(); }
   const Sim::ForwardingTables& tables() const { return engine_.tables(); }

   /// The last packet that was sent or explained; null when there was none.
   const LastPacket* last() const { return last_ ? &*last_ : nullptr; }
   void lastIs( LastPacket last ) { last_.emplace( std::move( last ) ); }

   bool captures( Sim::PortRef port ) const { return ports_.contains( port ); }
   bool capturesCpu( U32 unit ) const { return cpus_.contains( unit ); }
   /// Writes what leaves by the port from now on, or goes to the unit's CPU, to a pcap file, in place of an earlier
   /// one. ValueError when the file cannot be written, or is in use.
   void capturePort( Sim::PortRef port, const std::string& file );
   void captureCpu( U32 unit, const std::string& file );
   /// Closes all files.
   void captureEnd();
   bool isWriting( const std::string& file ) const;
   /// What could not be written since the last call; such a file is closed. Empty when everything was.
   std::string takeProblem();

 private:
   std::unique_ptr<CaptureWriter> opened( const std::string& file ) const;
   void write( const Sim::Verdict& verdict );

   Sim::PacketEngine engine_;
   const Vormel::Clock& clock_;
   std::optional<LastPacket> last_;
   std::map<Sim::PortRef, std::unique_ptr<CaptureWriter>> ports_;
   std::map<U32, std::unique_ptr<CaptureWriter>> cpus_;
   std::string problem_;
};

} // namespace Strata::Tool
