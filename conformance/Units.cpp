// The agent's units and entry ranges.
#include "conformance/Checks.h"
#include "platform/sdk/TcamEntryManager.h"

namespace Strata::Conformance {

std::vector<std::string> stableAnswers( const Examiner& examiner )
{
   const SdkShimInterface& shim = examiner.shim();
   std::vector<std::string> answers{
      Vormel::format( "kbSingleUnit() is %d", shim.kbSingleUnit() ) };
   for( const U32 unit : examiner.units() ) {
      const auto add = [ & ]( const char* question, const auto& answer ) {
         answers.push_back( Vormel::format( "%s( unit %d ) is %s", question, unit, answer ) );
      };
      add( "cpuPort", shim.cpuPort( unit ) );
      add( "trapsTtlExceptions", shim.trapsTtlExceptions( unit ) );
      add( "resolvesHigigTrunksAsLag", shim.resolvesHigigTrunksAsLag( unit ) );
      add( "vlanExists", shim.vlanExists( unit, examiner.port().vlan ) );
      add( "unitRecord", PortBitmap::fromWords( shim.unitRecord( unit ) ) );
   }
   return answers;
}

static void checkUnit( Examiner& examiner, U32 number )
{
   const StrataUnit& unit = *examiner.port().scsd->units().find( number );
   const auto isPort = [ & ]( int port ) {
      return port >= 0 && port < static_cast<int>( PortBitmap::size ) &&
             unit.ports.contains( static_cast<U32>( port ) );
   };
   const std::string place = Vormel::format( "( unit %d )", number );
   const int cpu = examiner.shim().cpuPort( number );
   examiner.expect( Promise::cpuPortIsAPort, "cpuPort" + place, isPort( cpu ),
      Vormel::format( "is %d; the unit table has the ports %s", cpu, unit.ports ) );

   examiner.expect( Promise::cpuPortFits, "cpuPort" + place, cpu <= highestIngressPort,
      Vormel::format( "is %d, more than %d", cpu, highestIngressPort ) );

   const std::string loopback = "the unit table's loopback port" + place;
   if( unit.loopbackPort )
      examiner.expect( Promise::loopbackPortIsAPort, loopback, isPort( *unit.loopbackPort ),
         Vormel::format( "is %d, not one of the ports %s", *unit.loopbackPort, unit.ports ) );
   else
      examiner.expect( Promise::loopbackPortIsAPort, loopback, !examiner.chip().lbPortAvailable,
         "is none, but the chip's lbPortAvailable is set" );

   const PortBitmap record = PortBitmap::fromWords( examiner.shim().unitRecord( number ) );
   PortBitmap special;
   for( const int port : { cpu, unit.loopbackPort.value_or( cpu ) } )
      if( isPort( port ) )
         special.add( static_cast<U32>( port ) );
   examiner.expect( Promise::unitRecordIsFrontPanel, "unitRecord" + place,
      ( record & special ).empty() && ( record - unit.ports ).empty(),
      Vormel::format( "contains %s, which are not front-panel ports",
         ( record & special ) | ( record - unit.ports ) ) );
}

void checkUnits( Examiner& examiner )
{
   const U32 single = examiner.shim().kbSingleUnit();
   examiner.expect( Promise::singleUnitExists, "kbSingleUnit()",
      examiner.port().scsd->units().find( single ) != nullptr,
      Vormel::format( "is %d, which the unit table does not have", single ) );
   for( const U32 unit : examiner.units() )
      checkUnit( examiner, unit );
}

void checkRanges( Examiner& examiner )
{
   for( const ManagedRange& range : examiner.port().ranges ) {
      examiner.expect( Promise::groupsAssigned, range.name + ": the range's manager",
         range.manager != nullptr, "is null" );
      if( !range.manager )
         continue;
      const std::string call = range.name + ": baseEntryId()";
      const U32 base = range.manager->baseEntryId();
      examiner.expect( Promise::baseIdAtLeastOne, call, base >= 1, "is 0, which means no entry" );
      examiner.expectEqual(
         Promise::rangeStable, Answer<U32>{ range.manager->baseEntryId(), call }, base );
      examiner.expect( Promise::rangeStable, range.name + ": supportsAclGroup()",
         range.manager->supportsAclGroup() == range.manager->supportsAclGroup(),
         "changed between two calls" );
      if( !range.group || !examiner.port().tcamGroupManager )
         continue;
      for( int pass = 0; pass < 2; ++pass )
         examiner.expect( Promise::groupsAssigned,
            Vormel::format( "boundedTcamEntryManager( %d )", static_cast<U32>( *range.group ) ),
            examiner.port().tcamGroupManager->boundedTcamEntryManager( *range.group ) ==
               range.manager,
            "is not the manager of " + range.name );
   }
}

std::vector<ManagedRange> rangesOf( const Ref<StrataBoundedTcamEntryManager>& tcamManager,
   const Ref<StrataTcamGroupManager>& tcamGroupManager )
{
   struct Served
   {
      const char* name;
      TcamGroup group;
      U32 entries;
   };
   static constexpr Served served[] = {
      { "TTL check", TcamGroup::ttlCheck, 2 },
      { "PHP LSP ping", TcamGroup::phpLspPing, 1 },
      { "peer MAC ARP", TcamGroup::peerMacArp, 1 },
      { "uRPF single-wide", TcamGroup::urpfSingleWide, 2 },
      { "uRPF double-wide", TcamGroup::urpfDoubleWide, 2 },
   };

   std::vector<ManagedRange> ranges;
   if( tcamManager )
      ranges.push_back( { "main", tcamManager, std::nullopt, 0, mainRangeIds } );
   for( const Served& known : served )
      if( const auto manager =
             tcamGroupManager ? tcamGroupManager->boundedTcamEntryManager( known.group ) : nullptr )
         ranges.push_back( { known.name, manager, known.group, 0, known.entries } );
   return ranges;
}

} // namespace Strata::Conformance
