// The state that a pass of a packet may read; it does not change during the pass.
#pragma once

#include "platform/state/StrataCommonSmData.h"
#include "sim/chip/Chip.h"
#include "sim/packet/FieldLookup.h"
#include "sim/packet/ForwardingTables.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Sim {

/// The lookups of all ranges, made when they are needed and made again when a range has changed.
class FieldLookups
{
 public:
   const FieldLookup& of( const FieldGroup& group );

 private:
   std::map<const FieldGroup*, std::unique_ptr<FieldLookup>> known_;
};

/// The port by the chips' own numbers, regardless of the logical number that the agent gave it.
PortRef portRef( const Chips& chips, const StrataPort& port );
/// The ports of the interfaces that have one, in their order.
std::vector<PortRef> portsOf(
   const Chips& chips, const StrataCommonSmData& scsd, const IntfIdList& members );

struct Lag
{
   std::string name;
   std::vector<PortRef> ports; // in member order

   bool has( PortRef port ) const { return std::ranges::find( ports, port ) != ports.end(); }
};

class PacketView
{
 public:
   PacketView( const Chips& chips, const StrataCommonSmData& scsd, const ForwardingTables& tables,
      const std::map<U32, U32>& recircPorts, FieldLookups& lookups )
      : chips_( chips ),
        scsd_( scsd ),
        tables_( tables ),
        recircPorts_( recircPorts ),
        lookups_( lookups )
   {}

   const Chips& chips() const { return chips_; }
   const Chip& chip( U32 unit ) const { return chips_.at( unit ); }
   const ForwardingTables& tables() const { return tables_; }
   const StrataCommonSmData& scsd() const { return scsd_; }
   const FieldLookup& lookup( const FieldGroup& group ) const { return lookups_.of( group ); }

   /// The LAGs with a member that has a port.
   const std::vector<Lag>& lags() const;

   U32 modId( U32 unit ) const;
   std::optional<U32> unitOfModId( U32 modId ) const;

   bool isCpuPort( PortRef port ) const;
   bool isLoopback( PortRef port ) const;
   /// Whether a packet that leaves by the port comes in on it again: loopback and recirculation ports.
   bool isInternal( PortRef port ) const;
   /// False for internal ports, including a port that the agent uses for recirculation.
   bool isFrontPanel( PortRef port ) const;
   const ChipVlan* vlan( U32 unit, U16 vlanId ) const;

   /// "Ethernet3"; "port 258 of unit 0 (loopback)" for one that has no interface.
   std::string portName( PortRef port ) const;

 private:
   const Chips& chips_;
   const StrataCommonSmData& scsd_;
   const ForwardingTables& tables_;
   const std::map<U32, U32>& recircPorts_; // by unit, where the agent names one
   FieldLookups& lookups_;
   mutable std::optional<std::vector<Lag>> lags_; // computed at the first use
};

/// "Ethernet1, Ethernet3-5", as the words of scenarios: ranges of three ports or more in a row.
std::string portsText( const PacketView& view, const std::vector<PortRef>& ports );

/// The name of the port's LAG; an empty text for a port that is in no LAG.
std::string lagName( const PacketView& view, PortRef port );
/// The name of the port's LAG, or that of a port that is in no LAG.
std::string placeName( const PacketView& view, PortRef port );

/// "00:..:09 in VLAN 20 on Ethernet3", or on the LAG that the port belongs to.
std::string nextHopText( const PacketView& view, const NextHop& nextHop );
/// The same for each, with "or" between them.
std::string nextHopText( const PacketView& view, const std::vector<NextHop>& nextHops );

} // namespace Strata::Sim
