#include "desk/SwitchState.h"

#include "platform/runtime/Format.h"
#include "sim/chip/RegisterLayout.h"
#include "sim/switch/SimSwitch.h"

#include <algorithm>
#include <utility>

namespace Strata::Desk {

using Sim::ChipPlace;

namespace {

std::string textOf( const std::vector<Field>& fields )
{
   std::string text;
   for( const Field& field : fields )
      text += ( text.empty() ? "" : "; " ) + field.name + ( field.name.empty() ? "" : " " ) +
              field.value;
   return text;
}

Sim::Cause causeAt( const Sim::Chip& chip, ChipPlace::Kind kind, U32 number, int port = 0 )
{
   const Sim::Cause* const cause = chip.cause( { kind, number, port } );
   return cause ? *cause : Sim::Cause();
}

template<class Role>
U32 position( Role role )
{
   return static_cast<U32>( role );
}

const char* yesOrNo( bool value )
{
   return value ? "yes" : "no";
}

/// Builds the parts of one chip.
class Parts
{
 public:
   Parts( std::map<PartKey, Part>& parts, const Sim::Chip& chip ) : parts_( parts ), chip_( chip )
   {}

   void addChip()
   {
      Part& part = add( PartKind::chip, 0, "chip" );
      part.fields = { { "profile", chip_.profile().name },
         { "ports", chip_.frontPanelPorts().toString() },
         { "active ports", chip_.activePorts().toString() },
         { "traps TTL exceptions", yesOrNo( chip_.trapsTtlExceptions() ) },
         { "resolves HiGig trunks as LAGs", yesOrNo( chip_.resolvesHigigTrunksAsLag ) } };
   }

   void addEntries()
   {
      U32 number = 0;
      for( const Sim::FieldGroup& group : chip_.groups() ) {
         const std::string& range = group.profile().name;
         for( const auto& [ id, entry ] : group.entries() )
            addEntry( range, id, entry );
         Part& room = add( PartKind::room, number++, "room of " + range );
         room.range = range;
         room.fields = { { "used", std::to_string( group.room() - group.roomLeft() ) },
            { "room", std::to_string( group.capacity() ) } };
      }
   }

   void addControls()
   {
      for( const auto& [ control, value ] : chip_.controls() )
         addControl( PartKind::control, control, 0, ChipPlace::Kind::control, value );
      for( const auto& [ place, value ] : chip_.portControls() )
         addControl(
            PartKind::portControl, place.second, place.first, ChipPlace::Kind::portControl, value );
      for( const auto& [ place, value ] : chip_.portSwitchControls() )
         addControl( PartKind::portSwitchControl, place.second, place.first,
            ChipPlace::Kind::portSwitchControl, value );
   }

   void addRegisters()
   {
      for( std::size_t i = 0; i < roleNames<Register>.size(); ++i ) {
         const auto reg = static_cast<Register>( i );
         if( !chip_.profile().supports( reg ) )
            continue;
         const Sim::Cause cause = causeAt( chip_, ChipPlace::Kind::registers, position( reg ) );
         Part& part =
            add( PartKind::reg, position( reg ), "register " + std::string( roleName( reg ) ) );
         part.name = roleName( reg );
         U64 others = chip_.registerValue( reg );
         for( std::size_t k = 0; k < roleNames<RegisterField>.size(); ++k )
            if( const auto field = static_cast<RegisterField>( k ); registerOf( field ) == reg ) {
               part.fields.push_back( { std::string( roleName( field ) ),
                  std::to_string( Sim::registerField( others, field ) ), cause } );
               others = Sim::registerFieldSet( others, field, 0 );
            }
         part.fields.push_back( { "other bits", Vormel::format( "0x%x", others ), cause } );
      }
   }

   void addMyStation()
   {
      for( const auto& [ index, entry ] : chip_.myStation().entries() ) {
         Part& part = add( PartKind::myStation, index, "my-station " + std::to_string( index ) );
         const Sim::Cause cause = causeAt( chip_, ChipPlace::Kind::myStation, index );
         part.text = Sim::myStationText( entry );
         for( std::size_t i = 0; i < roleNames<MemoryField>.size(); ++i ) {
            const auto field = static_cast<MemoryField>( i );
            part.fields.push_back( { std::string( roleName( field ) ),
               isMacField( field ) ? Sim::memoryMacField( entry, field ).toString()
                                   : std::to_string( Sim::memoryField( entry, field ) ),
               cause } );
         }
      }
   }

   void addVlans()
   {
      for( const auto& [ vlanId, vlan ] : chip_.vlans() ) {
         Part& part = add( PartKind::vlan, vlanId, "VLAN " + std::to_string( vlanId ) );
         part.fields.push_back(
            { "flags", vlan.flagsText(), causeAt( chip_, ChipPlace::Kind::vlanFlags, vlanId ) } );
         part.fields.push_back( { "other flags", Vormel::format( "0x%x", vlan.otherFlags ) } );
         part.fields.push_back( { "rest", restText( vlan ) } );
         part.fields.push_back( { "ports", vlan.members.toString() } );
         part.fields.push_back( { "untagged ports", vlan.untagged.toString() } );
      }
      for( const auto& [ id, action ] : chip_.ipOptionsProfiles() )
         add( PartKind::optionsProfile, static_cast<U32>( id ),
            "options profile " + std::to_string( id ) )
            .fields.push_back( { "", std::string( roleName( action ) ) } );
   }

