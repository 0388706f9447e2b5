// An entry for use by a check. It is released at the end of the check.
#pragma once

#include "conformance/Examiner.h"

#include <optional>
#include <string>

namespace Strata::Conformance {

/// A qualifier or action for entries of a range.
struct Probe
{
   std::string name;
   bool ChipAttributes::*needs =
      nullptr; // the attribute by which a chip has it; null: every chip has it
   bool notInAclKeys = false;
   Answer<int> ( *make )( Examiner&, U32 unit, U32 entry ) = nullptr;
};

/// The qualifiers that the slice gives to entries of the range; those that every chip has come first.
std::vector<Probe> qualifiersOf( const ManagedRange& range );
/// The same for actions, in sets without contradictions, which one entry can have. Actions with a port bitmap need the
/// FP lock and are not included.
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
   /// Adds one qualifier that every chip has: the range's first, or its second.
   Answer<int> qualify( bool second = false );
   /// Adds the range's first action.
   Answer<int> act();
   Answer<int> install();
   Answer<int> reinstall();
   Answer<int> enable( bool enabled );
   std::string remove();
   std::string release();
   Answer<U64> hits();
   /// Claims the entry with one qualifier and one action.
   void define();
   /// Adds the port sets that the slice gives to entries of the range.
   void expectPortSets();
   /// Whether entries of the range qualify on ports: only in the main range and in that of peer MAC ARP.
   bool takesPorts() const { return !range_.group || range_.group == TcamGroup::peerMacArp; }
   /// Qualifies on arrival on one of these ports.
   Answer<int> portsAre( const PortBitmap& ports );

   bool inspectable() const { return examiner_.has( Hook::installedEntry ); }
   std::optional<InstalledEntry> installed() const
   {
      return examiner_.port().installedEntry( unit_, id_ );
   }
   /// If hardware can be inspected: expects the entry there, as described.
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
