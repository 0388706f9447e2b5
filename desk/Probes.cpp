#include "desk/Probes.h"

#include "platform/runtime/Errors.h"

#include <algorithm>

namespace Strata::Desk {

ProbeVerdict::ProbeVerdict( const Sim::PacketEngine& engine, const Sim::Arrival& arrival )
{
   try {
      verdict_ = engine.explain( arrival );
   } catch( const Vormel::ValueError& error ) {
      obstacle_ = error.what();
   }
}

bool ProbeVerdict::operator==( const ProbeVerdict& other ) const
{
   if( !verdict_ || !other.verdict_ )
      return !verdict_ && !other.verdict_ && obstacle_ == other.obstacle_;
   const auto same = []( const auto& some, const auto& others ) {
      return std::ranges::equal(
         some, others, []( const auto* one, const auto* another ) { return *one == *another; } );
   };
   return same( verdict_->departures(), other.verdict_->departures() ) &&
          same( verdict_->cpuCopies(), other.verdict_->cpuCopies() ) &&
          verdict_->drop() == other.verdict_->drop();
}

std::string ProbeVerdict::text( const Sim::PacketEngine& engine ) const
{
   return verdict_ ? engine.summary( *verdict_ ) : "cannot come in: " + obstacle_;
}

} // namespace Strata::Desk
