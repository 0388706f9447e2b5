// Packets on a simulated switch: their outcome, and the reasons. One evaluator forwards and explains, so that
// explanations are true; a checking build compares the two for each packet.
//
// Requires: the activity lock is held.
#pragma once

#include "sim/packet/PacketView.h"
#include "sim/packet/Verdict.h"
#include "sim/switch/SimSwitch.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace Strata::Sim {

struct PortCounters
{
   U64 in = 0;
   U64 out = 0;
};

struct DropCounter
{
   U64 packets = 0;
   std::string last; // the reason of the last one, with its addresses
};

struct PacketCounters
{
   std::map<PortRef, PortCounters> ports;
   std::map<std::pair<U32, U32>, U64> cpuQueues; // by unit and queue
   std::map<std::string, DropCounter> drops; // by reason; packets that the CPU got are not counted
};

class PacketEngine
{
 public:
   /// The multicast groups that an agent reserves exist from the start. Requires: the switch outlives the engine.
   explicit PacketEngine( SimSwitch& hardware );
   PacketEngine( const PacketEngine& ) = delete;
   PacketEngine& operator=( const PacketEngine& ) = delete;

   ForwardingTables& tables() { return tables_; }
   const ForwardingTables& tables() const { return tables_; }
   const PacketCounters& counters() const { return counters_; }

   /// Sends a packet in: entries count hits, stations are learned, counters rise, and the transcript gets a
   /// record of it, and a breach if it loops. ValueError if there is no such port.
   Verdict send( const Arrival& arrival );
   /// The same verdict, without any of these effects.
   Verdict explain( const Arrival& arrival, Explanation* explanation = nullptr ) const;

   /// Sets the listener for the verdict of each packet that is sent. Empty for none. The explanation is null unless
   /// `explained`, which takes as long as explain() of each packet.
   using Listener = std::function<void( const Arrival&, const Verdict&, const Explanation* )>;
   void listenerIs( Listener listener, bool explained = false )
   {
      listener_ = std::move( listener );
      explained_ = explained;
   }

   /// The text of the breach of a packet that loops.
   static std::string loopText();

   std::string portName( PortRef port ) const;
   /// "Ethernet1", or "the stack link of unit 0".
   std::string arrivalName( const Arrival& arrival ) const;
   std::string portNames( const std::vector<PortRef>& ports ) const;
   /// The name of the port's LAG; an empty text for a port that is in no LAG.
   std::string lagOf( PortRef port ) const;
   /// The name of the port's LAG, or that of a port that is in no LAG.
   std::string placeName( PortRef port ) const;
   std::string nextHopName( const NextHop& nextHop ) const;
   /// "Ethernet3, Ethernet4; CPU queue 0 (TTL 1); dropped: ..." in one line.
   std::string summary( const Verdict& verdict ) const;
   /// A JSON object with "departures", "passes", "cpu", and "drop" if it leaves on no port.
   std::string verdictJson( const Verdict& verdict ) const;

 private:
   std::map<U32, U32> recircPorts() const;
   template<class Work>
   auto withView( Work work ) const;
   void apply( const Arrival& arrival, const Verdict& verdict );
   RecordContent contentOf( const Arrival& arrival, const Verdict& verdict ) const;

   SimSwitch& hardware_;
   ForwardingTables tables_;
   PacketCounters counters_;
   mutable FieldLookups lookups_; // what it keeps is made from the chips
   Listener listener_;
   bool explained_ = false; // to the listener
};

} // namespace Strata::Sim
