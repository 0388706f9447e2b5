// The names of an SDK's numbers and back, and the bits of its words that have no name. All of it is inline, because
// programs that read recordings have no access to the library's own code.
#pragma once

#include "platform/sdk/ArgumentRoles.h"
#include "platform/sdk/SdkShimInterface.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

namespace Strata::Recording {

namespace Detail {

/// The bits of `word` where `places` has 0, moved together.
template<class Word>
constexpr Word gathered( Word word, Word places )
{
   Word bits = 0;
   U32 position = 0;
   for( Word bit = 1; bit != 0; bit <<= 1 )
      if( ( places & bit ) == 0 )
         bits |= static_cast<Word>( ( word & bit ) != 0 ? 1 : 0 ) << position++;
   return bits;
}

/// And back.
template<class Word>
constexpr Word scattered( Word bits, Word places )
{
   Word word = 0;
   for( Word bit = 1; bit != 0; bit <<= 1 )
      if( ( places & bit ) == 0 ) {
         word |= ( bits & 1 ) != 0 ? bit : 0;
         bits >>= 1;
      }
   return word;
}

template<class Word>
Word bitsOfField( const SdkShimInterface& shim, Register reg, RegisterField field )
{
   Word others = static_cast<Word>( ~U64() );
   shim.registerFieldSet( reg, others, field, 0 );
   return static_cast<Word>( ~others );
}

constexpr U32 memoryBits = 32 * std::tuple_size_v<decltype( MemoryEntry::words )>;

constexpr U32 bitOf( const MemoryEntry& entry, U32 bit )
{
   return entry.words[ bit / 32 ] >> bit % 32 & 1;
}

} // namespace Detail

/// The names of an SDK's numbers, which do not change while a process runs.
class SdkDictionary
{
 public:
   explicit SdkDictionary( const SdkShimInterface& shim );

   const SdkShimInterface& shim() const { return shim_; }
   /// The name of an operation's number; nothing for an argument that is a plain number.
   std::optional<std::string_view> nameOf(
      SdkOperation operation, std::string_view argument, S64 number ) const;
   /// The other way; nothing if the argument has no number of that name.
   std::optional<S64> numberOf(
      SdkOperation operation, std::string_view argument, std::string_view name ) const;
   std::optional<Register> registerOf( S64 number ) const;
   bool isSet( VlanFlag flag, U32 flags ) const
   {
      return ( flags & vlanFlags_[ static_cast<std::size_t>( flag ) ] ) != 0;
   }
   U32 flagOf( VlanFlag flag ) const { return vlanFlags_[ static_cast<std::size_t>( flag ) ]; }

   // The bits of words that belong to no role or field, in their order, without gaps where the others are: so they are
   // the same whatever positions an SDK gives to the roles.
   U32 otherFlags( U32 flags ) const;
   U64 otherBits( Register reg, U64 value ) const;
   MemoryEntry otherBits( const MemoryEntry& entry ) const;
   // And back into their places; the roles' own bits are 0.
   U32 flagsWithOthers( U32 others ) const;
   U64 registerWithOthers( Register reg, U64 others ) const;
   MemoryEntry entryWithOthers( const MemoryEntry& others ) const;

 private:
   struct NamedNumber
   {
      std::string_view name;
      S64 number;
   };

