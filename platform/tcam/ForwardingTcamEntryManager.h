// An entry manager that hands every call on to another one: the base for managers that observe or change some of the
// calls.
#pragma once

#include "platform/tcam/TcamEntryManager.h"

#include <string>
#include <utility>

namespace Strata {

class VORMEL_EXPORT ForwardingTcamEntryManager : public StrataBoundedTcamEntryManager
{
 public:
   /// `next` is not null.
   explicit ForwardingTcamEntryManager( Ref<StrataBoundedTcamEntryManager> next )
      : next_( std::move( next ) )
   {}

   StrataBoundedTcamEntryManager& next() const { return *next_; }

   std::string entityName() const override { return next().entityName(); }

   U32 getEntry( U32 unit, U32 entryId, const std::string& name, const RequestKey& key ) override
   {
      return next().getEntry( unit, entryId, name, key );
   }
   int installEntry( U32 unit, U32 entryId ) override
   {
      return next().installEntry( unit, entryId );
   }
   int reinstallEntry( U32 unit, U32 entryId ) override
   {
      return next().reinstallEntry( unit, entryId );
   }
   void removeEntry( U32 unit, U32 entryId ) override { next().removeEntry( unit, entryId ); }
   void releaseEntry( U32 unit, U32 entryId ) override { next().releaseEntry( unit, entryId ); }
   int enableEntry( U32 unit, U32 entryId, bool enable, int mode ) override
   {
      return next().enableEntry( unit, entryId, enable, mode );
   }
   U64 hitsForEntry( U32 unit, U32 entryId ) const override
   {
      return next().hitsForEntry( unit, entryId );
   }
   int addInPortsForEntry(
      U32 unit, U32 entryId, const PortBitmap& ports, const PortBitmap& mask ) override
   {
      return next().addInPortsForEntry( unit, entryId, ports, mask );
   }
   int qualifyPortsClassId( U32 unit, U32 entryId, const PortBitmap& ports, bool ingress ) override
   {
      return next().qualifyPortsClassId( unit, entryId, ports, ingress );
   }
   int addOutLoopbackPortForEntry(
      U32 unit, U32 entryId, int port, const PortBitmap& ports ) override
   {
      return next().addOutLoopbackPortForEntry( unit, entryId, port, ports );
   }
   bool supportsAclGroup() const override { return next().supportsAclGroup(); }
   U32 baseEntryId() const override { return next().baseEntryId(); }

 private:
   Ref<StrataBoundedTcamEntryManager> next_;
};

} // namespace Strata
