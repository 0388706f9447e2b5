#include "sim/packet/Pass.h"

#include "platform/runtime/Format.h"
#include "sim/chip/RegisterLayout.h"

#include <algorithm>

namespace Strata::Sim {

using Vormel::format;

Pass::Pass( const PacketView& view, const Arrival& arrival, PassExplanation* explanation )
   : view_( view ),
     arrival_( arrival ),
     chip_( view.chip( arrival.port.unit ) ),
     explanation_( explanation ),
     frame_( arrival.frame )
{
   result_.verdict.arrival = arrival.port;
}

// Each stage uses the results of the earlier ones: ranges see all results of the lookups, and egress follows the
// decisions of the ranges.
Pass::Result Pass::run()
{
   if( link() ) {
      ranges( FieldStage::lookup );
      terminateTunnel();
      lookUpStation();
      if( routes() )
         route();
      else if( !settled_ )
         bridge();
      ranges( FieldStage::final );
      rangesDone_ = true;
      egress();
      learn();
   }
   if( result_.verdict.departures.empty() && result_.again.empty() ) {
      result_.verdict.drop = drop_;
      result_.verdict.dropReason = dropKind_;
   }
   return std::move( result_ );
}

void Pass::drop( const std::string& reason, const std::string& kind )
{
   if( !drop_.empty() )
      return;
   drop_ = reason;
   dropKind_ = kind.empty() ? reason : kind;
}

void Pass::looked( const ChipPlace& place, U64 value, const std::string& what ) const
{
   auto& state = explanation_->state;
   if( std::ranges::find( state, what, &StateNote::what ) != state.end() )
      return;
   const Cause* const cause = chip_.cause( place );
   state.push_back( { what, place, value, cause ? *cause : Cause{} } );
}

int Pass::control( SwitchControl which ) const
{
   const int port = sdkArrivalPort();
   const int value = chip_.control( port, which );
   if( explanation_ ) {
      const bool ofPort = chip_.portSwitchControls().contains( { port, which } );
      const auto kind = ofPort ? ChipPlace::Kind::portSwitchControl : ChipPlace::Kind::control;
      looked( { kind, static_cast<U32>( which ), ofPort ? port : 0 }, static_cast<U64>( value ),
         format( "%s%s is %d", roleName( which ),
            ofPort ? " of port " + std::to_string( port ) : std::string(), value ) );
   }
   return value;
}

int Pass::portControl( PortControl which ) const
{
   const int port = sdkArrivalPort();
   const auto at = chip_.portControls().find( { port, which } );
   const int value = at == chip_.portControls().end() ? 0 : at->second;
   if( explanation_ )
      looked( { ChipPlace::Kind::portControl, static_cast<U32>( which ), port },
         static_cast<U64>( value ),
         format( "%s of port %d is %d", roleName( which ), port, value ) );
   return value;
}

U64 Pass::registerValue( Register which ) const
{
   const U64 value = chip_.registerValue( which );
   if( explanation_ )
      looked( { ChipPlace::Kind::registers, static_cast<U32>( which ) }, value,
         format( "%s is %s", roleName( which ), registerText( which, value ) ) );
   return value;
}

bool Pass::hasFlag( const ChipVlan& vlan, U16 vlanId, VlanFlag flag ) const
{
   if( explanation_ ) {
      std::string flags;
      U64 bits = 0;
      for( const VlanFlag set : vlan.flags ) {
         flags += ( flags.empty() ? "" : ", " ) + std::string( roleName( set ) );
         bits |= U64{ 1 } << static_cast<U32>( set );
      }
      looked( { ChipPlace::Kind::vlanFlags, vlanId }, bits,
         format( "VLAN %d has %s", U32{ vlanId },
            flags.empty() ? std::string( "no routing flag" ) : flags ) );
   }
   return vlan.flags.contains( flag );
}

} // namespace Strata::Sim
