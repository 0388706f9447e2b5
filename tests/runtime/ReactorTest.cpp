#include "platform/runtime/Reactor.h"
#include "tests/runtime/Lamp.h"

#include <functional>
#include <gtest/gtest.h>

namespace Lamps {
namespace {

using Vormel::Change;
using Vormel::make;

class Watcher : public Vormel::Reactor
{
 public:
   explicit Watcher( const Ref<Lamp>& lamp, std::vector<std::string>& log )
      : log_( log ),
        lamp_( *this, lamp )
   {}

   std::function<void()> also;
   std::function<void()> last; // runs while the watcher is destroyed

 private:
   ~Watcher() override
   {
      log_.push_back( "destroyed" );
      if( last )
         last();
   }
   void ownerGone() override { log_.push_back( "owner gone" ); }

   void onLamp( const Change& change )
   {
      log_.push_back( changeText( change ) );
      if( also )
         also();
   }
   void subscriptionsAre( bool active ) override { lamp_.activeIs( active ); }

   std::vector<std::string>& log_;
   Vormel::Subscription<Watcher, &Watcher::onLamp> lamp_;
};

class ReactorTest : public testing::Test
{
 protected:
   using Log = std::vector<std::string>;

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   Log log;
   Ref<Lamp> lamp = make<Lamp>( "hall" );
   Ref<Watcher> watcher = make<Watcher>( lamp, log );

   Log taken() { return std::exchange( log, {} ); }
};

TEST_F( ReactorTest, HandlersRunOnlyWhileNotificationIsActive )
{
   lamp->litIs( true );
   watcher->hasNotificationActiveIs( true );
   watcher->hasNotificationActiveIs( true );
   lamp->litIs( false );
   watcher->hasNotificationActiveIs( false );
   lamp->litIs( true );
   EXPECT_EQ( taken(), Log( { "lit changed old true" } ) );
   watcher->hasNotificationActiveIs( true );
   watcher->last = [ this ] { lamp->litIs( false ); };
   watcher = nullptr;
   EXPECT_EQ( taken(), Log( { "destroyed" } ) );
}

TEST_F( ReactorTest, MarkedReactorsAndZombiesAreNotNotified )
{
   watcher->hasNotificationActiveIs( true );
   watcher->markForDeletion();
   lamp->litIs( true );
   EXPECT_EQ( taken(), Log() );

   watcher = make<Watcher>( lamp, log );
   taken();
   watcher->hasNotificationActiveIs( true );
   watcher->zombieIs();
   EXPECT_TRUE( watcher->markedForDeletion() );
   watcher->hasNotificationActiveIs( true ); // without effect on a zombie
   lamp->litIs( false );
   EXPECT_EQ( taken(), Log( { "owner gone" } ) );
   EXPECT_FALSE( lamp->hasSubscribers() );
}

TEST_F( ReactorTest, AHandlerMayDestroyItsOwnReactorAndOthers )
{
   Ref<Watcher> other = make<Watcher>( lamp, log );
   watcher->hasNotificationActiveIs( true );
   other->hasNotificationActiveIs( true );
   watcher->also = [ this, &other ] {
      other = nullptr;
      watcher = nullptr; // destroys this closure, so nothing may follow
   };
   lamp->litIs( true );
   EXPECT_EQ( taken(), Log( { "lit changed old false", "destroyed", "destroyed" } ) );
   EXPECT_FALSE( lamp->hasSubscribers() );
}

TEST_F( ReactorTest, AnEscapingExceptionEndsTheProcess )
{
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   watcher->hasNotificationActiveIs( true );
   watcher->also = [] { throw Vormel::Error( "escaped" ); };
   EXPECT_DEATH( lamp->litIs( true ), "terminate called" );
}

} // namespace
} // namespace Lamps
