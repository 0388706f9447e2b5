// Writes the changes that entities publish to the transcript, and those of inputs to the present cause. Requires: the
// activity lock is held.
#pragma once

#include "platform/runtime/ChangeWatcher.h"
#include "sim/switch/Cause.h"
#include "sim/switch/Transcript.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace Strata::Sim {

using Vormel::Entity;
using Vormel::Ref;

class Recorder
{
 public:
   Recorder( Transcript& transcript, Cause& cause ) : transcript_( transcript ), cause_( cause ) {}
   Recorder( const Recorder& ) = delete;
   Recorder& operator=( const Recorder& ) = delete;

   /// Holds a reference to the entity until forget(). The name precedes the attribute's; if empty, it is
   /// the type's name without namespaces. An entity that is recorded already keeps its name.
   void record( const Ref<const Entity>& entity, const std::string& name = {} );
   void forget( const Entity& entity ) { watchers_.erase( &entity ); }

 private:
   void write( const Vormel::ChangeText& change, const Vormel::EntityType& type );

   Transcript& transcript_;
   Cause& cause_;
   std::unordered_map<const Entity*, std::unique_ptr<Vormel::ChangeWatcher>> watchers_;
};

} // namespace Strata::Sim
