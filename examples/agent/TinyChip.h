// The smallest chip that keeps the promises that the slice relies on: it stores what is written, and forwards nothing.
// The shim and the manager of its entries work on one table.
#pragma once

#include "platform/sdk/UnavailableShim.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace Tiny {

using namespace Strata; // the table of SDK operations expects its names

/// The codes of this SDK.
enum Code : int
{
   ok = 0,
   notAvailable = -1,
   notFound = -2,
   badConfig = -3,
};

struct Rule
{
   std::set<std::string> qualifiers;
   std::set<int> actions;
};

struct Entry
{
   std::string name;               // under which it is claimed
   Rule claim{};                   // what the next install writes
   std::optional<Rule> hardware{}; // what it wrote
   bool enabled = true;
};

struct Chip
{
   using Id = std::pair<U32, U32>; // unit and entry

   std::map<Id, Entry> entries;     // the claimed entries
   std::map<U32, VlanControl> vlan; // only VLAN 1 of each unit
   std::map<std::pair<U32, int>, U64> registers;
   std::map<std::pair<U32, U32>, MemoryEntry> myStations;

   Entry* find( U32 unit, U32 entry )
   {
      const auto at = entries.find( { unit, entry } );
      return at == entries.end() ? nullptr : &at->second;
   }
};

