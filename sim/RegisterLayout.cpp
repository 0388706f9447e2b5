#include "sim/RegisterLayout.h"

#include "platform/runtime/Format.h"

#include <array>

namespace Strata::Sim {

struct FieldPlace
{
   Register reg;
   U32 bit; // all fields are one bit wide
};

static FieldPlace placeOf( RegisterField field )
{
   static constexpr std::array<FieldPlace, 6> places{ {
      { Register::CpuControlM, 5 },    // MplsLabelMissToCpu
      { Register::CpuControlM, 9 },    // MplsTtlErrToCpu
      { Register::IngConfig64, 41 },   // UseMyStation1ForNonTunnels
      { Register::IngConfig64, 33 },   // Ip4UrpfOnL3Iif
      { Register::IngConfig64, 34 },   // Ip6UrpfOnL3Iif
      { Register::IngMiscConfig, 12 }, // DoNotCopyFromCpuToCpu
   } };
   static_assert( places.size() == roleNames<RegisterField>.size() );
   return places[ static_cast<std::size_t>( field ) ];
}

Register registerOf( RegisterField field )
{
   return placeOf( field ).reg;
}

U64 registerFieldSet( U64 value, RegisterField field, U32 data )
{
   const U64 bit = U64{ 1 } << placeOf( field ).bit;
   return ( value & ~bit ) | ( ( data & 1 ) != 0 ? bit : 0 );
}

U32 registerField( U64 value, RegisterField field )
{
   return static_cast<U32>( value >> placeOf( field ).bit & 1 );
}

U64 registerReset( Register reg )
{
   switch( reg ) {
   case Register::CpuControlM:
      return 0x80000001;
   case Register::IngConfig64:
      return registerFieldSet( 0x8000000000000103, RegisterField::UseMyStation1ForNonTunnels, 1 );
   case Register::IngMiscConfig:
      return 0x40000002;
   }
   return 0;
}

std::string registerText( Register reg, U64 value )
{
   std::string fields;
   for( std::size_t i = 0; i < roleNames<RegisterField>.size(); ++i ) {
      const auto field = static_cast<RegisterField>( i );
      if( registerOf( field ) == reg )
         fields += ( fields.empty() ? "" : ", " ) + std::string( roleName( field ) ) + " " +
                   std::to_string( registerField( value, field ) );
   }
   return Vormel::format( "0x%x (%s)", value, fields );
}

template<class Role>
static std::optional<Role> findName( std::string_view name )
{
   for( std::size_t i = 0; i < roleNames<Role>.size(); ++i ) {
      const std::string_view known = roleNames<Role>[ i ];
      if( name == known || name == known.substr( 0, known.size() - 1 ) )
         return static_cast<Role>( i );
   }
   return std::nullopt;
}

std::optional<Register> findRegister( std::string_view name )
{
   return findName<Register>( name );
}

std::optional<RegisterField> findRegisterField( std::string_view name )
{
   return findName<RegisterField>( name );
}

} // namespace Strata::Sim
