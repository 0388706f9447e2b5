#include "sim/switch/Transcript.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <type_traits>

namespace Strata::Sim {

using SharedJson = std::shared_ptr<const JsonText>;

std::string Record::line() const
{
   std::string line( Vormel::enumName( kind ) );
   line.resize( std::max<std::size_t>( line.size() + 1, 7 ), ' ' );
   return line + text;
}

std::string Record::json() const
{
   nlohmann::ordered_json object;
   object[ "number" ] = number;
   object[ "kind" ] = Vormel::enumName( kind );
   for( const RecordField& f : fields )
      std::visit(
         [ & ]( const auto& value ) {
            if constexpr( std::is_same_v<std::decay_t<decltype( value )>, SharedJson> )
               object[ std::string( f.name ) ] = nlohmann::ordered_json::parse( value->json );
            else
               object[ std::string( f.name ) ] = value;
         },
         f.value );
   if( fields.empty() )
      object[ "text" ] = text;
   // Texts from outside, such as names, may contain invalid UTF-8.
   return object.dump( -1, ' ', false, nlohmann::ordered_json::error_handler_t::replace );
}

std::string Record::field( std::string_view name ) const
{
   const auto asText = []( const auto& value ) -> std::string {
      using T = std::decay_t<decltype( value )>;
      if constexpr( std::is_same_v<T, std::string> )
         return value;
      else if constexpr( std::is_same_v<T, bool> )
         return value ? "true" : "false";
      else if constexpr( std::is_same_v<T, SharedJson> )
         return value->text;
      else
         return std::to_string( value );
   };
   for( const RecordField& f : fields )
      if( f.name == name )
         return std::visit( asText, f.value );
   return {};
}

void Transcript::add( RecordKind kind, RecordContent content )
{
   const std::lock_guard guard( mutex_ );
   ++counts_[ static_cast<std::size_t>( kind ) ];
   Record record{ ++added_, kind, std::move( content.text ), std::move( content.fields ) };
   if( hears( kind ) )
      listener_( record );
   if( keep_ )
      records_.push_back( std::move( record ) );
}

void Transcript::pass( RecordKind kind )
{
   const std::lock_guard guard( mutex_ );
   ++counts_[ static_cast<std::size_t>( kind ) ];
   ++added_;
}

bool Transcript::wants( RecordKind kind ) const
{
   const std::lock_guard guard( mutex_ );
   return keep_ || hears( kind );
}

void Transcript::keepIs( bool keep )
{
   const std::lock_guard guard( mutex_ );
   keep_ = keep;
}

void Transcript::clear()
{
   const std::lock_guard guard( mutex_ );
   records_.clear();
}

U64 Transcript::lastNumber() const
{
   const std::lock_guard guard( mutex_ );
   return added_;
}

void Transcript::lastNumberIs( U64 number )
{
   const std::lock_guard guard( mutex_ );
   added_ = number;
}

U64 Transcript::count( RecordKind kind ) const
{
   const std::lock_guard guard( mutex_ );
   return counts_[ static_cast<std::size_t>( kind ) ];
}

void Transcript::listenerIs( Listener listener, Filter hears )
{
   const std::lock_guard guard( mutex_ );
   listener_ = std::move( listener );
   hears_ = std::move( hears );
}

} // namespace Strata::Sim
