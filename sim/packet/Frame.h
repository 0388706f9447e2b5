// A frame as bytes, with the headers that a chip's parser finds. A value; its headers are parsed once, when
// it is made.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/types/EthAddr.h"
#include "sim/packet/IpAddress.h"

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Sim {

using Vormel::EthAddr;
using Bytes = std::vector<U8>;

constexpr U16 etherTypeIpv4 = 0x0800;
constexpr U16 etherTypeArp = 0x0806;
constexpr U16 etherTypeVlan = 0x8100;
constexpr U16 etherTypeIpv6 = 0x86DD;
constexpr U16 etherTypeMpls = 0x8847;
constexpr U8 ipProtocolIgmp = 2;
constexpr U8 ipProtocolUdp = 17;
constexpr U16 udpPortVxlan = 4789;

// Bytes of a frame without its checksum; the longest length excludes the VLAN tags that are parsed.
constexpr std::size_t shortestFrame = 60;
constexpr std::size_t longestFrame = 9216;

struct VlanTag
{
   U16 vlanId = 0; // 0: only a priority
   U8 priority = 0;
   bool dropEligible = false;
};

struct ArpHeader
{
   U16 operation; // 1 request, 2 reply
   IpAddress sender;
   IpAddress target;
};

struct IpHeader
{
   IpAddress source;
   IpAddress destination;
   U8 trafficClass;    // DSCP and ECN
   U8 ttl;             // or hop limit
   U8 protocol;        // the last next header
   bool options;       // IPv4 options, or IPv6 hop-by-hop options
   bool checksumRight; // always true for IPv6, and if the capture lacks a part of the header
   U32 length;         // bytes, header included
};

struct L4Ports
{
   U16 source;
   U16 destination;
};

struct MplsLabel
{
   U32 label;
   U8 ttl;
   bool bottom; // the last of the stack
};

struct VxlanHeader
{
   U32 vni;
   std::size_t innerOffset; // of the frame inside
   std::size_t innerEnd;    // on the wire
};

struct Headers
{
   EthAddr dstMac;
   EthAddr srcMac;
   std::optional<VlanTag> tag; // the outermost
   std::size_t tags = 0;       // that are parsed: two at most
   U16 etherType = 0;          // behind the tags that are parsed
   std::size_t l3Offset = 0;
   std::optional<ArpHeader> arp;
   std::vector<MplsLabel> mpls; // outermost first
   U16 labelled = 0; // EtherType of the IP packet behind the last label; 0 for anything else
   std::optional<IpHeader> ip; // not behind labels
   std::optional<L4Ports> l4;
   std::optional<VxlanHeader> vxlan;
   /// Why the parser stopped early; empty if it parsed every header that it knows.
   std::string problem;

   bool isArp( U16 operation ) const { return arp && arp->operation == operation; }
};

class Frame
{
 public:
   /// A complete frame. ValueError if it is shorter than an Ethernet header.
   explicit Frame( Bytes bytes );
   /// The captured first bytes of a frame. `length` is its length on the wire.
   Frame( Bytes bytes, std::size_t length );

   const Bytes& bytes() const& { return bytes_; }
   Bytes bytes() && { return std::move( bytes_ ); }
   /// Length on the wire, in bytes.
   std::size_t length() const { return bytes_.size() + missing_; }
   /// The same without the VLAN tags that are parsed.
   std::size_t untaggedLength() const;
   /// Number of bytes at the end that are missing from the capture.
   std::size_t missing() const { return missing_; }
   const Headers& headers() const { return headers_; }

   /// "00:..:01 -> 00:..:02 vlan 10, IPv4 10.0.0.1 -> 10.0.0.2 ttl 64, UDP 1000 -> 53"; with all VLAN tags.
   std::string text() const;
   /// The same without MAC addresses and tags.
   std::string payloadText() const;

   bool operator==( const Frame& other ) const
   {
      return bytes_ == other.bytes_ && missing_ == other.missing_;
   }

 private:
   Bytes bytes_;
   std::size_t missing_;
   Headers headers_;
};

// Edits that chips make. All return a new frame; the number of missing bytes stays the same.

/// Replaces the outermost tag by this one, or removes it; an inner tag stays.
Frame retagged( Frame frame, const std::optional<VlanTag>& tag );
/// Adds a tag outside the present ones.
Frame tagged( const Frame& frame, const VlanTag& tag );
/// Removes all parsed tags.
Frame untagged( const Frame& frame );
/// Pads a frame that is too short with zeros.
Frame padded( Frame frame );
/// Decrements the TTL in the IP header, or in the outermost label, and updates the IPv4 checksum.
Frame oneHopLess( const Frame& frame );
/// As a router sends it on: with these addresses, oneHopLess() and untagged().
Frame routed( const Frame& frame, const EthAddr& dstMac, const EthAddr& srcMac );
/// Replaces the outermost label by `label`, or removes it. Requires: a label to remove is not the last one,
/// or IP is behind it.
Frame relabelled( const Frame& frame, std::optional<U32> label );

/// The Ethernet frame inside a VXLAN packet. ValueError if there is no complete one.
Frame decapsulated( const Frame& frame );

struct VxlanOuter
{
   EthAddr dstMac;
   EthAddr srcMac;
   IpAddress source;
   IpAddress destination;
   U32 vni;
};
/// The outer header has DSCP and ECN of an inner IP packet and "don't fragment"; UDP has no checksum.
Frame encapsulated( const Frame& inner, const VxlanOuter& outer );

U16 internetChecksum( std::span<const U8> bytes );

} // namespace Strata::Sim
