#include "tool/view/Table.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Strata::Tool {

namespace {

constexpr std::string_view indent = "  ";
constexpr std::size_t gap = 2;
constexpr std::size_t narrowest = 20; // of the last column, even if the others leave less

std::string padded( const std::string& text, std::size_t width, Align align )
{
   const std::string blanks( width > text.size() ? width - text.size() : 0, ' ' );
   return align == Align::left ? text + blanks : blanks + text;
}

/// The whole words of a text that goes on, and a mark for the rest.
std::string cutShort( std::string text, std::size_t width )
{
   constexpr std::string_view mark = " ...";
   while( text.size() + mark.size() > width && text.find( ' ' ) != text.npos )
      text.erase( text.rfind( ' ' ) );
   return text + std::string( mark );
}

/// "Total us" is "totalUs".
std::string jsonName( std::string_view title )
{
   std::string name;
   bool starts = false;
   for( const char c : title ) {
      if( c != ' ' && c != ',' )
         name +=
            static_cast<char>( starts && !name.empty() ? std::toupper( c ) : std::tolower( c ) );
      starts = c == ' ';
   }
   return name;
}

} // namespace

static void wrapParagraph(
   std::string_view text, std::size_t width, std::vector<std::string>& lines )
{
   const std::size_t blanks = std::min( text.find_first_not_of( ' ' ), text.size() );
   const std::string hanging( blanks == 0 ? 0 : blanks + 2, ' ' );
   std::string line;
   while( line.size() + text.size() > width ) {
      const std::size_t room = width - line.size();
      std::size_t cut = text.rfind( ' ', room );
      if( cut == text.npos || cut <= ( line.empty() ? blanks : 0 ) )
         cut = room;
      lines.push_back( line + std::string( text.substr( 0, cut ) ) );
      text.remove_prefix( cut );
      if( text.starts_with( ' ' ) )
         text.remove_prefix( 1 );
      line = hanging;
   }
   lines.push_back( line + std::string( text ) );
}

std::vector<std::string> wrapped( std::string_view text, std::size_t width )
{
   std::vector<std::string> lines;
   for( ;; ) {
      const std::size_t newline = text.find( '\n' );
      wrapParagraph( text.substr( 0, newline ), width, lines );
      if( newline == text.npos )
         return lines;
      text.remove_prefix( newline + 1 );
   }
}

void Table::row( std::vector<std::string> cells, nlohmann::ordered_json object )
{
   cells.resize( columns_.size() );
   rows_.push_back( { sections_.size(), std::move( cells ), std::move( object ) } );
}

void Table::section( const std::string& title )
{
   sections_.push_back( title );
}

std::vector<std::size_t> Table::widths( std::size_t lineWidth ) const
{
   std::vector<std::size_t> widths;
   std::size_t used = indent.size();
   for( std::size_t i = 0; i < columns_.size(); ++i ) {
      std::size_t width = columns_[ i ].title.size();
      for( const Row& row : rows_ )
         width = std::max( width, row.cells[ i ].size() );
      if( i + 1 == columns_.size() )
         width = std::min( width, std::max( narrowest, lineWidth - std::min( used, lineWidth ) ) );
      widths.push_back( width );
      used += width + gap;
   }
   return widths;
}

void Table::addRow( std::vector<TextLine>& lines, TextLine::Role role,
   const std::vector<std::string>& cells, const std::vector<std::size_t>& widths ) const
{
   std::string text( indent );
   for( std::size_t i = 0; i + 1 < cells.size(); ++i )
      text += padded( cells[ i ], widths[ i ], columns_[ i ].align ) + std::string( gap, ' ' );
   const std::string hanging( text.size(), ' ' );
   std::vector<std::string> parts = wrapped( cells.back(), widths.back() );
   if( columns_.back().cut && parts.size() > 1 )
      parts = { cutShort( parts.front(), widths.back() ) };
   bool continues = false;
   for( const std::string& part : parts ) {
      text += padded( part, widths.back(), columns_.back().align );
      text.erase( text.find_last_not_of( ' ' ) + 1 );
      lines.push_back( { role, text, continues } );
      text = hanging;
      continues = true;
   }
}

std::vector<Table::TextLine> Table::lines( std::size_t width ) const
{
   using Role = TextLine::Role;
   std::vector<TextLine> lines;
   const std::vector<std::size_t> columnWidths = widths( width );
   addRow( lines, Role::heading, titles(), columnWidths );
   visit(
      [ & ]( const std::string& title ) {
         lines.push_back( { Role::section, title } );
      },
      [ & ]( const std::vector<std::string>& cells ) {
         addRow( lines, Role::row, cells, columnWidths );
      } );
   return lines;
}

std::vector<std::string> Table::titles() const
{
   std::vector<std::string> titles;
   for( const Column& column : columns_ )
      titles.push_back( column.title );
   return titles;
}

void Table::visit( const std::function<void( const std::string& title )>& section,
   const std::function<void( const std::vector<std::string>& cells )>& row ) const
{
   std::size_t at = 0;
   for( const Row& each : rows_ ) {
      if( each.section != at )
         section( sections_[ each.section - 1 ] );
      at = each.section;
      row( each.cells );
   }
}

/// Columns that are aligned to the right hold numbers, or nothing.
static nlohmann::ordered_json jsonCell( const Column& column, const std::string& cell )
{
   if( column.align == Align::left )
      return cell;
   S64 number = 0;
   const char* const end = cell.data() + cell.size();
   const auto result = std::from_chars( cell.data(), end, number );
   if( result.ec == std::errc() && result.ptr == end )
      return number;
   return cell.empty() || cell == "-" ? nlohmann::ordered_json() : nlohmann::ordered_json( cell );
}

nlohmann::ordered_json Table::json() const
{
   auto all = nlohmann::ordered_json::array();
   for( const Row& row : rows_ ) {
      if( !row.object.is_null() ) {
         all.push_back( row.object );
         continue;
      }
      nlohmann::ordered_json object;
      if( row.section != 0 )
         object[ "section" ] = sections_[ row.section - 1 ];
      for( std::size_t i = 0; i < columns_.size(); ++i )
         object[ jsonName( columns_[ i ].title ) ] = jsonCell( columns_[ i ], row.cells[ i ] );
      all.push_back( std::move( object ) );
   }
   return all;
}

} // namespace Strata::Tool
