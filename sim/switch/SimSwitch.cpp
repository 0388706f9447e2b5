#include "sim/switch/SimSwitch.h"

#include "platform/runtime/Assert.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <utility>

namespace Strata::Sim {

using Vormel::make;
using Vormel::ValueError;

/// Sends traces, log messages and fatal lines to the transcript during its lifetime.
class SimSwitch::Sinks
{
 public:
   explicit Sinks( Transcript& transcript )
      : traceSink_( Vormel::traceSinkIs( [ &transcript ]( const Vormel::TraceRecord& record ) {
           transcript.add( RecordKind::trace, [ & ] {
              return RecordContent{
                 std::string( record.handle ) + " " + std::to_string( record.level ) + " " +
                    std::string( record.function ) + ": " + std::string( record.text ),
                 { { "handle", record.handle }, { "level", record.level },
                    { "function", record.function }, { "text", record.text } } };
           } );
        } ) ),
        syslogSink_( Vormel::syslogSinkIs( [ &transcript ]( const Vormel::SyslogRecord& record ) {
           transcript.add( RecordKind::log, Vormel::syslogLine( record ),
              { { "key", record.handle.key() },
                 { "severity", Vormel::enumName( record.handle.severity() ) },
                 { "text", record.text } } );
        } ) ),
        fatalSink_( Vormel::fatalSinkIs( [ &transcript ]( std::string_view line ) {
           transcript.add( RecordKind::fatal, std::string( line ) );
        } ) )
   {}
   Sinks( const Sinks& ) = delete;
   Sinks& operator=( const Sinks& ) = delete;
   ~Sinks()
   {
      Vormel::traceSinkIs( std::move( traceSink_ ) );
      Vormel::syslogSinkIs( std::move( syslogSink_ ) );
      Vormel::fatalSinkIs( std::move( fatalSink_ ) );
   }

