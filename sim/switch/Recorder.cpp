#include "sim/switch/Recorder.h"

#include "platform/runtime/EntityType.h"
#include "sim/switch/Values.h"

namespace Strata::Sim {

using Vormel::ChangeKind;
using Vormel::ChangeText;

void Recorder::record( const Ref<const Entity>& entity, const std::string& name )
{
   auto& watcher = watchers_[ entity.get() ];
   if( !watcher )
      watcher = std::make_unique<Vormel::ChangeWatcher>(
         entity, name, [ this, &type = entity->entityType() ]( const ChangeText& change ) {
            write( change, type );
         } );
}

/// Whether the object is an input of the slice; the slice writes the other objects.
static bool isInput( std::string_view object )
{
   return object != "helper" && object != "hwStatus" && object != "urpf";
}

static RecordContent contentOf( const ChangeText& change, const Vormel::EntityType& type )
{
   const Vormel::AttributeInfo& info = type.attribute( change.number ).info();
   std::vector<RecordField> fields{ { "object", change.object }, { "attribute", change.attribute },
      { "attributeNumber", change.number }, { "change", change.kindName() } };
   if( !change.key.empty() )
      fields.push_back( attributeField( "key", info.keyType, change.key ) );
   if( change.kind != ChangeKind::Inserted )
      fields.push_back( attributeField( "old", info.type, change.oldValue ) );
   if( change.kind != ChangeKind::Removed )
      fields.push_back( attributeField( "new", info.type, change.newValue ) );
   return { change.line(), std::move( fields ) };
}

void Recorder::write( const ChangeText& change, const Vormel::EntityType& type )
{
   if( isInput( change.object ) )
      cause_.event = change.line();
   transcript_.add( RecordKind::notify, [ & ] { return contentOf( change, type ); } );
}

} // namespace Strata::Sim
