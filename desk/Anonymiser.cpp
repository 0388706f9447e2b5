#include "desk/Anonymiser.h"

#include "desk/AddressMap.h"
#include "platform/sdk/SdkRoles.h"
#include "platform/types/EthAddr.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstring>
#include <nlohmann/json.hpp> // IWYU pragma: keep, validates
#include <optional>
#include <random>
#include <sys/socket.h>
#include <vector>

namespace Strata::Desk {

using Vormel::EthAddr;
using Vormel::ValueError;

namespace {

bool isDigit( char c )
{
   return c >= '0' && c <= '9';
}

bool isHexDigit( char c )
{
   return isDigit( c ) || ( c >= 'a' && c <= 'f' ) || ( c >= 'A' && c <= 'F' );
}

bool isWordCharacter( char c )
{
   return isDigit( c ) || ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' );
}

/// A part of a text, and what takes its place.
struct Replacement
{
   std::size_t from;
   std::size_t to;
   std::string text;
};

/// Finds the addresses of a text.
class AddressScan
{
 public:
   AddressScan( const SipKey& key, std::string_view text ) : key_( key ), text_( text ) {}

   std::vector<Replacement> found()
   {
      for( at_ = 0; at_ < text_.size(); ) {
         const bool isInWord = at_ > 0 && isWordCharacter( text_[ at_ - 1 ] );
         if( isInWord || !( ip6() || mac( ':', 2 ) || mac( '-', 2 ) || mac( '.', 4 ) || ip4() ) )
            ++at_;
      }
      return std::move( found_ );
   }

 private:
   char after( std::size_t end ) const { return end < text_.size() ? text_[ end ] : ' '; }

   /// The address that ends there is replaced, and the scan goes on behind it.
   bool take( std::size_t end, std::string text )
   {
      if( text_.substr( at_, end - at_ ) != text )
         found_.push_back( { at_, end, std::move( text ) } );
      at_ = end;
      return true;
   }

   bool mac( char separator, std::size_t width )
   {
      const std::size_t length = 11 + 12 / width;
      if( at_ + length > text_.size() || isWordCharacter( after( at_ + length ) ) )
         return false;
      std::string digits;
      for( std::size_t i = 0; i < length; ++i ) {
         const char c = text_[ at_ + i ];
         if( i % ( width + 1 ) == width ? c != separator : !isHexDigit( c ) )
            return false;
         if( c != separator )
            digits += c;
      }
      U64 number = 0;
      std::from_chars( digits.data(), digits.data() + digits.size(), number, 16 );
      const EthAddr address = EthAddr::fromNumber( number );
      const EthAddr other = macOf( mapped( key_, AddressFamily::mac, bitsOf( address ) ) );
      if( other == address )
         return take( at_ + length, std::string( text_.substr( at_, length ) ) );
      std::string plain = other.toString();
      std::erase( plain, ':' );
      for( std::size_t i = width; i < plain.size(); i += width + 1 )
         plain.insert( i, 1, separator );
      return take( at_ + length, plain );
   }

   bool ip4()
   {
      if( at_ > 1 && text_[ at_ - 1 ] == '.' && isDigit( text_[ at_ - 2 ] ) )
         return false;
      return ip( AddressFamily::ip4, AF_INET, []( char c ) { return isDigit( c ) || c == '.'; } );
   }

   bool ip6()
   {
      return ip( AddressFamily::ip6, AF_INET6,
         []( char c ) { return isHexDigit( c ) || c == '.' || c == ':'; } );
   }

   template<class IsPart>
   bool ip( AddressFamily family, int system, IsPart isPart )
   {
      std::size_t end = at_;
      while( end < text_.size() && end - at_ < INET6_ADDRSTRLEN && isPart( text_[ end ] ) )
         ++end;
      if( isWordCharacter( after( end ) ) )
         return false;
      std::string candidate( text_.substr( at_, end - at_ ) );
      if( candidate.ends_with( '.' ) ||
          ( candidate.ends_with( ':' ) && !candidate.ends_with( "::" ) ) )
         candidate.pop_back(); // of the sentence around it
      AddressBits bits{};
      if( inet_pton( system, candidate.c_str(), bits.data() ) != 1 )
         return false;
      const AddressBits mask = maskBehind( at_ + candidate.size(), family );
      const AddressBits other = mapped( key_, family, bits, mask );
      if( other == bits )
         return take( at_ + candidate.size(), candidate );
      std::array<char, INET6_ADDRSTRLEN> text{};
      inet_ntop( system, other.data(), text.data(), text.size() );
      return take( at_ + candidate.size(), text.data() );
   }