#define TINY_QUALIFIER( name, ... ) \
   int fieldQualify##name( U32 unit, U32 entry, __VA_ARGS__ ) override \
   { \
      return given( unit, entry, [ & ]( Rule& claim ) { claim.qualifiers.insert( #name ); } ); \
   }

/// Operations that are not overridden return the feature-not-available code.
class Shim final : public UnavailableShim
{
 public:
   explicit Shim( Chip& chip ) : chip_( chip ) {}

   int successCode() const override { return ok; }
   int featureNotAvailableCode() const override { return notAvailable; }
   std::string errorText( int code ) const override { return "error " + std::to_string( code ); }

   // This SDK's numbers are those of the slice's enumerations.
   int fieldAction( FieldAction role ) const override { return static_cast<int>( role ); }
   int fieldIpType( FieldIpType role ) const override { return static_cast<int>( role ); }
   U32 packetResult( PacketResult role ) const override { return static_cast<U32>( role ); }
   int switchControl( SwitchControl role ) const override { return static_cast<int>( role ); }
   int portControl( PortControl role ) const override { return static_cast<int>( role ); }
   U32 vlanFlag( VlanFlag role ) const override { return 1U << static_cast<U32>( role ); }
   int ipOptionAction( IpOptionAction role ) const override { return static_cast<int>( role ); }
   int registerNumber( Register role ) const override { return static_cast<int>( role ); }
   int memory( Memory role ) const override { return static_cast<int>( role ); }

   /// Ports 1 to 4 are active; port 0 is the CPU's.
   UnitRecord unitRecord( U32 ) const override { return { 0x1E }; }
   bool vlanExists( U32, U16 vlanId ) const override { return vlanId == 1; }

   // The chip's qualifiers. One that is given twice replaces its former data, and so does an action.
   TINY_QUALIFIER( DstMac, const EthAddr&, const EthAddr& );
   TINY_QUALIFIER( Drop, U8, U8 );
   TINY_QUALIFIER( DstMcastGroup, U32, U32 );
   TINY_QUALIFIER( DstPort, U32, U32, U32, U32 );
   TINY_QUALIFIER( EtherType, U16, U16 );
   TINY_QUALIFIER( IngressStpState, U8, U8 );
   TINY_QUALIFIER( IntPriority, U32, U32 );
   TINY_QUALIFIER( InterfaceClassL2, U32, U32 );
   TINY_QUALIFIER( IpType, int );
   TINY_QUALIFIER( L3Routable, U8, U8 );
   TINY_QUALIFIER( MyStationHit, U8, U8 );
   TINY_QUALIFIER( PacketRes, U32, U32 );
   TINY_QUALIFIER( SrcClassField, U32, U32 );

   int fieldActionAdd( U32 unit, U32 entry, int action, U32, U32 ) override
   {
      return given( unit, entry, [ & ]( Rule& claim ) { claim.actions.insert( action ); } );
   }
   int fieldActionPortsAdd( U32 unit, U32 entry, int action, const PortBitmap& ) override
   {
      return fieldActionAdd( unit, entry, action, 0, 0 );
   }
   int fieldActionRemoveAll( U32 unit, U32 entry ) override
   {
      return given( unit, entry, []( Rule& claim ) { claim.actions.clear(); } );
   }
   int fieldLock( U32 ) override { return ok; }
   int fieldUnlock( U32 ) override { return ok; }

   int switchControlSet( U32, int, int ) override { return ok; }
   int switchControlPortSet( U32, int, int, int ) override { return ok; }
   int portControlSet( U32, int, int, int ) override { return ok; }

   int vlanControlGet( U32 unit, U16 vlanId, VlanControl* control ) override
   {
      *control = chip_.vlan[ unit ];
      return vlanId == 1 ? ok : notFound;
   }
   int vlanControlSet( U32 unit, U16 vlanId, const VlanControl& control ) override
   {
      if( vlanId != 1 )
         return notFound;
      chip_.vlan[ unit ] = control;
      return ok;
   }
   int vlanPortAdd( U32, U16, const PortBitmap&, const PortBitmap& ) override { return ok; }
   int vlanPortRemove( U32, U16, const PortBitmap& ) override { return ok; }

   int register64Get( U32 unit, int reg, int, int, U64* value ) override
   {
      *value = chip_.registers[ { unit, reg } ];
      return ok;
   }
   int register64Set( U32 unit, int reg, int, int, U64 value ) override
   {
      chip_.registers[ { unit, reg } ] = value;
      return ok;
   }
   int ingMiscConfigRead( U32 unit, U32* value ) override
   {
      *value = static_cast<U32>( chip_.registers[ { unit, ingMiscConfig_ } ] );
      return ok;
   }
   int ingMiscConfigWrite( U32 unit, U32 value ) override
   {
      return register64Set( unit, ingMiscConfig_, 0, 0, value );
   }
   int memoryRead( U32 unit, int, int, U32 index, MemoryEntry* entry ) override
   {
      *entry = chip_.myStations[ { unit, index } ];
      return ok;
   }
   int memoryWrite( U32 unit, int, int, U32 index, const MemoryEntry* entry ) override
   {
      chip_.myStations[ { unit, index } ] = *entry;
      return ok;
   }

   // A field has one bit of a register, or one word of a memory entry; an address has a second word.
   void registerFieldSet( Register, U32& value, RegisterField field, U32 data ) const override
   {
      const U32 bit = 1U << static_cast<U32>( field );
      value = data != 0 ? value | bit : value & ~bit;
   }
   void registerFieldSet( Register reg, U64& value, RegisterField field, U32 data ) const override
   {
      U32 low = static_cast<U32>( value );
      registerFieldSet( reg, low, field, data );
      value = ( value >> 32 << 32 ) | low;
   }
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, U32 data ) const override
   {
      entry.words[ wordOf( field ) ] = data;
   }
   void memoryFieldSet( MemoryEntry& entry, MemoryField field, const EthAddr& mac ) const override
   {
      entry.words[ wordOf( field ) ] = static_cast<U32>( mac.toNumber() );
      entry.words[ upperWordOf( field ) ] = static_cast<U32>( mac.toNumber() >> 32 );
   }
   U32 memoryField( const MemoryEntry& entry, MemoryField field ) const override
   {
      return entry.words[ wordOf( field ) ];
   }
   EthAddr memoryMacField( const MemoryEntry& entry, MemoryField field ) const override
   {
      const U64 high = entry.words[ upperWordOf( field ) ];
      return EthAddr::fromNumber( high << 32 | entry.words[ wordOf( field ) ] );
   }

 private:
   template<class Change>
   int given( U32 unit, U32 entry, Change change )
   {
      Entry* const held = chip_.find( unit, entry );
      if( !held )
         return notFound;
      change( held->claim );
      return ok;
   }

   static std::size_t wordOf( MemoryField field ) { return static_cast<std::size_t>( field ); }
   /// The second word of an address, behind the words of all fields.
   static std::size_t upperWordOf( MemoryField field )
   {
      return field == MemoryField::MacAddr ? 14 : 15;
   }

   static constexpr int ingMiscConfig_ = static_cast<int>( Register::IngMiscConfig );

   Chip& chip_;
};

} // namespace Tiny
