// Switch controls, port controls, VLANs and IPv4 options profiles.
#include "conformance/Checks.h"

namespace Strata::Conformance {

namespace {

struct Control
{
   SwitchControl role;
   int value; // the value that the slice writes at bring-up
   bool chipPromises;
};

std::vector<Control> controlsOf( const ChipAttributes& chip )
{
   return {
      { SwitchControl::V4L3DstMissToCpu, 1, true },
      { SwitchControl::V6L3DstMissToCpu, 1, true },
      { SwitchControl::L3UcastTtl1ToCpu, 1, true },
      { SwitchControl::L3UcTtlErrToCpu, 1, true },
      { SwitchControl::L3EgressMode, 1, true },
      { SwitchControl::L3MtuFailToCpu, 1, true },
      { SwitchControl::MartianAddrToCpu, 1, true },
      { SwitchControl::IcmpRedirectToCpu, 0, true },
      { SwitchControl::L3SlowpathToCpu, 1, true },
      { SwitchControl::IpmcTtl1ToCpu, 0, true },
      { SwitchControl::CpuProtoIpOptionsPriority, 0, true },
      { SwitchControl::HashL2Dual, 0, true },
      { SwitchControl::HashL3Dual, 0, true },
      { SwitchControl::L2TrafficSrcIpLookup, 0, true },
      { SwitchControl::IPv4DoNotVerifyIncomingChecksum, 1, chip.ipv4ChecksumNoVerify },
      { SwitchControl::L3InterfaceUrpfEnable, 1, chip.l3IntfUrpfControl },
      { SwitchControl::IgmpReservedMcastEnable, 1, chip.igmpReservedMcastControl },
      { SwitchControl::MplsLabelMissToCpu, 1, chip.usesHsdk() && chip.cpuControlMMpls },
      { SwitchControl::MplsTtlErrToCpu, 1, chip.usesHsdk() && chip.cpuControlMMpls },
   };
}

/// The controls that the slice writes only on the single unit.
bool isSingleUnits( SwitchControl role )
{
   return role == SwitchControl::L3InterfaceUrpfEnable ||
          role == SwitchControl::IgmpReservedMcastEnable;
}

/// The controls that the slice writes chip-wide for each port that is added.
bool isWrittenByPort( SwitchControl role )
{
   switch( role ) {
   case SwitchControl::HashL2Dual:
   case SwitchControl::HashL3Dual:
   case SwitchControl::L2TrafficSrcIpLookup:
   case SwitchControl::IPv4DoNotVerifyIncomingChecksum:
   case SwitchControl::L3InterfaceUrpfEnable:
   case SwitchControl::IgmpReservedMcastEnable:
   case SwitchControl::MplsLabelMissToCpu:
   case SwitchControl::MplsTtlErrToCpu:
      return false;
   default:
      return true;
   }
}

void checkControl( Examiner& examiner, U32 unit, const Control& control )
{
   const int number = examiner.shim().switchControl( control.role );
   const auto& valueOf = examiner.port().switchControlValue;
   const int before = valueOf ? valueOf( unit, number ) : control.value;
   const auto written = [ & ]( const Answer<int>& answer, int value ) {
      const std::string call = std::string( roleName( control.role ) ) + ": " + answer.call;
      if( !control.chipPromises )
         return examiner.expectSuccessOrUnavailable(
            Promise::lackIsUnavailable, { answer.value, call } );
      examiner.expectSuccess( Promise::controlsAccepted, { answer.value, call } );
      if( valueOf )
         examiner.expectEqual(
            Promise::controlsAccepted, Answer<int>{ valueOf( unit, number ), call }, value );
   };
   for( const int value :
      { valueOf && control.value <= 1 ? 1 - control.value : control.value, control.value } )
      written( examiner.switchControlSet( unit, number, value ), value );
   if( isWrittenByPort( control.role ) )
      written( examiner.switchControlPortSet(
                  unit, examiner.shim().chipWidePort(), number, control.value ),
         control.value );
   if( before != control.value )
      written( examiner.switchControlSet( unit, number, before ), before );
}

} // namespace

void checkSwitchControls( Examiner& examiner, U32 unit )
{
   for( const Control& control : controlsOf( examiner.chip() ) )
      if( !isSingleUnits( control.role ) || unit == examiner.shim().kbSingleUnit() )
         checkControl( examiner, unit, control );
}

void checkPortControls( Examiner& examiner, const StrataPort& port )
{
   const auto& valueOf = examiner.port().portControlValue;
   for( const PortControl role : { PortControl::IP4, PortControl::IP6 } ) {
      const int number = examiner.shim().portControl( role );
      const Answer<int> set = examiner.portControlSet( port.unit(), port.sdkPort(), number, 1 );
      examiner.expectSuccess( Promise::portControlsAccepted, set );
      if( valueOf )
         examiner.expectEqual( Promise::portControlsAccepted,
            Answer<int>{ valueOf( port.unit(), port.sdkPort(), number ), set.call }, 1 );
   }
}

static std::string textOf( const PortSwEntry& entry )
{
   return Vormel::format( "layer 3 %s, routing %s", entry.l3Enabled ? "on" : "off",
      entry.routingEnabled ? "on" : "off" );
}

void checkPortTable( Examiner& examiner )
{
   const Port& port = examiner.port();
   if( !port.portSwTable || port.ports.empty() )
      return examiner.notTried( Promise::portTableKeeps, "needs portSwTable and ports" );
   PortSwTable& table = *port.portSwTable;
   const auto commit = [ & ]( const StrataPort& of, const PortSwEntry& entry ) {
      const std::string call = "entryCommit( port " + toText( of ) + ", " + textOf( entry ) + " )";
      examiner.asked( call, [ & ] { return table.entryCommit( of, entry ), 0; } );
      return call;
   };
   std::vector<PortSwEntry> wanted;
   for( const StrataPort& each : port.ports )
      wanted.push_back( table.entry( each ) );
   const std::vector<PortSwEntry> original = wanted;
   const auto expectAll = [ & ]( const std::string& call ) {
      for( std::size_t i = 0; i < wanted.size(); ++i ) {
         const PortSwEntry found = table.entry( port.ports[ i ] );
         examiner.expect( Promise::portTableKeeps, call, found == wanted[ i ],
            "left port " + toText( port.ports[ i ] ) + " with " + textOf( found ) + ", not " +
               textOf( wanted[ i ] ) );
      }
   };
   for( std::size_t i = 0; i < wanted.size(); ++i ) {
      for( const PortSwEntry& entry : { PortSwEntry{ true, false }, PortSwEntry{ false, true },
              PortSwEntry{ true, true }, PortSwEntry{} } ) {
         wanted[ i ] = entry;
         expectAll( commit( port.ports[ i ], entry ) );
      }
      wanted[ i ] = original[ i ];
      expectAll( commit( port.ports[ i ], original[ i ] ) );
   }
}

static U32 sliceFlags( const SdkShimInterface& shim )
{
   U32 all = 0;
   for( const VlanFlag role : Vormel::enumValues<VlanFlag>() )
      all |= shim.vlanFlag( role );
   return all;
}

static void checkVlanRecord( Examiner& examiner, U32 unit )
{
   const U16 vlan = examiner.port().vlan;
   VlanControl original;
   const Answer<int> got = examiner.vlanControlGet( unit, vlan, &original );
   examiner.expectReadable(
      got, [ & ] { return examiner.vlanControlSet( unit, vlan, original ); } );
   if( !examiner.isSuccess( got ) )
      return; // reported by vlanExistsAgrees
   const SdkShimInterface& shim = examiner.shim();
   const U32 ours = sliceFlags( shim );
   const U32 off = shim.vlanFlag( VlanFlag::vlanIp4RoutingOff ) |
                   shim.vlanFlag( VlanFlag::vlanIp6RoutingOff ) |
                   shim.vlanFlag( VlanFlag::vlanMcastRoutingOff );
   const U32 on = shim.vlanFlag( VlanFlag::vlanMcastRoutingOn );
   for( const U32 flags : { off, on } ) {
      VlanControl changed = original;
      changed.flagsIs( ( original.flags() & ~ours ) | flags );
      const Answer<int> set = examiner.vlanControlSet( unit, vlan, changed );
      examiner.expectSuccess( Promise::vlanFlagsWritten, set );
      VlanControl read;
      examiner.expectSuccess(
         Promise::vlanFlagsWritten, examiner.vlanControlGet( unit, vlan, &read ) );
      examiner.expect( Promise::vlanFlagsWritten, set.call, ( read.flags() & ours ) == flags,
         Vormel::format( "is read back as flags 0x%x", read.flags() ) );
      const bool foreignFlags = ( original.flags() & ~ours ) != 0;
      const bool foreignRest = original.rest != VlanControl().rest;
      if( foreignFlags )
         examiner.expect( Promise::vlanForeignKept, set.call,
            ( read.flags() & ~ours ) == ( original.flags() & ~ours ),
            Vormel::format( "is read back as flags 0x%x", read.flags() ) );
      if( foreignRest )
         examiner.expect( Promise::vlanForeignKept, set.call, read.rest == original.rest,
            "changed the rest of the record, which must be written as it was read" );
      if( !foreignFlags && !foreignRest )
         examiner.notTried( Promise::vlanForeignKept,
            Vormel::format( "the record of VLAN %d on unit %d has nothing foreign", vlan, unit ) );
   }
   examiner.expectSuccess(
      Promise::vlanFlagsWritten, examiner.vlanControlSet( unit, vlan, original ) );
}

void checkVlans( Examiner& examiner, U32 unit )
{
   const auto agrees = [ & ]( U16 vlan, bool exists ) {
      const std::string call = Vormel::format( "vlanExists( unit %d, %d )", unit, vlan );
      examiner.expectEqual( Promise::vlanExistsAgrees,
         Answer<bool>{ examiner.shim().vlanExists( unit, vlan ), call }, exists );
      VlanControl control;
      const Answer<int> got = examiner.vlanControlGet( unit, vlan, &control );
      if( exists )
         examiner.expectSuccess( Promise::vlanExistsAgrees, got );
      else
         examiner.expectFailure( Promise::vlanExistsAgrees, got );
   };
   const Port& port = examiner.port();
   agrees( port.vlan, true );
   if( port.missingVlan && port.provoke )
      agrees( *port.missingVlan, false );
   checkVlanRecord( examiner, unit );

   PortBitmap cpu;
   cpu.add( static_cast<U32>( examiner.shim().cpuPort( unit ) ) );
   const auto expectMember = [ & ]( const Answer<int>& answer, bool member ) {
      examiner.expectSuccess( Promise::vlanCpuPort, answer );
      if( port.vlanMembers )
         examiner.expect( Promise::vlanCpuPort, answer.call,
            ( port.vlanMembers( unit, port.vlan ) & cpu ).empty() != member,
            member ? "left the CPU port out of the VLAN" : "left the CPU port in the VLAN" );
   };
   for( int pass = 0; pass < 2; ++pass )
      expectMember( examiner.vlanPortRemove( unit, port.vlan, cpu ), false );
   expectMember( examiner.vlanPortAdd( unit, port.vlan, cpu, {} ), true );
}

void checkOptionsProfiles( Examiner& examiner, U32 unit )
{
   if( examiner.chip().usesIpOptionsDefault || !examiner.port().scsd->hasIpOptionsProfile( unit ) )
      return examiner.notTried( Promise::optionsProfiles, "the chip makes none" );
   const int action = examiner.shim().ipOptionAction( IpOptionAction::CopyCPUAndDrop );
   for( int pass = 0; pass < 2; ++pass ) {
      int profile = -1;
      const Answer<int> made = examiner.l3Ip4OptionsProfileCreate( unit, 0, action, &profile );
      examiner.expectSuccess( Promise::optionsProfiles, made );
      examiner.expect( Promise::optionsProfiles, made.call, profile != -1,
         "made no profile, or one whose id, -1, means none" );
      if( profile != -1 )
         examiner.expectSuccess(
            Promise::optionsProfiles, examiner.l3Ip4OptionsProfileDestroy( unit, profile ) );
   }
}

} // namespace Strata::Conformance
