#include "sim/packet/Verdict.h"

#include "platform/runtime/Format.h"
#include "sim/chip/RegisterLayout.h"

namespace Strata::Sim {

using Vormel::format;

std::vector<const Departure*> Verdict::departures() const
{
   std::vector<const Departure*> all;
   for( const PassVerdict& pass : passes )
      for( const Departure& departure : pass.departures )
         all.push_back( &departure );
   return all;
}

std::vector<const CpuCopy*> Verdict::cpuCopies() const
{
   std::vector<const CpuCopy*> all;
   for( const PassVerdict& pass : passes )
      if( pass.cpu )
         all.push_back( &*pass.cpu );
   return all;
}

std::set<VlanFlag> StateNote::flags() const
{
   std::set<VlanFlag> flags;
   for( std::size_t i = 0; i < roleNames<VlanFlag>.size(); ++i )
      if( ( value >> i & 1 ) != 0 )
         flags.insert( static_cast<VlanFlag>( i ) );
   return flags;
}

std::string StateNote::text() const
{
   const auto [ kind, number, port ] = place;
   const auto ofPort = [ this, port = port ]( std::string_view control ) {
      return format( "%s of port %d is %d", control, port, static_cast<int>( value ) );
   };
   switch( kind ) {
   case ChipPlace::Kind::control:
      return format(
         "%s is %d", roleName( static_cast<SwitchControl>( number ) ), static_cast<int>( value ) );
   case ChipPlace::Kind::portSwitchControl:
      return ofPort( roleName( static_cast<SwitchControl>( number ) ) );
   case ChipPlace::Kind::portControl:
      return ofPort( roleName( static_cast<PortControl>( number ) ) );
   case ChipPlace::Kind::registers: {
      const Register which = static_cast<Register>( number );
      return format( "%s is %s", roleName( which ), registerText( which, value ) );
   }
   case ChipPlace::Kind::vlanFlags: {
      std::string names;
      for( const VlanFlag flag : flags() )
         names += ( names.empty() ? "" : ", " ) + std::string( roleName( flag ) );
      return format( "VLAN %d has %s", number, names.empty() ? "no routing flag" : names );
   }
   case ChipPlace::Kind::myStation:
      return format( "my-station %d", number );
   }
   return {};
}

} // namespace Strata::Sim