 private:
   Part& add( PartKind kind, U32 number, std::string title, int port = 0 )
   {
      Part& part = parts_[ { kind, number, port, chip_.unit() } ];
      part.title = std::move( title );
      return part;
   }

   template<class Role>
   void addControl( PartKind kind, Role role, int port, ChipPlace::Kind place, int value )
   {
      std::string title = "control " + std::string( roleName( role ) );
      if( kind != PartKind::control )
         title += " of port " + std::to_string( port );
      Part& part = add( kind, position( role ), std::move( title ), port );
      part.name = roleName( role );
      part.fields.push_back(
         { "", std::to_string( value ), causeAt( chip_, place, position( role ), port ) } );
   }

   static std::string valueText( const Sim::FieldQualifier& qualifier )
   {
      const std::string value =
         qualifier.text().substr( Vormel::enumName( qualifier.role ).size() + 1 );
      return qualifier.allPorts.empty() ? value : value + " of " + qualifier.allPorts.toString();
   }

   static std::string valueText( const Sim::FieldActionData& action )
   {
      const std::string text = action.text();
      const std::size_t name = roleName( action.role ).size();
      return text.size() == name ? "yes" : text.substr( name + 1 );
   }

   void addEntry( const std::string& range, U32 id, const Sim::FieldEntry& entry )
   {
      Part& part =
         add( PartKind::entry, id, range + " " + std::to_string( id ) + " \"" + entry.name + "\"" );
      const std::string state = !entry.installed() ? "claimed"
                                : entry.enabled    ? "installed"
                                                   : "disabled";
      part.name = entry.name;
      part.range = range;
      part.fields = { { "name", entry.name }, { "state", state } };
      part.text = state;
      if( !entry.installed() )
         return;
      const std::string rule = entry.hardware->text();
      part.text = entry.enabled ? rule : state + ": " + rule;
      const Sim::Cause& cause = entry.cause;
      const Sim::Cause* const switched = entry.enableCause();
      part.fields.back().cause = switched ? *switched : cause;
      for( const Sim::FieldQualifier& qualifier : entry.hardware->qualifiers )
         part.fields.push_back(
            { std::string( Vormel::enumName( qualifier.role ) ), valueText( qualifier ), cause } );
      for( const Sim::FieldActionData& action : entry.hardware->actions )
         part.fields.push_back(
            { "do " + std::string( roleName( action.role ) ), valueText( action ), cause } );
   }

   /// "0a*250 ff*2"
   static std::string restText( const Sim::ChipVlan& vlan )
   {
      std::string text;
      for( auto at = vlan.rest.begin(); at != vlan.rest.end(); ) {
         const auto end =
            std::find_if( at, vlan.rest.end(), [ & ]( std::byte byte ) { return byte != *at; } );
         text += ( text.empty() ? "" : " " ) +
                 Vormel::format( "%02x*%d", std::to_integer<U32>( *at ), end - at );
         at = end;
      }
      return text;
   }

   std::map<PartKey, Part>& parts_;
   const Sim::Chip& chip_;
};

Difference wholePart( const PartKey& key, const Part& part )
{
   return { .key = key, .part = part.title, .field = {} };
}

/// Of two parts of the same key.
void compareFields(
   std::vector<Difference>& found, const PartKey& key, const Part& before, const Part& after )
{
   const auto differ = [ & ]( const Field* was, const Field* is ) {
      Difference difference{ .key = key, .part = after.title, .field = ( is ? is : was )->name };
      if( was )
         difference.before = was->value;
      if( is ) {
         difference.after = is->value;
         difference.cause = is->cause;
      }
      found.push_back( std::move( difference ) );
   };
   const auto in = []( const Part& part, const std::string& name ) -> const Field* {
      const auto at = std::ranges::find( part.fields, name, &Field::name );
      return at == part.fields.end() ? nullptr : &*at;
   };
   for( const Field& field : before.fields )
      if( const Field* const other = in( after, field.name );
          !other || other->value != field.value )
         differ( &field, other );
   for( const Field& field : after.fields )
      if( !in( before, field.name ) )
         differ( nullptr, &field );
}

} // namespace

SwitchState::SwitchState( const Sim::SimSwitch& hardware )
{
   for( const auto& [ unit, chip ] : hardware.chips() ) {
      Parts parts( parts_, chip );
      parts.addChip();
      parts.addEntries();
      parts.addControls();
      parts.addRegisters();
      parts.addMyStation();
      parts.addVlans();
   }
   for( auto& [ key, part ] : parts_ )
      if( part.text.empty() )
         part.text = textOf( part.fields );
}

std::vector<Difference> differences( const SwitchState& before, const SwitchState& after )
{
   std::vector<Difference> found;
   auto was = before.parts().begin();
   auto is = after.parts().begin();
   while( was != before.parts().end() || is != after.parts().end() ) {
      if( is == after.parts().end() || ( was != before.parts().end() && was->first < is->first ) ) {
         found.push_back( wholePart( was->first, was->second ) );
         found.back().before = was->second.text;
         ++was;
      } else if( was == before.parts().end() || is->first < was->first ) {
         found.push_back( wholePart( is->first, is->second ) );
         found.back().after = is->second.text;
         // Of its last field: the rule's, rather than the claim's.
         found.back().cause = is->second.fields.back().cause;
         ++is;
      } else {
         compareFields( found, is->first, was->second, is->second );
         ++was;
         ++is;
      }
   }
   return found;
}

} // namespace Strata::Desk
