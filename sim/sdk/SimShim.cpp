#include "sim/sdk/SimShim.h"

#include "sim/chip/MyStationTable.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/sdk/SdkCallText.h"

#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Strata::Sim {

/// The target of an operation on its unit: its first argument, if that is a number.
template<class First, class... Rest>
static S64 targetOf( const First& first, const Rest&... )
{
   if constexpr( std::is_integral_v<First> )
      return static_cast<S64>( first );
   else
      return 0;
}
static S64 targetOf()
{
   return 0;
}

template<class Work, class... Arguments>
int SimShim::perform( SdkOperation operation, std::string_view names, Work work, U32 unit,
   const Arguments&... arguments )
{
   ++calls_;
   ++callsOf_[ static_cast<std::size_t>( operation ) ];
   const S64 target = targetOf( arguments... );
   hardware_.critic.operationBegins( operation, unit, target );
   const auto fault = hardware_.faults.strike( roleName( operation ), unit, calls_ );
   std::optional<bool> changed;
   const auto make = [ & ] {
      const SdkCode made = hardware_.chips.contains( unit ) ? work() : SdkCode::Unit;
      if( const auto now = operations_.takeChanged() )
         changed = *now || changed.value_or( false );
      return made;
   };
   const SdkCode code = fault ? fault->outcome( make ) : make();
   hardware_.critic.operationEnds( operation, unit, code );
   if( code == SdkCode::Unavail )
      operations_.answeredUnavailable( operation, unit, target );
   hardware_.transcript.add( RecordKind::call, [ & ] {
      const SdkCallText call( operation, hardware_.numbers, names, unit, arguments... );
      std::vector<RecordField> fields{
         { "call", roleName( operation ) }, { "callNumber", calls_ } };
      RecordContent outcome = outcomeContent( code, fault, changed );
      for( const auto& more : { call.fields(), outcome.fields } )
         fields.insert( fields.end(), more.begin(), more.end() );
      return RecordContent{ call.text() + outcome.text, std::move( fields ) };
   } );
   if( fault )
      fault->throwIfAsked( roleName( operation ), unit );
   return static_cast<int>( code );
}

#define SIM_LIST( ... ) __VA_ARGS__
#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int SimShim::method parameters \
   { \
      return perform( \
         SdkOperation::method, #arguments, [ & ] { return operations_.method arguments; }, \
         SIM_LIST arguments ); \
   }
#include "platform/sdk/SdkOperations.def"
#undef SIM_LIST

void SimShim::preCall()
{
   hardware_.critic.preCalled();
}

void SimShim::errorHook()
{
   hardware_.critic.errorHookRan();
}

int SimShim::successCode() const
{
   return static_cast<int>( SdkCode::None );
}

int SimShim::featureNotAvailableCode() const
{
   return static_cast<int>( SdkCode::Unavail );
}

std::string SimShim::errorText( int code ) const
{
   return sdkCodeText( code );
}

int SimShim::fieldAction( FieldAction role ) const
{
   return hardware_.numbers.fieldAction.number( role );
}

int SimShim::fieldIpType( FieldIpType role ) const
{
   return hardware_.numbers.fieldIpType.number( role );
}

U32 SimShim::packetResult( PacketResult role ) const
{
   return static_cast<U32>( hardware_.numbers.packetResult.number( role ) );
}

int SimShim::switchControl( SwitchControl role ) const
{
   return hardware_.numbers.switchControl.number( role );
}

int SimShim::portControl( PortControl role ) const
{
   return hardware_.numbers.portControl.number( role );
}

U32 SimShim::vlanFlag( VlanFlag role ) const
{
   return hardware_.numbers.vlanFlag( role );
}

int SimShim::ipOptionAction( IpOptionAction role ) const
{
   return hardware_.numbers.ipOptionAction.number( role );
}

int SimShim::registerNumber( Register role ) const
{
   return hardware_.numbers.registers.number( role );
}

int SimShim::memory( Memory role ) const
{
   return hardware_.numbers.memories.number( role );
}

U32 SimShim::exactMatchMask() const
{
   return hardware_.numbers.exactMatchMask;
}

U8 SimShim::stpForward() const
{
   return hardware_.numbers.stpForward;
}

int SimShim::anyRegisterPort() const
{
   return hardware_.numbers.anyRegisterPort;
}

int SimShim::anyMemoryBlock() const
{
   return hardware_.numbers.anyMemoryBlock;
}

int SimShim::chipWidePort() const
{
   return hardware_.numbers.chipWidePort;
}

int SimShim::fieldEntryEnableMode() const
{
   return hardware_.numbers.fieldEntryEnableMode;
}

const Chip* SimShim::findChip( U32 unit, std::string_view question ) const
{
   const auto at = hardware_.chips.find( unit );
   if( at != hardware_.chips.end() )
      return &at->second;
   hardware_.critic.breach( "there is no such unit", question, unit );
   return nullptr;
}

U32 SimShim::kbSingleUnit() const
{
   return hardware_.chips.begin()->first;
}

int SimShim::cpuPort( U32 unit ) const
{
   const Chip* const chip = findChip( unit, "cpuPort" );
   return chip ? chip->profile().specialPorts.cpu : 0;
}

bool SimShim::trapsTtlExceptions( U32 unit ) const
{
   const Chip* const chip = findChip( unit, "trapsTtlExceptions" );
   return chip && chip->trapsTtlExceptions();
}

bool SimShim::resolvesHigigTrunksAsLag( U32 unit ) const
{
   const Chip* const chip = findChip( unit, "resolvesHigigTrunksAsLag" );
   return chip && chip->resolvesHigigTrunksAsLag;
}

bool SimShim::vlanExists( U32 unit, U16 vlanId ) const
{
   const Chip* const chip = findChip( unit, "vlanExists" );
   return chip && chip->vlans().contains( vlanId );
}

UnitRecord SimShim::unitRecord( U32 unit ) const
{
   UnitRecord record{};
   if( const Chip* const chip = findChip( unit, "unitRecord" ) )
      for( const U32 port : chip->activePorts() )
         record.at( port / 32 ) |= 1u << port % 32;
   return record;
}

void SimShim::registerFieldSet( Register reg, U32& value, RegisterField field, U32 data ) const
{
   U64 wide = value;
   registerFieldSet( reg, wide, field, data );
   value = static_cast<U32>( wide );
}

void SimShim::registerFieldSet( Register reg, U64& value, RegisterField field, U32 data ) const
{
   if( registerOf( field ) != reg || data > 1 )
      return hardware_.critic.breach( std::string( roleName( field ) ) +
                                         " is not a field of the register, or has no room for " +
                                         std::to_string( data ),
         roleName( reg ), std::nullopt );
   value = Sim::registerFieldSet( value, field, data );
}

void SimShim::memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data ) const
{
   if( !fitsMemoryField( field, data ) )
      return hardware_.critic.breach(
         "the field has no room for " + std::to_string( data ), roleName( field ), std::nullopt );
   Sim::memoryFieldSet( entry, field, data );
}

void SimShim::memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const
{
   if( !isMacField( field ) )
      return hardware_.critic.breach(
         "the field is not a MAC address", roleName( field ), std::nullopt );
   Sim::memoryFieldSet( entry, field, mac );
}

U32 SimShim::memoryField( const MemoryEntry& entry, MemoryField field ) const
{
   return Sim::memoryField( entry, field );
}

EthAddr SimShim::memoryMacField( const MemoryEntry& entry, MemoryField field ) const
{
   return Sim::memoryMacField( entry, field );
}

} // namespace Strata::Sim
