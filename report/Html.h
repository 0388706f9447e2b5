// Writes HTML in which every text and every value of an attribute is escaped and every element ends.
#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

namespace Strata::Report {

/// The text as it may stand in elements and in quoted attributes. What is not UTF-8, and characters that HTML excludes,
/// become U+FFFD.
std::string escaped( std::string_view text );

class Html
{
 public:
   using Attributes = std::initializer_list<std::pair<std::string_view, std::string_view>>;

   explicit Html( std::ostream& out ) : out_( out ) {}
   Html( const Html& ) = delete;
   Html& operator=( const Html& ) = delete;

   /// An element that ends with the scope.
   class Element
   {
    public:
      Element( Html& html, std::string_view tag, Attributes attributes = {} );
      ~Element();
      Element( const Element& ) = delete;
      Element& operator=( const Element& ) = delete;

    private:
      Html& html_;
      const std::string tag_;
   };

   void text( std::string_view words );
   /// An element that contains only a text.
   void leaf( std::string_view tag, std::string_view words, Attributes attributes = {} );
   /// An element without content, such as `meta`. Attributes with an empty value are flags.
   void single( std::string_view tag, Attributes attributes = {} );
   /// A link within the page: its text is the fragment, which can be sent as a link.
   void anchor( std::string_view id );
   void link( std::string_view id, std::string_view words );
   /// Of this program's own; not escaped.
   void verbatim( std::string_view html );
   /// Starts a new line in the file.
   void line();

 private:
   void open( std::string_view tag, Attributes attributes );

   std::ostream& out_;
};

} // namespace Strata::Report
