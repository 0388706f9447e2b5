#include "sim/Recorder.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"

namespace Strata::Sim {

using Vormel::Attribute;
using Vormel::Change;
using Vormel::ChangeKind;
using Vormel::Value;

struct ChangeParts
{
   std::string attribute;
   std::string key;
   std::string oldValue;
   std::string newValue;
};

/// The value as it is now: an earlier subscriber may have changed it again, or taken the member
/// away.
static std::string valueNow( const Change& change, const Attribute& attribute )
{
   try {
      if( change.key.empty() )
         return toText( attribute.read( change.publisher ) );
      return toText( attribute.read( change.publisher, Value( change.key.text() ) ) );
   } catch( const Vormel::Error& ) {
      return "gone";
   }
}

static ChangeParts partsOf( const Change& change )
{
   const Attribute& attribute = change.publisher.entityType().attribute( change.number );
   ChangeParts parts{
      std::string( attribute.info().name ), change.key.text(), change.oldValue.text(), {} };
   if( change.kind != ChangeKind::Removed )
      parts.newValue = valueNow( change, attribute );
   return parts;
}

static std::string textOf( const std::string& name, const Change& change, const ChangeParts& parts )
{
   std::string text = name + "." + parts.attribute;
   if( !change.key.empty() )
      text += "[" + parts.key + "]";
   text += " (" + std::to_string( change.number ) + "): ";
   switch( change.kind ) {
   case ChangeKind::Changed:
      return text + parts.oldValue + " -> " + parts.newValue;
   case ChangeKind::Inserted:
      return text + "inserted " + parts.newValue;
   case ChangeKind::Removed:
      return text + "removed " + parts.oldValue;
   }
   return text;
}

std::string Recorder::changeText( const std::string& name, const Change& change )
{
   return textOf( name, change, partsOf( change ) );
}

class Recorder::Watch final : public Vormel::Subscriber
{
 public:
   Watch( Transcript& transcript, const Ref<const Entity>& entity, std::string name )
      : transcript_( transcript ),
        entity_( entity ),
        name_( std::move( name ) )
   {
      entity_->subscriberAdd( *this );
   }
   Watch( const Watch& ) = delete;
   Watch& operator=( const Watch& ) = delete;
   ~Watch() { entity_->subscriberDel( *this ); }

   void onChange( const Change& change ) noexcept override
   {
      static constexpr const char* kinds[] = { "changed", "inserted", "removed" };
      const ChangeParts parts = partsOf( change );
      std::vector<RecordField> fields{ { "object", name_ }, { "attribute", parts.attribute },
         { "attributeNumber", change.number },
         { "change", kinds[ static_cast<std::size_t>( change.kind ) ] } };
      if( !change.key.empty() )
         fields.emplace_back( "key", parts.key );
      if( change.kind != ChangeKind::Inserted )
         fields.emplace_back( "old", parts.oldValue );
      if( change.kind != ChangeKind::Removed )
         fields.emplace_back( "new", parts.newValue );
      transcript_.add( RecordKind::notify, textOf( name_, change, parts ), std::move( fields ) );
   }

 private:
   Transcript& transcript_;
   Ref<const Entity> entity_;
   std::string name_;
};

Recorder::Recorder( Transcript& transcript ) : transcript_( transcript ) {}
Recorder::~Recorder() = default;

static std::string plainTypeName( const Entity& entity )
{
   const std::string_view name = entity.entityType().name();
   const auto colon = name.rfind( ':' );
   return std::string( colon == name.npos ? name : name.substr( colon + 1 ) );
}

void Recorder::record( const Ref<const Entity>& entity, std::string name )
{
   std::unique_ptr<Watch>& watch = watches_[ entity.get() ];
   if( watch )
      return;
   if( name.empty() )
      name = plainTypeName( *entity );
   watch = std::make_unique<Watch>( transcript_, entity, std::move( name ) );
}

void Recorder::forget( const Entity& entity )
{
   watches_.erase( &entity );
}

} // namespace Strata::Sim
