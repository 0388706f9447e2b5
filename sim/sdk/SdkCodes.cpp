#include "sim/sdk/SdkCodes.h"

#include "platform/runtime/Errors.h"
#include "sim/switch/Names.h"

#include <charconv>
#include <vector>

namespace Strata::Sim {

std::span<const SdkCodeInfo> sdkCodes()
{
#define INFO( code, number, name, text ) { SdkCode::code, name, text },
   static constexpr SdkCodeInfo codes[] = { STRATA_SIM_SDK_CODES( INFO ) };
#undef INFO
   return codes;
}

static const SdkCodeInfo* find( int code )
{
   for( const SdkCodeInfo& info : sdkCodes() )
      if( static_cast<int>( info.code ) == code )
         return &info;
   return nullptr;
}

std::string sdkCodeName( int code )
{
   const SdkCodeInfo* const info = find( code );
   return info ? std::string( info->name ) : std::to_string( code );
}

std::string sdkCodeText( int code )
{
   const SdkCodeInfo* const info = find( code );
   return info ? std::string( info->text ) : "Unknown error";
}

static std::string fullName( std::string_view text )
{
   std::string name;
   for( const char c : text )
      name += c == '-' ? '_' : ( c >= 'a' && c <= 'z' ) ? static_cast<char>( c - 'a' + 'A' ) : c;
   return name.starts_with( "BCM_E_" ) ? name : "BCM_E_" + name;
}

std::optional<SdkCode> parseSdkCode( std::string_view text )
{
   int number = 0;
   const auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   const bool isNumber = error == std::errc() && end == text.data() + text.size();
   if( isNumber && number > 0 )
      return static_cast<SdkCode>( number );
   const std::string name = fullName( text );
   for( const SdkCodeInfo& info : sdkCodes() )
      if( isNumber ? static_cast<int>( info.code ) == number : info.name == name )
         return info.code;
   return std::nullopt;
}

SdkCode sdkCode( std::string_view text )
{
   if( const auto code = parseSdkCode( text ) )
      return *code;
   std::vector<std::string_view> names;
   for( const SdkCodeInfo& info : sdkCodes() )
      names.push_back( info.name );
   throw Vormel::ValueError(
      "there is no SDK code '" + std::string( text ) + "'" + hint( fullName( text ), names ) );
}

} // namespace Strata::Sim
