#include "bench/Paths.h"

#include "bench/NullShim.h"
#include "platform/runtime/Activity.h"
#include "platform/runtime/Attributes.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Reactor.h"
#include "platform/runtime/Trace.h"
#include "platform/state/Interfaces.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/RoutingStatusSm.h"
#include "routing/tcam/CheckedCall.h"

#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

namespace Bench {

using Vormel::Change;
using Vormel::IntfId;
using Vormel::make;
using Vormel::Ref;

// clang-format off
#define DIAL_ATTRIBUTES( ROW ) \
   ROW( SCALAR, 258, level, U32, 0, "a value", "bench" ) \
   ROW( SCALAR, 259, other, U32, 0, "another", "bench" )
// clang-format on

class Dial final : public Vormel::Entity
{
   VORMEL_ENTITY( Dial, DIAL_ATTRIBUTES )
};

VORMEL_ENTITY_TYPE( Dial, DIAL_ATTRIBUTES )

namespace {

template<class T>
void keep( T& value )
{
   asm volatile( "" : "+m"( value ) : : "memory" );
}

class Ear final : public Vormel::Subscriber
{
 public:
   void onChange( const Change& change ) noexcept override { heard += change.number; }
   U64 heard = 0;
};

class Hand final : public Vormel::Reactor
{
 public:
   explicit Hand( const Ref<Dial>& dial ) : dial_( *this, dial ) {}
   U64 handled = 0;

 private:
   void subscriptionsAre( bool active ) override { dial_.activeIs( active ); }
   void onDial( const Change& change )
   {
      switch( change.number ) {
      case Dial::levelNumber:
         ++handled;
         return;
      case Dial::otherNumber:
         --handled;
         return;
      default:
         return;
      }
   }
   Vormel::Subscription<Hand, &Hand::onDial> dial_;
};

Dial& dial()
{
   static const Ref<Dial> it = make<Dial>();
   return *it;
}

void turn( Dial& d, std::size_t rounds )
{
   for( ; rounds != 0; --rounds )
      d.levelIs( static_cast<U32>( rounds ) );
   d.levelIs( 0 );
}

void unchanged( std::size_t rounds )
{
   Dial& d = dial();
   for( ; rounds != 0; --rounds ) {
      d.levelIs( 0 );
      keep( d );
   }
}

void noSubscriber( std::size_t rounds )
{
   turn( dial(), rounds );
}

void subscribers( std::size_t count, std::size_t rounds )
{
   std::vector<Ear> ears( count );
   for( Ear& ear : ears )
      dial().subscriberAdd( ear );
   turn( dial(), rounds );
   for( Ear& ear : ears )
      dial().subscriberDel( ear );
}

void oneSubscriber( std::size_t rounds )
{
   subscribers( 1, rounds );
}

void sixteenSubscribers( std::size_t rounds )
{
   subscribers( 16, rounds );
}

void reactor( std::size_t rounds )
{
   const auto hand = make<Hand>( Ref<Dial>( &dial() ) );
   hand->hasNotificationActiveIs( true );
   turn( dial(), rounds );
   hand->hasNotificationActiveIs( false );
}

void copyReference( std::size_t rounds )
{
   Ref<Dial> original( &dial() );
   for( ; rounds != 0; --rounds ) {
      Ref<Dial> copy( original );
      keep( copy );
   }
}

void traceOff( std::size_t rounds )
{
   for( ; rounds != 0; --rounds ) {
      VORMEL_TRACE( apiTrace, 4, "round " << rounds );
      asm volatile( "" : : : "memory" );
   }
}

void checkedCall( std::size_t rounds )
{
   for( ; rounds != 0; --rounds )
      CHECKED( bcm_field_qualify_Ttl( 0, 1, 0, 0xFF ) );
}

// The parts that every checked call needs.
void bareCall( std::size_t rounds )
{
   for( ; rounds != 0; --rounds ) {
      SdkShimInterface& shim = sdkShimInUse();
      Vormel::activityLock().unlock();
      int rc = shim.fieldQualifyTtl( 0, 1, 0, 0xFF );
      Vormel::activityLock().lock();
      keep( rc );
   }
}

class NullTimer final : public Vormel::Timer
{
 public:
   using Timer::Timer;

