// The smallest platform that the slice comes up on: an SDK that says each call and does nothing, and a manager
// that remembers who holds which entry.
#pragma once

#include "Plugin.h"

#include "platform/runtime/Text.h"
#include "platform/sdk/UnavailableShim.h"
#include "platform/tcam/TcamEntryManager.h"

#include <map>
#include <string>

namespace Tiny {

using namespace Strata; // the table of SDK operations expects its names

/// The chip's log; silent until it is given somebody to talk to.
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

class Shim final : public UnavailableShim
{
 public:
   explicit Shim( const Log& log ) : log_( log ) {}

   int successCode() const override { return 0; }
   int featureNotAvailableCode() const override { return -1; }
   std::string errorText( int code ) const override { return "error " + std::to_string( code ); }

   // This SDK numbers things as the slice does.
   int fieldAction( FieldAction role ) const override { return static_cast<int>( role ); }
   int fieldIpType( FieldIpType role ) const override { return static_cast<int>( role ); }
   int switchControl( SwitchControl role ) const override { return static_cast<int>( role ); }

   /// Ports 1 to 4 are active.
   UnitRecord unitRecord( U32 ) const override { return { 0x1E }; }

   // Every operation of the SDK, whatever its parameters are.
#define SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return Call{ log_, name } arguments; \
   }
#include "platform/sdk/SdkOperations.def"

 private:
   struct Call
   {
      const Log& log;
      std::string name;

      template<class... Arguments>
      int operator()( const Arguments&... arguments ) const
      {
         std::string list;
         ( ( list += ( list.empty() ? "" : ", " ) + text( arguments ) ), ... );
         log( "   call   " + name + "( " + list + " )" );
         return 0;
      }
   };

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

   explicit EntryManager( const Log& log ) : log_( log ) {}

   U32 baseEntryId() const override { return 1000; }
   bool supportsAclGroup() const override { return false; }

   U32 getEntry( U32, U32 entryId, const std::string& name, const RequestKey& key ) override
   {
      // Whoever held the entry before gets it again; for others it is taken.
      const auto holds = [ & ]( U32 id ) {
         return names_.try_emplace( id, name ).first->second == name;
      };
      if( holds( entryId ) )
         return entryId;
      return key.orNext && holds( entryId + 1 ) ? entryId + 1 : 0;
   }
   int installEntry( U32, U32 entryId ) override { return said( "installed", entryId ); }
   int reinstallEntry( U32, U32 entryId ) override { return said( "installed again", entryId ); }
   void removeEntry( U32, U32 entryId ) override { said( "removed", entryId ); }
   void releaseEntry( U32, U32 entryId ) override
   {
      said( "released", entryId );
      names_.erase( entryId );
   }
   int enableEntry( U32, U32 entryId, bool enable, int ) override
   {
      return said( enable ? "enabled" : "disabled", entryId );
   }
   U64 hitsForEntry( U32, U32 ) const override { return 0; }

   // Qualifiers that the SDK has in several forms; this one takes them all.
   int addInPortsForEntry( U32, U32, const PortBitmap&, const PortBitmap& ) override { return 0; }
   int qualifyPortsClassId( U32, U32, const PortBitmap&, bool ) override { return 0; }
   int addOutLoopbackPortForEntry( U32, U32, int, const PortBitmap& ) override { return 0; }

 private:
   int said( const char* what, U32 entryId ) const
   {
      log_(
         "   entry  " + std::to_string( entryId ) + " \"" + names_.at( entryId ) + "\" " + what );
      return 0;
   }

   const Log& log_;
   std::map<U32, std::string> names_; // of the entries that are held
};

} // namespace Tiny
