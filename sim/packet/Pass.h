// One pass of a packet through one chip: from the port it comes in on, through the lookups and the
// Field Processor, to the ports it leaves on. It reads state and changes none; the verdict contains
// the changes to make afterwards.
#pragma once

#include "sim/packet/FieldKey.h"
#include "sim/packet/PacketView.h"
#include "sim/packet/Verdict.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Strata::Sim {

class Pass
{
 public:
   /// `explanation` may be null if none is wanted.
   Pass( const PacketView& view, const Arrival& arrival, PassExplanation* explanation );
   Pass( const Pass& ) = delete;
   Pass& operator=( const Pass& ) = delete;

   struct Result
   {
      PassVerdict verdict;
      std::vector<Arrival> again; // through internal ports
   };
   /// Requires: it is called only once.
   Result run();

 private:
   /// The destination that lookups and entries have chosen, before the egress filters.
   struct Destination
   {
      std::vector<PortRef> ports;
      std::vector<std::string> tunnels;
      bool cpu = false;             // as a member of the VLAN or group
      std::optional<U64> dstPort;   // value for the DstPort qualifier
      bool isGroup = false;         // a multicast group's members
      std::optional<U32> group;     // a known L2 multicast group
      std::set<U16> routedInto;     // IP multicast
      std::optional<PortRef> named; // a port whose name the text begins with
      std::string text;
      std::map<std::string, std::vector<PortRef>> leftOut; // of a flood, by reason
   };
   struct CpuAsk
   {
      std::string reason;
      bool byLookup;
   };

   // PassLink.cpp
   bool link();
   void terminateTunnel();
   void lookUpStation();
   bool isRouterMac() const { return station_.has_value(); }
   bool terminates( MemoryField termination ) const;
   void bridge();
   void knownStation( const Station& station );
   Destination floodIn( U16 vlanId, bool withCpu ) const;
   Destination groupMembers( U32 group ) const;
   Destination onePort( PortRef port ) const;
   Destination portOrLag( PortRef port, U16 vlanId ) const;
   void thin( Destination& destination, U16 vlanId ) const;
   bool cameInBy( PortRef port ) const;
   /// "Ethernet3 of Port-Channel1", "flood in VLAN 10". Names a port only now, because few packets need it.
   std::string textOf( const Destination& destination ) const;
   PortRef memberThatSends( PortRef port, U16 vlanId ) const;
   void learn();

   // PassRoute.cpp
   bool routes();
   bool endsTunnelOnly() const;
   /// Why packets are not routed, and the state of the chip that is the reason. Empty if they are.
   struct Obstacle
   {
      std::string reason;
      std::optional<ChipPlace> culprit{};
   };
   Obstacle whyNotRouted() const;
   void route();
   bool badHeader();
   bool slowPath();
   void findNextHop();
   void checkReversePath( const RouteTable::Found* source );
   void checkHop();
   bool linkLocal();
   bool tooLong( U16 vlanId );
   void toNextHop( const NextHop& nextHop );
   Destination behindNextHop( const NextHop& nextHop );
   std::string whyNotReplicated() const;
   void routeMulticast();
   bool exception( SwitchControl control, const std::string& reason, const std::string& kind = {} );
   void notRouted( const std::string& reason, const std::string& kind = {} );
   void lookUpSource();

   // PassEcmp.cpp
   const NextHop& oneOf( const std::vector<NextHop>& nextHops );
   std::string whyLost( const NextHop& nextHop ) const;

   // PassLabel.cpp
   bool switchLabels();
   bool switchLabel();
   void trapLabel( const std::string& reason, SwitchControl control, RegisterField field );
   bool trapsMpls( SwitchControl control, RegisterField field ) const;

   // PassField.cpp
   FieldKey key() const;
   std::optional<U64> present( Qualifier role ) const;
   std::optional<U64> ipType() const;
   void ranges( FieldStage stage );
   void noteRange( const FieldGroup& group, const FieldKey& key, U32 winner );
   EntryNote noteEntry( U32 id, const FieldEntry& entry, const FieldKey& key ) const;
   void act( const FieldGroup& group, U32 id );
   void act( const FieldActionData& action, const std::string& entry );
   void redirect( Destination destination, const std::string& entry );
   std::string whyItMisses( const FieldQualifier& wanted ) const;

