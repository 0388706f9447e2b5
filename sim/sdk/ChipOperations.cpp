// Controls, VLANs, registers and memories. The Field Processor's operations are in
// FieldOperations.cpp.
#include "sim/sdk/ChipOperations.h"

#include <algorithm>
#include <string>
#include <tuple>

namespace Strata::Sim {

SdkCode ChipOperations::unknown( SdkOperation operation, U32 unit, std::string_view what )
{
   hardware_.critic.breach(
      "the SDK has no such number for the " + std::string( what ), roleName( operation ), unit );
   return SdkCode::Param;
}

template<class Read, class Work>
SdkCode ChipOperations::write( Read read, Work work )
{
   const auto before = read();
   const SdkCode code = work();
   if( code == SdkCode::None )
      changed_ = read() != before;
   return code;
}

template<class Read, class Work>
SdkCode ChipOperations::write( U32 unit, const ChipPlace& place, Read read, Work work )
{
   const SdkCode code = write( read, work );
   if( code == SdkCode::None )
      chip( unit ).causeIs( place, hardware_.causeOfCall() );
   return code;
}

/// None for a key that the map lacks.
template<class Map>
static std::optional<typename Map::mapped_type> valueIn(
   const Map& map, const typename Map::key_type& key )
{
   const auto at = map.find( key );
   return at == map.end() ? std::nullopt : std::optional( at->second );
}

template<class Role>
static U32 number( Role role )
{
   return static_cast<U32>( role );
}

SdkCode ChipOperations::writeControl( U32 unit, SwitchControl control, int value )
{
   Chip& at = chip( unit );
   return write(
      unit, { ChipPlace::Kind::control, number( control ) },
      [ & ] {
         return std::pair( valueIn( at.controls(), control ), at.portSwitchControls().size() );
      },
      [ & ] { return at.controlIs( control, value ); } );
}

SdkCode ChipOperations::switchControlSet( U32 unit, int control, int value )
{
   const auto role = hardware_.numbers.switchControl.find( control );
   if( !role )
      return unknown( SdkOperation::switchControlSet, unit, "control" );
   return writeControl( unit, *role, value );
}

SdkCode ChipOperations::switchControlPortSet( U32 unit, int port, int control, int value )
{
   const auto role = hardware_.numbers.switchControl.find( control );
   if( !role )
      return unknown( SdkOperation::switchControlPortSet, unit, "control" );
   if( port == hardware_.numbers.chipWidePort )
      return writeControl( unit, *role, value );
   Chip& at = chip( unit );
   return write(
      unit, { ChipPlace::Kind::portSwitchControl, number( *role ), port },
      [ & ] {
         return valueIn( at.portSwitchControls(), { port, *role } );
      },
      [ & ] { return at.controlIs( port, *role, value ); } );
}

SdkCode ChipOperations::portControlSet( U32 unit, int port, int control, int value )
{
   const auto role = hardware_.numbers.portControl.find( control );
   if( !role )
      return unknown( SdkOperation::portControlSet, unit, "control" );
   Chip& at = chip( unit );
   return write(
      unit, { ChipPlace::Kind::portControl, number( *role ), port },
      [ & ] {
         return valueIn( at.portControls(), { port, *role } );
      },
      [ & ] { return at.portControlIs( port, *role, value ); } );
}

SdkCode ChipOperations::vlanControlGet( U32 unit, U16 vlanId, VlanControl* control )
{
   const ChipVlan* const vlan = chip( unit ).vlan( vlanId );
   if( !vlan )
      return SdkCode::NotFound;
   control->flagsIs( hardware_.numbers.vlanFlagsWord( { vlan->flags, vlan->otherFlags } ) );
   control->rest = vlan->rest;
   return SdkCode::None;
}

SdkCode ChipOperations::vlanControlSet( U32 unit, U16 vlanId, const VlanControl& control )
{
   ChipVlan* const vlan = chip( unit ).vlan( vlanId );
   if( !vlan )
      return SdkCode::NotFound;
   const VlanFlags flags = hardware_.numbers.vlanFlags( control.flags() );
   return write(
      unit, { ChipPlace::Kind::vlanFlags, vlanId },
      [ vlan ] { return std::tuple( vlan->flags, vlan->otherFlags, vlan->rest ); },
      [ & ] {
         vlan->flags = flags.flags;
         vlan->otherFlags = flags.otherFlags;
         vlan->rest = control.rest;
         return SdkCode::None;
      } );
}

/// Reads the ports of a VLAN.
static auto portsOf( const ChipVlan& vlan )
{
   return [ &vlan ] { return std::pair( vlan.members, vlan.untagged ); };
}

SdkCode ChipOperations::vlanPortAdd(
   U32 unit, U16 vlanId, const PortBitmap& ports, const PortBitmap& untaggedPorts )
{
   ChipVlan* const vlan = chip( unit ).vlan( vlanId );
   if( !vlan )
      return SdkCode::NotFound;
   if( !( ports - chip( unit ).ports() ).empty() || !( untaggedPorts - ports ).empty() )
      return SdkCode::Port;
   return write( portsOf( *vlan ), [ & ] {
      vlan->members |= ports;
      vlan->untagged = ( vlan->untagged - ports ) | untaggedPorts;
      return SdkCode::None;
   } );
}

SdkCode ChipOperations::vlanPortRemove( U32 unit, U16 vlanId, const PortBitmap& ports )
{
   ChipVlan* const vlan = chip( unit ).vlan( vlanId );
   if( !vlan )
      return SdkCode::NotFound;
   return write( portsOf( *vlan ), [ & ] {
      vlan->members -= ports;
      vlan->untagged -= ports;
      return SdkCode::None;
   } );
}

SdkCode ChipOperations::l3Ip4OptionsProfileCreate( U32 unit, U32 flags, int action, int* profile )
{
   const auto role = hardware_.numbers.ipOptionAction.find( action );
   if( !role )
      return unknown( SdkOperation::l3Ip4OptionsProfileCreate, unit, "action" );
   if( flags != 0 )
      return SdkCode::Param;
   Chip& at = chip( unit );
   return write( [ & ] { return at.ipOptionsProfiles().size(); },
      [ & ] { return at.ipOptionsProfileCreate( *role, *profile ); } );
}

SdkCode ChipOperations::l3Ip4OptionsProfileDestroy( U32 unit, int profile )
{
   Chip& at = chip( unit );
   return write( [ & ] { return at.ipOptionsProfiles().size(); },
      [ & ] { return at.ipOptionsProfileDestroy( profile ); } );
}

SdkCode ChipOperations::accessRegister( SdkOperation operation, U32 unit, int reg, int port,
   int index, std::span<const Register> allowed, const RegisterAccess& access )
{
   const auto role = hardware_.numbers.registers.find( reg );
   if( !role || std::ranges::find( allowed, *role ) == allowed.end() )
      return unknown( operation, unit, "register" );
   if( port != hardware_.numbers.anyRegisterPort )
      return unknown( operation, unit, "port" );
   if( index != 0 )
      return SdkCode::Param;
   if( !chip( unit ).profile().supports( *role ) )
      return SdkCode::Unavail;
   access( chip( unit ), *role );
   return SdkCode::None;
}

SdkCode ChipOperations::writeRegister( U32 unit, Register reg, U64 value )
{
   Chip& at = chip( unit );
   return write(
      unit, { ChipPlace::Kind::registers, number( reg ) },
      [ & ] { return at.registerValue( reg ); },
      [ & ] {
         at.registerIs( reg, value );
         return SdkCode::None;
      } );
}

static constexpr Register registers32[] = { Register::CpuControlM, Register::IngMiscConfig };
static constexpr Register registers64[] = { Register::IngConfig64 };

SdkCode ChipOperations::register32Get( U32 unit, int reg, int port, int index, U32* value )
{
   return accessRegister( SdkOperation::register32Get, unit, reg, port, index, registers32,
      [ = ](
         Chip& chip, Register role ) { *value = static_cast<U32>( chip.registerValue( role ) ); } );
}

SdkCode ChipOperations::register32Set( U32 unit, int reg, int port, int index, U32 value )
{
   return accessRegister( SdkOperation::register32Set, unit, reg, port, index, registers32,
      [ this, unit, value ]( Chip&, Register role ) { writeRegister( unit, role, value ); } );
}

SdkCode ChipOperations::register64Get( U32 unit, int reg, int port, int index, U64* value )
{
   return accessRegister( SdkOperation::register64Get, unit, reg, port, index, registers64,
      [ = ]( Chip& chip, Register role ) { *value = chip.registerValue( role ); } );
}

SdkCode ChipOperations::register64Set( U32 unit, int reg, int port, int index, U64 value )
{
   return accessRegister( SdkOperation::register64Set, unit, reg, port, index, registers64,
      [ this, unit, value ]( Chip&, Register role ) { writeRegister( unit, role, value ); } );
}

SdkCode ChipOperations::ingMiscConfigRead( U32 unit, U32* value )
{
   *value = static_cast<U32>( chip( unit ).registerValue( Register::IngMiscConfig ) );
   return SdkCode::None;
}

SdkCode ChipOperations::ingMiscConfigWrite( U32 unit, U32 value )
{
   return writeRegister( unit, Register::IngMiscConfig, value );
}

bool ChipOperations::isMyStation( SdkOperation operation, U32 unit, int memory, int block )
{
   if( !hardware_.numbers.memories.find( memory ) ) {
      unknown( operation, unit, "memory" );
      return false;
   }
   if( block != hardware_.numbers.anyMemoryBlock ) {
      unknown( operation, unit, "block" );
      return false;
   }
   return true;
}

SdkCode ChipOperations::memoryRead( U32 unit, int memory, int block, U32 index, MemoryEntry* entry )
{
   if( !isMyStation( SdkOperation::memoryRead, unit, memory, block ) )
      return SdkCode::Param;
   return chip( unit ).myStation().read( index, *entry );
}

SdkCode ChipOperations::memoryWrite(
   U32 unit, int memory, int block, U32 index, const MemoryEntry* entry )
{
   if( !isMyStation( SdkOperation::memoryWrite, unit, memory, block ) )
      return SdkCode::Param;
   MyStationTable& table = chip( unit ).myStation();
   return write(
      unit, { ChipPlace::Kind::myStation, index },
      [ & ] { return valueIn( table.entries(), index ).value_or( MemoryEntry() ).words; },
      [ & ] { return table.write( index, *entry ); } );
}

} // namespace Strata::Sim
