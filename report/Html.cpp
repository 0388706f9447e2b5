#include "report/Html.h"

#include <cstddef>
#include <ostream>

namespace Strata::Report {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

/// The length of the UTF-8 character at the start of the text; 0 if the text does not start with a whole one.
std::size_t characterAt( std::string_view text )
{
   const auto byte = [ & ]( std::size_t i ) { return static_cast<unsigned char>( text[ i ] ); };
   const unsigned char first = byte( 0 );
   if( first < 0x80 )
      return 1;
   const std::size_t length = first < 0xC2   ? 0
                              : first < 0xE0 ? 2
                              : first < 0xF0 ? 3
                              : first < 0xF5 ? 4
                                             : 0;
   if( length == 0 || text.size() < length )
      return 0;
   for( std::size_t i = 1; i < length; ++i )
      if( ( byte( i ) & 0xC0U ) != 0x80 )
         return 0;
   // Overlong forms, surrogates, and numbers above U+10FFFF.
   const unsigned char second = byte( 1 );
   const bool bad = ( first == 0xE0 && second < 0xA0 ) || ( first == 0xED && second > 0x9F ) ||
                    ( first == 0xF0 && second < 0x90 ) || ( first == 0xF4 && second > 0x8F );
   return bad ? 0 : length;
}

bool isExcluded( char c )
{
   return ( static_cast<unsigned char>( c ) < 0x20 && c != '\n' && c != '\t' ) || c == 0x7F;
}

} // namespace

std::string escaped( std::string_view text )
{
   std::string html;
   html.reserve( text.size() );
   while( !text.empty() ) {
      const std::size_t length = characterAt( text );
      const char c = text.front();
      if( c == '&' )
         html += "&amp;";
      else if( c == '<' )
         html += "&lt;";
      else if( c == '>' )
         html += "&gt;";
      else if( c == '"' )
         html += "&quot;";
      else if( c == '\'' )
         html += "&#39;";
      else if( length == 0 || isExcluded( c ) )
         html += replacement;
      else
         html += text.substr( 0, length );
      text.remove_prefix( length == 0 ? 1 : length );
   }
   return html;
}

Html::Element::Element( Html& html, std::string_view tag, Attributes attributes )
   : html_( html ),
     tag_( tag )
{
   html.open( tag, attributes );
}

Html::Element::~Element()
{
   html_.out_ << "</" << tag_ << '>';
}

void Html::open( std::string_view tag, Attributes attributes )
{
   out_ << '<' << tag;
   for( const auto& [ name, value ] : attributes ) {
      out_ << ' ' << name;
      if( !value.empty() )
         out_ << "=\"" << escaped( value ) << '"';
   }
   out_ << '>';
}

void Html::text( std::string_view words )
{
   out_ << escaped( words );
}

void Html::leaf( std::string_view tag, std::string_view words, Attributes attributes )
{
   const Element element( *this, tag, attributes );
   text( words );
}

void Html::single( std::string_view tag, Attributes attributes )
{
   open( tag, attributes );
}

void Html::anchor( std::string_view id )
{
   link( id, "#" + std::string( id ) );
}

void Html::link( std::string_view id, std::string_view words )
{
   leaf( "a", words, { { "href", "#" + std::string( id ) } } );
}

void Html::verbatim( std::string_view html )
{
   out_ << html;
}

void Html::line()
{
   out_ << '\n';
}

} // namespace Strata::Report
