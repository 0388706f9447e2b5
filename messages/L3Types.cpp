#include "messages/L3Types.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Hash.h"

#include <algorithm>

namespace Strata {

using Vormel::hashMix;

static void check( bool good, const std::string& what, U64 given, const char* range )
{
   if( !good )
      throw Vormel::ValueError(
         "MplsTunnelKey: " + what + " " + std::to_string( given ) + " is not " + range );
}

MplsTunnelKey::MplsTunnelKey( std::span<const U32> labels, U8 exp, U8 ttl )
   : count_( labels.size() ),
     exp_( exp ),
     ttl_( ttl )
{
   check( count_ >= 1 && count_ <= maxLabels, "a number of labels of", count_, "1 to 8" );
   check( exp <= highestExp, "exp", exp, "0 to 7" );
   for( const U32 label : labels )
      check( label <= highestLabel, "label", label, "0 to 1048575" );
   std::copy( labels.begin(), labels.end(), labels_.begin() );
}

U32 MplsTunnelKey::label( std::size_t index ) const
{
   if( index >= count_ )
      throw Vormel::RangeError( index, count_ );
   return labels_[ index ];
}

static std::string number( U64 value )
{
   return std::to_string( value );
}

std::string toText( const L3IntfInfo& value )
{
   return value.intfId.toString() + " vlan " + number( value.vlanId ) + " vrf " +
          number( value.vrfId ) + " mac " + value.macAddr.toString() + " mtu " +
          number( value.mtu ) + " hw " + number( value.hwL3IntfId );
}

std::string toText( const L3IntfFlowKey& value )
{
   return "vlan " + number( value.vlanId ) + " mac " + value.srcMac.toString();
}

std::string toText( const L3IntfFlowInfo& value )
{
   return "hw " + number( value.hwL3IntfId ) + " flows " + number( value.refCount );
}

std::string toText( const MplsTunnelKey& value )
{
   std::string text = "labels ";
   for( std::size_t i = 0; i < value.labelCount(); ++i )
      text += ( i == 0 ? "" : "/" ) + number( value.label( i ) );
   return text + " exp " + number( value.exp() ) + " ttl " + number( value.ttl() );
}

std::string toText( const MplsTunnelKeyAndL3Intf& value )
{
   return toText( value.tunnelKey ) + " hw " + number( value.hwL3IntfId );
}

U64 hashValue( const L3IntfInfo& value, U32 seed )
{
   U64 hash = hashMix( value.intfId.bits(), seed );
   hash = hashMix( hash ^ value.macAddr.toNumber() ^ U64( value.vlanId ) << 48, seed );
   hash = hashMix( hash ^ value.vrfId ^ U64( value.mtu ) << 32, seed );
   return hashMix( hash ^ value.hwL3IntfId, seed );
}

U64 hashValue( const L3IntfFlowKey& value, U32 seed )
{
   return hashMix( value.srcMac.toNumber() ^ U64( value.vlanId ) << 48, seed );
}

U64 hashValue( const L3IntfFlowInfo& value, U32 seed )
{
   return hashMix( value.hwL3IntfId ^ U64( value.refCount ) << 32, seed );
}

U64 hashValue( const MplsTunnelKey& value, U32 seed )
{
   U64 hash =
      hashMix( value.labelCount() ^ U64( value.exp() ) << 8 ^ U64( value.ttl() ) << 16, seed );
   for( std::size_t i = 0; i < value.labelCount(); ++i )
      hash = hashMix( hash ^ value.label( i ), seed );
   return hash;
}

U64 hashValue( const MplsTunnelKeyAndL3Intf& value, U32 seed )
{
   return hashMix( hashValue( value.tunnelKey, seed ) ^ value.hwL3IntfId, seed );
}

} // namespace Strata
