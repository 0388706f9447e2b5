#include "recording/Recorder.h"

#include "platform/runtime/ChangeWatcher.h" // IWYU pragma: keep, the names of kinds of changes
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"
#include "recording/Journal.h"
#include "recording/RecordingShim.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>
#include <variant>
#include <vector>

namespace Strata {

using Recording::appendQuoted;
using Recording::Journal;
using Recording::JsonObject;
using Vormel::Attribute;
using Vormel::Change;
using Vormel::ChangeKind;
using Vormel::Counted;
using Vormel::Entity;
using Vormel::Value;

class Recorder::Impl
{
 public:
   explicit Impl( std::shared_ptr<Journal> records ) : journal( std::move( records ) )
   {
      if( !journal )
         return;
      writeHeader();
      journal->headIs(
         std::bind_front( &Impl::writeHead, this ) ); // a lambda of an exported class is exported
   }
   Impl( const Impl& ) = delete;
   Impl& operator=( const Impl& ) = delete;
   ~Impl()
   {
      if( !journal )
         return;
      journal->write( "stop", []( JsonObject& ) {} );
      journal->close();
      journal->headIs( {} );
   }

   void addValue( std::string& text, const Value& value ) const;
   /// Records the units that differ from what is recorded of them.
   void writeUnits();
   /// Records the object's values, those of its members first, and watches it from now on.
   void watch( const std::string& name, const Ref<const Entity>& entity );
   /// An object that the agent has named.
   void input( const std::string& name, const Ref<const Entity>& entity );
   void writeState( const std::string& name, const Entity& entity ) const;
   void changed( const std::string& name, const Change& change );

   /// Records an input, does the work that it is, and records its end.
   template<class Fill, class Work>
   void during( std::string_view record, Fill fill, const Work& work );
   /// The same for access to an attribute, unless it is the agent's own.
   template<class Work>
   void access( std::string_view record, const Ref<Entity>& object, const Attribute& attribute,
      const Value& key, const Value& value, const Work& work );

   const std::shared_ptr<Journal> journal; // null without a file
   std::vector<std::unique_ptr<Recording::RecordingShim>> shims;
   Ref<RoutingStatusHelper> helper;
   std::map<std::string, Ref<Recording::RecordingManager>>
      managers; // by name, without those of the group manager
   Ref<Recording::RecordingGroupManager> groupManager;
   std::map<const Counted*, std::string> names; // of objects
   Ref<const StrataCommonSmData> scsd;

 private:
   class Watch;
   /// The name of a member that is an object: "nexthops.nexthopStatus[red]".
   static std::string memberName(
      const std::string& object, const Attribute& attribute, std::string_view key )
   {
      return object + "." + std::string( attribute.info().name ) + "[" + std::string( key ) + "]";
   }
   template<class Use>
   void forEachMember( const std::string& name, const Entity& entity, const Use& use ) const;
   void watchMember( const std::string& name, const Value& value );
   void writeHeader() const;
   /// What each later file starts with: all that a reader of the files before knows of the present state.
   void writeHead();
   void writeStates( const std::string& name, const Entity& entity ) const;
   void addValues( JsonObject& values, const Attribute& attribute, const Entity& entity ) const;
   void writeUnit( U16 number, const StrataUnit& unit ) const;

   std::map<std::string, std::unique_ptr<Watch>> watches_; // by the object's name
   std::map<U16, StrataUnit> units_;                       // as recorded
   std::vector<std::string> inputs_; // the names of those that the agent has named
};

static bool isOfAgent( const Attribute& attribute )
{
   return attribute.info().maintainer == "agent";
}

class Recorder::Impl::Watch final : public Vormel::Subscriber
{
 public:
   Watch( Impl& impl, std::string name, Ref<const Entity> entity )
      : impl_( impl ),
        name_( std::move( name ) ),
        entity_( std::move( entity ) )
   {
      entity_->subscriberAdd( *this );
   }
   Watch( const Watch& ) = delete;
   Watch& operator=( const Watch& ) = delete;
   ~Watch()
   {
      impl_.names.erase( entity_.get() );
      entity_->subscriberDel( *this );
   }

   void onChange( const Change& change ) noexcept override { impl_.changed( name_, change ); }
   const Entity& entity() const { return *entity_; }

