#include "sim/sdk/SdkNumbers.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace Strata::Sim {

// Above every port number, so that a port number is never taken for a name.
static constexpr int lowestNumber = 5000;
static constexpr int highestNumber = 0x7FFFFFF;

static DrawNumber drawer( U64 seed, std::set<int>& drawn )
{
   return [ engine = std::mt19937_64( seed ), &drawn ]() mutable {
      std::uniform_int_distribution<int> any( lowestNumber, highestNumber );
      for( ;; )
         if( const int number = any( engine ); drawn.insert( number ).second )
            return number;
   };
}

SdkNumbers::SdkNumbers( U64 seed )
   : draw_( drawer( seed, drawn_ ) ),
     fieldAction( draw_ ),
     fieldIpType( draw_ ),
     packetResult( draw_ ),
     switchControl( draw_ ),
     portControl( draw_ ),
     ipOptionAction( draw_ ),
     registers( draw_ ),
     memories( draw_ ),
     anyRegisterPort( draw_() ),
     anyMemoryBlock( draw_() ),
     chipWidePort( draw_() ),
     fieldEntryEnableMode( draw_() ),
     exactMatchMask( 0x80000001 | static_cast<U32>( draw_() ) ),
     stpForward( static_cast<U8>( 1 + draw_() % 255 ) )
{
   std::array<U32, 32> bits;
   std::iota( bits.begin(), bits.end(), 0 );
   std::shuffle( bits.begin(), bits.end(), std::mt19937_64( seed ) );
   std::copy_n( bits.begin(), vlanFlagBits_.size(), vlanFlagBits_.begin() );
}

U32 SdkNumbers::vlanFlag( VlanFlag role ) const
{
   return 1u << vlanFlagBits_[ static_cast<std::size_t>( role ) ];
}

VlanFlags SdkNumbers::vlanFlags( U32 word ) const
{
   VlanFlags result;
   U32 next = 0; // position of the next bit without a role
   for( U32 bit = 0; bit < 32; ++bit ) {
      const bool set = ( word >> bit & 1 ) != 0;
      const auto at = std::find( vlanFlagBits_.begin(), vlanFlagBits_.end(), bit );
      if( at == vlanFlagBits_.end() )
         result.otherFlags |= U32{ set } << next++;
      else if( set )
         result.flags.insert( static_cast<VlanFlag>( at - vlanFlagBits_.begin() ) );
   }
   return result;
}

U32 SdkNumbers::vlanFlagsWord( const VlanFlags& flags ) const
{
   U32 word = 0;
   for( const VlanFlag role : flags.flags )
      word |= vlanFlag( role );
   U32 next = 0;
   for( U32 bit = 0; bit < 32; ++bit )
      if( std::find( vlanFlagBits_.begin(), vlanFlagBits_.end(), bit ) == vlanFlagBits_.end() )
         word |= ( flags.otherFlags >> next++ & 1 ) << bit;
   return word;
}

} // namespace Strata::Sim
