#include "tool/packet/Wants.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/packet/TableTrial.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Strata::Tool {

namespace {

using Sim::Qualifier;
using Vormel::format;

/// What is in a frame, in the order in which it is told.
constexpr std::array<std::pair<Qualifier, const char*>, 7> frameFields{
   { { Qualifier::DstMac, "destination MAC" }, { Qualifier::IntPriority, "priority" },
      { Qualifier::EtherType, "EtherType" }, { Qualifier::DstIp, "destination" },
      { Qualifier::Ttl, "TTL" }, { Qualifier::IpProtocol, "protocol" },
      { Qualifier::L4DstPort, "destination port" } } };

/// What a packet presents that is dropped before the range is looked up.
Sim::FieldKey keyOfFrame( const Sim::Headers& headers )
{
   Sim::FieldKey key;
   key.valueIs( Qualifier::TunnelTerminated, 0 );
   key.valueIs( Qualifier::DstMac, headers.dstMac.toNumber() );
   key.valueIs( Qualifier::EtherType, headers.etherType );
   key.valueIs( Qualifier::IntPriority, headers.tag ? headers.tag->priority : 0 );
   if( headers.arp )
      key.valueIs( Qualifier::IpType,
         static_cast<U64>( headers.isArp( 1 ) ? FieldIpType::ArpRequest : FieldIpType::ArpReply ) );
   if( headers.ip ) {
      const bool v6 = headers.ip->destination.isV6();
      key.valueIs(
         Qualifier::IpType, static_cast<U64>( v6 ? FieldIpType::Ipv6 : FieldIpType::Ipv4Any ) );
      key.valueIs( Qualifier::Ttl, headers.ip->ttl );
      key.valueIs( Qualifier::IpProtocol, headers.ip->protocol );
      if( !v6 )
         key.valueIs( Qualifier::DstIp, headers.ip->destination.v4Number() );
   }
   if( headers.l4 )
      key.valueIs( Qualifier::L4DstPort, headers.l4->destination );
   return key;
}

Sim::FieldKey keyOf( const Sim::PassExplanation& pass, const std::string& range )
{
   const auto at = std::ranges::find( pass.ranges, range, &Sim::RangeNote::group );
   return at == pass.ranges.end() ? keyOfFrame( pass.arrival.frame.headers() ) : at->presented;
}

Cover::PacketPlace placeOf( const Sim::ForwardingTables& tables, const Sim::Arrival& arrival )
{
   const auto& tag = arrival.frame.headers().tag;
   const U16 untagged = arrival.higig ? U16{ 1 } : tables.untaggedVlan( arrival.port );
   return { arrival.port, arrival.higig, tag && tag->vlanId != 0 ? tag->vlanId : untagged };
}

/// Of another kind of packet, what it does not have is left out.
std::vector<std::string> differences( const Sim::FieldKey& now, const Sim::FieldKey& then )
{
   std::vector<std::string> all;
   const auto differ = [ & ]( Qualifier role ) {
      return then.value( role ) && now.value( role ) != then.value( role );
   };
   const auto add = [ & ]( Qualifier role, const std::string& name ) {
      all.push_back( name + then.valueText( role ) +
                     ( now.value( role ) ? " instead of " + now.valueText( role ) : "" ) );
   };
   if( differ( Qualifier::TunnelTerminated ) )
      all.emplace_back( then.value( Qualifier::TunnelTerminated ) == 1 ? "it ends a tunnel"
                                                                       : "it ends no tunnel" );
   for( const auto& [ role, name ] : frameFields )
      if( differ( role ) )
         add( role, std::string( name ) + " " );
   if( !differ( Qualifier::EtherType ) && differ( Qualifier::IpType ) )
      add( Qualifier::IpType, {} );
   return all;
}

/// What no entry compares, and yet can keep a packet from the lookups.
std::vector<std::string> otherDifferences( const Sim::Headers& now, const Sim::Headers& then )
{
   std::vector<std::string> all;
   if( now.srcMac != then.srcMac )
      all.push_back( format( "source MAC %s instead of %s", then.srcMac, now.srcMac ) );
   if( now.ip && then.ip ) {
      if( now.ip->source != then.ip->source )
         all.push_back( format(
            "source %s instead of %s", then.ip->source.toString(), now.ip->source.toString() ) );
      if( now.ip->options && !then.ip->options )
         all.emplace_back( "no IP options" );
      if( !now.ip->checksumRight && then.ip->checksumRight )
         all.emplace_back( "a right checksum" );
   }
   return all;
}

/// Of the arrival that the words of a packet make, and of what it presents.
std::vector<std::string> changesOf( Session& session, const Sim::Arrival& arrival,
   const Sim::FieldKey& key, const Cover::Coverage& found )
{
   Sim::Explanation explanation;
   tryPacket( session, found.rows, found.packet, &explanation );
   const Scene scene = sceneOf( session, found.rows, found.packet );
   const Sim::PacketEngine& engine = session.packets().engine();
   std::vector<std::string> all;
   if( scene.arrival.port != arrival.port || scene.arrival.higig != arrival.higig )
      all.push_back( format( "in by %s instead of %s", engine.arrivalName( scene.arrival ),
         engine.arrivalName( arrival ) ) );
   const U16 vlan = placeOf( scene.tables, scene.arrival ).vlan;
   const U16 before = placeOf( session.packets().tables(), arrival ).vlan;
   if( vlan != before )
      all.push_back( format( "VLAN %d instead of %d", vlan, before ) );
   for( std::string& difference :
      differences( key, keyOf( explanation.passes.front(), found.range ) ) )
      all.push_back( std::move( difference ) );
   if( all.empty() )
      all = otherDifferences( arrival.frame.headers(), scene.arrival.frame.headers() );
   return all;
}

/// The answer for the packet's first pass, or rows that are enough for a later pass if those for the first are not.
Wanted nearest( Session& session, const Sim::Explanation& explanation, const std::string& packet,
   Sim::FieldGroup& range, U32 id )
{
   const Sim::ForwardingTables tables = session.packets().tables();
   const auto search = [ & ]( const Sim::PassExplanation& pass, bool isFirst ) {
      Cover::RangeCover cover( session.agent().hardware(), tables, pass.arrival.port.unit, range,
         packetTrials( session ), Cover::PortNames::interfaces, placeOf( tables, pass.arrival ) );
      return cover.nearest( id, keyOf( pass, range.profile().name ), packet, isFirst );
   };
   const Sim::PassExplanation& first = explanation.passes.front();
   Wanted wanted{ search( first, true ), false, {} };
   for( const Sim::PassExplanation& pass : explanation.passes )
      if( &pass != &first && pass.arrival.port.unit == first.arrival.port.unit &&
          wanted.about.packet != packet )
         if( Cover::Coverage again = search( pass, false ); again.outcome == Cover::Outcome::found )
            wanted.about = std::move( again );
   if( wanted.about.outcome == Cover::Outcome::found )
      wanted.changes =
         changesOf( session, first.arrival, keyOf( first, range.profile().name ), wanted.about );
   return wanted;
}

} // namespace

Wanted wantsEntry( Session& session, const Sim::Arrival& arrival, const std::string& packet,
   const EntryChoice& entry )
{
   const U32 unit = arrival.port.unit;
   Sim::SimSwitch& hardware = session.agent().hardware();
   const Sim::FieldEntry* const chosen = findEntry( hardware.chip( unit ), entry );
   if( !chosen || !chosen->installed() )
      throw Vormel::ValueError( notInHardware(
         hardware, { unit }, entry, format( "on unit %d, where the packet arrives", unit ) ) );
   Sim::Explanation explanation;
   const Sim::Verdict verdict = session.packets().engine().explain( arrival, &explanation );
   for( Sim::FieldGroup& group : hardware.chip( unit ).groups() )
      for( const auto& [ id, each ] : group.entries() ) {
         if( &each != chosen )
            continue;
         const std::string& range = group.profile().name;
         if( Cover::wins( verdict, unit, range, id ) )
            return { { .unit = unit, .range = range, .id = id, .name = each.name }, true, {} };
         return nearest( session, explanation, packet, group, id );
      }
   return {};
}

} // namespace Strata::Tool