 private:
   Vormel::TraceSink traceSink_;
   Vormel::SyslogSink syslogSink_;
   Vormel::FatalSink fatalSink_;
};

std::vector<U32> unitNumbers( U32 count )
{
   std::vector<U32> units( count );
   std::iota( units.begin(), units.end(), 0 );
   return units;
}

static ChipProfile checkedProfile( const SimSwitchConfig& config )
{
   ChipProfile profile = config.chip ? *config.chip : chipProfile( config.profile );
   for( const auto& [ capability, value ] : config.capabilities )
      profile.capabilityIs( capability, value );
   return profile;
}

static U32 checkedPorts( const SimSwitchConfig& config, const ChipProfile& profile )
{
   const U32 ports = config.ports.value_or( profile.frontPanelPorts );
   if( ports < 1 || ports > maxFrontPanelPorts )
      throw ValueError( "a unit has 1 to " + std::to_string( maxFrontPanelPorts ) + " ports, not " +
                        std::to_string( ports ) );
   return ports;
}

static std::vector<U32> checkedUnits( std::vector<U32> units )
{
   if( units.empty() || units.size() > maxUnits )
      throw ValueError( "a switch has 1 to " + std::to_string( maxUnits ) + " units, not " +
                        std::to_string( units.size() ) );
   std::ranges::sort( units );
   if( std::ranges::adjacent_find( units ) != units.end() )
      throw ValueError( "unit numbers must be unique" );
   if( units.back() > 0xFFFF )
      throw ValueError( "unit numbers go up to 65535, not " + std::to_string( units.back() ) );
   return units;
}

/// The logical numbers of the units' first front-panel ports. They continue from unit to unit and skip the numbers of
/// internal ports. In a switch with more ports than numbers the units share them.
static std::vector<U32> firstLogicalPorts(
   const ChipProfile& profile, std::size_t units, U32 portsPerUnit )
{
   constexpr U32 noLogicalPort = PortBitmap::size - 1; // assumed for an interface that has none
   std::vector<U32> firsts;
   U32 next = 1;
   for( std::size_t i = 0; i < units; ++i ) {
      for( const auto& internal :
         { profile.specialPorts.loopback, profile.specialPorts.recirculation } )
         if( internal && next <= static_cast<U32>( *internal ) &&
             static_cast<U32>( *internal ) < next + portsPerUnit )
            next = static_cast<U32>( *internal ) + 1;
      if( next + portsPerUnit > noLogicalPort )
         return std::vector<U32>( units, 1 );
      firsts.push_back( next );
      next += portsPerUnit;
   }
   return firsts;
}

/// A seed that differs in every process.
static U64 processSeed()
{
   static const U64 seed = std::random_device()();
   return seed;
}

void SimSwitch::check( const SimSwitchConfig& config )
{
   checkedPorts( config, checkedProfile( config ) );
   checkedUnits( config.units );
}

SimSwitch::SimSwitch( const SimSwitchConfig& config )
   : profile_( checkedProfile( config ) ),
     units_( checkedUnits( config.units ) ),
     ports_( checkedPorts( config, profile_ ) ),
     seed_( config.seed.value_or( processSeed() ) ),
     numbers_( seed_ ),
     shim_( hardware_ )
{
   if( sdkShim() )
      throw Vormel::Error(
         "this process already has an SDK shim; there can be only one switch at a time" );
   const std::vector<U32> firstPorts = firstLogicalPorts( profile_, units_.size(), ports_ );
   for( std::size_t i = 0; i < units_.size(); ++i )
      chips_.try_emplace(
         units_[ i ], units_[ i ], static_cast<U32>( i ), profile_, ports_, firstPorts[ i ] );
   makeManagers();
   setUpObjects();
   if( config.record ) {
      for( const NamedObject& known : objects() )
         recorder_.record( known.in( *this ), std::string( known.name ) );
      sinks_ = std::make_unique<Sinks>( transcript_ );
   }
   sdkShimIs( &observed_ );
}

SimSwitch::~SimSwitch()
{
   if( sdkShim() == &observed_ )
      sdkShimIs( nullptr );
}

void SimSwitch::makeManagers()
{
   tcamGroupManager_ = make<SimTcamGroupManager>();
   for( const FieldGroupProfile& group : profile_.groups ) {
      tcamManagers_.push_back( make<SimTcamEntryManager>( group, hardware_ ) );
      if( group.key )
         tcamGroupManager_->managerIs( *group.key, tcamManagers_.back() );
   }
}

void SimSwitch::setUpObjects()
{
   const ChipInfo chipInfo{ "simulated " + profile_.name };
   strataAttributes().chipAttributesIs( chipInfo, profile_.attributes );
   for( const auto& [ unit, chip ] : chips_ )
      scsd_->units().unitIs(
         static_cast<U16>( unit ), { .chipInfo = chipInfo,
                                      .modId = chip.modId(),
                                      .ports = chip.ports(),
                                      .loopbackPort = profile_.specialPorts.loopback,
                                      .hasIpOptionsProfile = profile_.hasIpOptionsProfile } );
   scsd_->vxlanEnabledIs( profile_.vxlanEnabled );
   scsd_->vfiForwardingIs( profile_.vfiForwarding );
   if( profile_.attributes.vxlanSupported )
      scsd_->vxlanFloodL2McIs( profile_.l2McastGroups - 2 );

   // The last group contains every port; the slice finds it by the table's size.
   l2McastTableAllocation_->sizeIs( profile_.l2McastGroups );
   l2McastTableAllocation_->cpuGroupIs( 1 );
   l2McastTableAllocation_->cpuAndFloodGroupIs( 2 );
   l2McastTableAllocation_->floodGroupIs( 3 );
}

Chip& SimSwitch::chip( U32 unit )
{
   return const_cast<Chip&>( std::as_const( *this ).chip( unit ) );
}

const Chip& SimSwitch::chip( U32 unit ) const
{
   const auto at = chips_.find( unit );
   if( at == chips_.end() )
      throw ValueError( "there is no unit " + std::to_string( unit ) );
   return at->second;
}

void SimSwitch::reset()
{
   for( auto& [ unit, chip ] : chips_ )
      chip.reset();
   critic_.restart();
   transcript_.add( RecordKind::note, std::string( "the chips are reset" ) );
}

void SimSwitch::abandon()
{
   for( auto& [ unit, chip ] : chips_ )
      chip.abandon();
   critic_.restart();
}

std::vector<std::string> SimSwitch::sweep()
{
   std::vector<std::string> names;
   for( auto& [ unit, chip ] : chips_ )
      for( std::string& name : chip.sweep() )
         names.push_back( "unit " + std::to_string( unit ) + " " + std::move( name ) );
   if( !names.empty() )
      transcript_.add(
         RecordKind::note, std::string( "what the new agent has not claimed is removed" ) );
   return names;
}

Ref<SimTcamEntryManager> SimSwitch::tcamManager( std::string_view group ) const
{
   const auto at = std::ranges::find_if(
      tcamManagers_, [ & ]( const auto& manager ) { return manager->profile().name == group; } );
   return at == tcamManagers_.end() ? nullptr : *at;
}

std::span<const SimSwitch::NamedObject> SimSwitch::objects()
{
#define NAMED_OBJECT( name, accessor, Type, ... ) \
   NamedObject{ \
      name, &Type::type, []( const SimSwitch& of ) { return Ref<Entity>( of.accessor() ); } },
   static constexpr std::array all{ STRATA_SIM_OBJECTS( NAMED_OBJECT ) };
#undef NAMED_OBJECT
   return all;
}

Ref<Entity> SimSwitch::object( std::string_view name ) const
{
   for( const NamedObject& known : objects() )
      if( known.name == name )
         return known.in( *this );
   if( const auto intf = Vormel::IntfId::parse( name ); intf && !intf->empty() )
      return ethIntfStatusDir_->intfStatus( *intf );
   return nullptr;
}

} // namespace Strata::Sim
