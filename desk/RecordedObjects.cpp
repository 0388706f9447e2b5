#include "desk/RecordedObjects.h"

#include "platform/runtime/Errors.h"

#include <nlohmann/json.hpp>

namespace Strata::Desk {

using Vormel::Attribute;
using Vormel::AttributeKind;
using Vormel::Entity;
using Vormel::Value;

Json plainJson( const Value& value )
{
   if( const auto* const truth = std::get_if<bool>( &value ) )
      return *truth;
   if( const auto* const number = std::get_if<S64>( &value ) )
      return *number;
   if( const auto* const number = std::get_if<U64>( &value ) )
      return *number;
   if( const auto* const text = std::get_if<std::string>( &value ) )
      return *text;
   return {};
}

namespace {

bool isOfAgent( const Attribute& attribute )
{
   return attribute.info().maintainer == "agent";
}

/// The value, or all members, as a recording has them. A new helper has no objects besides its fields, and no fractions.
Json jsonOf( const Attribute& attribute, const Entity& entity )
{
   if( attribute.info().keyType.empty() )
      return plainJson( attribute.read( entity ) );
   Json members = Json::object();
   for( const auto& [ key, value ] : attribute.members( entity ) )
      members[ toText( key ) ] = plainJson( value );
   return members;
}

} // namespace

Value plainValue( const Json& json )
{
   if( json.is_boolean() )
      return json.get<bool>();
   if( json.is_number_unsigned() )
      return json.get<U64>();
   if( json.is_number_integer() )
      return json.get<S64>();
   if( json.is_number() )
      return json.get<double>();
   if( json.is_null() )
      return {};
   return decodedText( json );
}

void RecordedObjects::notThere( const RecordedLine& record, const std::string& name ) const
{
   if( name == "another object" )
      recording_.fail( record,
         "has an object that the recorder was not told of; an agent names its inputs before it "
         "records the helper" );
   recording_.fail(
      record, "names '" + name + "', which no record 'state' has made, or one of another type" );
}

Ref<Entity> RecordedObjects::find( const std::string& name ) const
{
   const auto at = objects_.find( name );
   return at == objects_.end() ? nullptr : at->second;
}

Value RecordedObjects::valueOf(
   const RecordedLine& record, const Attribute& attribute, const Json& json ) const
{
   if( !attribute.holdsObject() )
      return plainValue( json );
   if( json.is_null() )
      return {};
   const Ref<Entity> object = find( decodedText( json ) );
   if( !object )
      notThere( record, decodedText( json ) );
   return Vormel::ObjectRef( object );
}

RecordedObjects::Named RecordedObjects::stateIs( const RecordedLine& record )
{
   const Json json = record.json();
   const std::string name = decodedText( json.at( "object" ) );
   const Ref<Entity> object = made( record, json );
   setValues( record, *object, json.at( "attributes" ) );
   add( name, object );
   return { name, object };
}

RecordedObjects::Change RecordedObjects::changeOf(
   const RecordedLine& record, const Json& json ) const
{
   const std::string name = decodedText( json.at( "object" ) );
   const std::string attribute = decodedText( json.at( "attribute" ) );
   const Ref<Entity> object = find( name );
   if( !object )
      recording_.fail( record, "tells of the object '" + name + "', which has no record 'state'" );
   Change change{ object, object->entityType().findAttribute( attribute ), {}, {} };
   if( !change.attribute )
      recording_.fail(
         record, "'" + name + "' has no attribute '" + attribute + "' in this version" );
   if( json.contains( "key" ) )
      change.key = decodedText( json.at( "key" ) );
   if( json.contains( "value" ) )
      change.value = valueOf( record, *change.attribute, json.at( "value" ) );
   return change;
}

void RecordedObjects::Change::apply() const
{
   if( !value )
      attribute->del( *object, key );
   else if( attribute->info().keyType.empty() )
      attribute->write( *object, *value );
   else
      attribute->write( *object, key, *value );
}

Ref<Entity> RecordedObjects::made( const RecordedLine& record, const Json& json )
{
   const std::string type = decodedText( json.at( "type" ) );
   const Json& values = json.at( "attributes" );
   for( const Sim::SimSwitch::NamedObject& known : Sim::SimSwitch::objects() )
      if( known.type().name() == type )
         return known.in( hardware_ );
   if( type == RoutingStatusHelper::type().name() ) {
      const Ref<Entity> given = find( decodedText( json.at( "object" ) ) );
      return given ? given : newHelper( record, values );
   }
   if( type == Interface::EthIntfStatus::type().name() )
      if( const auto intf =
             Vormel::IntfId::parse( decodedText( values.value( "intfId", Json( "" ) ) ) ) )
         return Vormel::make<Interface::EthIntfStatus>( *intf );
   if( type == NexthopStatus::type().name() )
      return Vormel::make<NexthopStatus>( decodedText( values.value( "name", Json( "" ) ) ) );
   recording_.fail(
      record, "has an object of the type '" + type + "', which a replay cannot make" );
}

void RecordedObjects::setValues(
   const RecordedLine& record, Entity& entity, const Json& values ) const
{
   for( const auto& [ name, json ] : values.items() ) {
      const Attribute* const attribute = entity.entityType().findAttribute( name );
      if( !attribute || attribute->info().kind == AttributeKind::Field || !isOfAgent( *attribute ) )
         continue;
      try {
         if( attribute->info().keyType.empty() ) {
            attribute->write( entity, valueOf( record, *attribute, json ) );
            continue;
         }
         attribute->delAll( entity );
         for( const auto& [ key, member ] : json.items() ) {
            const Json keyJson( key );
            attribute->write(
               entity, decodedText( keyJson ), valueOf( record, *attribute, member ) );
         }
      } catch( const Vormel::Error& error ) {
         recording_.fail( record, error.what() );
      }
   }
}

void RecordedObjects::checkIsNew( const RecordedLine& record, const Entity& helper ) const
{
   const Json json = record.json();
   const Json& values = json.at( "attributes" );
   for( const auto& attribute : helper.entityType().attributes() ) {
      const auto at = values.find( attribute->info().name );
      if( attribute->info().kind == AttributeKind::Field || isOfAgent( *attribute ) ||
          at == values.end() || *at == jsonOf( *attribute, helper ) )
         continue;
      recording_.fail(
         record, "the recording does not start with the agent: when it began, the helper's '" +
                    std::string( attribute->info().name ) + "' was " + at->dump() +
                    "; a replay needs a recording from before the helper's init" );
   }
}

Ref<RoutingStatusHelper> RecordedObjects::newHelper(
   const RecordedLine& record, const Json& values ) const
{
   const auto field = [ & ]( const char* name ) { return values.value( name, Json() ); };
   const auto input = [ & ]<class Type>( const Ref<Type>&, const char* name ) {
      return as<Type>( record, field( name ) );
   };
   const bool hasTable = !field( "portSwTablePtr" ).is_null();
   return Vormel::make<RoutingStatusHelper>( decodedText( values.value( "name", Json( "" ) ) ),
      input( Ref<StrataCommonSmData>(), "scsd" ),
      field( "tcamGroupManager" ).is_null() ? nullptr : groups_,
      input( Ref<const StrataPbrInfo>(), "strataPbrInfo" ), field( "fabricMode" ) == true,
      input( Ref<const Mlag::Status>(), "mlagStatus" ),
      input( Ref<const Mlag::Hardware::Status>(), "mlagHwStatus" ),
      input( Ref<::Lag::Recirc::RecircFeatureStatus>(), "recircStatus" ),
      input( Ref<const Interface::EthIntfStatusDir>(), "ethIntfStatusDir" ),
      input( Ref<const IntfVlanId::Table>(), "intfVlanIdTable" ),
      input( Ref<StrataUrpfCommonData>(), "strataUrpfCommonData" ),
      input( Ref<const VirtualPortStatus>(), "virtualPortStatus" ),
      hasTable ? portSwTable_ : nullptr );
}

} // namespace Strata::Desk