   /// Of the length of a prefix, as in 10.0.0.0/8; of a whole address if none is there.
   AddressBits maskBehind( std::size_t at, AddressFamily family ) const
   {
      U32 length = lengthOf( family );
      if( after( at ) == '/' ) {
         const char* const digits = text_.data() + at + 1;
         U32 given = 0;
         const auto end = std::from_chars( digits, text_.data() + text_.size(), given ).ptr;
         if( end != digits && given < length )
            length = given;
      }
      return prefixMask( length );
   }

   const SipKey& key_;
   std::string_view text_;
   std::size_t at_ = 0;
   std::vector<Replacement> found_;
};

/// Copies the JSON of a record, with its addresses mapped. Requires: it is JSON.
class RecordCopy
{
 public:
   RecordCopy( const SipKey& key, std::string_view line ) : key_( key ), line_( line ) {}

   std::string made()
   {
      copyTo( blanksEnd( 0 ) );
      object( false );
      copyTo( line_.size() );
      return std::move( copy_ );
   }

 private:
   struct Member
   {
      std::size_t name; // where its name begins
      std::string_view key;
      std::size_t value; // where its value begins
      std::string_view text;
   };

   std::size_t blanksEnd( std::size_t at ) const
   {
      return std::min( line_.find_first_not_of( " \t\r\n", at ), line_.size() );
   }

   std::size_t stringEnd( std::size_t at ) const
   {
      while( line_[ ++at ] != '"' )
         if( line_[ at ] == '\\' )
            ++at;
      return at + 1;
   }

   std::size_t valueEnd( std::size_t at ) const
   {
      if( line_[ at ] == '"' )
         return stringEnd( at );
      if( line_[ at ] != '{' && line_[ at ] != '[' )
         return std::min( line_.find_first_of( " \t\r\n,]}", at ), line_.size() );
      for( int depth = 0;; ) {
         const char c = line_[ at ];
         depth += c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
         at = c == '"' ? stringEnd( at ) : at + 1;
         if( depth == 0 )
            return at;
      }
   }

   /// Where the next member or element begins, behind a comma; the closing bracket if there is none.
   std::size_t nextBegin( std::size_t at ) const
   {
      at = blanksEnd( at );
      return line_[ at ] == ',' ? blanksEnd( at + 1 ) : at;
   }

   std::vector<Member> membersOfObject() const
   {
      std::vector<Member> members;
      for( std::size_t at = blanksEnd( copied_ + 1 ); line_[ at ] != '}'; ) {
         const std::size_t nameEnd = stringEnd( at );
         const std::size_t value = blanksEnd( blanksEnd( nameEnd ) + 1 );
         const std::size_t end = valueEnd( value );
         members.push_back( { at, line_.substr( at + 1, nameEnd - at - 2 ), value,
            line_.substr( value, end - value ) } );
         at = nextBegin( end );
      }
      return members;
   }

   void copyTo( std::size_t end )
   {
      copy_ += line_.substr( copied_, end - copied_ );
      copied_ = end;
   }

   void replaceTo( std::size_t end, std::string_view text )
   {
      copy_ += text;
      copied_ = end;
   }

   void value()
   {
      if( ++depth_ > 100 ) // a recursion
         throw ValueError( "nested too deeply" );
      const std::size_t end = valueEnd( copied_ );
      if( line_[ copied_ ] == '"' )
         string( end );
      else if( line_[ copied_ ] == '{' )
         object( false );
      else if( line_[ copied_ ] == '[' )
         for( std::size_t at = blanksEnd( copied_ + 1 ); line_[ at ] != ']';
              at = nextBegin( copied_ ) ) {
            copyTo( at );
            value();
         }
      copyTo( end );
      --depth_;
   }

   /// `ofIpQualifier`: the arguments of a qualifier whose data is an IPv4 address.
   void object( bool ofIpQualifier )
   {
      const std::size_t end = valueEnd( copied_ );
      const std::vector<Member> members = membersOfObject();
      const auto textOf = [ & ]( std::string_view key ) {
         const auto at = std::ranges::find( members, key, &Member::key );
         return at == members.end() ? std::string_view() : at->text;
      };
      for( const Member& member : members ) {
         copyTo( member.name );
         string( member.value );
         copyTo( member.value );
         const std::size_t memberEnd = member.value + member.text.size();
         if( member.key == "mask" || member.key == roleName( MemoryField::MacAddrMask ) )
            copyTo( memberEnd );
         else if( const auto other = maskedMac( member, textOf ) )
            replaceTo( memberEnd, *other );
         else if( const auto number = ofIpQualifier && member.key == "data"
                                         ? maskedIp( member.text, textOf( "mask" ) )
                                         : std::nullopt )
            replaceTo( memberEnd, *number );
         else if( member.key == "arguments" && member.text.starts_with( '{' ) )
            object( textOf( "call" ) == "\"bcm_field_qualify_DstIp\"" );
         else
            value();
      }
      copyTo( end );
   }

