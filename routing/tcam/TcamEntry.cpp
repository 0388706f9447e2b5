#include "routing/tcam/TcamEntry.h"

#include "messages/Traces.h"
#include "platform/runtime/Assert.h"
#include "platform/sdk/SdkNames.h"

#include <ios>
#include <utility>

namespace Strata {

bool hasManager( const Ref<StrataBoundedTcamEntryManager>& manager, const char* operation )
{
   if( !manager )
      VORMEL_TRACE_AS( routingTrace, 1, operation, operation << ": no entry manager" );
   return static_cast<bool>( manager );
}

/// One for all claims, because its labels are strings.
static const RequestKey& defaultKey()
{
   static const RequestKey key;
   return key;
}

U32 claimEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId, const char* name )
{
   return manager.getEntry( unit, entryId, name, defaultKey() );
}

/// Traces id, unit and code, because the assertion that follows does not contain them.
[[gnu::cold]] static void traceFailure(
   const char* call, U32 unit, U32 entryId, int rc, const char* name = nullptr )
{
   if( name )
      VORMEL_TRACE_AS( routingTrace, 1, call,
         call << " failed, entry: " << entryId << ", name: " << name << ", unit: " << unit
              << ", rc: " << rc );
   else
      VORMEL_TRACE_AS( routingTrace, 1, call,
         call << " failed, entry: " << entryId << ", unit: " << unit << ", rc: " << rc );
}

void installEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId, const char* name )
{
   const int rc = manager.installEntry( unit, entryId );
   if( rc == BCM_E_NONE )
      return;
   traceFailure( "installEntry", unit, entryId, rc, name );
   VORMEL_ASSERT( rc == BCM_E_NONE && "installEntry failed" );
}

void reinstallEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId )
{
   const int rc = manager.reinstallEntry( unit, entryId );
   if( rc == BCM_E_NONE )
      return;
   traceFailure( "reinstallEntry", unit, entryId, rc );
   VORMEL_ASSERT( rc == BCM_E_NONE && "reinstallEntry failed" );
}

void enableEntry( StrataTcamEntryManager& manager, U32 unit, U32 entryId, bool enable )
{
   const int rc = manager.enableEntry( unit, entryId, enable, SdkShim->fieldEntryEnableMode() );
   if( rc == BCM_E_NONE )
      return;
   traceFailure( "enableEntry", unit, entryId, rc );
   VORMEL_ASSERT( rc == BCM_E_NONE && "enableEntry failed" );
}

void qualifyInPorts( StrataTcamEntryManager& manager, U32 unit, U32 entryId,
   const PortBitmap& ports, const PortBitmap& allPorts )
{
   if( manager.supportsAclGroup() ) {
      const int rc = manager.qualifyPortsClassId( unit, entryId, ports, true );
      if( rc == BCM_E_NONE )
         return;
      traceFailure( "qualifyPortsClassId", unit, entryId, rc );
      VORMEL_ASSERT( rc == BCM_E_NONE && "qualifyPortsClassId failed" );
   } else {
      const int rc = manager.addInPortsForEntry( unit, entryId, ports, allPorts );
      if( rc == BCM_E_NONE )
         return;
      traceFailure( "addInPortsForEntry", unit, entryId, rc );
      VORMEL_ASSERT( rc == BCM_E_NONE && "addInPortsForEntry failed" );
   }
}

void qualifyOutLoopback( StrataTcamEntryManager& manager, U32 unit, U32 entryId, int recircPort,
   const PortBitmap& allPorts )
{
   const int rc = manager.addOutLoopbackPortForEntry( unit, entryId, recircPort, allPorts );
   if( rc == BCM_E_NONE )
      return;
   traceFailure( "addOutLoopbackPortForEntry", unit, entryId, rc );
   VORMEL_ASSERT( rc == BCM_E_NONE && "addOutLoopbackPortForEntry failed" );
}

U32 deleteEntry(
   const Ref<StrataBoundedTcamEntryManager>& manager, const UnitTable& units, U32 recordedId )
{
   if( recordedId == 0 )
      return 0;
   for( const auto& i : units ) {
      VORMEL_TRACE( routingTrace, 2,
         "Deleting tcam entry (ID: 0x" << std::hex << recordedId << std::dec << ")" );
      manager->releaseEntry( i.key(), recordedId );
   }
   return 0;
}

/// Used again by the next entry, which allocates nothing then.
static std::unique_ptr<std::string> spareName;

TcamEntry::TcamEntry(
   const Ref<StrataBoundedTcamEntryManager>& manager, U32 offset, const char* name )
   : manager_( manager ),
     id_( manager->baseEntryId() + offset ),
     name_( spareName ? std::move( spareName ) : std::make_unique<std::string>() )
{
   *name_ = name;
}

TcamEntry::~TcamEntry()
{
   spareName = std::move( name_ );
}

U32 TcamEntry::claim( U32 unit )
{
   // The result is not checked: the next call on the entry fails if the claim was refused.
   manager_->getEntry( unit, id_, *name_, defaultKey() );
   return id_;
}

void TcamEntry::install( U32 unit )
{
   installEntry( *manager_, unit, id_, name_->c_str() );
   carried_ = true;
}

void TcamEntry::passOver( U32 unit, U32 recordedId )
{
   if( recordedId != 0 )
      manager_->releaseEntry( unit, recordedId );
}

void TcamEntry::traceAllocated( const char* operation, const char* text ) const
{
   if( carried_ )
      VORMEL_TRACE_AS( routingTrace, 2, operation, text << id_ );
}

} // namespace Strata
