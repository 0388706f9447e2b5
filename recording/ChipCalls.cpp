#include "recording/ChipCalls.h"

#include "recording/JsonObject.h"

#include <algorithm>

namespace Strata::Recording {

std::string* ChipCalls::place( SdkOperation operation, const Given& given )
{
   using enum SdkOperation;
   const auto& [ unit, second, third, fourth ] = given.numbers;
   if( roleName( operation ).starts_with( "bcm_field_qualify_" ) )
      return put( entryOf( unit, second ).since, Part::qualifier, static_cast<S64>( operation ) );
   switch( operation ) {
   case fieldActionAdd:
   case fieldActionPortsAdd:
      return put( entryOf( unit, second ).since, Part::action, third );
   case fieldActionRemoveAll: {
      Entry& entry = entryOf( unit, second );
      std::string* const text = put( entry.since, Part::removal );
      if( !entry.hardware.empty() )
         return text;
      entry.since.pop_back();
      return nullptr;
   }
   case switchControlSet:
   case vlanControlSet:
      return replaced( operation, given, 2 );
   case switchControlPortSet:
   case portControlSet:
      return replaced( operation, given, 3 );
   case register32Set:
   case register64Set:
   case memoryWrite:
      return replaced( operation, given, 4 );
   case ingMiscConfigWrite:
      return replaced( operation, given, 1 );
   case vlanPortAdd:
   case vlanPortRemove:
      changePorts( operation, given );
      return nullptr;
   case l3Ip4OptionsProfileCreate:
      return replaced( operation, Given( unit, fourth ), 2 );
   case l3Ip4OptionsProfileDestroy:
      kept_.erase( { static_cast<S64>( l3Ip4OptionsProfileCreate ), unit, second } );
      return nullptr;
   default: // reads and locks
      return nullptr;
   }
}

std::string* ChipCalls::place( TcamOperation operation, S64 result, const Given& given )
{
   using enum TcamOperation;
   const auto& [ unit, id, third, fourth ] = given.numbers;
   if( operation == getEntry ? result == 0 : result < 0 )
      return nullptr;
   switch( operation ) {
   case getEntry:
      return put( entryOf( unit, result ).since, Part::claim );
   case installEntry:
      entryOf( unit, id ).state.clear();
      [[fallthrough]];
   case reinstallEntry: {
      Entry& entry = entryOf( unit, id );
      join( entry );
      // Only the first call can be made on another chip.
      const bool again = operation == reinstallEntry && !entry.hardware.empty() &&
                         entry.hardware.back().part == Part::installation;
      return again ? nullptr : put( entry.hardware, Part::installation );
   }
   case removeEntry: {
      Entry& entry = entryOf( unit, id );
      join( entry );
      std::erase_if(
         entry.hardware, []( const EntryCall& call ) { return call.part == Part::installation; } );
      entry.since.swap( entry.hardware );
      return &entry.state;
   }
   case releaseEntry:
      entries_.erase( { unit, id } );
      return nullptr;
   case enableEntry:
      entryOf( unit, id ).state.clear();
      return third != 0 ? nullptr : &entryOf( unit, id ).state;
   case addInPortsForEntry:
   case addOutLoopbackPortForEntry:
      // Behind the qualifiers of the SDK, from which they have to differ only.
      return put( entryOf( unit, id ).since, Part::qualifier, -2 * static_cast<S64>( operation ) );
   case qualifyPortsClassId:
      return put(
         entryOf( unit, id ).since, Part::qualifier, -2 * static_cast<S64>( operation ) - third );
   case hitsForEntry:
   case supportsAclGroup:
      return nullptr;
   }
   return nullptr;
}

std::string* ChipCalls::replaced( SdkOperation operation, const Given& given, std::size_t count )
{
   std::array<S64, 5> key{ static_cast<S64>( operation ) };
   std::copy_n( given.numbers.begin(), count, key.begin() + 1 );
   Kept& kept = kept_[ key ];
   // Calls of different places may have the same effect, as of one port and of all: the last one counts.
   kept.order = ++order_;
   return &kept.text;
}

ChipCalls::Entry& ChipCalls::entryOf( S64 unit, S64 id )
{
   Entry& entry = entries_[ { unit, id } ];
   if( entry.order == 0 )
      entry.order = ++order_;
   return entry;
}

std::string* ChipCalls::put( EntryCalls& calls, Part part, S64 which )
{
   const auto same = std::ranges::find_if(
      calls, [ & ]( const EntryCall& call ) { return call.part == part && call.which == which; } );
   if( part == Part::claim ) // ends the qualifiers
      std::erase_if( calls, []( const EntryCall& call ) {
         return call.part == Part::claim || call.part == Part::qualifier;
      } );
   else if( part == Part::removal )
      std::erase_if( calls, []( const EntryCall& call ) {
         return call.part == Part::removal || call.part == Part::action;
      } );
   else if( same != calls.end() )
      return &same->text;
   const auto at = part == Part::claim ? calls.begin() : calls.end();
   return &calls.insert( at, EntryCall{ part, which, {} } )->text;
}

void ChipCalls::join( Entry& entry )
{
   EntryCall installation{ Part::installation, 0, {} };
   if( !entry.hardware.empty() && entry.hardware.back().part == Part::installation ) {
      installation = std::move( entry.hardware.back() );
      entry.hardware.pop_back();
   }
   for( EntryCall& call : entry.since )
      *put( entry.hardware, call.part, call.which ) = std::move( call.text );
   entry.since.clear();
   std::erase_if(
      entry.hardware, []( const EntryCall& call ) { return call.part == Part::removal; } );
   if( !installation.text.empty() )
      entry.hardware.push_back( std::move( installation ) );
}

void ChipCalls::changePorts( SdkOperation operation, const Given& given )
{
   const auto& [ unit, vlan, third, fourth ] = given.numbers;
   const auto& [ ports, untagged ] = given.ports;
   VlanPorts& of = vlanPorts_[ { unit, vlan } ];
   of.order = ++order_;
   of.tagged -= ports;
   of.untagged -= ports;
   of.removed -= ports;
   if( operation == SdkOperation::vlanPortAdd ) {
      of.tagged |= ports - untagged;
      of.untagged |= untagged;
   } else {
      of.removed |= ports;
   }
   const auto write = [ & ]( std::string& text, SdkOperation made, const PortBitmap& members ) {
      text.clear();
      if( members.empty() )
         return;
      JsonObject call( text );
      call.add( "call", roleName( made ) );
      {
         JsonObject arguments( call.at( "arguments" ) );
         arguments.add( "unit", unit );
         arguments.add( "vlanId", vlan );
         arguments.add( "ports", members );
         if( made == SdkOperation::vlanPortAdd )
            arguments.add( "untaggedPorts", of.untagged );
      }
      JsonObject results( call.at( "results" ) );
   };
   write( of.texts[ 0 ], SdkOperation::vlanPortAdd, of.tagged | of.untagged );
   write( of.texts[ 1 ], SdkOperation::vlanPortRemove, of.removed );
}

void ChipCalls::forEach( const std::function<void( std::string_view call )>& use ) const
{
   std::vector<std::pair<U64, const std::string*>> all; // those of one order as they are here
   for( const auto& [ key, kept ] : kept_ )
      all.emplace_back( kept.order, &kept.text );
   for( const auto& [ key, ports ] : vlanPorts_ )
      for( const std::string& text : ports.texts )
         all.emplace_back( ports.order, &text );
   for( const auto& [ id, entry ] : entries_ ) {
      for( const EntryCall& call : entry.hardware )
         all.emplace_back( entry.order, &call.text );
      if( entry.hardware.empty() )
         for( const EntryCall& call : entry.since )
            all.emplace_back( entry.order, &call.text );
      all.emplace_back( entry.order, &entry.state );
      if( !entry.hardware.empty() )
         for( const EntryCall& call : entry.since )
            all.emplace_back( entry.order, &call.text );
   }
   std::ranges::stable_sort( all, {}, &std::pair<U64, const std::string*>::first );
   for( const auto& [ order, text ] : all )
      if( !text->empty() )
         use( *text );
}

} // namespace Strata::Recording
