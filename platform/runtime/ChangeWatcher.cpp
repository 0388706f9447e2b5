#include "platform/runtime/ChangeWatcher.h"

#include "platform/runtime/EntityType.h"
#include "platform/runtime/Errors.h"

namespace Vormel {

namespace {

/// The present value: an earlier subscriber may have changed it again, or removed the member.
std::string valueNow( const Change& change, const Attribute& attribute )
{
   try {
      if( change.key.empty() )
         return toText( attribute.read( change.publisher ) );
      return toText( attribute.read( change.publisher, Value( change.key.text() ) ) );
   } catch( const Error& ) {
      return "gone";
   }
}

std::string plainTypeName( const Entity& entity )
{
   const std::string_view name = entity.entityType().name();
   const auto colon = name.rfind( ':' );
   return std::string( colon == name.npos ? name : name.substr( colon + 1 ) );
}

} // namespace

std::string_view ChangeText::kindName() const
{
   return enumName( kind );
}

std::string ChangeText::line() const
{
   std::string text = object + "." + attribute;
   if( !key.empty() )
      text += "[" + key + "]";
   text += " (" + std::to_string( number ) + "): ";
   if( kind == ChangeKind::Changed )
      return text + oldValue + " -> " + newValue;
   return text + std::string( kindName() ) + " " +
          ( kind == ChangeKind::Inserted ? newValue : oldValue );
}

ChangeText describeChange( std::string object, const Change& change )
{
   const Attribute& attribute = change.publisher.entityType().attribute( change.number );
   ChangeText text{ std::move( object ), std::string( attribute.info().name ), change.number,
      change.kind, change.key.text(), change.oldValue.text(), {} };
   if( change.kind != ChangeKind::Removed )
      text.newValue = valueNow( change, attribute );
   return text;
}

ChangeWatcher::ChangeWatcher( Ref<const Entity> entity, std::string name, Sink sink )
   : entity_( std::move( entity ) ),
     name_( name.empty() ? plainTypeName( *entity_ ) : std::move( name ) ),
     sink_( std::move( sink ) )
{
   entity_->subscriberAdd( *this );
}

ChangeWatcher::~ChangeWatcher()
{
   entity_->subscriberDel( *this );
}

void ChangeWatcher::onChange( const Change& change ) noexcept
{
   ++changes_;
   ++byNumber_[ change.number ];
   if( sink_ )
      sink_( describeChange( name_, change ) );
}

} // namespace Vormel
