// An entry manager that hands everything on to another: the base of those with one fault.
#pragma once

#include "platform/tcam/TcamEntryManager.h"

#include <utility>

namespace Strata::Conformance {

class ForwardingManager : public StrataBoundedTcamEntryManager
{
 public:
   explicit ForwardingManager( Ref<StrataBoundedTcamEntryManager> next )
      : next_( std::move( next ) )
   {}

   StrataBoundedTcamEntryManager& next() const { return *next_; }

   const Vormel::EntityType& entityType() const override { return next().entityType(); }

   U32 getEntry( U32 unit, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return next().getEntry( unit, id, name, key );
   }
   int installEntry( U32 unit, U32 id ) override { return next().installEntry( unit, id ); }
   int reinstallEntry( U32 unit, U32 id ) override { return next().reinstallEntry( unit, id ); }
   void removeEntry( U32 unit, U32 id ) override { next().removeEntry( unit, id ); }
   void releaseEntry( U32 unit, U32 id ) override { next().releaseEntry( unit, id ); }
   int enableEntry( U32 unit, U32 id, bool enable, int mode ) override
   {
      return next().enableEntry( unit, id, enable, mode );
   }
   U64 hitsForEntry( U32 unit, U32 id ) const override { return next().hitsForEntry( unit, id ); }
   int addInPortsForEntry(
      U32 unit, U32 id, const PortBitmap& ports, const PortBitmap& mask ) override
   {
      return next().addInPortsForEntry( unit, id, ports, mask );
   }
   int qualifyPortsClassId( U32 unit, U32 id, const PortBitmap& ports, bool ingress ) override
   {
      return next().qualifyPortsClassId( unit, id, ports, ingress );
   }
   int addOutLoopbackPortForEntry( U32 unit, U32 id, int port, const PortBitmap& ports ) override
   {
      return next().addOutLoopbackPortForEntry( unit, id, port, ports );
   }
   bool supportsAclGroup() const override { return next().supportsAclGroup(); }
   U32 baseEntryId() const override { return next().baseEntryId(); }

 private:
   Ref<StrataBoundedTcamEntryManager> next_;
};

} // namespace Strata::Conformance