   // PassEgress.cpp
   using Refusals = std::map<std::string, std::string>; // names by reason
   void egress();
   void leave( PortRef port );
   void enterTunnel( const std::string& name, U16 vlanId, const Frame& frame, bool routed,
      const std::string& what, Refusals& refusals );
   void replicate( Refusals& refusals );
   std::string refusal( PortRef port, U16 vlanId ) const;
   void depart( PortRef port, U16 vlanId, Frame frame, const std::string& tunnel = {} );
   Frame rewritten() const;
   VlanTag tagOf( U16 vlanId ) const { return { vlanId, priority_, dropEligible_ }; }
   EthAddr routerMac( U16 vlanId ) const;
   void copyToCpu();
   bool isForCpu() const;
   void noteUnreached();

   /// None for the stack link, which is not a port.
   std::optional<PortRef> arrivedOn() const
   {
      return arrival_.higig ? std::nullopt : std::optional<PortRef>( arrival_.port );
   }
   bool isOpenFlow() const
   {
      const auto port = arrivedOn();
      return port && tables().openFlowPorts.contains( *port );
   }
   int sdkArrivalPort() const { return static_cast<int>( chip_.sdkPort( arrival_.port.port ) ); }
   // Reading the chip's state. An explanation notes each value that was read, and the command that wrote it.
   int control( SwitchControl which ) const;
   int portControl( PortControl which ) const;
   U64 registerValue( Register which ) const;
   bool hasFlag( const ChipVlan& vlan, U16 vlanId, VlanFlag flag ) const;
   void looked( const ChipPlace& place, U64 value ) const;

   const ChipAttributes& attributes() const { return chip_.profile().attributes; }
   const ForwardingTables& tables() const { return view_.tables(); }
   const Headers& headers() const { return frame_.headers(); }
   bool fromCpu() const { return !arrival_.higig && view_.isCpuPort( arrival_.port ); }
   U16 egressVlan() const { return nextHop_ ? nextHop_->vlanId : domain_; }

   /// The first reason is kept. `kind` is the reason without addresses and the like, where it has such.
   void drop( const std::string& reason, const std::string& kind = {} );
   void askCpu( const std::string& reason, bool byLookup = true )
   {
      cpuAsks_.push_back( { reason, byLookup } );
   }
   /// `text` is a callable, so that no text is made without an explanation.
   template<class Text>
   void note( const char* stage, Text text, const std::optional<ChipPlace>& culprit = {} )
   {
      if( explanation_ )
         ( rangesDone_ ? explanation_->after : explanation_->stages )
            .push_back( { stage, text(), culprit } );
   }

   const PacketView& view_;
   const Arrival& arrival_;
   const Chip& chip_;
   PassExplanation* const explanation_;
   Result result_;
   bool rangesDone_ = false;

   U16 vlanId_ = 0; // that the packet arrives in
   U8 priority_ = 0;
   bool dropEligible_ = false;
   StpState stp_ = StpState::forwarding;

   Frame frame_;                // the frame that is forwarded: after a tunnel's end the inner one
   U16 domain_ = 0;             // the VLAN that it is forwarded in
   std::string terminated_;     // the tunnel that ended here
   std::optional<U32> station_; // index in the my-station memory
   MemoryEntry stationEntry_{};

   bool settled_ = false; // neither routed nor bridged
   bool routable_ = false;
   std::string unrouted_;           // why, of IP multicast that there is a route for
   std::optional<NextHop> nextHop_; // it is routed, or switched by its label
   std::optional<LabelRule> labelRule_;
   bool steered_ = false; // by policy routing
   bool expires_ = false; // at egress
   bool urpfExempt_ = false;
   U32 sourceClass_ = 0;
   std::optional<PacketResult> packetResult_;

   Destination destination_;
   std::string drop_;
   std::string dropKind_;
   std::vector<CpuAsk> cpuAsks_;
   U32 queue_ = 0;
   bool doNotLearn_ = false;
   bool redirected_ = false;
   std::string refusedRedirect_; // by policy routing or another range
};

} // namespace Strata::Sim