 private:
   Impl& impl_;
   const std::string name_;
   const Ref<const Entity> entity_;
};

void Recorder::Impl::addValue( std::string& text, const Value& value ) const
{
   if( const auto* const string = std::get_if<std::string>( &value ) )
      return appendQuoted( text, *string );
   if( const auto* const object = std::get_if<Vormel::ObjectRef>( &value ); object && *object ) {
      const auto known = names.find( object->get() );
      return appendQuoted( text, known == names.end() ? "another object" : known->second );
   }
   const bool none = std::holds_alternative<std::monostate>( value ) ||
                     std::holds_alternative<Vormel::ObjectRef>( value );
   text += none ? "null" : toText( value );
}

void Recorder::Impl::writeUnits()
{
   if( !scsd )
      return;
   for( const auto& i : scsd->units() ) {
      const StrataUnit& unit = *scsd->units().find( i.key() );
      const auto known = units_.find( i.key() );
      if( known != units_.end() && known->second == unit )
         continue;
      units_.insert_or_assign( i.key(), unit );
      writeUnit( i.key(), unit );
   }
}

void Recorder::Impl::writeUnit( U16 number, const StrataUnit& unit ) const
{
   journal->write( "unit", [ & ]( JsonObject& record ) {
      const ChipAttributes chip = strataAttributes().chipAttributes( unit.chipInfo );
      record.add( "unit", number );
      record.add( "model", std::string_view( unit.chipInfo.model ) );
      record.add( "modId", unit.modId );
      record.add( "ports", unit.ports );
      if( unit.loopbackPort )
         record.add( "loopbackPort", *unit.loopbackPort );
      record.add( "hasIpOptionsProfile", unit.hasIpOptionsProfile );
      record.add( "usesHsdk", chip.usesHsdk() );
      record.add( "supportsSocCalls", chip.supportsSocCalls() );
#define STRATA_CAPABILITY( name, meaning ) record.add( #name, chip.name );
      STRATA_CHIP_CAPABILITIES( STRATA_CAPABILITY )
#undef STRATA_CAPABILITY
   } );
}

void Recorder::Impl::addValues(
   JsonObject& values, const Attribute& attribute, const Entity& entity ) const
{
   const Vormel::AttributeInfo& info = attribute.info();
   std::string& text = values.at( info.name );
   if( info.keyType.empty() )
      return addValue( text, attribute.read( entity ) );
   JsonObject members( text );
   for( const auto& [ key, value ] : attribute.members( entity ) )
      addValue( members.at( toText( key ) ), value );
}

void Recorder::Impl::writeState( const std::string& name, const Entity& entity ) const
{
   journal->write( "state", [ & ]( JsonObject& record ) {
      record.add( "object", std::string_view( name ) );
      record.add( "type", entity.entityType().name() );
      JsonObject values( record.at( "attributes" ) );
      for( const auto& attribute : entity.entityType().attributes() )
         addValues( values, *attribute, entity );
   } );
}

static const Entity* entityIn( const Value& value )
{
   const auto* const object = std::get_if<Vormel::ObjectRef>( &value );
   return object ? dynamic_cast<const Entity*>( object->get() ) : nullptr;
}

void Recorder::Impl::watchMember( const std::string& name, const Value& value )
{
   if( const Entity* const entity = entityIn( value ) )
      watch( name, Ref<const Entity>( entity ) );
}

template<class Use>
void Recorder::Impl::forEachMember(
   const std::string& name, const Entity& entity, const Use& use ) const
{
   for( const auto& attribute : entity.entityType().attributes() )
      if( attribute->holdsObject() && !attribute->info().keyType.empty() )
         for( const auto& [ key, value ] : attribute->members( entity ) )
            use( memberName( name, *attribute, toText( key ) ), value );
}

void Recorder::Impl::watch( const std::string& name, const Ref<const Entity>& entity )
{
   forEachMember( name, *entity,
      [ & ]( const std::string& member, const Value& value ) { watchMember( member, value ); } );
   watches_.erase( name ); // before its successor enters the object's name
   watches_[ name ] = std::make_unique<Watch>( *this, name, entity );
   names[ entity.get() ] = name;
   writeState( name, *entity );
}

void Recorder::Impl::input( const std::string& name, const Ref<const Entity>& entity )
{
   watch( name, entity );
   if( std::ranges::find( inputs_, name ) == inputs_.end() )
      inputs_.push_back( name );
}

void Recorder::Impl::writeHeader() const
{
   journal->write( "header", [ & ]( JsonObject& record ) {
      record.add( "format", 1 );
      record.add( "library", STRATA_VERSION );
      record.add( "times", "nanoseconds since the start of the recording" );
      if( journal->predecessors() != 0 )
         record.add( "continues", journal->predecessors() );
   } );
}

void Recorder::Impl::writeStates( const std::string& name, const Entity& entity ) const
{
   forEachMember( name, entity, [ & ]( const std::string& member, const Value& value ) {
      if( const Entity* const held = entityIn( value ) )
         writeStates( member, *held );
   } );
   writeState( name, entity );
}

void Recorder::Impl::writeHead()
{
   writeHeader();
   units_.clear();
   writeUnits();
   for( const auto& shim : shims )
      for( const auto& [ unit, recorded ] : units_ )
         shim->describe( unit );
   for( const auto& [ name, manager ] : managers )
      manager->describe();
   if( groupManager )
      groupManager->describe();
   for( const std::string& name : inputs_ )
      if( const auto watch = watches_.find( name ); watch != watches_.end() )
         writeStates( name, watch->second->entity() );
   journal->chips()->forEach( [ & ]( std::string_view call ) {
      journal->write( "chip", [ & ]( JsonObject& record ) { record.addMembers( call ); } );
   } );
}

void Recorder::Impl::changed( const std::string& name, const Change& change )
{
   const Entity& entity = change.publisher;
   const Attribute& attribute = entity.entityType().attribute( change.number );
   const std::string key = change.key.text();
   const bool isCollection = !attribute.info().keyType.empty();
   bool isGone = change.kind == ChangeKind::Removed;
   Value value;
   if( !isGone )
      try {
         value = isCollection ? attribute.read( entity, key ) : attribute.read( entity );
      } catch( const Vormel::Error& ) {
         isGone = true; // an earlier subscriber has removed it
      }
   const bool isMember = isCollection && attribute.holdsObject();
   if( isMember && !isGone )
      watchMember( memberName( name, attribute, key ), value );
   const bool isInput = isOfAgent( attribute );
   if( isInput ) {
      journal->replaceIfFull();
      writeUnits();
   }
   const U64 number = journal->write( isInput ? "input" : "notify", [ & ]( JsonObject& record ) {
      if( !isInput )
         record.add( "cause", journal->cause() );
      record.add( "object", std::string_view( name ) );
      record.add( "attribute", attribute.info().name );
      record.add( "change", Vormel::enumName( change.kind ) );
      if( isCollection )
         record.add( "key", std::string_view( key ) );
      if( !isGone )
         addValue( record.at( "value" ), value );
   } );
   if( isInput )
      journal->causeIs( number );
   if( isMember && isGone )
      watches_.erase( memberName( name, attribute, key ) );
}

template<class Work>
void Recorder::Impl::access( std::string_view record, const Ref<Entity>& object,
   const Attribute& attribute, const Value& key, const Value& value, const Work& work )
{
   if( isOfAgent( attribute ) ) // the change is an input of its own
      return work();
   during(
      record,
      [ & ]( JsonObject& members ) {
         addValue( members.at( "object" ), Vormel::ObjectRef( object ) );
         members.add( "attribute", attribute.info().name );
         if( !std::holds_alternative<std::monostate>( key ) )
            members.add( "key", std::string_view( toText( key ) ) );
         if( record == "set" )
            addValue( members.at( "value" ), value );
      },
      work );
}

template<class Fill, class Work>
void Recorder::Impl::during( std::string_view record, Fill fill, const Work& work )
{
   if( !journal )
      return work();
   journal->replaceIfFull();
   const Journal::Open open( *journal );
   writeUnits();
   const U64 number = journal->write( record, fill );
   const U64 before = journal->causeIs( number );
   const auto ends = [ & ]( auto add ) {
      journal->write( "returned", [ & ]( JsonObject& end ) {
         end.add( "of", number );
         add( end );
      } );
      journal->causeIs( before );
   };
   try {
      work();
   } catch( const std::exception& error ) {
      ends( [ & ]( JsonObject& end ) { end.add( "error", error.what() ); } );
      throw;
   }
   ends( []( JsonObject& ) {} );
}

Recorder::Recorder( const std::string& file ) : Recorder( file, 0 ) {}

Recorder::Recorder( const std::string& file, U64 limit )
   : impl_( std::make_unique<Impl>(
        file.empty() ? nullptr : std::make_shared<Journal>( file, limit ) ) )
{}

Recorder::Recorder( std::function<void( std::string_view record )> reader )
   : impl_( std::make_unique<Impl>( std::make_shared<Journal>( std::move( reader ) ) ) )
{}

Recorder::~Recorder() = default;

bool Recorder::recording() const
{
   return impl_->journal && impl_->journal->open();
}

void Recorder::leave()
{
   if( impl_->journal )
      impl_->journal->close();
}

SdkShimInterface& Recorder::shim( SdkShimInterface& next )
{
   if( !impl_->journal )
      return next;
   impl_->shims.push_back( std::make_unique<Recording::RecordingShim>( next, *impl_->journal ) );
   return *impl_->shims.back();
}

Ref<StrataBoundedTcamEntryManager> Recorder::manager(
   const std::string& name, const Ref<StrataBoundedTcamEntryManager>& next )
{
   if( !next || !impl_->journal )
      return next;
   const auto made = Vormel::make<Recording::RecordingManager>( name, next, impl_->journal );
   made->describe();
   impl_->managers[ name ] = made;
   impl_->names[ made.get() ] = name;
   return made;
}

Ref<StrataTcamGroupManager> Recorder::groupManager( const Ref<StrataTcamGroupManager>& next )
{
   if( !next || !impl_->journal )
      return next;
   const auto made = Vormel::make<Recording::RecordingGroupManager>( next, impl_->journal );
   impl_->groupManager = made;
   impl_->names[ made.get() ] = "groups";
   return made;
}

Ref<PortSwTable> Recorder::portSwTable( const Ref<PortSwTable>& next )
{
   if( !next || !impl_->journal )
      return next;
   const auto made = Vormel::make<Recording::RecordingPortSwTable>( next, impl_->journal );
   impl_->names[ made.get() ] = "portSwTable";
   return made;
}

void Recorder::sharedData( const Ref<StrataCommonSmData>& scsd )
{
   impl_->scsd = scsd;
   if( impl_->journal )
      impl_->writeUnits();
   input( "scsd", scsd );
}

void Recorder::input( const std::string& name, const Ref<const Entity>& entity )
{
   if( impl_->journal )
      impl_->input( name, entity );
}

void Recorder::helper( const Ref<RoutingStatusHelper>& helper )
{
   impl_->helper = helper;
   input( "helper", helper );
}

void Recorder::clock( Vormel::Clock& clock )
{
   if( !impl_->journal )
      return;
   clock.expiryListenerIs( [ journal = impl_->journal ]( double now ) {
      journal->replaceIfFull();
      journal->causeIs( journal->write(
         "timer", [ & ]( JsonObject& record ) { record.at( "now" ) += toText( Value( now ) ); } ) );
   } );
}

Value Recorder::callWith( std::string_view operation, std::span<const Value> arguments )
{
   if( !impl_->helper )
      throw Vormel::AccessError(
         "'" + std::string( operation ) + "' cannot be called: the recorder has no helper yet" );
   const Vormel::Operation& called = impl_->helper->entityType().operation( operation );
   Value result;
   impl_->during(
      "call",
      [ & ]( JsonObject& record ) {
         record.add( "operation", operation );
         std::string& text = record.at( "arguments" );
         text += '[';
         for( const Value& argument : arguments ) {
            if( text.back() != '[' )
               text += ',';
            impl_->addValue( text, argument );
         }
         text += ']';
      },
      [ & ] { result = called.call( *impl_->helper, arguments ); } );
   return result;
}

void Recorder::set(
   const Ref<Entity>& object, const Attribute& attribute, const Value& key, const Value& value )
{
   impl_->access( "set", object, attribute, key, value, [ & ] {
      if( attribute.info().keyType.empty() )
         attribute.write( *object, value );
      else
         attribute.write( *object, key, value );
   } );
}

void Recorder::del( const Ref<Entity>& object, const Attribute& attribute, const Value& key )
{
   impl_->access( "del", object, attribute, key, {}, [ & ] {
      if( std::holds_alternative<std::monostate>( key ) )
         attribute.delAll( *object );
      else
         attribute.del( *object, key );
   } );
}

void Recorder::runWith( std::string_view record, std::string_view what,
   std::initializer_list<const Counted*> inputs, const std::function<void()>& work )
{
   impl_->during(
      record,
      [ & ]( JsonObject& object ) {
         object.add( "what", what );
         std::string& text = object.at( "inputs" );
         text += '[';
         for( const Counted* const input : inputs ) {
            if( text.back() != '[' )
               text += ',';
            impl_->addValue( text, Vormel::ObjectRef( input ) );
         }
         text += ']';
      },
      work );
}

void Recorder::trace( const Vormel::TraceRecord& record )
{
   if( !impl_->journal )
      return;
   impl_->journal->write( "trace", [ & ]( JsonObject& object ) {
      object.add( "cause", impl_->journal->cause() );
      object.add( "handle", record.handle );
      object.add( "level", record.level );
      object.add( "function", record.function );
      object.add( "text", record.text );
   } );
}

void Recorder::log( const Vormel::SyslogRecord& record )
{
   if( !impl_->journal )
      return;
   impl_->journal->write( "log", [ & ]( JsonObject& object ) {
      object.add( "cause", impl_->journal->cause() );
      object.add( "key", record.handle.key() );
      object.add( "severity", static_cast<U32>( record.handle.severity() ) );
      object.add( "text", record.text );
   } );
}

} // namespace Strata
