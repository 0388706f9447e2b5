#include "sim/SdkCodes.h"

#include "platform/runtime/Errors.h"
#include "sim/Names.h"

#include <charconv>
#include <vector>

namespace Strata::Sim {

const std::array<SdkCodeInfo, 17>& sdkCodes()
{
   static constexpr std::array<SdkCodeInfo, 17> codes{ {
      { SdkCode::None, "BCM_E_NONE", "Ok" },
      { SdkCode::Internal, "BCM_E_INTERNAL", "Internal error" },
      { SdkCode::Memory, "BCM_E_MEMORY", "Out of memory" },
      { SdkCode::Unit, "BCM_E_UNIT", "Invalid unit" },
      { SdkCode::Param, "BCM_E_PARAM", "Invalid parameter" },
      { SdkCode::Full, "BCM_E_FULL", "Table full" },
      { SdkCode::NotFound, "BCM_E_NOT_FOUND", "Entry not found" },
      { SdkCode::Exists, "BCM_E_EXISTS", "Entry exists" },
      { SdkCode::Timeout, "BCM_E_TIMEOUT", "Operation timed out" },
      { SdkCode::Busy, "BCM_E_BUSY", "Operation still running" },
      { SdkCode::Fail, "BCM_E_FAIL", "Operation failed" },
      { SdkCode::Badid, "BCM_E_BADID", "Invalid identifier" },
      { SdkCode::Resource, "BCM_E_RESOURCE", "No resources for operation" },
      { SdkCode::Config, "BCM_E_CONFIG", "Invalid configuration" },
      { SdkCode::Unavail, "BCM_E_UNAVAIL", "Feature unavailable" },
      { SdkCode::Init, "BCM_E_INIT", "Feature not initialized" },
      { SdkCode::Port, "BCM_E_PORT", "Invalid port" },
   } };
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