 private:
   void expired() noexcept override {}
};

void rearmTimer( std::size_t rounds )
{
   Vormel::ManualClock clock;
   std::vector<std::unique_ptr<NullTimer>> timers;
   for( int i = 0; i < 4; ++i )
      timers.push_back( std::make_unique<NullTimer>( clock ) );
   for( ; rounds != 0; --rounds ) {
      timers[ rounds % 4 ]->nextTimeIs( static_cast<double>( rounds ) );
      keep( *timers[ rounds % 4 ] );
   }
}

U32 number = 12;
IntfId intf = IntfId::ethernet( 3, 7 );

/// Nothing of a record is known to the compiler.
void recordChanges()
{
   keep( number );
   keep( intf );
}

void traceOn( std::size_t rounds )
{
   const Vormel::TraceSink before = Vormel::traceSinkIs( []( const Vormel::TraceRecord& ) {} );
   apiTrace.levelIs( 4 );
   for( ; rounds != 0; --rounds ) {
      recordChanges();
      VORMEL_TRACE( apiTrace, 4,
         "processing entry " << number << " of unit " << number << ", intf: " << intf
                             << ", active: " << true << ", rc: " << -1 );
   }
   apiTrace.levelsOff();
   Vormel::traceSinkIs( before );
}

void printedText( std::size_t rounds )
{
   char text[ 100 ];
   for( ; rounds != 0; --rounds ) {
      recordChanges();
      std::snprintf( text, sizeof text,
         "processing entry %u of unit %u, intf: Ethernet%u/%u, active: %d, rc: %d", number, number,
         intf.number(), intf.second(), true, -1 );
      keep( text );
   }
}

// From an interface's change through its nested reactor to the main one, which has no helper and does nothing.
void twoReactors( std::size_t rounds )
{
   const auto status = make<Interface::EthIntfStatus>( intf );
   const auto dir = make<Interface::EthIntfStatusDir>();
   dir->intfStatusIs( intf, status );
   NullShim shim;
   const auto reactor = RoutingStatusSmIs( make<StrataCommonSmData>( &shim ), nullptr,
      make<StrataMiscConfig>(), nullptr, nullptr, dir, nullptr, nullptr, nullptr );
   for( ; rounds != 0; --rounds )
      status->forwardingModelIs( rounds % 2 == 0 ? Interface::ForwardingModel::routed
                                                 : Interface::ForwardingModel::bridged );
}

template<class Find>
void lookUp( std::size_t rounds, Find find )
{
   const Vormel::EntityType& type = RoutingStatusHelper::type();
   for( ; rounds != 0; --rounds ) {
      const void* found = find( type );
      keep( found );
   }
}

void attributeByNumber( std::size_t rounds )
{
   Vormel::AttributeNumber wanted = RoutingStatusHelper::reprogramVlanFloodRequiredNumber;
   lookUp( rounds, [ & ]( const Vormel::EntityType& type ) {
      keep( wanted );
      return type.findAttribute( wanted );
   } );
}

void attributeByName( std::size_t rounds )
{
   std::string_view wanted = "reprogramVlanFloodRequired";
   lookUp( rounds, [ & ]( const Vormel::EntityType& type ) {
      keep( wanted );
      return type.findAttribute( wanted );
   } );
}

void operationByName( std::size_t rounds )
{
   std::string_view wanted = "updateVlanFloodIgnoreIntf";
   lookUp( rounds, [ & ]( const Vormel::EntityType& type ) {
      keep( wanted );
      return type.findOperation( wanted );
   } );
}

constexpr Path all[] = {
   { "mutator, value unchanged", "10", unchanged },
   { "mutator, no subscriber", "14", noSubscriber },
   { "mutator, one subscriber", "50", oneSubscriber },
   { "mutator, 16 subscribers", "352", sixteenSubscribers },
   { "mutator, one reactor's handler", "82", reactor },
   { "reference, copy and drop", VORMEL_ATOMIC_REFS ? "" : "10", copyReference },
   { "trace that is off", "5", traceOff },
   { "bare call: unlock, call, lock", "", bareCall },
   { "checked call", "100", checkedCall },
   { "timer, re-armed", "", rearmTimer },
   { "notification through two reactors", "", twoReactors },
   { "trace that is on", "", traceOn },
   { "attribute by number", "60", attributeByNumber },
   { "attribute by name", "100", attributeByName },
   { "operation by name", "100", operationByName },
};

} // namespace

std::span<const Path> paths()
{
   return all;
}

std::vector<Pair> pathPairs()
{
   return { { "trace that is on, beside snprintf", 1.5, traceOn, printedText },
      { "checked call, beside unlock, call, lock", 1.1, checkedCall, bareCall } };
}

} // namespace Bench
