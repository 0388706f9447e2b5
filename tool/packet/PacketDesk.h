// Packets of a session: the engine that forwards them, the last one, and who writes them to files.
#pragma once

#include "platform/runtime/Clock.h"
#include "sim/packet/PacketEngine.h"

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
   ~PacketDesk();

   Sim::PacketEngine& engine() { return engine_; }
   Sim::ForwardingTables& tables() { return engine_.tables(); }

   /// The last packet that was sent or explained; null when there was none.
   const LastPacket* last() const { return last_ ? &*last_ : nullptr; }
   void lastIs( LastPacket last ) { last_.emplace( std::move( last ) ); }

   /// What leaves by the port from now on, or goes to the unit's CPU, is written to a pcap file.
   /// ValueError when it cannot be, is already, or the file is in use.
   void capturePort( Sim::PortRef port, const std::string& file );
   void captureCpu( U32 unit, const std::string& file );
   /// Closes all files.
   void captureEnd();

 private:
   class File;

   std::unique_ptr<File> opened( const std::string& file ) const;
   void write( const Sim::Verdict& verdict );

   Sim::PacketEngine engine_;
   const Vormel::Clock& clock_;
   std::optional<LastPacket> last_;
   std::map<Sim::PortRef, std::unique_ptr<File>> ports_;
   std::map<U32, std::unique_ptr<File>> cpus_;
};

/// The frame with this number, 1 being the first, in a pcap or pcapng file. ValueError when there is none.
Sim::Frame frameInFile( const std::string& file, U32 number );

} // namespace Strata::Tool
