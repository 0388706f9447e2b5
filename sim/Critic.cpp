#include "sim/Critic.h"

#include "platform/runtime/Activity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Strata::Sim {

std::string Breach::text() const
{
   return "broken convention: " + call + ( unit ? " on unit " + std::to_string( *unit ) : "" ) +
          ": " + rule;
}

void Critic::collect()
{
   handlerIs( []( const Breach& ) {} );
}

void Critic::breach( std::string rule, std::string_view call, std::optional<U32> unit )
{
   const Breach found{ std::move( rule ), std::string( call ), unit };
   breaches_.push_back( found );
   std::vector<RecordField> fields{ { "rule", found.rule }, { "call", found.call } };
   if( unit )
      fields.emplace_back( "unit", *unit );
   transcript_.add( RecordKind::breach, found.text(), std::move( fields ) );
   if( handler_ )
      return handler_( found );
   std::fprintf( stderr, "%s\n", found.text().c_str() );
   std::abort();
}

void Critic::checkAlive( std::string_view call, std::optional<U32> unit )
{
   if( dead_ )
      breach( "a fatal code was reported before, so the agent should have ended", call, unit );
}

bool Critic::anyFieldLocked() const
{
   return std::ranges::any_of( chips_, []( const auto& item ) { return item.second.fieldLocked; } );
}

void Critic::preCalled()
{
   checkAlive( "the pre-call hook", std::nullopt );
   if( !Vormel::activityLock().heldByThisThread() && !anyFieldLocked() )
      breach( "it runs with the activity lock held", "the pre-call hook", std::nullopt );
   preCalled_ = true;
}

void Critic::errorHookRan()
{
   dead_ = true;
   transcript_.add( RecordKind::error, "a fatal code was reported: the agent ends" );
}

void Critic::operationBegins( SdkOperation operation, U32 unit )
{
   const std::string_view call = roleName( operation );
   // What an exception of the assertion leaves behind: an FP lock that is held is still dropped.
   if( operation != SdkOperation::fieldUnlock )
      checkAlive( call, unit );
   if( Vormel::activityLock().heldByThisThread() )
      breach( "an SDK operation is made without the activity lock", call, unit );
   // Dropping the FP lock ends the call that took it.
   if( !std::exchange( preCalled_, false ) && operation != SdkOperation::fieldUnlock )
      breach( "the pre-call hook runs right before each SDK operation", call, unit );
   if( chips_.contains( unit ) )
      checkFieldLock( operation, unit );
   else
      breach( "there is no such unit", call, unit );
}

void Critic::checkFieldLock( SdkOperation operation, U32 unit )
{
   const std::string_view call = roleName( operation );
   const bool locked = chips_.at( unit ).fieldLocked;
   switch( operation ) {
   case SdkOperation::fieldLock:
      if( locked )
         breach( "the unit's FP lock is held already", call, unit );
      break;
   case SdkOperation::fieldUnlock:
      if( !locked )
         breach( "the unit's FP lock is not held", call, unit );
      break;
   case SdkOperation::fieldActionRemoveAll:
   case SdkOperation::fieldActionPortsAdd:
      if( !locked && !withoutFieldLock_.contains( unit ) )
         breach( "it needs the unit's FP lock", call, unit );
      break;
   default:
      break;
   }
}

void Critic::operationEnds( SdkOperation operation, U32 unit, SdkCode code )
{
   if( operation != SdkOperation::fieldLock )
      return;
   if( code == SdkCode::Unavail )
      withoutFieldLock_.insert( unit );
   else
      withoutFieldLock_.erase( unit );
}

void Critic::managerCallBegins( std::string_view call, U32 unit )
{
   checkAlive( call, unit );
   if( !Vormel::activityLock().heldByThisThread() )
      breach( "an entry-manager call is made with the activity lock held", call, unit );
   preCalled_ = false;
}

void Critic::restart()
{
   dead_ = preCalled_ = false;
   for( auto& [ unit, chip ] : chips_ )
      chip.fieldLocked = false;
}

} // namespace Strata::Sim
