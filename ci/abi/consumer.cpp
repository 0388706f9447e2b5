// Uses the templates of the installed headers as an agent does. ci/abi.sh compares names in the object with
// ci/abi/MAJOR.MINOR.names.
#include "messages/Messages.h"
#include "platform/runtime/Attributes.h"
#include "platform/runtime/Enum.h"
#include "platform/runtime/Format.h"
#include "platform/runtime/Reactor.h"
#include "platform/runtime/Snapshot.h"
#include "platform/runtime/Trace.h"

#include <string>

namespace Agent {

VORMEL_ENUM( Side, U8, left, right )

} // namespace Agent

template<>
inline constexpr std::size_t Vormel::slotCount<Agent::Side> = 2;

namespace Agent {

// clang-format off
#define AGENT_DOOR_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "", "" ) \
   ROW( SCALAR, 1, open, bool, false, "", "" ) \
   ROW( SCALAR_CHECKED, 2, width, U32, 1, "", "", checkWidth ) \
   ROW( SCALAR_STEP, 3, uses, U64, 0, "", "", onUses ) \
   ROW( ARRAY, 4, hinges, Side, U32, "", "" ) \
   ROW( MAP, 5, keys, U16, double, 0, "", "" ) \
   ROW( MAP_CHECKED, 6, locks, U32, bool, 0, "", "", checkLock ) \
   ROW( MAP_REPLACED, 7, bells, std::string, U32, 0, "", "", checkBell ) \
   ROW( MAP_STEP, 8, guests, std::string, bool, 0, "", "", onGuest ) \
   ROW( SCALAR, 9, next, ::Vormel::Ref<Door>, nullptr, "", "" )
// clang-format on

class Door : public Vormel::Entity
{
   VORMEL_ENTITY( Door, AGENT_DOOR_ATTRIBUTES )

   bool shut( U32 times, Side side ) { return times > hinges( side ); }

 private:
   void checkWidth( U32 ) {}
   void checkLock( U32, bool ) {}
   void checkBell( const std::string&, U32 ) {}
   void onUses() {}
   void onGuest( const std::string& ) {}
};

static Vormel::EntityType::Operations operations()
{
   Vormel::EntityType::Operations all;
   all.push_back( Vormel::operation<Door, &Door::shut>( "shut", { "times", "side" }, "" ) );
   return all;
}

VORMEL_ENTITY_TYPE( Door, AGENT_DOOR_ATTRIBUTES, operations() )

class Porter : public Vormel::Reactor
{
 public:
   explicit Porter( const Vormel::Ref<Door>& door ) : door_( *this, door ) {}

 private:
   void onDoor( const Vormel::Change& change ) { seen_ += change.oldValue.as<bool>() ? 1 : 0; }
   void subscriptionsAre( bool active ) override { door_.activeIs( active ); }

   U32 seen_ = 0;
   Vormel::Subscription<Porter, &Porter::onDoor> door_;
};

static Vormel::TraceHandle doorTrace( "Door" );

std::string useEverything()
{
   const auto door = Vormel::make<Door>();
   const auto porter = Vormel::make<Porter>( door );
   door->bellsIs( "front", 1 );
   VORMEL_TRACE( doorTrace, 1, "keys " << Vormel::keysOf( door->keys() ).size() << door->open() );
   Vormel::logMessage( Strata::UNKNOWN_UCAST_PACKET_RECEIVED, U16( 3 ) );
   return Vormel::format( "%s %d", Side::left, door->width() ) + Vormel::snapshotJson( *door );
}

} // namespace Agent
