// Switching by MPLS labels, and the packets behind labels that end here.
#include "platform/runtime/Format.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/packet/Pass.h"

namespace Strata::Sim {

using Vormel::format;

bool Pass::trapsMpls( SwitchControl which, RegisterField field ) const
{
   if( chip_.profile().supports( which ) )
      return control( which ) != 0;
   return registerField( registerValue( Register::CpuControlM ), field ) != 0;
}

void Pass::trapLabel( const std::string& reason, SwitchControl which, RegisterField field )
{
   drop( reason, which == SwitchControl::MplsLabelMissToCpu ? "unknown label" : "" );
   if( trapsMpls( which, field ) )
      askCpu( reason );
}

/// The EtherType behind an explicit null label (RFC 3032); 0 for other labels.
static U16 explicitNull( U32 label )
{
   return label == 0 ? etherTypeIpv4 : label == 2 ? etherTypeIpv6 : U16{ 0 };
}

static std::optional<LabelRule> ruleFor( const ForwardingTables& tables, U32 label )
{
   if( explicitNull( label ) != 0 )
      return LabelRule{};
   const auto found = tables.labels.find( label );
   return found == tables.labels.end() ? std::nullopt : std::optional( found->second );
}

static std::string labelText( const PacketView& view, const LabelRule& rule )
{
   return ( rule.swap ? "swap " + std::to_string( *rule.swap ) : std::string( "pop" ) ) +
          ( rule.nextHop ? ", to " + nextHopText( view, *rule.nextHop )
                         : ", and look up the packet behind it" );
}

/// Why the outermost label cannot be popped; empty if it can.
static std::string whyNotPopped( const Headers& headers )
{
   const MplsLabel& top = headers.mpls.front();
   const U16 announced = explicitNull( top.label );
   const bool fits = announced == 0 ? headers.labelled != 0 : headers.labelled == announced;
   if( !top.bottom || fits )
      return {};
   return format( "the packet behind label %d is not %s", top.label,
      announced == etherTypeIpv4   ? "IPv4"
      : announced == etherTypeIpv6 ? "IPv6"
                                   : "IP" );
}

/// Returns true if it was popped and the packet behind it is to be looked up.
bool Pass::switchLabel()
{
   if( headers().mpls.empty() ) {
      drop( "the label is cut short" );
      return false;
   }
   const MplsLabel top = headers().mpls.front();
   const std::optional<LabelRule> rule = ruleFor( tables(), top.label );
   note( "label", [ & ] {
      return std::to_string( top.label ) +
             ( rule ? ": " + labelText( view_, *rule ) : " is unknown" );
   } );
   if( !rule ) {
      trapLabel( format( "unknown label %d", top.label ), SwitchControl::MplsLabelMissToCpu,
         RegisterField::MplsLabelMissToCpu );
   } else if( top.ttl <= 1 ) {
      trapLabel( format( "MPLS TTL %d", U32{ top.ttl } ), SwitchControl::MplsTtlErrToCpu,
         RegisterField::MplsTtlErrToCpu );
   } else if( const std::string reason = whyNotPopped( headers() );
              !rule->swap && !reason.empty() ) {
      drop( reason );
   } else if( rule->nextHop ) {
      labelRule_ = rule;
      toNextHop( *rule->nextHop );
   } else {
      frame_ = relabelled( frame_, std::nullopt );
      return true;
   }
   return false;
}

/// Switches by the outermost label that does not end here. Returns true if no label is left and IP is to be routed.
bool Pass::switchLabels()
{
   while( headers().etherType == etherTypeMpls )
      if( !switchLabel() )
         return false;
   if( !headers().ip )
      drop( "the packet behind the label is not a whole IP packet" );
   return drop_.empty();
}

} // namespace Strata::Sim
