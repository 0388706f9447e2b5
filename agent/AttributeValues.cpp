#include "agent/AttributeValues.h"

namespace Strata::Tool {

using Vormel::AttributeInfo;
using Vormel::AttributeKind;

std::vector<AttributeValue> attributeValues( const Vormel::Entity& entity )
{
   std::vector<AttributeValue> values;
   for( const auto& attribute : entity.entityType().attributes() ) {
      const AttributeInfo& info = attribute->info();
      const std::string name( info.name );
      if( info.kind == AttributeKind::Field || info.kind == AttributeKind::Scalar ) {
         values.push_back( { attribute.get(), name, attribute->read( entity ) } );
         continue;
      }
      for( const Vormel::Member& member : attribute->members( entity ) )
         values.push_back( { attribute.get(), name + "[" + toText( member.key ) + "]", member.value,
            member.key } );
   }
   return values;
}

} // namespace Strata::Tool
