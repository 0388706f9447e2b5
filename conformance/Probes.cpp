// The qualifiers and actions that the slice gives to entries of each range, with typical data.
#include "conformance/Entry.h"

namespace Strata::Conformance {

#define PROBE( method, needs, notInAclKeys, ... ) \
   Probe \
   { \
#method, needs, notInAclKeys, \
         []( Examiner & examiner, U32 unit, \
            U32 entry ) { return examiner.method( unit, entry, __VA_ARGS__ ); } \
   }

static constexpr bool ChipAttributes::*always = nullptr;

static std::vector<Probe> mainQualifiers()
{
   static constexpr EthAddr mac( 0x02, 0x00, 0xa1, 0x00, 0x00, 0x01 );
   return {
      PROBE( fieldQualifyDstMac, always, false, mac, EthAddr::broadcast ),
      PROBE( fieldQualifyDrop, always, false, 0, 1 ),
      PROBE( fieldQualifyDstMcastGroup, always, false, 1, examiner.shim().exactMatchMask() ),
      PROBE( fieldQualifyDstPort, always, false, 250, 0xFF, 0, 0 ),
      PROBE( fieldQualifyEtherType, always, false, 0x8847, 0xFFFF ),
      PROBE( fieldQualifyIngressStpState, always, false, examiner.shim().stpForward(), 0xFF ),
      PROBE( fieldQualifyIntPriority, always, false, 3, examiner.shim().exactMatchMask() ),
      PROBE( fieldQualifyInterfaceClassL2, always, true, 0x10, 0x10 ),
      PROBE(
         fieldQualifyIpType, always, false, examiner.shim().fieldIpType( FieldIpType::ArpReply ) ),
      PROBE( fieldQualifyL3Routable, always, false, 0, 1 ),
      PROBE( fieldQualifyMyStationHit, always, false, 0, 1 ),
      PROBE( fieldQualifyPacketRes, always, false,
         examiner.shim().packetResult( PacketResult::L2UNKNOWN ),
         examiner.shim().exactMatchMask() ),
      PROBE( fieldQualifySrcClassField, always, true, 0, 0x20 ),
      PROBE( fieldQualifyHiGig, &ChipAttributes::higigQualifierSupported, false, 0, 1 ),
      PROBE( fieldQualifyTunnelTerminated, &ChipAttributes::vxlanSupported, false, 1, 1 ),
   };
}

std::vector<Probe> qualifiersOf( const ManagedRange& range )
{
   if( !range.group )
      return mainQualifiers();
   switch( *range.group ) {
   case TcamGroup::ttlCheck:
      return {
         PROBE( fieldQualifyTtl, always, false, 1, 0xFF ),
         PROBE( fieldQualifyL3Routable, always, false, 1, 1 ),
         PROBE( fieldQualifyDrop, always, false, 0, 1 ),
      };
   case TcamGroup::phpLspPing:
      return {
         PROBE( fieldQualifyDstIp, always, false, 0x7F000000, 0xFF000000 ),
         PROBE( fieldQualifyIpProtocol, always, false, 17, 0xFF ),
         PROBE( fieldQualifyL4DstPort, always, false, 3503, 0xFFFF ),
      };
   case TcamGroup::peerMacArp:
      return {
         PROBE( fieldQualifyDstMac, always, false, EthAddr::broadcast, EthAddr::broadcast ),
         PROBE( fieldQualifyEtherType, always, false, 0x0806, 0xFFFF ),
      };
   case TcamGroup::urpfSingleWide:
   case TcamGroup::urpfDoubleWide:
      break;
   }
   return {
      PROBE( fieldQualifyInterfaceClassL3, always, false, 1, 1 ),
      PROBE(
         fieldQualifyIpType, always, false, examiner.shim().fieldIpType( FieldIpType::Ipv4Any ) ),
   };
}

#define ACTION( role, parameter0, parameter1 ) \
   Probe \
   { \
#role, always, false, []( Examiner& examiner, U32 unit, U32 entry ) { \
         return examiner.fieldActionAdd( unit, entry, \
            examiner.shim().fieldAction( FieldAction::role ), parameter0, parameter1 ); \
      } \
   }

static Probe higigTrunkCancel()
{
   return { "HgTrunkCancel", &ChipAttributes::higigTrunkCancelSupported, false,
      []( Examiner& examiner, U32 unit, U32 entry ) {
         const FieldAction role = examiner.shim().resolvesHigigTrunksAsLag( unit )
                                     ? FieldAction::HgTrunkCancelLag
                                     : FieldAction::HgTrunkCancel;
         return examiner.fieldActionAdd( unit, entry, examiner.shim().fieldAction( role ), 0, 0 );
      } };
}

std::vector<std::vector<Probe>> actionsOf( const ManagedRange& range )
{
   if( !range.group )
      return {
         { ACTION( Drop, 0, 0 ), ACTION( CopyToCpu, 0, 0 ), ACTION( CosQCpuNew, 27, 0 ),
            higigTrunkCancel() },
         { ACTION( CopyToCpuCancel, 0, 0 ), ACTION( RedirectMcast, 1, 0 ),
            ACTION( DoNotLearn, 0, 0 ) },
      };
   switch( *range.group ) {
   case TcamGroup::ttlCheck:
   case TcamGroup::phpLspPing:
      return { { ACTION( Drop, 0, 0 ), ACTION( CopyToCpu, 0, 0 ), ACTION( CosQCpuNew, 26, 0 ) } };
   case TcamGroup::peerMacArp:
      return { { ACTION( RedirectPort, 0, 1 ) } };
   case TcamGroup::urpfSingleWide:
   case TcamGroup::urpfDoubleWide:
      break;
   }
   return { { ACTION( DoNotCheckUrpf, 1, 0 ) } };
}

} // namespace Strata::Conformance
