// The simulated SDK's numbers for its names. They are random, so that a number that was compiled
// into the slice is noticed. All of them differ.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>

namespace Strata::Sim {

using DrawNumber = std::function<int()>;

/// The numbers of one group of roles.
template<class Role>
class NumberTable
{
 public:
   explicit NumberTable( const DrawNumber& draw )
   {
      for( int& number : numbers_ )
         number = draw();
   }

   int number( Role role ) const { return numbers_[ static_cast<std::size_t>( role ) ]; }
   std::optional<Role> find( S64 number ) const
   {
      for( std::size_t i = 0; i < numbers_.size(); ++i )
         if( numbers_[ i ] == number )
            return static_cast<Role>( i );
      return std::nullopt;
   }

 private:
   std::array<int, roleNames<Role>.size()> numbers_;
};

/// A VLAN's flags word taken apart: the roles that are set, and all other bits in their order.
struct VlanFlags
{
   std::set<VlanFlag> flags;
   U32 otherFlags = 0;
};

class SdkNumbers
{
 private:
   std::set<int> drawn_; // drawn first: the tables below fill it
   DrawNumber draw_;

 public:
   explicit SdkNumbers( U64 seed );
   SdkNumbers( const SdkNumbers& ) = delete;
   SdkNumbers& operator=( const SdkNumbers& ) = delete;

   const NumberTable<FieldAction> fieldAction;
   const NumberTable<FieldIpType> fieldIpType;
   const NumberTable<PacketResult> packetResult;
   const NumberTable<SwitchControl> switchControl;
   const NumberTable<PortControl> portControl;
   const NumberTable<IpOptionAction> ipOptionAction;
   const NumberTable<Register> registers;
   const NumberTable<Memory> memories;
   const int anyRegisterPort;
   const int anyMemoryBlock;
   const int chipWidePort;
   const int fieldEntryEnableMode;
   const U32 exactMatchMask;
   const U8 stpForward;

   /// One bit each.
   U32 vlanFlag( VlanFlag role ) const;
   VlanFlags vlanFlags( U32 word ) const;
   U32 vlanFlagsWord( const VlanFlags& flags ) const;

 private:
   std::array<U32, roleNames<VlanFlag>.size()> vlanFlagBits_; // bit positions
};

} // namespace Strata::Sim
