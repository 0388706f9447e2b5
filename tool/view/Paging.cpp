// The part of Console that selects rows and shows long output a screenful at a time.
#include "tool/view/Console.h"
#include "tool/view/Screen.h"

#include <algorithm>
#include <sstream>

namespace Strata::Tool {

Showing::Showing( Console& console, std::vector<Filter> filters ) : console_( console )
{
   console_.showBegins( std::move( filters ) );
}

Showing::~Showing()
{
   console_.showEnds();
}

void Console::showBegins( std::vector<Filter> filters )
{
   filters_ = std::move( filters );
   page_.emplace();
}

void Console::showEnds()
{
   filters_.clear();
   const std::vector<Toned> lines = std::move( *page_ );
   page_.reset();
   const ScreenSize size = screenSize();
   const std::size_t length = length_.value_or( size.rows );
   std::size_t rows = 1; // for the prompt
   for( const Toned& line : lines )
      rows += std::max<std::size_t>( ( line.text.size() + size.columns - 1 ) / size.columns, 1 );
   if( config_.paged && length > 0 && rows > length ) {
      std::ostringstream text;
      write( text, config_.colour, lines );
      if( showInPager( text.str() ) )
         return;
   }
   write( out_, config_.colour, lines );
}

std::vector<Toned> Console::filtered( std::vector<Toned> lines ) const
{
   for( const Filter& filter : filters_ ) {
      std::string section;
      std::vector<std::string> rows; // a row's text behind that of its section, in one line
      std::vector<std::optional<std::size_t>> rowOfLine;
      for( const Toned& line : lines ) {
         if( line.part == Part::head )
            section.clear();
         else if( line.part == Part::section )
            section = line.text + ' ';
         else if( line.part == Part::row )
            rows.push_back( section + line.text );
         else if( line.part == Part::continuation )
            rows.back() += ' ' + line.text.substr( std::min(
                                    line.text.find_first_not_of( ' ' ), line.text.size() ) );
         const bool inRow = line.part == Part::row || line.part == Part::continuation;
         rowOfLine.push_back( inRow ? std::optional( rows.size() - 1 ) : std::nullopt );
      }
      if( filter.kind == FilterKind::count ) {
         lines = { { Tone::plain,
            "  " + std::to_string( rows.size() ) + ( rows.size() == 1 ? " row" : " rows" ) } };
         continue;
      }
      const std::vector<std::size_t> selected = selectedRows( filter, rows );
      std::vector<Toned> kept;
      for( std::size_t i = 0; i < lines.size(); ++i ) {
         if( rowOfLine[ i ] && !std::ranges::binary_search( selected, *rowOfLine[ i ] ) )
            continue;
         // A section without rows is left out.
         const bool ends = !rowOfLine[ i ];
         if( ends && !kept.empty() && kept.back().part == Part::section )
            kept.pop_back();
         kept.push_back( std::move( lines[ i ] ) );
      }
      lines = std::move( kept );
   }
   return lines;
}

} // namespace Strata::Tool
