// The inputs and the helper of a recording, made from their recorded states.
#pragma once

#include "desk/RecordedHardware.h"
#include "desk/RecordingFile.h"
#include "platform/runtime/EntityType.h"
#include "routing/RoutingStatusHelper.h"
#include "sim/switch/SimSwitch.h"

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

namespace Strata::Desk {

class RecordedObjects
{
 public:
   /// The inputs are the hardware's objects of the recorded types.
   RecordedObjects( const RecordingFile& recording, const Sim::SimSwitch& hardware )
      : recording_( recording ),
        hardware_( hardware )
   {}

   /// A manager, or the helper if none is to be made.
   void add( const std::string& name, Ref<Vormel::Entity> object )
   {
      objects_.insert_or_assign( name, std::move( object ) );
   }
   void groupManagerIs( Ref<StrataTcamGroupManager> manager ) { groups_ = std::move( manager ); }
   void portSwTableIs( Ref<PortSwTable> table ) { portSwTable_ = std::move( table ); }

   /// Makes the object of a record `state` with its values. RecordingError if it cannot be made.
   struct Named
   {
      std::string name;
      Ref<Vormel::Entity> object;
   };
   Named stateIs( const RecordedLine& record );
   /// RecordingError unless the helper is in the recorded state, which is that of a new one but for the agent's own
   /// attributes.
   void checkIsNew( const RecordedLine& record, const Vormel::Entity& helper ) const;

   /// A change by the agent: of an input, or by `set` and `del`. RecordingError for an object or attribute that is not
   /// there.
   struct Change
   {
      Ref<Vormel::Entity> object;
      const Vormel::Attribute* attribute;
      Vormel::Value key;                  // none for an attribute without keys, and for all members
      std::optional<Vormel::Value> value; // none if it is removed

      void apply() const;
   };
   Change changeOf( const RecordedLine& record, const Json& json ) const;

   /// Null if nothing has this name.
   Ref<Vormel::Entity> find( const std::string& name ) const;
   /// The object with this name, null for null. RecordingError for one that is not there, or of another type.
   template<class Type>
   Ref<Type> as( const RecordedLine& record, const Json& name ) const
   {
      if( name.is_null() )
         return nullptr;
      const Ref<Vormel::Entity> object = find( decodedText( name ) );
      auto* const typed = dynamic_cast<Type*>( object.get() );
      if( !typed )
         notThere( record, decodedText( name ) );
      return Ref<Type>( typed );
   }

 private:
   Ref<Vormel::Entity> made( const RecordedLine& record, const Json& json );
   Ref<RoutingStatusHelper> newHelper( const RecordedLine& record, const Json& values ) const;
   void setValues( const RecordedLine& record, Vormel::Entity& entity, const Json& values ) const;
   Vormel::Value valueOf(
      const RecordedLine& record, const Vormel::Attribute& attribute, const Json& json ) const;
   [[noreturn]] void notThere( const RecordedLine& record, const std::string& name ) const;

   const RecordingFile& recording_;
   const Sim::SimSwitch& hardware_;
   std::map<std::string, Ref<Vormel::Entity>> objects_;
   Ref<StrataTcamGroupManager> groups_;
   Ref<PortSwTable> portSwTable_;
};

/// A number, truth value or text; null for any other value.
Json plainJson( const Vormel::Value& value );
/// The other way.
Vormel::Value plainValue( const Json& json );

} // namespace Strata::Desk
