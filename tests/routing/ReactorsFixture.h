// The fixture of the reactors' tests: a switch with two bridged interfaces, and a subscriber that acts on a change.
#pragma once

#include "routing/reactors/UnknownMacDropLoggingSm.h"
#include "tests/routing/Fixture.h"

#include <functional>
#include <string>
#include <utility>

namespace Strata {

using Interface::EthIntfStatus;
using Interface::ForwardingModel;
using Sim::RecordKind;
using Vormel::Ref;
using Vormel::Timer;

/// Calls a function at each change of an attribute.
class Meddler final : public Vormel::Subscriber
{
 public:
   Meddler(
      Ref<const Vormel::Entity> entity, Vormel::AttributeNumber number, std::function<void()> act )
      : entity_( std::move( entity ) ),
        number_( number ),
        act_( std::move( act ) )
   {
      entity_->subscriberAdd( *this );
   }
   Meddler( const Meddler& ) = delete;
   Meddler& operator=( const Meddler& ) = delete;
   ~Meddler() { entity_->subscriberDel( *this ); }

   int told = 0;

 private:
   void onChange( const Vormel::Change& change ) noexcept override
   {
      if( change.number == number_ && ++told < 20 )
         act_();
   }

   Ref<const Vormel::Entity> entity_;
   Vormel::AttributeNumber number_;
   std::function<void()> act_;
};

class ReactorsFixture : public SwitchTest
{
 protected:
   const IntfId one{ "Ethernet1" };
   const IntfId two{ "Ethernet2" };
   const IntfId lag{ "Port-Channel1" };

   ReactorsFixture()
   {
      make( "hsdk", { 0 } );
      hw().addInterface( one, 0, 1, ForwardingModel::bridged );
      hw().addInterface( two, 0, 2, ForwardingModel::bridged );
   }

   using SwitchTest::make;
   Sim::SimSwitch& hw() { return agent->hardware(); }
   Ref<EthIntfStatus> status( IntfId intf ) { return hw().intfStatus( intf ); }
   U64 calls() { return transcript().count( RecordKind::call ); }

   /// The ports that the flood entry redirects to.
   std::string floodPorts()
   {
      const Sim::FieldEntry* const entry = hw()
                                              .chip( 0 )
                                              .groupOf( helper().tcamEntryVlanFlood() )
                                              ->find( helper().tcamEntryVlanFlood() );
      return entry->hardware->actions.front().ports.toString();
   }
   void raiseHits( U16 trafficClass )
   {
      const U32 id = helper().tcamEntryVlanFloodDrop( trafficClass );
      hw().chip( 0 ).groupOf( id )->find( id )->hits += 5;
   }
   double nextPoll() { return agent->reactor()->unknownMacDropLoggingSm()->nextPoll(); }
};

} // namespace Strata
