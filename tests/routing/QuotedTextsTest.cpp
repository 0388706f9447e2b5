#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace Strata {
namespace {

// Operators and their tools search logs for these texts, and the binary for the origin of a log line. The texts are
// stringified code, so renaming a local variable would change them, and an optimising compiler may split a text.
TEST( QuotedTextsTest, EveryTextThatLogsShowIsInTheLibrary )
{
   std::ifstream file( STRATA_LIBRARY_FILE, std::ios::binary );
   std::string library{ std::istreambuf_iterator<char>( file ), {} };
   // Compilers write blanks differently; signatureText() makes them equal.
   for( auto at = library.find( " &" ); at != std::string::npos; at = library.find( " &", at + 1 ) )
      if( at + 2 < library.size() && ( library[ at + 2 ] == ',' || library[ at + 2 ] == ')' ) )
         library.erase( at, 1 );
   ASSERT_FALSE( library.empty() ) << STRATA_LIBRARY_FILE;
   std::ifstream texts( "tests/routing/quoted-texts.txt" );
   int count = 0;
   for( std::string text; std::getline( texts, text ); ++count ) {
      const bool found = library.find( text + '\0' ) != std::string::npos;
      EXPECT_TRUE( found ) << text;
   }
   EXPECT_GT( count, 190 );
}

} // namespace
} // namespace Strata
