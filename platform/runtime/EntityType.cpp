#include "platform/runtime/EntityType.h"

#include "platform/runtime/AttributeAccess.h"
#include "platform/runtime/Entity.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Vormel {

std::string Entity::entityName() const
{
   return std::string( entityType().name() );
}

Entity::~Entity() = default;
Attribute::~Attribute() = default;
Operation::~Operation() = default;

void Attribute::refuse( std::string_view wish ) const
{
   throw AccessError(
      "attribute '" + std::string( info_.name ) + "' cannot " + std::string( wish ) );
}

Value Attribute::convertedKey( const Value& ) const
{
   refuse( "have a key: it is a single value" );
}

Value Attribute::read( const Entity& ) const
{
   refuse( "be read as a whole: it is a collection, give a key" );
}

Value Attribute::read( const Entity&, const Value& ) const
{
   refuse( "be read by key: it is a single value" );
}

std::vector<Member> Attribute::members( const Entity& ) const
{
   refuse( "be iterated: it is a single value" );
}

void Attribute::write( Entity&, const Value& ) const
{
   refuse( "be written as a whole: it is a collection, give a key" );
}

void Attribute::write( Entity&, const Value&, const Value& ) const
{
   refuse( "be written by key: it is a single value" );
}

Value Attribute::del( Entity&, const Value& ) const
{
   refuse( "be deleted by key: it is a single value" );
}

void Attribute::delAll( Entity& ) const
{
   refuse( "be deleted: it is a single value" );
}

std::string Detail::badValueText(
   const std::string& where, const Value& given, const std::string& expected )
{
   return where + " '" + toText( given ) + "' is not " + expected;
}

void Detail::badEntity( const Entity& entity, std::string_view member )
{
   throw AccessError( "'" + std::string( member ) + "' is not an attribute or operation of " +
                      std::string( entity.entityType().name() ) );
}

std::string toText( const Parameter& parameter )
{
   return parameter.name + ": " + parameter.expected;
}

void Operation::checkCount( std::size_t given ) const
{
   if( given == parameters_.size() )
      return;
   std::string text = std::string( name_ ) + " takes " + std::to_string( parameters_.size() ) +
                      ( parameters_.size() == 1 ? " argument" : " arguments" );
   for( std::size_t i = 0; i < parameters_.size(); ++i )
      text += ( i == 0 ? " (" : "; " ) + toText( parameters_[ i ] );
   text += std::string( parameters_.empty() ? "" : ")" ) + ", not " + std::to_string( given );
   throw AccessError( text );
}

void Operation::badArgument( std::size_t index, const Value& given ) const
{
   const Parameter& parameter = parameters_[ index ];
   throw ArgumentError(
      index, Detail::badValueText( std::string( name_ ) + ": argument " +
                                      std::to_string( index + 1 ) + " (" + parameter.name + ")",
                given, parameter.expected ) );
}

EntityType::EntityType( std::string_view name, Attributes attributes, Operations operations )
   : name_( name ),
     attributes_( std::move( attributes ) ),
     operations_( std::move( operations ) )
{
   for( const auto& attribute : attributes_ ) {
      attributeByName_.insertOrAssign( { attribute->info().name }, attribute.get() );
      if( attribute->info().number != 0 )
         attributeByNumber_.insertOrAssign( attribute->info().number, attribute.get() );
   }
   for( const auto& operation : operations_ )
      operationByName_.insertOrAssign( { operation->name() }, operation.get() );
}

template<class Index, class Key>
static auto lookUp( const Index& index, const Key& key )
{
   const auto* const found = index.find( key );
   return found ? *found : nullptr;
}

const Attribute* EntityType::findAttribute( std::string_view name ) const
{
   return lookUp( attributeByName_, Detail::MemberName{ name } );
}

const Attribute* EntityType::findAttribute( AttributeNumber number ) const
{
   return lookUp( attributeByNumber_, number );
}

const Operation* EntityType::findOperation( std::string_view name ) const
{
   return lookUp( operationByName_, Detail::MemberName{ name } );
}

namespace {

std::string withNearest(
   const std::string& text, std::string_view wrong, std::span<const std::string_view> names )
{
   const std::string_view nearest = nearestName( wrong, names );
   return nearest.empty() ? text : text + "; did you mean '" + std::string( nearest ) + "'?";
}

} // namespace

const Attribute& EntityType::attribute( std::string_view name ) const
{
   if( const Attribute* const found = findAttribute( name ) )
      return *found;
   std::vector<std::string_view> names;
   for( const auto& attribute : attributes_ )
      names.push_back( attribute->info().name );
   throw AccessError( withNearest(
      std::string( name_ ) + " has no attribute '" + std::string( name ) + "'", name, names ) );
}

const Attribute& EntityType::attribute( AttributeNumber number ) const
{
   if( const Attribute* const found = findAttribute( number ) )
      return *found;
   throw AccessError(
      std::string( name_ ) + " has no attribute with number " + std::to_string( number ) );
}

const Operation& EntityType::operation( std::string_view name ) const
{
   if( const Operation* const found = findOperation( name ) )
      return *found;
   std::vector<std::string_view> names;
   for( const auto& operation : operations_ )
      names.push_back( operation->name() );
   throw AccessError( withNearest(
      std::string( name_ ) + " has no operation '" + std::string( name ) + "'", name, names ) );
}

namespace {

/// The number of letters to insert, drop, change, or swap with the next to turn one text into the other.
std::size_t editDistance( std::string_view a, std::string_view b )
{
   std::vector<std::size_t> row( b.size() + 1 );
   std::iota( row.begin(), row.end(), std::size_t( 0 ) );
   std::vector<std::size_t> above( b.size() + 1 );
   for( std::size_t i = 1; i <= a.size(); ++i ) {
      const std::vector<std::size_t> twoAbove = std::exchange( above, row );
      row[ 0 ] = i;
      for( std::size_t j = 1; j <= b.size(); ++j ) {
         const std::size_t changed = above[ j - 1 ] + ( a[ i - 1 ] == b[ j - 1 ] ? 0 : 1 );
         row[ j ] = std::min( { above[ j ] + 1, row[ j - 1 ] + 1, changed } );
         if( i > 1 && j > 1 && a[ i - 1 ] == b[ j - 2 ] && a[ i - 2 ] == b[ j - 1 ] )
            row[ j ] = std::min( row[ j ], twoAbove[ j - 2 ] + 1 );
      }
   }
   return row.back();
}

} // namespace

std::string_view nearestName( std::string_view wrong, std::span<const std::string_view> names )
{
   std::string_view best;
   std::size_t bestDistance = wrong.size() / 3 + 2; // a larger distance is not a slip
   for( const std::string_view name : names ) {
      const std::size_t distance = editDistance( wrong, name );
      if( distance < bestDistance ) {
         bestDistance = distance;
         best = name;
      }
   }
   return best;
}

} // namespace Vormel
