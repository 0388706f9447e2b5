// The layers of a frame that is being built, from the outside in. Types, lengths, checksums and the padding of a short
// frame are filled in when its bytes are read.
#pragma once

#include "sim/packet/Frame.h"

#include <vector>

namespace Strata::Tool {

class FrameLayers
{
 public:
   Vormel::EthAddr dstMac{ 2, 0, 0, 0, 0, 2 };
   Vormel::EthAddr srcMac{ 2, 0, 0, 0, 0, 1 };

   void addArp( U16 operation, const Vormel::EthAddr& target, const Sim::IpAddress& sender,
      const Sim::IpAddress& wanted );
   /// `options` are four of one byte each.
   void addIpv4(
      const Sim::IpAddress& source, const Sim::IpAddress& destination, U8 ttl, bool options );
   void addIpv6(
      const Sim::IpAddress& source, const Sim::IpAddress& destination, U8 hopLimit, bool hopByHop );
   void addMpls( U32 label, U8 ttl );
   /// An echo request, for the IP version that was added before it.
   void addIcmp();
   void addTcp( U16 source, U16 destination );
   void addUdp( U16 source, U16 destination );
   /// Bytes of an IP protocol.
   void addProtocol( U8 protocol, const Sim::Bytes& bytes );
   /// Bytes of an EtherType.
   void addOther( U16 etherType, const Sim::Bytes& bytes );
   /// Bytes behind all layers.
   void addPayload( const Sim::Bytes& bytes );

   /// Length in bytes before a short frame is padded.
   std::size_t unpaddedLength() const;
   Sim::Bytes bytes() const;

 private:
   enum class Kind : U8
   {
      arp,
      ipv4,
      ipv6,
      mpls,
      icmp,
      icmpv6,
      tcp,
      udp,
      other,
   };
   struct Layer
   {
      Kind kind;
      Sim::Bytes header;
   };

   void add( Kind kind, U16 etherType, Sim::Bytes header );
   void protocolIs( U8 protocol );
   void finish( std::size_t layer, Sim::Bytes& bytes ) const;
   U16 checksumWithAddresses( std::size_t layer, U8 protocol, const Sim::Bytes& bytes ) const;

   std::vector<Layer> layers_;
   U16 etherType_ = 0;
   Sim::Bytes payload_;
};

} // namespace Strata::Tool
