#include "sim/packet/Pass.h"

#include <algorithm>

namespace Strata::Sim {

Pass::Pass( const PacketView& view, const Arrival& arrival, PassExplanation* explanation )
   : view_( view ),
     arrival_( arrival ),
     chip_( view.chip( arrival.port.unit ) ),
     explanation_( explanation ),
     frame_( arrival.frame )
{
   result_.verdict.arrival = arrival.port;
   if( explanation ) {
      explanation->stages.reserve( 8 );
      explanation->state.reserve( 8 );
   }
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

void Pass::looked( const ChipPlace& place, U64 value ) const
{
   if( !explanation_ )
      return;
   auto& state = explanation_->state;
   if( std::ranges::find( state, place, &StateNote::place ) == state.end() )
      state.push_back( { place, value, chip_.cause( place ) } );
}

int Pass::control( SwitchControl which ) const
{
   const int port = sdkArrivalPort();
   const int value = chip_.control( port, which );
   const bool ofPort = explanation_ && chip_.portSwitchControls().contains( { port, which } );
   const auto kind = ofPort ? ChipPlace::Kind::portSwitchControl : ChipPlace::Kind::control;
   looked( { kind, static_cast<U32>( which ), ofPort ? port : 0 }, static_cast<U64>( value ) );
   return value;
}

int Pass::portControl( PortControl which ) const
{
   const int port = sdkArrivalPort();
   const auto at = chip_.portControls().find( { port, which } );
   const int value = at == chip_.portControls().end() ? 0 : at->second;
   looked( { ChipPlace::Kind::portControl, static_cast<U32>( which ), port },
      static_cast<U64>( value ) );
   return value;
}

U64 Pass::registerValue( Register which ) const
{
   const U64 value = chip_.registerValue( which );
   looked( { ChipPlace::Kind::registers, static_cast<U32>( which ) }, value );
   return value;
}

bool Pass::hasFlag( const ChipVlan& vlan, U16 vlanId, VlanFlag flag ) const
{
   if( explanation_ ) {
      U64 bits = 0;
      for( const VlanFlag set : vlan.flags )
         bits |= U64{ 1 } << static_cast<U32>( set );
      looked( { ChipPlace::Kind::vlanFlags, vlanId }, bits );
   }
   return vlan.flags.contains( flag );
}

} // namespace Strata::Sim
