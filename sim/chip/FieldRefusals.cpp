#include "sim/chip/FieldRefusals.h"

#include <algorithm>

namespace Strata::Sim {

/// Bits of the field that the data is compared with.
static U32 width( Qualifier role )
{
   switch( role ) {
   case Qualifier::Drop:
   case Qualifier::HiGig:
   case Qualifier::L3Routable:
   case Qualifier::MyStationHit:
   case Qualifier::TunnelTerminated:
      return 1;
   case Qualifier::IntPriority:
      return 4;
   case Qualifier::InterfaceClassL2:
   case Qualifier::InterfaceClassL3:
   case Qualifier::SrcClassField:
      return 12;
   case Qualifier::DstMcastGroup:
      return 16;
   default:
      return 64; // the SDK function's parameter limits the width
   }
}

static bool isPortSet( Qualifier role )
{
   return role == Qualifier::InPorts || role == Qualifier::InPortsClass ||
          role == Qualifier::OutPortsClass || role == Qualifier::OutLoopback;
}

static bool fits( const FieldQualifier& qualifier )
{
   if( isPortSet(
          qualifier
             .role ) ) // arrival outside the mask always passes, so an empty one decides nothing
      return qualifier.role != Qualifier::InPorts || !qualifier.allPorts.empty();
   const U32 bits = width( qualifier.role );
   const bool wide = bits < 64 && qualifier.data >> bits != 0;
   const bool outside =
      ( qualifier.data & ~qualifier.mask ) != 0 || ( qualifier.port & ~qualifier.portMask ) != 0;
   return !wide && !outside && ( qualifier.mask != 0 || qualifier.portMask != 0 );
}

static bool knownAt( FieldStage stage, Qualifier role )
{
   switch( role ) {
   case Qualifier::Drop:
   case Qualifier::DstMcastGroup:
   case Qualifier::DstPort:
   case Qualifier::OutPortsClass:
   case Qualifier::PacketRes:
      return stage == FieldStage::final;
   case Qualifier::InterfaceClassL3:
   case Qualifier::L3Routable:
   case Qualifier::MyStationHit:
      return stage != FieldStage::lookup;
   default:
      return true;
   }
}

/// Whether no packet can match both.
static bool excludes( const FieldQualifier& ipType, const FieldQualifier& other )
{
   return ipType.role == Qualifier::IpType && other.role == Qualifier::DstIp &&
          ipType.data != static_cast<U64>( FieldIpType::Ipv4Any );
}

SdkCode qualifierCode( FieldStage stage, const FieldRule& rule, const FieldQualifier& qualifier )
{
   if( !fits( qualifier ) || !knownAt( stage, qualifier.role ) )
      return SdkCode::Param;
   const bool excluded =
      std::ranges::any_of( rule.qualifiers, [ & ]( const FieldQualifier& other ) {
         return excludes( qualifier, other ) || excludes( other, qualifier );
      } );
   return excluded ? SdkCode::Config : SdkCode::None;
}

static bool isRedirect( FieldAction role )
{
   return role == FieldAction::RedirectMcast || role == FieldAction::RedirectPbmp ||
          role == FieldAction::RedirectPort;
}

static bool worksAt( FieldStage stage, FieldAction role )
{
   if( stage == FieldStage::urpf || role == FieldAction::DoNotCheckUrpf )
      return stage == FieldStage::urpf && role == FieldAction::DoNotCheckUrpf;
   switch( role ) {
   case FieldAction::CopyToCpuCancel:
   case FieldAction::EgressPortsAdd:
   case FieldAction::HgTrunkCancel:
   case FieldAction::HgTrunkCancelLag:
   case FieldAction::RedirectMcast:
   case FieldAction::RedirectPbmp:
   case FieldAction::RedirectPort:
      return stage == FieldStage::final; // earlier stages have no destination to change
   default:
      return true;
   }
}

static bool takesParameters( const ChipProfile& chip, const FieldActionData& action )
{
   switch( action.role ) {
   case FieldAction::CosQCpuNew:
      return action.parameter0 < chip.cpuQueues && action.parameter1 == 0;
   case FieldAction::DoNotCheckUrpf:
      return action.parameter0 == 1 && action.parameter1 == 0;
   case FieldAction::RedirectMcast: // group 0 does not exist
      return action.parameter0 > 0 && action.parameter0 < chip.l2McastGroups &&
             action.parameter1 == 0;
   case FieldAction::RedirectPort:
      return true;
   default:
      return action.parameter0 == 0 && action.parameter1 == 0;
   }
}

static bool contradict( FieldAction a, FieldAction b )
{
   using enum FieldAction;
   const auto are = [ & ]( FieldAction one, FieldAction other ) {
      return ( a == one && b == other ) || ( a == other && b == one );
   };
   return ( isRedirect( a ) && isRedirect( b ) && a != b ) || are( CopyToCpu, CopyToCpuCancel ) ||
          ( a == Drop && isRedirect( b ) ) || ( b == Drop && isRedirect( a ) );
}

SdkCode actionCode(
   const ChipProfile& chip, FieldStage stage, const FieldRule& rule, const FieldActionData& action )
{
   if( !worksAt( stage, action.role ) || !takesParameters( chip, action ) )
      return SdkCode::Param;
   const bool contradicts = std::ranges::any_of( rule.actions,
      [ & ]( const FieldActionData& other ) { return contradict( action.role, other.role ); } );
   return contradicts ? SdkCode::Config : SdkCode::None;
}

} // namespace Strata::Sim
