// The agent's FP entry managers. Every call is made with the activity lock held.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/types/PortBitmap.h"

#include <string>

namespace Strata {

using Vormel::Ref;

/// What a claim asks for. The strings are labels, kept with the claim and shown, never interpreted.
struct RequestKey
{
   std::string feature;
   /// The entry asked for, or the next one where that is held under another name.
   bool orNext = false;
   std::string detail;
};

/// Owns ids base to base + size - 1 of one FP group, with the room that the group has on each unit.
class VORMEL_EXPORT StrataTcamEntryManager : public Vormel::Entity
{
 public:
   /// Claims the entry on the unit and returns its id; 0 when it is out of range, held under another name,
   /// or the unit has no room left. A first claim is empty and enabled. A claim under the same name again
   /// clears the qualifiers and keeps actions, hits, enable state and what is in hardware.
   virtual U32 getEntry(
      U32 unit, U32 entryId, const std::string& name, const RequestKey& key ) = 0;

   /// Puts the claim into hardware in one step and leaves the entry enabled. Returns the SDK's code.
   virtual int installEntry( U32 unit, U32 entryId ) = 0;
   /// The same for an entry that is installed; keeps its enable state.
   virtual int reinstallEntry( U32 unit, U32 entryId ) = 0;
   /// Takes the entry out of hardware and keeps its definition for another installEntry.
   virtual void removeEntry( U32 unit, U32 entryId ) = 0;
   /// Removes the entry and ends the claim: qualifiers, actions and hits are forgotten.
   virtual void releaseEntry( U32 unit, U32 entryId ) = 0;
   /// A disabled entry matches nothing. `mode` is the shim's fieldEntryEnableMode(), handed through.
   virtual int enableEntry( U32 unit, U32 entryId, bool enable, int mode ) = 0;
   /// Packets for which the entry won, since its first claim.
   virtual U64 hitsForEntry( U32 unit, U32 entryId ) const = 0;

   /// Qualifies: arrived on one of `ports`; a port outside `mask` always passes.
   virtual int addInPortsForEntry(
      U32 unit, U32 entryId, const PortBitmap& ports, const PortBitmap& mask ) = 0;
   /// The same through a port class, for groups without a port bitmap in their key; for the departure
   /// port when `ingress` is false.
   virtual int qualifyPortsClassId(
      U32 unit, U32 entryId, const PortBitmap& ports, bool ingress ) = 0;
   /// Qualifies: arrived on one of `ports` less `port`, so has not been through `port` yet. In groups
   /// without a port bitmap in their key, through a port class.
   virtual int addOutLoopbackPortForEntry(
      U32 unit, U32 entryId, int port, const PortBitmap& ports ) = 0;

   /// An ACL group's key has no class fields and no port bitmap.
   virtual bool supportsAclGroup() const = 0;
};

class VORMEL_EXPORT StrataBoundedTcamEntryManager : public StrataTcamEntryManager
{
 public:
   /// The first id of the range; at least 1.
   virtual U32 baseEntryId() const = 0;
};

/// Group assignments that serve the slice.
enum class TcamGroup : U32
{
   urpfSingleWide = 53,
   urpfDoubleWide = 55,
   ttlCheck = 147,
   phpLspPing = 148,
   peerMacArp = 149,
};

class VORMEL_EXPORT StrataTcamGroupManager : public Vormel::Entity
{
 public:
   /// Null when the group is not assigned.
   virtual Ref<StrataBoundedTcamEntryManager> boundedTcamEntryManager( TcamGroup group ) const = 0;
};

} // namespace Strata
