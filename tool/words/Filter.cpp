#include "tool/words/Filter.h"

#include <algorithm>

namespace Strata::Tool {

namespace {

constexpr std::string_view bar = "|";

} // namespace

std::optional<Line> cutFilters( Line& line )
{
   const auto first = std::ranges::find_if(
      line.words, []( const Word& word ) { return !word.quoted && word.text.starts_with( bar ); } );
   if( first == line.words.end() )
      return std::nullopt;
   Line filters = line;
   filters.words.clear();
   for( auto word = first; word != line.words.end(); ++word ) {
      const bool joined = !word->quoted && word->text.starts_with( bar ) && word->text != bar;
      if( !joined ) {
         filters.words.push_back( *word );
         continue;
      }
      filters.words.push_back( { std::string( bar ), word->column, 1, false } );
      filters.words.push_back(
         { word->text.substr( 1 ), word->column + 1, word->width - 1, false } );
   }
   line.words.erase( first, line.words.end() );
   return filters;
}

std::vector<Filter> takeFilters( Words& words )
{
   std::vector<Filter> filters;
   words.expect( bar );
   do {
      const std::string_view name = words.choose( "a filter", Vormel::enumNameList<FilterKind> );
      const FilterKind kind = *Vormel::enumParse<FilterKind>( name );
      filters.push_back( { kind,
         kind == FilterKind::count ? std::string() : words.text( "the text to look for" ) } );
   } while( words.accept( bar ) );
   words.end();
   return filters;
}

std::vector<std::size_t> selectedRows( const Filter& filter, const std::vector<std::string>& rows )
{
   std::vector<std::size_t> selected;
   bool begun = false;
   for( std::size_t i = 0; i < rows.size(); ++i ) {
      const bool fits = rows[ i ].find( filter.text ) != std::string::npos;
      begun = begun || fits;
      if( filter.kind == FilterKind::begin ? begun
                                           : fits == ( filter.kind == FilterKind::include ) )
         selected.push_back( i );
   }
   return selected;
}

} // namespace Strata::Tool
