#include "sim/chip/RegisterLayout.h"

#include "platform/runtime/Format.h"
#include "sim/chip/RowOf.h"

#include <array>

namespace Strata::Sim {

struct FieldPlace
{
   RegisterField role;
   U32 bit; // all fields are one bit wide
};

// In the order in which a register's fields are shown.
static constexpr auto fieldPlaces = std::to_array<FieldPlace>( {
   { RegisterField::MplsLabelMissToCpu, 5 },
   { RegisterField::MplsTtlErrToCpu, 9 },
   { RegisterField::UseMyStation1ForNonTunnels, 41 },
   { RegisterField::Ip4UrpfOnL3Iif, 33 },
   { RegisterField::Ip6UrpfOnL3Iif, 34 },
   { RegisterField::DoNotCopyFromCpuToCpu, 12 },
} );
static_assert( eachRoleHasARow( fieldPlaces ) );

U64 registerFieldSet( U64 value, RegisterField field, U32 data )
{
   const U64 bit = U64{ 1 } << rowOf( fieldPlaces, field ).bit;
   return ( value & ~bit ) | ( ( data & 1 ) != 0 ? bit : 0 );
}

U32 registerField( U64 value, RegisterField field )
{
   return static_cast<U32>( value >> rowOf( fieldPlaces, field ).bit & 1 );
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
   for( const FieldPlace& place : fieldPlaces )
      if( registerOf( place.role ) == reg )
         fields += ( fields.empty() ? "" : ", " ) + std::string( roleName( place.role ) ) + " " +
                   std::to_string( registerField( value, place.role ) );
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
