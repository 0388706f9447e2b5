// A chip SDK and entry managers that do nothing, so that only the slice is measured.
#pragma once

#include "platform/sdk/TcamEntryManager.h"
#include "platform/sdk/UnavailableShim.h"

#include <string>

namespace Bench {

using namespace Strata;

class NullShim : public UnavailableShim
{
 public:
   int successCode() const override { return 0; }
   int featureNotAvailableCode() const override { return -1; }
   std::string errorText( int ) const override { return {}; }
   U32 vlanFlag( VlanFlag role ) const override { return 1u << static_cast<U32>( role ); }
   bool vlanExists( U32, U16 ) const override { return true; }

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return nothing arguments; \
   }
#include "platform/sdk/SdkOperations.def"

 private:
   template<class... Arguments>
   static int nothing( const Arguments&... )
   {
      return 0;
   }
};

#define NULL_MANAGER_ATTRIBUTES( ROW )

class NullManager final : public StrataBoundedTcamEntryManager
{
   VORMEL_ENTITY( NullManager, NULL_MANAGER_ATTRIBUTES )

   /// The second claim of a pair gets the next id.
   U32 getEntry( U32, U32 id, const std::string& name, const RequestKey& key ) override
   {
      return key.orNext && name.starts_with( "L2 " ) ? id + 1 : id;
   }
   int installEntry( U32, U32 ) override { return 0; }
   int reinstallEntry( U32, U32 ) override { return 0; }
   void removeEntry( U32, U32 ) override {}
   void releaseEntry( U32, U32 ) override {}
   int enableEntry( U32, U32, bool, int ) override { return 0; }
   U64 hitsForEntry( U32, U32 ) const override { return 0; }
   int addInPortsForEntry( U32, U32, const PortBitmap&, const PortBitmap& ) override { return 0; }
   int qualifyPortsClassId( U32, U32, const PortBitmap&, bool ) override { return 0; }
   int addOutLoopbackPortForEntry( U32, U32, int, const PortBitmap& ) override { return 0; }
   bool supportsAclGroup() const override { return false; }
   U32 baseEntryId() const override { return 1; }
};

/// Has the range of the ARP redirect alone.
class NullGroupManager final : public StrataTcamGroupManager
{
   VORMEL_ENTITY( NullGroupManager, NULL_MANAGER_ATTRIBUTES )

   explicit NullGroupManager( const Ref<StrataBoundedTcamEntryManager>& manager )
      : manager_( manager )
   {}
   Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const override
   {
      return group == TcamGroup::peerMacArp ? manager_ : nullptr;
   }

 private:
   Ref<StrataBoundedTcamEntryManager> manager_;
};

} // namespace Bench
