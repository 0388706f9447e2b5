// The manager of the tiny chip's entries, a log of the calls on both, and the shared data.
#pragma once

#include "Plugin.h"
#include "TinyChip.h"

#include "platform/runtime/Text.h"
#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/StrataCommonSmData.h"

namespace Tiny {

/// The agent's log. It writes nothing until it has a sink.
class Log
{
 public:
   void sayIs( Say say ) { say_ = say; }

   void operator()( const std::string& line ) const
   {
      if( say_ )
         say_( line.c_str() );
   }

 private:
   Say say_ = nullptr;
};

/// Logs each operation, then calls it on another shim.
class LoggingShim final : public ForwardingShim
{
 public:
   LoggingShim( SdkShimInterface& next, const Log& log ) : ForwardingShim( next ), log_( log ) {}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      tell( #name, textOf arguments ); \
      return next().method arguments; \
   }
#include "platform/sdk/SdkOperations.def"

 private:
   void tell( const std::string& name, const std::string& arguments ) const
   {
      log_( "   call   " + name + "( " + arguments + " )" );
   }

   template<class... Arguments>
   static std::string textOf( const Arguments&... arguments )
   {
      std::string list;
      ( ( list += ( list.empty() ? "" : ", " ) + text( arguments ) ), ... );
      return list;
   }
   template<class T>
   static std::string text( const T& value )
   {
      return Vormel::toText( value );
   }
   template<class T>
   static std::string text( T* const& )
   {
      return "...";
   }
   static std::string text( const VlanControl& )
   {
      return "...";
   }

   const Log& log_;
};

#define TINY_ENTRY_MANAGER_ATTRIBUTES( ROW )

class EntryManager final : public StrataBoundedTcamEntryManager
{
   VORMEL_ENTITY( EntryManager, TINY_ENTRY_MANAGER_ATTRIBUTES )

   static constexpr U32 size = 64;

   EntryManager( Chip& chip, const Log& log ) : chip_( chip ), log_( log ) {}

   U32 baseEntryId() const override { return 1000; }
   bool supportsAclGroup() const override { return false; }

   U32 getEntry( U32 unit, U32 entryId, const std::string& name, const RequestKey& key ) override
   {
      const U32 last = key.orNext ? entryId + 1 : entryId;
      // A name that has claimed one of the ids gets it again: qualifiers are cleared, all other state is kept.
      for( U32 id = entryId; id <= last; ++id )
         if( Entry* const held = chip_.find( unit, id ); held && held->name == name ) {
            held->claim.qualifiers.clear();
            return id;
         }
      // Any other name gets the first free id.
      for( U32 id = entryId; id <= last; ++id )
         if( inRange( id ) && chip_.entries.try_emplace( { unit, id }, Entry{ name } ).second )
            return id;
      return 0;
   }
   int installEntry( U32 unit, U32 entryId ) override
   {
      const int code = written( unit, entryId, "installed" );
      if( code == ok )
         chip_.find( unit, entryId )->enabled = true;
      return code;
   }
   int reinstallEntry( U32 unit, U32 entryId ) override
   {
      return written( unit, entryId, "installed again" );
   }
   void removeEntry( U32 unit, U32 entryId ) override
   {
      Entry* const entry = chip_.find( unit, entryId );
      if( entry && entry->hardware ) {
         entry->hardware.reset();
         said( "removed", entryId, *entry );
      }
   }
   void releaseEntry( U32 unit, U32 entryId ) override
   {
      removeEntry( unit, entryId );
      chip_.entries.erase( { unit, entryId } );
   }
   int enableEntry( U32 unit, U32 entryId, bool enable, int ) override
   {
      Entry* const entry = chip_.find( unit, entryId );
      if( !entry )
         return notFound;
      entry->enabled = enable;
      return said( enable ? "enabled" : "disabled", entryId, *entry );
   }
   /// Always 0, because the tiny chip has no packets.
   U64 hitsForEntry( U32, U32 ) const override { return 0; }

   // Qualifiers that the SDK has in several forms.
   int addInPortsForEntry( U32 unit, U32 entryId, const PortBitmap&, const PortBitmap& ) override
   {
      return qualified( unit, entryId, "ports" );
   }
   int qualifyPortsClassId( U32 unit, U32 entryId, const PortBitmap&, bool ) override
   {
      return qualified( unit, entryId, "class of ports" );
   }
   int addOutLoopbackPortForEntry( U32 unit, U32 entryId, int, const PortBitmap& ) override
   {
      return qualified( unit, entryId, "not from loopback" );
   }

 private:
   bool inRange( U32 id ) const { return id >= baseEntryId() && id < baseEntryId() + size; }

   int written( U32 unit, U32 entryId, const char* how )
   {
      Entry* const entry = chip_.find( unit, entryId );
      if( !entry )
         return notFound;
      if( entry->claim.actions.empty() )
         return badConfig;
      entry->hardware = entry->claim;
      return said( how, entryId, *entry );
   }
   int qualified( U32 unit, U32 entryId, const char* qualifier )
   {
      Entry* const entry = chip_.find( unit, entryId );
      if( !entry )
         return notFound;
      entry->claim.qualifiers.insert( qualifier );
      return ok;
   }

   int said( const char* what, U32 entryId, const Entry& entry ) const
   {
      log_( "   entry  " + std::to_string( entryId ) + " \"" + entry.name + "\" " + what );
      return ok;
   }

   Chip& chip_;
   const Log& log_;
};

/// The shared data of an agent whose one unit is a tiny chip.
inline Vormel::Ref<StrataCommonSmData> sharedData( SdkShimInterface& shim )
{
   ChipAttributes tiny;
   tiny.l3CpuFpEntries = true;
   tiny.floodingPortSupported = true;
   strataAttributes().chipAttributesIs( { "tiny" }, tiny );

   StrataUnit unit;
   unit.chipInfo.model = "tiny";
   for( U32 port = 0; port <= 4; ++port )
      unit.ports.add( port );
   const auto scsd = Vormel::make<StrataCommonSmData>( &shim );
   scsd->units().unitIs( 0, unit );
   return scsd;
}

} // namespace Tiny
