#include "sim/switch/Recorder.h"

namespace Strata::Sim {

using Vormel::ChangeKind;
using Vormel::ChangeText;

void Recorder::record( const Ref<const Entity>& entity, const std::string& name )
{
   auto& watcher = watchers_[ entity.get() ];
   if( !watcher )
      watcher = std::make_unique<Vormel::ChangeWatcher>(
         entity, name, [ this ]( const ChangeText& change ) { write( change ); } );
}

void Recorder::write( const ChangeText& change )
{
   std::vector<RecordField> fields{ { "object", change.object }, { "attribute", change.attribute },
      { "attributeNumber", change.number }, { "change", change.kindName() } };
   if( !change.key.empty() )
      fields.emplace_back( "key", change.key );
   if( change.kind != ChangeKind::Inserted )
      fields.emplace_back( "old", change.oldValue );
   if( change.kind != ChangeKind::Removed )
      fields.emplace_back( "new", change.newValue );
   transcript_.add( RecordKind::notify, change.line(), std::move( fields ) );
}

} // namespace Strata::Sim
