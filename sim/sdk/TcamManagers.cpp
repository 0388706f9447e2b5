#include "sim/sdk/TcamManagers.h"

#include "platform/sdk/ObservedTcamEntryManager.h"
#include "sim/chip/FieldRefusals.h"
#include "sim/sdk/SdkCallText.h"
#include "sim/switch/Values.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp> // IWYU pragma: keep, completes Json
#include <utility>

namespace Strata::Sim {

VORMEL_ENTITY_TYPE( SimTcamEntryManager, STRATA_SIM_TCAM_ENTRY_MANAGER_ATTRIBUTES )

VORMEL_ENTITY_TYPE( SimTcamGroupManager, STRATA_SIM_TCAM_GROUP_MANAGER_ATTRIBUTES )

SimTcamEntryManager::SimTcamEntryManager(
   const FieldGroupProfile& profile, const Hardware& hardware )
   : profile_( profile ),
     hardware_( hardware )
{
   name_ = profile.name;
}

FieldGroup* SimTcamEntryManager::group( U32 unit ) const
{
   const auto at = hardware_.chips.find( unit );
   return at == hardware_.chips.end() ? nullptr : at->second.group( profile_.name );
}

template<class Work>
SdkCode SimTcamEntryManager::perform(
   std::string_view call, U32 unit, U32 entryId, Effect effect, const Details& details, Work work )
{
   hardware_.critic.managerCallBegins( call, unit );
   const auto fault = hardware_.faults.strike( call, unit, 0 );
   FieldGroup* const at = group( unit );
   if( !at )
      hardware_.critic.breach( "there is no such unit", call, unit );
   const U64 version = at ? at->version() : 0;
   const auto make = [ & ] { return at ? work( *at ) : SdkCode::Unit; };
   const SdkCode code = fault ? fault->outcome( make ) : make();
   std::optional<bool> changed;
   if( effect == Effect::write && code == SdkCode::None && ( !fault || fault->works() ) )
      changed = at->version() != version;
   write( call, unit, entryId, details, [ & ] { return outcomeContent( code, fault, changed ); } );
   if( fault )
      fault->throwIfAsked( call, unit );
   return code;
}

void SimTcamEntryManager::write( std::string_view call, U32 unit, U32 entryId,
   const Details& details, const Details& outcome ) const
{
   hardware_.transcript.add( RecordKind::entry, [ & ] {
      RecordContent content{ name_ + " " + std::string( call ) + " unit " + std::to_string( unit ) +
                                " id " + std::to_string( entryId ),
         { { "manager", name_ }, { "call", call }, { "unit", unit }, { "id", entryId } } };
      for( const Details* const part : { &details, &outcome } )
         if( *part ) {
            RecordContent more = ( *part )();
            content.text += more.text;
            std::ranges::move( more.fields, std::back_inserter( content.fields ) );
         }
      return content;
   } );
}

static const char* mistake( FieldGroup::ClaimFailure failure )
{
   switch( failure ) {
   case FieldGroup::ClaimFailure::outOfRange:
      return "outside the manager's range";
   case FieldGroup::ClaimFailure::heldByOther:
      return "claimed under another name";
   default:
      return nullptr; // no room, which is not an error of the caller
   }
}

U32 SimTcamEntryManager::getEntry(
   U32 unit, U32 entryId, const std::string& name, const RequestKey& key )
{
   const char* const call = "getEntry";
   hardware_.critic.managerCallBegins( call, unit );
   FieldGroup* const at = group( unit );
   if( !at )
      hardware_.critic.breach( "there is no such unit", call, unit );
   const auto fault = hardware_.faults.strike( call, unit, 0 );
   const bool works = !fault || fault->works();
   FieldGroup::ClaimResult result;
   for( int times = !works || !at ? 0 : fault ? 2 : 1; times > 0; --times )
      result = at->claim( entryId, name, key );
   if( !works && at )
      at->turnedAwayIs( entryId );
   if( fault && fault->kind == FaultKind::lost )
      result.id = entryId;

   const auto details = [ & ] {
      RecordContent content{ " \"" + name + "\"", { { "name", name } } };
      if( key.orNext ) {
         content.text += " or next";
         content.fields.emplace_back( "orNext", true );
      }
      const auto add = [ & ]( const char* field, const std::string& label ) {
         if( label.empty() )
            return;
         content.text += " (" + label + ")";
         content.fields.emplace_back( field, label );
      };
      add( "feature", key.feature );
      add( "detail", key.detail );
      return content;
   };
   write( call, unit, entryId, details, [ & ] {
      RecordContent content;
      if( !fault || fault->kind != FaultKind::throws )
         content = { " -> " + std::to_string( result.id ), { { "result", result.id } } };
      addFault( content, fault );
      return content;
   } );
   if( fault )
      fault->throwIfAsked( call, unit );
   if( result.id == 0 ) // reported here, because the slice does not check the result
      hardware_.transcript.add( RecordKind::claim,
         name_ + ": " + RefusedClaim{ name, entryId, unit }.text(),
         { { "manager", name_ }, { "name", name }, { "id", entryId }, { "unit", unit } } );
   if( const char* const wrong = mistake( result.failure ) )
      hardware_.critic.breach(
         "entry " + std::to_string( entryId ) + " \"" + name + "\" is " + wrong, call, unit );
   return result.id;
}

static std::string foreignPorts( const PortBitmap& ports, const Chip& chip )
{
   const PortBitmap foreign = ports - chip.ports();
   return foreign.empty() ? std::string() : "ports " + foreign.toString() + " are not the unit's";
}

/// An entry that matches floods redirects to the switch's flood set, which has ports of all units; behind a
/// loopback port it redirects to ports of its own unit.
static bool floods( const FieldEntry& entry )
{
   const auto qualifies = [ & ]( Qualifier role ) {
      return std::ranges::find( entry.claim.qualifiers, role, &FieldQualifier::role ) !=
             entry.claim.qualifiers.end();
   };
   return ( qualifies( Qualifier::DstPort ) ||
             entry.unavailable.contains( SdkOperation::fieldQualifyDstPort ) ) &&
          !qualifies( Qualifier::OutLoopback );
}

/// Errors of a claim that the chip would accept.
static std::vector<std::string> faultsOf( const FieldEntry& entry, const Chip& chip )
{
   std::vector<std::string> faults;
   if( entry.claim.actions.empty() )
      faults.emplace_back( "the entry has no action" );
   if( entry.qualifierRefused )
      faults.emplace_back(
         "the chip refused a qualifier of the entry, so it would match too much" );
   else if( entry.claim.qualifiers.empty() && entry.unavailable.empty() )
      faults.emplace_back( "the entry has no qualifier, so it would match every packet" );
   if( !floods( entry ) )
      for( const FieldActionData& action : entry.claim.actions )
         if( std::string foreign = foreignPorts( action.ports, chip ); !foreign.empty() )
            faults.push_back(
               std::string( roleName( action.role ) ) + ": " + std::move( foreign ) );
   return faults;
}

int SimTcamEntryManager::installed( std::string_view call, U32 unit, U32 entryId, bool again )
{
   return static_cast<int>(
      perform( call, unit, entryId, Effect::write, {}, [ & ]( FieldGroup& at ) {
         FieldEntry* const entry = at.claimed( entryId );
         if( entry )
            for( const std::string& wrong : faultsOf( *entry, hardware_.chips.at( unit ) ) )
               hardware_.critic.breach( wrong, call, unit );
         const SdkCode code = again ? at.reinstall( entryId ) : at.install( entryId );
         if( code == SdkCode::None )
            entry->cause = hardware_.causeOfCall();
         return code;
      } ) );
}

int SimTcamEntryManager::installEntry( U32 unit, U32 entryId )
{
   return installed( "installEntry", unit, entryId, false );
}

int SimTcamEntryManager::reinstallEntry( U32 unit, U32 entryId )
{
   return installed( "reinstallEntry", unit, entryId, true );
}

void SimTcamEntryManager::removeEntry( U32 unit, U32 entryId )
{
   perform( "removeEntry", unit, entryId, Effect::write, {}, [ & ]( FieldGroup& at ) {
      at.remove( entryId );
      return SdkCode::None;
   } );
}

void SimTcamEntryManager::releaseEntry( U32 unit, U32 entryId )
{
   const char* const call = "releaseEntry";
   perform( call, unit, entryId, Effect::write, {}, [ & ]( FieldGroup& at ) {
      if( !at.contains( entryId ) )
         hardware_.critic.breach(
            "entry " + std::to_string( entryId ) + " is outside the manager's range", call, unit );
      at.release( entryId );
      return SdkCode::None;
   } );
}

int SimTcamEntryManager::enableEntry( U32 unit, U32 entryId, bool enable, int mode )
{
   const char* const call = "enableEntry";
   const auto work = [ & ]( FieldGroup& at ) {
      if( mode != hardware_.numbers.fieldEntryEnableMode ) {
         hardware_.critic.breach( "the SDK has no such number for the mode", call, unit );
         return SdkCode::Param;
      }
      const SdkCode code = at.enable( entryId, enable );
      if( FieldEntry* const entry = at.claimed( entryId );
          code == SdkCode::None && entry->switchedTo != enable ) {
         // Setting the same state again keeps its first cause.
         entry->switchedTo = enable;
         entry->switchCause = hardware_.causeOfCall();
      }
      return code;
   };
   const auto details = [ enable ] {
      return RecordContent{ enable ? " enable" : " disable", { { "enable", enable } } };
   };
   return static_cast<int>( perform( call, unit, entryId, Effect::write, details, work ) );
}

U64 SimTcamEntryManager::hitsForEntry( U32 unit, U32 entryId ) const
{
   hardware_.critic.managerCallBegins( "hitsForEntry", unit );
   FieldGroup* const at = group( unit );
   const FieldEntry* const entry = at ? at->claimed( entryId ) : nullptr;
   const U64 hits = entry ? entry->hits : 0;
   write( "hitsForEntry", unit, entryId, {}, [ & ] {
      return RecordContent{ " -> " + std::to_string( hits ), { { "result", hits } } };
   } );
   return hits;
}

int SimTcamEntryManager::qualified(
   std::string_view call, U32 unit, U32 entryId, const FieldQualifier& qualifier )
{
   const auto work = [ & ]( FieldGroup& at ) {
      FieldEntry* const entry = at.claimed( entryId );
      if( !entry ) {
         if( !at.turnedAway().contains( entryId ) )
            hardware_.critic.breach(
               "entry " + std::to_string( entryId ) + " is not claimed on the unit", call, unit );
         return SdkCode::NotFound;
      }
      if( profile_.acl && qualifier.role == Qualifier::InPorts )
         return SdkCode::Unavail; // no port bitmap in the key; the others go by port classes
      if( const SdkCode code = qualifierCode( profile_.stage, entry->claim, qualifier );
          code != SdkCode::None )
         return code;
      if( const std::string foreign = foreignPorts( qualifier.ports, hardware_.chips.at( unit ) );
          !foreign.empty() )
         hardware_.critic.breach( foreign, call, unit );
      entry->claim.qualifierIs( qualifier );
      return SdkCode::None;
   };
   const auto details = [ & ] {
      return RecordContent{ " " + qualifier.text(),
         { { "qualifier",
            JsonText{ jsonText( qualifierJson( qualifier ) ), qualifier.text() } } } };
   };
   return static_cast<int>( perform( call, unit, entryId, Effect::claim, details, work ) );
}

int SimTcamEntryManager::addInPortsForEntry(
   U32 unit, U32 entryId, const PortBitmap& ports, const PortBitmap& mask )
{
   return qualified( "addInPortsForEntry", unit, entryId,
      { .role = Qualifier::InPorts, .ports = ports, .allPorts = mask } );
}

int SimTcamEntryManager::qualifyPortsClassId(
   U32 unit, U32 entryId, const PortBitmap& ports, bool ingress )
{
   return qualified( "qualifyPortsClassId", unit, entryId,
      { .role = ingress ? Qualifier::InPortsClass : Qualifier::OutPortsClass, .ports = ports } );
}

int SimTcamEntryManager::addOutLoopbackPortForEntry(
   U32 unit, U32 entryId, int port, const PortBitmap& ports )
{
   const char* const call = "addOutLoopbackPortForEntry";
   const auto chip = hardware_.chips.find( unit );
   if( chip == hardware_.chips.end() || port < 0 || static_cast<U32>( port ) >= PortBitmap::size ||
       !chip->second.ports().contains( static_cast<U32>( port ) ) )
      return static_cast<int>( perform(
         call, unit, entryId, Effect::claim,
         [ port ] {
            return RecordContent{ " port " + std::to_string( port ), { { "port", port } } };
         },
         []( FieldGroup& ) { return SdkCode::Port; } ) );
   PortBitmap others = ports;
   others.remove( static_cast<U32>( port ) );
   return qualified( call, unit, entryId,
      { .role = Qualifier::OutLoopback, .data = static_cast<U64>( port ), .ports = others } );
}

bool SimTcamEntryManager::supportsAclGroup() const
{
   return profile_.acl;
}

Ref<StrataBoundedTcamEntryManager> SimTcamGroupManager::boundedTcamEntryManager(
   TcamGroup group ) const
{
   const auto at = managers_.find( group );
   return at == managers_.end() ? nullptr : at->second;
}

void SimTcamGroupManager::managerIs( TcamGroup group, Ref<StrataBoundedTcamEntryManager> manager )
{
   if( manager )
      managers_[ group ] = std::move( manager );
   else
      managers_.erase( group );
}

} // namespace Strata::Sim
