#include "desk/RecordMeaning.h"

#include "desk/Replay.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Strata::Desk {

bool isCompared( RecordedKind kind )
{
   switch( kind ) {
   case RecordedKind::returned:
   case RecordedKind::begin:
   case RecordedKind::question:
   case RecordedKind::notify:
   case RecordedKind::fatal:
      return true;
   default:
      return isInput( kind );
   }
}

/// The members that tell what a record is about, and not when it was.
static Json meaning( Json record )
{
   for( const char* const member : { "n", "t", "cause", "of", "now" } )
      record.erase( member );
   return record;
}

bool isSame( const Json& recorded, const Json& today )
{
   const Json had = meaning( recorded );
   // A member that only the recording has is of a newer writer.
   const Json has = meaning( today );
   return std::ranges::all_of( has.items(),
             [ & ]( const auto& item ) {
                const auto at = had.find( item.key() );
                return at != had.end() && *at == item.value();
             } ) &&
          had.contains( "value" ) == has.contains( "value" ) &&
          had.contains( "error" ) == has.contains( "error" ) &&
          had.contains( "manager" ) == has.contains( "manager" );
}

bool isSimilar( const Json& recorded, const Json& today )
{
   const auto target = []( const Json& record ) {
      Json arguments = record.value( "arguments", Json() );
      if( !arguments.is_object() )
         arguments = Json::object();
      std::vector<Json> parts{ record.at( "record" ) };
      for( const char* const member : { "call", "manager", "question", "object", "attribute" } )
         parts.push_back( record.value( member, Json() ) );
      for( const char* const member : { "unit", "entry", "entryId", "vlanId", "control", "reg" } )
         parts.push_back( arguments.value( member, Json() ) );
      return parts;
   };
   return target( recorded ) == target( today );
}

std::vector<std::string> Divergence::differing() const
{
   std::vector<std::string> names;
   if( !recorded || !today )
      return names;
   const Json had = recorded->json();
   const auto compare = [ & ]( const auto& self, const Json& a, const Json& b,
                           const std::string& prefix ) -> void {
      for( const auto& [ name, value ] : a.items() ) {
         const auto at = b.find( name );
         if( at != b.end() && at->is_object() && value.is_object() )
            self( self, value, *at, prefix + name + "." );
         else if( at == b.end() || *at != value )
            names.push_back( prefix + name );
      }
      for( const auto& [ name, value ] : b.items() )
         if( !a.contains( name ) )
            names.push_back( prefix + name );
   };
   const Json a = meaning( had );
   const Json b = meaning( *today );
   if( a.value( "call", Json() ) == b.value( "call", Json() ) && a.contains( "arguments" ) &&
       b.contains( "arguments" ) && a.at( "arguments" ).is_object() )
      compare( compare, a.at( "arguments" ), b.at( "arguments" ), "" );
   else
      compare( compare, a, b, "" );
   return names;
}

} // namespace Strata::Desk
