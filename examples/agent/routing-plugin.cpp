// The agent's routing plugin: brings the slice up on a tiny chip, makes one interface routed, and reads
// the effect by the names of attributes.
#include "TinyEntryManager.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/ChangeWatcher.h"
#include "platform/state/AgentConfig.h"
#include "platform/state/Interfaces.h"
#include "platform/state/StrataCommonSmData.h"
#include "routing/RoutingStatusHelper.h"
#include "routing/reactors/RoutingStatusSm.h"

#include <exception>
#include <string>
#include <vector>

namespace Tiny {

VORMEL_ENTITY_TYPE( EntryManager, TINY_ENTRY_MANAGER_ATTRIBUTES )

namespace {

using Vormel::IntfId;
using Vormel::make;
using Vormel::Ref;

/// The agent's state objects, the slice on top of them, and the chip below.
class Switch
{
 public:
   Switch()
   {
      sdkShimIs( &shim_ );
      for( U32 port = 1; port <= 4; ++port )
         addInterface( IntfId::ethernet( port ), port );
   }
   Switch( const Switch& ) = delete;
   Switch& operator=( const Switch& ) = delete;
   ~Switch()
   {
      reactor_ = nullptr;
      helper_ = nullptr;
      sdkShimIs( nullptr );
   }

   void bringUp()
   {
      helper_ = make<RoutingStatusHelper>( "tiny", scsd_, nullptr, nullptr, false, nullptr, nullptr,
         nullptr, interfaces_, nullptr, nullptr, nullptr, nullptr );
      helper_->tcamManagerIs( make<EntryManager>( chip_, log_ ) );
      helper_->init( true, true );
      helper_->l3Init( true );
      reactor_ = RoutingStatusSmIs( scsd_, nullptr, make<StrataMiscConfig>(), helper_, nullptr,
         interfaces_, nullptr, nullptr, nullptr );
      reactor_->handleStrataIntfToPort(); // the ports are mapped already
   }

   Log& log() { return log_; }
   const Ref<RoutingStatusHelper>& helper() const { return helper_; }
   Ref<Interface::EthIntfStatus> interface( IntfId intf ) const
   {
      return interfaces_->intfStatus( intf );
   }

 private:
   void addInterface( IntfId intf, U32 port )
   {
      const auto status = make<Interface::EthIntfStatus>( intf );
      status->forwardingModelIs( Interface::ForwardingModel::bridged );
      interfaces_->intfStatusIs( intf, status );
      scsd_->intfToLogicalPortIs( intf, port );
      scsd_->strataIntfToPortIs( intf, StrataPort( 0, static_cast<int>( port ), port ) );
   }

   Log log_;
   Chip chip_;
   Shim chipShim_{ chip_ };
   LoggingShim shim_{ chipShim_, log_ };
   Ref<StrataCommonSmData> scsd_ = sharedData( shim_ );
   Ref<Interface::EthIntfStatusDir> interfaces_ = make<Interface::EthIntfStatusDir>();
   Ref<RoutingStatusHelper> helper_;
   Ref<RoutingStatusSm> reactor_;
};

/// An attribute of any kind, by name, as text.
std::string read( const Vormel::Entity& entity, const std::string& name )
{
   const Vormel::Attribute& attribute = entity.entityType().attribute( name );
   if( attribute.info().kind == Vormel::AttributeKind::Scalar )
      return name + " is " + toText( attribute.read( entity ) );
   std::string text = name + " has";
   for( const auto& [ key, value ] : attribute.members( entity ) )
      text += " " + toText( key ) + ": " + toText( value );
   return text;
}

void tell( Say say )
{
   const auto line = [ say ]( const std::string& text ) { say( text.c_str() ); };
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Switch tiny;
   tiny.bringUp();
   const RoutingStatusHelper& helper = *tiny.helper();
   line( "routing: layer 3 is up; " + read( helper, "tcamEntryVlanFlood" ) );

   line( "routing: Ethernet2 becomes routed" );
   tiny.log().sayIs( say );
   const Vormel::ChangeWatcher watcher( tiny.helper(), "helper",
      [ & ]( const Vormel::ChangeText& change ) { line( "   change " + change.line() ); } );
   tiny.interface( IntfId::ethernet( 2 ) )->forwardingModelIs( Interface::ForwardingModel::routed );
   tiny.log().sayIs( nullptr );

   line( "routing: " + read( helper, "routedPortsAndRoutedLagMember" ) );
   line( "routing: " + read( helper, "reprogramVlanFloodRequired" ) );
   try {
      read( helper, "reprogramFloodRequired" );
   } catch( const Vormel::AccessError& error ) {
      line( std::string( "routing: a slip is told: " ) + error.what() );
   }
}

} // namespace
} // namespace Tiny

extern "C" __attribute__( ( visibility( "default" ) ) ) int pluginRun( Say say )
{
   try {
      Tiny::tell( say );
      return 0;
   } catch( const std::exception& error ) {
      say( error.what() );
      return 1;
   }
}