   template<class TextOf>
   std::optional<std::string> maskedMac( const Member& member, TextOf textOf ) const
   {
      if( member.key != "mac" && member.key != roleName( MemoryField::MacAddr ) )
         return std::nullopt;
      const auto read = []( std::string_view quoted ) {
         return quoted.size() < 2 ? std::nullopt
                                  : EthAddr::parse( quoted.substr( 1, quoted.size() - 2 ) );
      };
      const auto mac = read( member.text );
      const auto mask =
         read( textOf( member.key == "mac" ? "mask" : roleName( MemoryField::MacAddrMask ) ) );
      if( !mac || !mask )
         return std::nullopt;
      const EthAddr other =
         macOf( mapped( key_, AddressFamily::mac, bitsOf( *mac ), bitsOf( *mask ) ) );
      return other == *mac ? std::string( member.text ) : '"' + other.toString() + '"';
   }

   std::optional<std::string> maskedIp( std::string_view data, std::string_view mask ) const
   {
      const auto read = []( std::string_view digits ) -> std::optional<AddressBits> {
         U32 number = 0;
         const char* const begin = digits.data();
         const char* const end = begin + digits.size();
         if( std::from_chars( begin, end, number ).ptr != end || digits.empty() )
            return std::nullopt;
         return bitsOf( number );
      };
      const auto ip = read( data );
      const auto under = read( mask );
      if( !ip || !under )
         return std::nullopt;
      const AddressBits other = mapped( key_, AddressFamily::ip4, *ip, *under );
      return std::to_string(
         U32{ other[ 0 ] } << 24 | U32{ other[ 1 ] } << 16 | U32{ other[ 2 ] } << 8 | other[ 3 ] );
   }

   /// Addresses are searched for in what the text says, so that an escape before one does not hide it.
   void string( std::size_t end )
   {
      const std::size_t begin = copied_;
      std::string said;
      std::vector<std::size_t> places; // of its characters in the line
      for( std::size_t at = begin; at < end; ) {
         places.push_back( at );
         if( line_[ at ] != '\\' ) {
            said += line_[ at++ ];
            continue;
         }
         const bool isNumber = line_[ at + 1 ] == 'u';
         U32 code = '?';
         if( isNumber )
            std::from_chars( &line_[ at + 2 ], &line_[ at + 2 ] + 4, code, 16 );
         else if( line_[ at + 1 ] == '/' )
            code = '/';
         said += code < 0x80 ? static_cast<char>( code ) : '?';
         at += isNumber ? 6 : 2;
      }
      places.push_back( end );
      for( const Replacement& other : AddressScan( key_, said ).found() ) {
         copyTo( places[ other.from ] );
         replaceTo( places[ other.to ], other.text );
      }
      copyTo( end );
   }

   const SipKey& key_;
   std::string_view line_;
   std::string copy_;
   std::size_t copied_ = 0; // what is behind it is not copied yet
   int depth_ = 0;
};

SipKey randomKey()
{
   std::random_device device;
   const auto word = [ & ] { return U64{ device() } << 32 | device(); };
   return { word(), word() };
}

SipKey keyOf( std::string_view text )
{
   const std::vector<U8> bytes( text.begin(), text.end() );
   return { sipHash( { 0, 1 }, bytes ), sipHash( { 0, 2 }, bytes ) };
}

} // namespace

Anonymiser::Anonymiser() : key_( randomKey() ) {}

Anonymiser::Anonymiser( std::string_view keyText ) : key_( keyOf( keyText ) ) {}

std::string Anonymiser::text( std::string_view text ) const
{
   std::string copy( text );
   auto found = AddressScan( key_, text ).found();
   for( auto other = found.rbegin(); other != found.rend(); ++other )
      copy.replace( other->from, other->to - other->from, other->text );
   return copy;
}

std::string Anonymiser::record( std::string_view line ) const
{
   const std::size_t first = line.find_first_not_of( " \t\r\n" );
   if( first == std::string_view::npos || line[ first ] != '{' || !nlohmann::json::accept( line ) )
      throw ValueError( "not a JSON object" );
   return RecordCopy( key_, line ).made();
}

} // namespace Strata::Desk
