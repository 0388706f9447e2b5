// Tables that fit the terminal: the last column has the remaining width and continues on further lines. For programs
// each row is a JSON object, of values given with the row or else of its cells.
#pragma once

#include "platform/runtime/Types.h"

#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Tool {

enum class Align : U8
{
   left,
   right,
};

struct Column
{
   std::string title;
   Align align = Align::left;
   bool cut = false; // the last column: it ends with the line instead
};

class Table
{
 public:
   static constexpr std::size_t usualWidth = 80;

   explicit Table( std::vector<Column> columns ) : columns_( std::move( columns ) ) {}

   /// Missing cells at the end are empty. The object is the row for programs; null for its cells by column.
   void row( std::vector<std::string> cells, nlohmann::ordered_json object = {} );
   /// Starts a section with this title for the following rows.
   void section( const std::string& title );

   bool empty() const { return rows_.empty(); }
   std::size_t rows() const { return rows_.size(); }

   std::vector<std::string> titles() const;
   /// Calls the functions for each section and each row, in order.
   void visit( const std::function<void( const std::string& title )>& section,
      const std::function<void( const std::vector<std::string>& cells )>& row ) const;

   struct TextLine
   {
      enum class Role : U8
      {
         heading,
         section,
         row,
      };
      Role role;
      std::string text;
      bool continues = false; // the row of the line before
   };
   /// In lines of at most `width`.
   std::vector<TextLine> lines( std::size_t width = usualWidth ) const;

   /// An array of objects; the section, if any, is the member "section".
   nlohmann::ordered_json json() const;

 private:
   struct Row
   {
      std::size_t section; // 0 for none, else index in sections_ plus 1
      std::vector<std::string> cells;
      nlohmann::ordered_json object;
   };

   std::vector<std::size_t> widths( std::size_t lineWidth ) const;
   void addRow( std::vector<TextLine>& lines, TextLine::Role role,
      const std::vector<std::string>& cells, const std::vector<std::size_t>& widths ) const;

   std::vector<Column> columns_;
   std::vector<std::string> sections_;
   std::vector<Row> rows_;
};

/// The text in lines of at most `width`, broken at blanks where there are any. Line breaks in it are kept; an
/// indented line continues two blanks further in.
std::vector<std::string> wrapped( std::string_view text, std::size_t width );

} // namespace Strata::Tool
