// The agent's shared data: chip units, ports of interfaces, LAGs, and settings of forwarding.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/sdk/ChipInfo.h"
#include "platform/sdk/SdkShimInterface.h"
#include "platform/state/StrataPort.h"
#include "platform/types/PortBitmap.h"

#include <map>
#include <optional>
#include <vector>

namespace Strata {

struct StrataUnit
{
   ChipInfo chipInfo;
   U32 modId = 0;                    // by which other units address this one
   PortBitmap ports;                 // every port: front panel, CPU, loopback, recirculation
   std::optional<int> loopbackPort;  // the internal loopback port, 0 to 1023
   bool hasIpOptionsProfile = false; // the unit has its own IPv4 options profile

   bool operator==( const StrataUnit& ) const = default;
};

/// The chip units in order of their numbers. A walk remains valid when the table changes, because the activity lock
/// is released during its steps.
class UnitTable
{
 public:
   class Iterator
   {
    public:
      Iterator( const std::vector<U16>& numbers, std::size_t at ) : numbers_( &numbers ), at_( at )
      {
         readKey();
      }
      U16 key() const { return static_cast<U16>( key_ ); }
      const Iterator& operator*() const { return *this; }
      Iterator& operator++()
      {
         const bool there = at_ < numbers_->size() && ( *numbers_ )[ at_ ] == key_;
         at_ = there ? at_ + 1 : firstAfter( key() );
         readKey();
         return *this;
      }
      bool operator==( const Iterator& other ) const { return key_ == other.key_; }

    private:
      static constexpr U32 none_ = 0x10000; // the key at the end

      void readKey() { key_ = at_ < numbers_->size() ? ( *numbers_ )[ at_ ] : none_; }
      VORMEL_EXPORT std::size_t firstAfter( U16 key ) const;

      const std::vector<U16>* numbers_;
      std::size_t at_;
      U32 key_;
   };

   Iterator begin() const { return { numbers_, 0 }; }
   Iterator end() const { return { numbers_, numbers_.size() }; }
   bool empty() const { return units_.empty(); }
   std::size_t size() const { return units_.size(); }

   /// Null if there is no such unit.
   const StrataUnit* find( U32 number ) const
   {
      const auto at = number > 0xFFFF ? units_.end() : units_.find( static_cast<U16>( number ) );
      return at == units_.end() ? nullptr : &at->second;
   }

   /// Adds or replaces a unit. ValueError if the loopback port is outside 0 to 1023. Publishes nothing, because the
   /// table is filled before the helper is brought up. Requires: the activity lock is held.
   VORMEL_EXPORT void unitIs( U16 number, const StrataUnit& unit );
   VORMEL_EXPORT void unitDel( U16 number );

 private:
   std::map<U16, StrataUnit> units_;
   std::vector<U16> numbers_; // of the units, sorted: loops over them are frequent
};

// clang-format off
#define STRATA_COMMON_SM_DATA_ATTRIBUTES( ROW ) \
   ROW( MAP, 272, lagOfMember, IntfId, IntfId, 0, "the LAG that an interface is a member of", "agent" ) \
   ROW( MAP, 273, lagMembers, IntfId, IntfIdList, 0, "the members of a LAG, in member order", "agent" ) \
   ROW( MAP_CHECKED, 387, strataIntfToPort, IntfId, StrataPort, 0, "the port of an Ethernet interface", "agent", checkPort ) \
   ROW( MAP_CHECKED, 388, intfToLogicalPort, IntfId, U32, 0, "the logical port number of an interface, 0 to 1023; outlives its row in strataIntfToPort", "agent", checkLogicalPort ) \
   ROW( SCALAR, 464, vxlanEnabled, bool, false, "VXLAN is configured", "agent" ) \
   ROW( SCALAR, 465, vfiForwarding, bool, false, "VLANs are forwarded through VFIs; routed floods go to the CPU", "agent" ) \
   ROW( SCALAR, 466, nextHopToCpuSuppressed, bool, false, "no next-hop-to-CPU entry is made", "agent" ) \
   ROW( SCALAR_CHECKED, 467, floodingModId, U32, 249, "module id of the flooding destinations, 0 to 255", "agent", checkFloodingModId ) \
   ROW( SCALAR, 468, vxlanFloodL2Mc, U32, 0, "L2 multicast group of every port and every tunnel; 0 for none", "agent" )
// clang-format on

class VORMEL_EXPORT StrataCommonSmData : public Vormel::Entity
{
   VORMEL_ENTITY( StrataCommonSmData, STRATA_COMMON_SM_DATA_ATTRIBUTES )

   explicit StrataCommonSmData( SdkShimInterface* shim ) : sdkShim_( shim ) {}

   SdkShimInterface* sdkShim() const { return sdkShim_; }
   const UnitTable& units() const { return units_; }
   UnitTable& units() { return units_; }

   /// Whether the unit has its own IPv4 options profile.
   bool hasIpOptionsProfile( U32 unit ) const
   {
      const StrataUnit* const found = units_.find( unit );
      return found && found->hasIpOptionsProfile;
   }

 private:
   static void checkPort( IntfId intf, const StrataPort& port );
   static void checkLogicalPort( IntfId intf, U32 port );
   static void checkFloodingModId( U32 modId );

   SdkShimInterface* sdkShim_;
   UnitTable units_;
};

/// The link's own port, or, if it is a LAG, that of the first member that has one.
VORMEL_EXPORT StrataPort portOfLink( const StrataCommonSmData& scsd, IntfId link );
/// The link's ports on a unit, by logical port number: its own, or, if it is a LAG, those of its members.
VORMEL_EXPORT PortBitmap portsOfLink( const StrataCommonSmData& scsd, IntfId link, U32 unit );

/// The attributes of the first unit's chip, which the slice uses for all units; no capability if there is no unit.
VORMEL_EXPORT ChipAttributes chipAttributes( const StrataCommonSmData& scsd );

/// Whether routed floods are marked by the flooding destination port.
VORMEL_EXPORT bool isFloodingPortSupported( const StrataCommonSmData& scsd );

} // namespace Strata
