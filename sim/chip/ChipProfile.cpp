#include "sim/chip/ChipProfile.h"

#include "platform/runtime/Errors.h"
#include "sim/chip/FieldRule.h"
#include "sim/switch/Names.h"

#include <array>

namespace Strata::Sim {

static std::vector<FieldGroupProfile> standardGroups()
{
   return {
      { "php-lsp-ping", TcamGroup::phpLspPing, 51, 1, 4, FieldStage::lookup },
      { "ttl-check", TcamGroup::ttlCheck, 101, 2, 4 },
      { "peer-mac-arp", TcamGroup::peerMacArp, 151, 1, 4 },
      { "urpf-single-wide", TcamGroup::urpfSingleWide, 201, 2, 4, FieldStage::urpf },
      { "urpf-double-wide", TcamGroup::urpfDoubleWide, 251, 2, 2, FieldStage::urpf },
      { "main", std::nullopt, 1001, mainRangeIds, 64 },
   };
}

static ChipProfile hsdk()
{
   ChipProfile profile;
   profile.name = "hsdk";
   profile.description = "HSDK chip: controls instead of registers, VXLAN routed in one pass";
   ChipAttributes& a = profile.attributes;
   a.usesHsdkIs( true );
   a.ipv4ChecksumNoVerify = true;
   a.l3CpuFpEntries = true;
   a.lbPortAvailable = true;
   a.lbViaRecircOnly = true;
   a.cpuControlMMpls = true;
   a.l3IntfUrpfControl = true;
   a.usesIpOptionsDefault = true;
   a.floodingPortSupported = true;
   a.vxlanSupported = true;
   a.vxlanRoutingInOnePass = true;
   profile.specialPorts = { .cpu = 0, .loopback = 258, .recirculation = 259 };
   profile.frontPanelPorts = 32;
   profile.groups = standardGroups();
   profile.myStationEntries = 512;
   profile.ipOptionsProfiles = 4;
   profile.vxlanEnabled = true;
   return profile;
}

static ChipProfile registerChip()
{
   ChipProfile profile;
   profile.name = "register";
   profile.description =
      "Older chip, programmed by registers: floods by its loopback port, VXLAN in two passes";
   ChipAttributes& a = profile.attributes;
   a.supportsSocCallsIs( true );
   a.ipv4ChecksumNoVerify = true;
   a.l3CpuFpEntries = true;
   a.lbPortAvailable = true;
   a.cpuControlMMpls = true;
   a.l3IntfUrpfControl = true;
   a.igmpReservedMcastControl = true;
   a.myStation1ForNonTunnels = true;
   a.floodingPortSupported = true;
   a.higigTrunkCancelSupported = true;
   a.higigQualifierSupported = true;
   a.vxlanSupported = true;
   profile.specialPorts = { .cpu = 0, .loopback = 258, .recirculation = 259 };
   profile.frontPanelPorts = 48;
   profile.groups = standardGroups();
   profile.myStationEntries = 128;
   profile.ipOptionsProfiles = 4;
   profile.hasIpOptionsProfile = true;
   return profile;
}

static ChipProfile fabricVfi()
{
   ChipProfile profile;
   profile.name = "fabric-vfi";
   profile.description =
      "Fabric unit of a modular chassis, VLANs forwarded through VFIs, TTL-check entries";
   ChipAttributes& a = profile.attributes;
   a.supportsSocCallsIs( true );
   a.l3CpuFpEntries = true;
   a.lbPortAvailable = true;
   a.cpuControlMMpls = true;
   a.floodingPortSupported = true;
   a.higigTrunkCancelSupported = true;
   a.higigQualifierSupported = true;
   a.vxlanSupported = true;
   profile.specialPorts = { .cpu = 0, .loopback = 258, .recirculation = std::nullopt };
   profile.frontPanelPorts = 36;
   profile.groups = standardGroups();
   profile.myStationEntries = 128;
   profile.ipOptionsProfiles = 4;
   profile.hasIpOptionsProfile = true;
   profile.resolvesHigigTrunksAsLag = true;
   profile.fabricMode = true;
   profile.vfiForwarding = true;
   return profile;
}

static ChipProfile acl()
{
   ChipProfile profile;
   profile.name = "acl";
   profile.description = "Small chip without VXLAN whose main entries share the ACL group";
   ChipAttributes& a = profile.attributes;
   a.supportsSocCallsIs( true );
   a.l3CpuFpEntries = true;
   a.floodingPortSupported = true;
   a.usesIpOptionsDefault = true;
   profile.specialPorts = { .cpu = 0, .loopback = std::nullopt, .recirculation = std::nullopt };
   profile.frontPanelPorts = 24;
   profile.groups = standardGroups();
   profile.groups.back().acl = true;
   profile.myStationEntries = 64;
   profile.ipOptionsProfiles = 1;
   return profile;
}

std::span<const ChipProfile> chipProfiles()
{
   static const std::array profiles{ hsdk(), registerChip(), fabricVfi(), acl() };
   return profiles;
}

std::vector<std::string_view> chipProfileNames()
{
   std::vector<std::string_view> names;
   for( const ChipProfile& profile : chipProfiles() )
      names.push_back( profile.name );
   return names;
}

const ChipProfile& chipProfile( std::string_view name )
{
   for( const ChipProfile& profile : chipProfiles() )
      if( profile.name == name )
         return profile;
   throw Vormel::ValueError(
      "there is no chip profile '" + std::string( name ) + "'" + hint( name, chipProfileNames() ) );
}

#define CAPABILITY_NAME( name, meaning ) #name,
std::span<const std::string_view> capabilityNames()
{
   static constexpr std::string_view names[] = {
      "usesHsdk", "supportsSocCalls", STRATA_CHIP_CAPABILITIES( CAPABILITY_NAME ) };
   return names;
}
#undef CAPABILITY_NAME

void ChipProfile::capabilityIs( std::string_view capability, bool value )
{
   if( capability == "usesHsdk" )
      return attributes.usesHsdkIs( value );
   if( capability == "supportsSocCalls" )
      return attributes.supportsSocCallsIs( value );
#define CAPABILITY_IS( known, meaning ) \
   if( capability == #known ) { \
      attributes.known = value; \
      return; \
   }
   STRATA_CHIP_CAPABILITIES( CAPABILITY_IS )
#undef CAPABILITY_IS
   throw Vormel::ValueError( "a chip has no capability '" + std::string( capability ) + "'" +
                             hint( capability, capabilityNames() ) );
}

bool ChipProfile::supports( SwitchControl control ) const
{
   switch( control ) {
   case SwitchControl::IPv4DoNotVerifyIncomingChecksum:
      return attributes.ipv4ChecksumNoVerify;
   case SwitchControl::L3InterfaceUrpfEnable:
      return attributes.l3IntfUrpfControl;
   case SwitchControl::IgmpReservedMcastEnable:
      return attributes.igmpReservedMcastControl;
   case SwitchControl::MplsLabelMissToCpu:
   case SwitchControl::MplsTtlErrToCpu:
      return attributes.usesHsdk();
   default:
      return true;
   }
}

bool ChipProfile::supports( Register reg ) const
{
   return reg == Register::IngMiscConfig || !attributes.usesHsdk();
}

bool ChipProfile::supports( FieldAction action ) const
{
   switch( action ) {
   case FieldAction::HgTrunkCancel:
   case FieldAction::HgTrunkCancelLag:
      return attributes.higigTrunkCancelSupported;
   default:
      return true;
   }
}

bool ChipProfile::supports( Qualifier qualifier ) const
{
   switch( qualifier ) {
   case Qualifier::HiGig:
      return attributes.higigQualifierSupported;
   case Qualifier::TunnelTerminated:
      return attributes.vxlanSupported;
   default:
      return true;
   }
}

} // namespace Strata::Sim
