#include "conformance/Entry.h"

namespace Strata::Conformance {

Entry::~Entry()
{
   try {
      range_.manager->releaseEntry( unit_, id_ );
   } catch( ... ) { // already reported by the call that failed
   }
}

std::string Entry::text( const std::string& call ) const
{
   return Vormel::format( "%s: %s( unit %d, id %d )", range_.name, call, unit_, id_ );
}

Answer<U32> Entry::claim( const std::string& name, bool orNext )
{
   const std::string call = Vormel::format( "%s: getEntry( unit %d, id %d%s, \"%s\" )", range_.name,
      unit_, id_, orNext ? " or next" : "", name );
   const RequestKey key{ orNext ? "conformance" : "", orNext, "" };
   return {
      examiner_.asked( call, [ & ] { return range_.manager->getEntry( unit_, id_, name, key ); } ),
      call };
}

Answer<int> Entry::qualify( bool second )
{
   return qualifiersOf( range_ )[ second ? 1 : 0 ].make( examiner_, unit_, id_ );
}

Answer<int> Entry::act()
{
   return actionsOf( range_ ).front().front().make( examiner_, unit_, id_ );
}

Answer<int> Entry::install()
{
   const std::string call = text( "installEntry" );
   return {
      examiner_.asked( call, [ & ] { return range_.manager->installEntry( unit_, id_ ); } ), call };
}

Answer<int> Entry::reinstall()
{
   const std::string call = text( "reinstallEntry" );
   return { examiner_.asked( call, [ & ] { return range_.manager->reinstallEntry( unit_, id_ ); } ),
      call };
}

Answer<int> Entry::enable( bool enabled )
{
   const std::string call = text( enabled ? "enableEntry, on," : "enableEntry, off," );
   const int mode = examiner_.shim().fieldEntryEnableMode();
   return { examiner_.asked(
               call, [ & ] { return range_.manager->enableEntry( unit_, id_, enabled, mode ); } ),
      call };
}

std::string Entry::remove()
{
   const std::string call = text( "removeEntry" );
   examiner_.asked( call, [ & ] { return range_.manager->removeEntry( unit_, id_ ), 0; } );
   return call;
}

std::string Entry::release()
{
   const std::string call = text( "releaseEntry" );
   examiner_.asked( call, [ & ] { return range_.manager->releaseEntry( unit_, id_ ), 0; } );
   return call;
}

Answer<U64> Entry::hits()
{
   const std::string call = text( "hitsForEntry" );
   return {
      examiner_.asked( call, [ & ] { return range_.manager->hitsForEntry( unit_, id_ ); } ), call };
}

void Entry::define()
{
   claim();
   qualify();
   act();
}

Answer<int> Entry::portsAre( const PortBitmap& ports )
{
   StrataBoundedTcamEntryManager& manager = *range_.manager;
   if( manager.supportsAclGroup() ) {
      const std::string call = text( "qualifyPortsClassId" );
      return { examiner_.asked(
                  call, [ & ] { return manager.qualifyPortsClassId( unit_, id_, ports, true ); } ),
         call };
   }
   const std::string call = text( "addInPortsForEntry" );
   const PortBitmap& all = examiner_.portsOf( unit_ );
   return { examiner_.asked(
               call, [ & ] { return manager.addInPortsForEntry( unit_, id_, ports, all ); } ),
      call };
}

void Entry::expectPortSets()
{
   if( !takesPorts() )
      return;
   const StrataUnit& known = *examiner_.port().scsd->units().find( unit_ );
   examiner_.expectSuccess( Promise::portSetsAccepted, portsAre( known.ports ) );
   // Only second passes of tunnels need this, in the main range.
   const ChipAttributes chip = examiner_.chip();
   if( range_.group || !chip.vxlanSupported || chip.vxlanRoutingInOnePass || !known.loopbackPort )
      return;
   const std::string call = text( "addOutLoopbackPortForEntry" );
   const int code = examiner_.asked( call, [ & ] {
      return range_.manager->addOutLoopbackPortForEntry(
         unit_, id_, *known.loopbackPort, known.ports );
   } );
   examiner_.expectSuccess( Promise::portSetsAccepted, { code, call } );
}

void Entry::expectInstalled(
   Promise promise, const std::string& call, U32 qualifiers, bool enabled )
{
   if( !inspectable() )
      return;
   const std::optional<InstalledEntry> found = installed();
   examiner_.expect( promise, call,
      found && found->qualifiers == qualifiers && found->actions == 1 && found->enabled == enabled,
      found ? Vormel::format( "left %d qualifiers and %d actions in hardware, %s; not %d and 1, %s",
                 found->qualifiers, found->actions, found->enabled ? "enabled" : "disabled",
                 qualifiers, enabled ? "enabled" : "disabled" )
            : "left nothing in hardware" );
}

void Entry::expectAbsent( Promise promise, const std::string& call )
{
   if( inspectable() )
      examiner_.expect( promise, call, !installed(), "left the entry in hardware" );
}

} // namespace Strata::Conformance