   const SdkShimInterface& shim_;
   std::array<std::vector<NamedNumber>, argumentRoleCount> numbers_;
   std::array<U32, roleNames<VlanFlag>.size()> vlanFlags_{};
   U32 allFlags_ = 0;
   std::array<U64, roleNames<Register>.size()> fieldBits_{}; // of each register
   MemoryEntry memoryFieldBits_;
};

inline SdkDictionary::SdkDictionary( const SdkShimInterface& shim ) : shim_( shim )
{
   const auto add = [ & ]( ArgumentRole role, std::string_view name, S64 number ) {
      numbers_[ static_cast<std::size_t>( role ) ].push_back( { name, number } );
   };
   const auto addAll = [ & ]<class Role, class Number>(
                          ArgumentRole role, Number ( SdkShimInterface::*query )( Role ) const ) {
      for( const Role one : Vormel::enumValues<Role>() )
         add( role, roleName( one ), static_cast<S64>( ( shim.*query )( one ) ) );
   };
   addAll( ArgumentRole::FieldAction, &SdkShimInterface::fieldAction );
   addAll( ArgumentRole::FieldIpType, &SdkShimInterface::fieldIpType );
   addAll( ArgumentRole::IpOptionAction, &SdkShimInterface::ipOptionAction );
   addAll( ArgumentRole::PacketResult, &SdkShimInterface::packetResult );
   addAll( ArgumentRole::SwitchControl, &SdkShimInterface::switchControl );
   addAll( ArgumentRole::PortControl, &SdkShimInterface::portControl );
   addAll( ArgumentRole::Register, &SdkShimInterface::registerNumber );
   addAll( ArgumentRole::Memory, &SdkShimInterface::memory );
   add( ArgumentRole::AnyBlock, "any", shim.anyMemoryBlock() );
   add( ArgumentRole::ChipWidePort, "all", shim.chipWidePort() );
   add( ArgumentRole::AnyPort, "any", shim.anyRegisterPort() );
   add( ArgumentRole::StpForward, "forward", shim.stpForward() );
   add( ArgumentRole::ExactMask, "exact", shim.exactMatchMask() );

   std::ranges::transform( Vormel::enumValues<VlanFlag>(), vlanFlags_.begin(),
      [ & ]( VlanFlag flag ) { return shim.vlanFlag( flag ); } );
   for( const U32 flag : vlanFlags_ )
      allFlags_ |= flag;

   // A field's bits are those that change when it is set to 0.
   for( const RegisterField field : Vormel::enumValues<RegisterField>() ) {
      const Register reg = Strata::registerOf( field );
      U64& bits = fieldBits_[ static_cast<std::size_t>( reg ) ];
      if( reg == Register::IngConfig64 )
         bits |= Detail::bitsOfField<U64>( shim, reg, field );
      else
         bits |= Detail::bitsOfField<U32>( shim, reg, field );
   }
   memoryFieldBits_.words.fill( ~U32() );
   for( const MemoryField field : Vormel::enumValues<MemoryField>() )
      if( isMacField( field ) )
         shim.memoryFieldSet( memoryFieldBits_, field, EthAddr() );
      else
         shim.memoryFieldSet( memoryFieldBits_, field, 0 );
   for( U32& word : memoryFieldBits_.words )
      word = ~word;
}

inline std::optional<std::string_view> SdkDictionary::nameOf(
   SdkOperation operation, std::string_view argument, S64 number ) const
{
   // A number that is no role's is one of the chip's own: it is recorded as a number.
   if( const auto role = argumentRole( operation, argument ) )
      for( const NamedNumber& known : numbers_[ static_cast<std::size_t>( *role ) ] )
         if( known.number == number )
            return known.name;
   return std::nullopt;
}

inline std::optional<S64> SdkDictionary::numberOf(
   SdkOperation operation, std::string_view argument, std::string_view name ) const
{
   if( const auto role = argumentRole( operation, argument ) )
      for( const NamedNumber& known : numbers_[ static_cast<std::size_t>( *role ) ] )
         if( known.name == name )
            return known.number;
   return std::nullopt;
}

inline std::optional<Register> SdkDictionary::registerOf( S64 number ) const
{
   const auto& registers = numbers_[ static_cast<std::size_t>( ArgumentRole::Register ) ];
   const auto at = std::ranges::find( registers, number, &NamedNumber::number );
   if( at == registers.end() )
      return std::nullopt;
   return static_cast<Register>( at - registers.begin() );
}

inline U32 SdkDictionary::otherFlags( U32 flags ) const
{
   return Detail::gathered( flags, allFlags_ );
}

inline U64 SdkDictionary::otherBits( Register reg, U64 value ) const
{
   return Detail::gathered( value, fieldBits_[ static_cast<std::size_t>( reg ) ] );
}

inline MemoryEntry SdkDictionary::otherBits( const MemoryEntry& entry ) const
{
   MemoryEntry others;
   U32 position = 0;
   for( U32 bit = 0; bit < Detail::memoryBits; ++bit )
      if( !Detail::bitOf( memoryFieldBits_, bit ) ) {
         others.words[ position / 32 ] |= Detail::bitOf( entry, bit ) << position % 32;
         ++position;
      }
   return others;
}

inline U32 SdkDictionary::flagsWithOthers( U32 others ) const
{
   return Detail::scattered( others, allFlags_ );
}

inline U64 SdkDictionary::registerWithOthers( Register reg, U64 others ) const
{
   return Detail::scattered( others, fieldBits_[ static_cast<std::size_t>( reg ) ] );
}

inline MemoryEntry SdkDictionary::entryWithOthers( const MemoryEntry& others ) const
{
   MemoryEntry entry;
   U32 position = 0;
   for( U32 bit = 0; bit < Detail::memoryBits; ++bit )
      if( !Detail::bitOf( memoryFieldBits_, bit ) )
         entry.words[ bit / 32 ] |= Detail::bitOf( others, position++ ) << bit % 32;
   return entry;
}

/// The register whose value the argument is; `reg` is that of the call, if it names one.
constexpr std::optional<Register> registerOfValue(
   SdkOperation operation, std::string_view argument, std::optional<Register> reg )
{
   using enum SdkOperation;
   if( argument != "value" )
      return std::nullopt;
   if( operation == ingMiscConfigRead || operation == ingMiscConfigWrite )
      return Register::IngMiscConfig;
   return reg;
}

} // namespace Strata::Recording
