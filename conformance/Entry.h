// An entry that a check tries things on. It is released when the check is over.
#pragma once

#include "conformance/Examiner.h"

#include <optional>
#include <string>

namespace Strata::Conformance {

/// What a range is asked to qualify on, or to do.
struct Probe
{
   std::string name;
   bool ChipAttributes::*needs = nullptr; // the attribute that promises it; null: every chip has it
   bool notInAclKeys = false;
   Answer<int> ( *make )( Examiner&, U32 unit, U32 entry ) = nullptr;
};

/// Those that the slice gives to entries of the range, the ones that every chip has first.
std::vector<Probe> qualifiersOf( const ManagedRange& range );
/// The same for actions, in sets that one entry can have, because others contradict each other. Those with a port bitmap
/// need the FP lock and are not among them.
std::vector<std::vector<Probe>> actionsOf( const ManagedRange& range );

inline const std::string firstName = "conformance";
inline const std::string otherName = "conformance, other name";

class Entry
{
 public:
   Entry( Examiner& examiner, const ManagedRange& range, U32 unit, U32 offset = 0 )
      : examiner_( examiner ),
        range_( range ),
        unit_( unit ),
        id_( range.manager->baseEntryId() + range.freeOffset + offset )
   {}
   Entry( const Entry& ) = delete;
   Entry& operator=( const Entry& ) = delete;
   ~Entry();

   U32 unit() const { return unit_; }
   U32 id() const { return id_; }

   Answer<U32> claim( const std::string& name = firstName, bool orNext = false );
   /// One qualifier that every chip has: the range's first, or its second.
   Answer<int> qualify( bool second = false );
   /// The range's first action.
   Answer<int> act();
   Answer<int> install();
   Answer<int> reinstall();
   Answer<int> enable( bool enabled );
   std::string remove();
   std::string release();
   Answer<U64> hits();
   /// Claimed, with one qualifier and one action.
   void define();
   /// The claim is given the port sets that the slice gives to entries of the range.
   void expectPortSets();
   /// Only entries of the main range and of peer MAC ARP qualify on ports.
   bool takesPorts() const { return !range_.group || range_.group == TcamGroup::peerMacArp; }
   /// Qualifies on arrival by one of these.
   Answer<int> portsAre( const PortBitmap& ports );

   bool inspectable() const { return examiner_.has( Hook::installedEntry ); }
   std::optional<InstalledEntry> installed() const
   {
      return examiner_.port().installedEntry( unit_, id_ );
   }
   /// Where hardware can be inspected: it holds the entry, as described.
   void expectInstalled( Promise promise, const std::string& call, U32 qualifiers, bool enabled );
   void expectAbsent( Promise promise, const std::string& call );

 private:
   std::string text( const std::string& call ) const;

   Examiner& examiner_;
   const ManagedRange& range_;
   U32 unit_;
   U32 id_;
};

} // namespace Strata::Conformance
