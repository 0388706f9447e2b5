// Ingress registers and the my-station memory.
#include "conformance/Checks.h"

#include <array>
#include <cstring>

namespace Strata::Conformance {

namespace {

/// Checks that each field changes only its own bits of `original`. Returns the bits of all fields.
template<class Value>
Value checkFields(
   Examiner& examiner, Register reg, std::initializer_list<RegisterField> fields, Value original )
{
   Value taken = 0;
   for( const RegisterField field : fields ) {
      Value zero = original;
      examiner.shim().registerFieldSet( reg, zero, field, 0 );
      Value one = zero;
      examiner.shim().registerFieldSet( reg, one, field, 1 );
      Value back = one;
      examiner.shim().registerFieldSet( reg, back, field, 0 );
      const Value bits = zero ^ one;
      const std::string call = "registerFieldSet( " + std::string( roleName( reg ) ) + ", " +
                               std::string( roleName( field ) ) + " )";
      examiner.expect( Promise::registerFieldsApart, call, bits != 0, "changed nothing" );
      examiner.expect( Promise::registerFieldsApart, call,
         back == zero && ( ( original ^ zero ) & ~bits ) == 0 && ( bits & taken ) == 0,
         "changed bits that are not the field's" );
      taken |= bits;
   }
   return taken;
}

/// Reads, writes with all bits of the fields inverted, reads, and writes the original.
template<class Value, class Read, class Write>
void checkRegister( Examiner& examiner, Register reg, std::initializer_list<RegisterField> fields,
   Read read, Write write )
{
   Value original = 0;
   const Answer<int> first = read( &original );
   examiner.expectSuccess( Promise::registersWritten, first );
   examiner.expectReadable( first, [ & ] { return write( original ); } );
   if( !examiner.isSuccess( first ) )
      return;
   const Value bits = checkFields( examiner, reg, fields, original );
   for( const Value value : { static_cast<Value>( original ^ bits ), original } ) {
      const Answer<int> written = write( value );
      examiner.expectSuccess( Promise::registersWritten, written );
      Value found = 0;
      examiner.expectSuccess( Promise::registersWritten, read( &found ) );
      examiner.expect( Promise::registersWritten, written.call, found == value,
         Vormel::format( "is read back as 0x%x, not 0x%x", found, value ) );
   }
}

void checkCpuControl( Examiner& examiner, U32 unit )
{
   const int number = examiner.shim().registerNumber( Register::CpuControlM );
   const int anyPort = examiner.shim().anyRegisterPort();
   checkRegister<U32>(
      examiner, Register::CpuControlM,
      { RegisterField::MplsLabelMissToCpu, RegisterField::MplsTtlErrToCpu },
      [ & ]( U32* value ) { return examiner.register32Get( unit, number, anyPort, 0, value ); },
      [ & ]( U32 value ) { return examiner.register32Set( unit, number, anyPort, 0, value ); } );
}

void checkIngConfig( Examiner& examiner, U32 unit )
{
   const int number = examiner.shim().registerNumber( Register::IngConfig64 );
   const int anyPort = examiner.shim().anyRegisterPort();
   const auto read = [ & ]( U64* value ) {
      return examiner.register64Get( unit, number, anyPort, 0, value );
   };
   const auto write = [ & ]( U64 value ) {
      return examiner.register64Set( unit, number, anyPort, 0, value );
   };
   const auto reg = Register::IngConfig64;
   if( examiner.chip().myStation1ForNonTunnels )
      checkRegister<U64>( examiner, reg,
         { RegisterField::UseMyStation1ForNonTunnels, RegisterField::Ip4UrpfOnL3Iif,
            RegisterField::Ip6UrpfOnL3Iif },
         read, write );
   else
      checkRegister<U64>( examiner, reg,
         { RegisterField::Ip4UrpfOnL3Iif, RegisterField::Ip6UrpfOnL3Iif }, read, write );
}

} // namespace

void checkRegisters( Examiner& examiner )
{
   const ChipAttributes chip = examiner.chip();
   const U32 single = examiner.shim().kbSingleUnit();
   if( !chip.usesHsdk() ) {
      if( chip.cpuControlMMpls )
         for( const U32 unit : examiner.units() )
            checkCpuControl( examiner, unit );
      checkIngConfig( examiner, single );
   }
   checkRegister<U32>(
      examiner, Register::IngMiscConfig, { RegisterField::DoNotCopyFromCpuToCpu },
      [ & ]( U32* value ) { return examiner.ingMiscConfigRead( single, value ); },
      [ & ]( U32 value ) { return examiner.ingMiscConfigWrite( single, value ); } );
}

namespace {

constexpr EthAddr macValue( 0x02, 0x00, 0xa1, 0xab, 0xcd, 0xef );

/// The CPU port, or the low bits of one that is too large (see cpuPortFits).
U32 ingressPort( const SdkShimInterface& shim, U32 unit )
{
   return static_cast<U32>( shim.cpuPort( unit ) & highestIngressPort );
}

struct NumberField
{
   MemoryField field;
   U32 value;
};

/// The numeric fields, with the values that the slice writes.
std::array<NumberField, 9> numberFields( U32 cpuPort )
{
   return { { { MemoryField::Valid, 1 }, { MemoryField::VlanId, 0xABC },
      { MemoryField::VlanIdMask, 0xFFF }, { MemoryField::IngressPortNum, cpuPort },
      { MemoryField::IngressPortNumMask, U32( highestIngressPort ) },
      { MemoryField::Ipv4Termination, 1 }, { MemoryField::Ipv6Termination, 1 },
      { MemoryField::MplsTermination, 1 }, { MemoryField::ArpRarpTermination, 1 } } };
}

MemoryEntry fullEntry( const SdkShimInterface& shim, U32 cpuPort )
{
   MemoryEntry entry;
   for( const NumberField& known : numberFields( cpuPort ) )
      shim.memoryFieldSet( entry, known.field, known.value );
   shim.memoryFieldSet( entry, MemoryField::MacAddr, macValue );
   shim.memoryFieldSet( entry, MemoryField::MacAddrMask, EthAddr::broadcast );
   return entry;
}

/// `skipped`: a field that another check covers.
void expectFields( Examiner& examiner, Promise promise, const std::string& call,
   const MemoryEntry& entry, U32 cpuPort, std::optional<MemoryField> skipped = std::nullopt )
{
   const auto expectField = [ & ]( MemoryField field, const auto& found, const auto& wanted ) {
      if( field != skipped )
         examiner.expect( promise, call, found == wanted,
            Vormel::format( "left %s at %s, not %s", roleName( field ), found, wanted ) );
   };
   for( const NumberField& known : numberFields( cpuPort ) )
      expectField( known.field, examiner.shim().memoryField( entry, known.field ), known.value );
   expectField( MemoryField::MacAddr, examiner.shim().memoryMacField( entry, MemoryField::MacAddr ),
      macValue );
   expectField( MemoryField::MacAddrMask,
      examiner.shim().memoryMacField( entry, MemoryField::MacAddrMask ), EthAddr::broadcast );
}

} // namespace

void checkMemoryFields( Examiner& examiner )
{
   const SdkShimInterface& shim = examiner.shim();
   examiner.expect( Promise::emptyEntryInvalid, "memoryField( VALIDf ) of an entry of zeros",
      shim.memoryField( MemoryEntry(), MemoryField::Valid ) == 0, "is not 0" );
   const U32 cpuPort = ingressPort( shim, shim.kbSingleUnit() );
   const MemoryEntry full = fullEntry( shim, cpuPort );
   expectFields(
      examiner, Promise::memoryFieldsApart, "memoryFieldSet() of every field", full, cpuPort );
   for( const NumberField& known : numberFields( cpuPort ) ) {
      MemoryEntry entry = full;
      shim.memoryFieldSet( entry, known.field, 0u );
      expectFields( examiner, Promise::memoryFieldsApart,
         "memoryFieldSet( " + std::string( roleName( known.field ) ) + ", 0 )", entry, cpuPort,
         known.field );
   }
   for( const MemoryField field : { MemoryField::MacAddr, MemoryField::MacAddrMask } ) {
      MemoryEntry entry = full;
      shim.memoryFieldSet( entry, field, EthAddr() );
      expectFields( examiner, Promise::memoryFieldsApart,
         "memoryFieldSet( " + std::string( roleName( field ) ) + ", 00:00:00:00:00:00 )", entry,
         cpuPort, field );
   }
}

void checkMyStation( Examiner& examiner, U32 unit )
{
   if( !examiner.port().myStationIndex )
      return examiner.notTried( Promise::myStationWritten, "needs myStationIndex" );
   const int memory = examiner.shim().memory( Memory::MyStationTcam );
   const int block = examiner.shim().anyMemoryBlock();
   const U32 index = *examiner.port().myStationIndex;
   const auto read = [ & ]( MemoryEntry& entry ) {
      const Answer<int> answer = examiner.memoryRead( unit, memory, block, index, &entry );
      examiner.expectSuccess( Promise::myStationWritten, answer );
      return answer;
   };
   const auto write = [ & ]( const MemoryEntry& entry ) {
      const Answer<int> answer = examiner.memoryWrite( unit, memory, block, index, &entry );
      examiner.expectSuccess( Promise::myStationWritten, answer );
      return answer;
   };

   MemoryEntry original;
   if( !examiner.isSuccess( read( original ) ) )
      return;
   const U32 cpuPort = ingressPort( examiner.shim(), unit );
   const Answer<int> written = write( fullEntry( examiner.shim(), cpuPort ) );
   MemoryEntry first;
   MemoryEntry second;
   read( first );
   const Answer<int> again = read( second );
   expectFields( examiner, Promise::myStationWritten, written.call, first, cpuPort );
   examiner.expect( Promise::myStationWritten, again.call,
      std::memcmp( &first, &second, sizeof( first ) ) == 0, "gave other bytes the second time" );

   const Answer<int> cleared = write( MemoryEntry() );
   MemoryEntry empty;
   read( empty );
   examiner.expect( Promise::myStationWritten, cleared.call,
      examiner.shim().memoryField( empty, MemoryField::Valid ) == 0,
      "of zeros left the entry valid" );
   write( original );
}

} // namespace Strata::Conformance
