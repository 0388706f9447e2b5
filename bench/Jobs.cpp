#include "bench/Jobs.h"

namespace Bench {
namespace {

void nothing( Slice& ) {}

void bringUp( Slice& slice )
{
   slice.bringUp();
}

/// Each interface in a row that visits all of them, there and back.
template<void ( Slice::*event )( U32 )>
void eachTwice( Slice& slice )
{
   for( int times = 0; times < 2; ++times )
      for( U32 i = 0, at = 0; i < slice.interfaces(); ++i ) {
         at = ( at + 4097 ) % slice.interfaces();
         ( slice.*event )( at );
      }
}

void mixed( Slice& slice )
{
   constexpr U32 events = 10000;
   for( U32 i = 0; i < events; ++i ) {
      const U32 at = ( i / 6 * 4097 ) % slice.interfaces();
      switch( i % 3 ) {
      case 0:
         slice.turn( at );
         break;
      case 1:
         slice.replug( at );
         break;
      default:
         slice.regroup( at );
      }
   }
}

constexpr U32 lastVlan = 4094;

void vlanFlags( Slice& slice )
{
   for( U32 vlan = 1; vlan <= lastVlan; ++vlan )
      slice.helper().handleVlanRoutingState( vlan, { .routing = true, .routing6 = true } );
}

void addresses( Slice& slice )
{
   bringUp( slice );
   for( U32 vlan = 1; vlan <= lastVlan; ++vlan )
      slice.helper().handleIpAddressState( vlan, true, true );
}

void perVlanRouting( Slice& slice )
{
   slice.helper().handlePerVlanRouting( true );
   slice.helper().handlePerVlanRouting( false );
}

void dropping( Slice& slice )
{
   bringUp( slice );
   slice.startDropping();
}

void poll( Slice& slice )
{
   slice.poll();
}

void lagOfAll( Slice& slice )
{
   bringUp( slice );
   slice.startLag();
}

void peerLinkOfAll( Slice& slice )
{
   slice.init();
   slice.startPeerLink();
}

void turnLagTwice( Slice& slice )
{
   slice.turnLag();
   slice.turnLag();
}

void manyCalls( Slice& slice )
{
   slice.helper().programL2TrafficRouting( true );
}

constexpr Job table[] = {
   { "bring-up, 1 unit", 0, 1, 0, nothing, bringUp, true },
   { "bring-up, 8 units", 1.5, 8, 0, nothing, bringUp, true },
   { "bring-up, 64 units", 1.5, 64, 0, nothing, bringUp, true },
   { "bring-up, 1,024 interfaces", 2, 1, 1024, nothing, bringUp, true },
   { "bring-up, 8,192 interfaces", 2, 1, 8192, nothing, bringUp, true },
   { "forwarding model, 8 interfaces", 1.6, 1, 8, bringUp, eachTwice<&Slice::turn> },
   { "forwarding model, 8,192 interfaces", 1.6, 1, 8192, bringUp, eachTwice<&Slice::turn> },
   { "port, 8,192 interfaces", 0, 1, 8192, bringUp, eachTwice<&Slice::replug> },
   { "LAG member, 8 interfaces", 1.7, 1, 8, bringUp, eachTwice<&Slice::regroup> },
   { "LAG member, 8,192 interfaces", 1.7, 1, 8192, bringUp, eachTwice<&Slice::regroup> },
   { "LAG of 8 members, forwarding model", 0, 1, 8, lagOfAll, turnLagTwice },
   { "port of an MLAG peer link of 8 members", 0, 1, 8, peerLinkOfAll, eachTwice<&Slice::replug> },
   { "10,000 mixed events, 1,024 interfaces", 1.7, 1, 1024, bringUp, mixed },
   { "handleVlanRoutingState, 4,094 VLANs", 1.4, 1, 0, bringUp, vlanFlags },
   { "handlePerVlanRouting, 4,094 VLANs", 1.4, 1, 0, addresses, perVlanRouting },
   { "poll, 8 classes, 64 units", 1.4, 64, 0, dropping, poll },
   { "checked calls of an operation, 64 units", 1.1, 64, 0, nothing, manyCalls },
};

} // namespace

std::span<const Job> jobs()
{
   return table;
}

std::unique_ptr<Slice> sliceFor( const Job& job, Slice::Calls calls )
{
   auto slice = std::make_unique<Slice>( job.units, job.interfaces, calls );
   job.prepare( *slice );
   return slice;
}

} // namespace Bench
