// Checks that the slice keeps the conventions of the hardware calls. A broken convention ends the
// process, after one line with the error, the call and the unit, unless another handler is set.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkRoles.h"
#include "sim/chip/Chip.h"
#include "sim/sdk/SdkCodes.h"
#include "sim/switch/Transcript.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Strata::Sim {

struct Breach
{
   std::string what;        // the error: "it is made with the activity lock held"
   std::string call;        // the call: "bcm_field_qualify_Ttl"
   std::optional<U32> unit; // calls without a unit have none

   /// "broken convention: bcm_field_qualify_Ttl on unit 0: it is made with the activity lock held"
   std::string text() const;
};

class Critic
{
 public:
   using Handler = std::function<void( const Breach& )>;

   Critic( Chips& chips, Transcript& transcript ) : chips_( chips ), transcript_( transcript ) {}
   Critic( const Critic& ) = delete;
   Critic& operator=( const Critic& ) = delete;

   /// An empty handler is the default one, which writes the breach to standard error and aborts. When a
   /// handler returns, the call continues.
   void handlerIs( Handler handler ) { handler_ = std::move( handler ); }
   /// Sets a handler that only collects breaches.
   void collect();
   /// While it rests it finds no breach: for calls that no slice makes.
   void restIs( bool rests ) { rests_ = rests; }
   const std::vector<Breach>& breaches() const { return breaches_; }
   void breachesDel() { breaches_.clear(); }

   void preCalled();
   void errorHookRan();
   /// Called when an SDK operation begins. `target` is its object on the unit: an entry, register, VLAN or port.
   void operationBegins( SdkOperation operation, U32 unit, S64 target );
   /// Called when the operation has returned. A unit without an FP lock is exempt from the lock's rules.
   void operationEnds( SdkOperation operation, U32 unit, SdkCode code );
   /// Called when an action is added behind fieldActionRemoveAll. Both must be under one FP lock, because packets must
   /// not match the entry in between.
   void actionsRewritten( SdkOperation operation, U32 unit );
   /// Called when an entry-manager operation begins.
   void managerCallBegins( std::string_view call, U32 unit );

   /// Called after the last operation: reports a breach for each FP lock that is held, unless the agent died.
   void ends();

   void breach( std::string what, std::string_view call, std::optional<U32> unit );

   /// Forgets the error hook, the FP locks, a pre-call hook without its call and reads without their write:
   /// for tests whose assertion hook throws instead of ending the process.
   void restart();

 private:
   void checkAlive( std::string_view call, std::optional<U32> unit );
   void checkFieldLock( SdkOperation operation, U32 unit );
   void checkRead( SdkOperation operation, U32 unit, S64 target );
   bool anyFieldLocked() const;

   Chips& chips_;
   Transcript& transcript_;
   Handler handler_;
   std::vector<Breach> breaches_;
   // What a unit's last operation read, by the operation that writes it back and its target.
   std::map<U32, std::pair<SdkOperation, S64>> read_;
   bool preCalled_ = false; // the pre-call hook ran, and its call has not begun yet
   bool dead_ = false;
   bool rests_ = false;
   // Units whose FP lock was not available at the last fieldLock.
   std::set<U32> withoutFieldLock_;
};

} // namespace Strata::Sim
