// The rule of a Field Processor entry: qualifiers and actions as data, for printing them and
// for deciding about packets.
#pragma once

#include "platform/runtime/Enum.h"
#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/types/PortBitmap.h"

#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

VORMEL_ENUM( Qualifier, U8, Drop, DstIp, DstMac, DstMcastGroup, DstPort, EtherType, HiGig,
   IngressStpState, IntPriority, InterfaceClassL2, InterfaceClassL3, IpProtocol, IpType, L3Routable,
   L4DstPort, MyStationHit, PacketRes, SrcClassField, Ttl, TunnelTerminated,
   // Set through entry managers.
   InPorts, InPortsClass, OutPortsClass, OutLoopback )

/// Data and mask are the packet's values, without SDK numbers: an exact match has all bits of the mask set, and IP
/// types and packet results are the positions of their roles in the enum.
struct FieldQualifier
{
   Qualifier role;
   U64 data = 0;
   U64 mask = 0;
   // DstPort: `data` is the module and this is the port. OutLoopback: the loopback port in `data`.
   U64 port = 0;
   U64 portMask = 0;
   // Port sets, set through entry managers.
   PortBitmap ports{};
   PortBitmap allPorts{}; // InPorts: a port outside always passes

   bool operator==( const FieldQualifier& ) const = default;
   /// "DstPort mod 249/0xff port 240/0xff"
   std::string text() const;
};

struct FieldActionData
{
   FieldAction role;
   U32 parameter0 = 0;
   U32 parameter1 = 0;
   PortBitmap ports{}; // for actions with a port bitmap

   bool operator==( const FieldActionData& ) const = default;
   /// "CosQCpuNew 26", "RedirectPbmp 1-4"
   std::string text() const;
};

struct FieldRule
{
   std::vector<FieldQualifier> qualifiers; // in the order in which they were first given
   std::vector<FieldActionData> actions;

   /// Replaces a qualifier or action of the same role.
   void qualifierIs( const FieldQualifier& qualifier );
   void actionIs( const FieldActionData& action );

   bool operator==( const FieldRule& ) const = default;
   /// "Ttl 0/0xff; Drop 0 => CosQCpuNew 26; CopyToCpu", with another `arrow` if need be. "every packet" without a
   /// qualifier, "nothing" without an action.
   std::string text( std::string_view arrow = " => " ) const;
};

} // namespace Strata::Sim
