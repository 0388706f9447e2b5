// A small entity for tests: one attribute of each kind.
#pragma once

#include "platform/runtime/Attributes.h"
#include "platform/runtime/Enum.h"

#include <string>
#include <vector>

namespace Lamps {

using Vormel::Ref;

VORMEL_ENUM( Side, U8, left, right )

} // namespace Lamps

template<>
inline constexpr std::size_t Vormel::slotCount<Lamps::Side> = 3;

namespace Lamps {

// clang-format off
#define LAMP_ATTRIBUTES( ROW ) \
   ROW( FIELD, name, std::string, "its name", "test" ) \
   ROW( SCALAR, 258, lit, bool, false, "it shines", "test" ) \
   ROW( SCALAR_CHECKED, 259, watts, U32, 10, "power, 1 to 100 W", "test", checkWatts ) \
   ROW( SCALAR_STEP, 260, generation, U32, 0, "count of changes", "test", onGeneration ) \
   ROW( ARRAY, 261, bulb, Side, U32, "bulbs by side", "test" ) \
   ROW( MAP, 262, lumens, U16, U64, 7, "light by angle", "test" ) \
   ROW( MAP_STEP, 263, guest, std::string, bool, 0, "who looks", "test", onGuest ) \
   ROW( SCALAR, 264, twin, Ref<Lamp>, nullptr, "another lamp", "test" )
// clang-format on

class Lamp : public Vormel::Entity
{
   VORMEL_ENTITY( Lamp, LAMP_ATTRIBUTES )

   explicit Lamp( std::string name ) : name_( std::move( name ) ) {}
   std::string entityName() const override { return name_; }

   U32 dim( U32 percent, bool slowly ) { return slowly ? percent / 2 : percent; }

   std::vector<std::string> steps; // the steps that ran between store and publication

 private:
   static void checkWatts( U32 watts )
   {
      if( watts < 1 || watts > 100 )
         throw Vormel::ValueError( "watts: " + std::to_string( watts ) + " is not 1 to 100" );
   }
   void onGeneration() { steps.push_back( "generation " + std::to_string( generation_ ) ); }
   void onGuest( const std::string& guest ) { steps.push_back( "guest " + guest ); }
};

inline std::string changeText( const Vormel::Change& change )
{
   const auto& name = change.publisher.entityType().attribute( change.number ).info().name;
   static constexpr const char* verbs[] = { "changed", "inserted", "removed" };
   std::string text = std::string( name ) + " " + verbs[ static_cast<int>( change.kind ) ];
   if( !change.key.empty() )
      text += " [" + change.key.text() + "]";
   if( !change.oldValue.empty() )
      text += " old " + change.oldValue.text();
   return text;
}

} // namespace Lamps
