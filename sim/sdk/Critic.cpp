#include "sim/sdk/Critic.h"

#include "platform/runtime/Activity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Strata::Sim {

std::string Breach::text() const
{
   return "broken convention: " + call + ( unit ? " on unit " + std::to_string( *unit ) : "" ) +
          ": " + what;
}

void Critic::collect()
{
   handlerIs( []( const Breach& ) {} );
}

void Critic::breach( std::string what, std::string_view call, std::optional<U32> unit )
{
   if( rests_ )
      return;
   const Breach found{ std::move( what ), std::string( call ), unit };
   breaches_.push_back( found );
   std::vector<RecordField> fields{ { "what", found.what }, { "call", found.call } };
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
      breach( "it comes after a fatal code, at which the agent should have ended", call, unit );
}

bool Critic::anyFieldLocked() const
{
   return std::ranges::any_of( chips_, []( const auto& item ) { return item.second.fieldLocked; } );
}

void Critic::preCalled()
{
   checkAlive( "the pre-call hook", std::nullopt );
   if( !Vormel::activityLock().heldByThisThread() && !anyFieldLocked() )
      breach( "it runs without the activity lock", "the pre-call hook", std::nullopt );
   preCalled_ = true;
}

void Critic::errorHookRan()
{
   dead_ = true;
   transcript_.add( RecordKind::error, "a fatal code was reported: the agent ends" );
}

void Critic::operationBegins( SdkOperation operation, U32 unit, S64 target )
{
   const std::string_view call = roleName( operation );
   // An exception of the assertion hook leaves the FP lock held, so dropping it is still allowed.
   if( operation != SdkOperation::fieldUnlock )
      checkAlive( call, unit );
   if( Vormel::activityLock().heldByThisThread() )
      breach( "it is made with the activity lock held", call, unit );
   // Dropping the FP lock ends the call that took it.
   if( !std::exchange( preCalled_, false ) && operation != SdkOperation::fieldUnlock )
      breach( "the pre-call hook did not run right before it", call, unit );
   if( chips_.contains( unit ) )
      checkFieldLock( operation, unit );
   else
      breach( "there is no such unit", call, unit );
   checkRead( operation, unit, target );
}

static std::optional<SdkOperation> writeAfter( SdkOperation operation )
{
   switch( operation ) {
   case SdkOperation::vlanControlGet:
      return SdkOperation::vlanControlSet;
   case SdkOperation::register32Get:
      return SdkOperation::register32Set;
   case SdkOperation::register64Get:
      return SdkOperation::register64Set;
   case SdkOperation::ingMiscConfigRead:
      return SdkOperation::ingMiscConfigWrite;
   default:
      return std::nullopt;
   }
}

static bool writesBack( SdkOperation operation )
{
   return operation == SdkOperation::vlanControlSet || operation == SdkOperation::register32Set ||
          operation == SdkOperation::register64Set || operation == SdkOperation::ingMiscConfigWrite;
}

void Critic::checkRead( SdkOperation operation, U32 unit, S64 target )
{
   if( operation == SdkOperation::ingMiscConfigWrite )
      target = 0; // names no register: its first argument is the value
   const auto read = read_.find( unit );
   if( writesBack( operation ) &&
       ( read == read_.end() || read->second != std::pair( operation, target ) ) )
      breach( "it writes what was not read right before it", roleName( operation ), unit );
   if( const auto write = writeAfter( operation ) )
      read_.insert_or_assign( unit, std::pair( *write, target ) );
   else
      read_.erase( unit );
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
         breach( "it is made without the unit's FP lock", call, unit );
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

void Critic::actionsRewritten( SdkOperation operation, U32 unit )
{
   if( !chips_.at( unit ).fieldLocked && !withoutFieldLock_.contains( unit ) )
      breach( "it adds an action behind remove_all with the unit's FP lock dropped",
         roleName( operation ), unit );
}

void Critic::ends()
{
   if( dead_ )
      return;
   for( auto& [ unit, chip ] : chips_ )
      if( std::exchange( chip.fieldLocked, false ) ) // reported once
         breach( "the unit's FP lock is still held at the end", roleName( SdkOperation::fieldLock ),
            unit );
}

void Critic::managerCallBegins( std::string_view call, U32 unit )
{
   checkAlive( call, unit );
   if( !Vormel::activityLock().heldByThisThread() )
      breach( "it is made without the activity lock", call, unit );
   preCalled_ = false;
}

void Critic::restart()
{
   dead_ = preCalled_ = false;
   withoutFieldLock_.clear();
   read_.clear();
   for( auto& [ unit, chip ] : chips_ )
      chip.fieldLocked = false;
}

} // namespace Strata::Sim
