#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace Strata {
namespace {

std::string contentsOf( const std::filesystem::path& file )
{
   std::ifstream stream( file, std::ios::binary );
   return { std::istreambuf_iterator<char>( stream ), {} };
}

/// The arguments of a macro in a source, as the macro makes texts of them.
std::set<std::string> argumentsOf( const std::string& macro, const std::string& source )
{
   std::set<std::string> arguments;
   for( auto at = source.find( macro ); at != std::string::npos; at = source.find( macro, at ) ) {
      std::string text = " "; // so that blanks in front are left out
      int depth = 1;
      for( at += macro.size(); depth > 0; ++at ) {
         const char c = source.at( at ) == '\n' ? ' ' : source[ at ];
         depth += c == '(' ? 1 : c == ')' ? -1 : 0;
         if( depth > 0 && ( c != ' ' || !text.ends_with( ' ' ) ) )
            text += c;
      }
      arguments.insert( text.substr( 1, text.find_last_not_of( ' ' ) ) );
   }
   return arguments;
}

// Operators and their tools search logs for these texts, and the binary for the origin of a log line. The texts are
// stringified code, so renaming a local variable would change them, and an optimising compiler may split a text.
TEST( QuotedTextsTest, EveryTextThatLogsShowIsInTheLibrary )
{
   std::string library = contentsOf( STRATA_LIBRARY_FILE );
   // Compilers write blanks differently; signatureText() makes them equal.
   for( auto at = library.find( " &" ); at != std::string::npos; at = library.find( " &", at + 1 ) )
      if( at + 2 < library.size() && ( library[ at + 2 ] == ',' || library[ at + 2 ] == ')' ) )
         library.erase( at, 1 );
   ASSERT_FALSE( library.empty() ) << STRATA_LIBRARY_FILE;
   std::ifstream list( "tests/routing/quoted-texts.txt" );
   std::set<std::string> texts;
   for( std::string text; std::getline( list, text ); texts.insert( text ) ) {
      const bool found = library.find( text + '\0' ) != std::string::npos;
      EXPECT_TRUE( found ) << text;
   }
   EXPECT_GT( texts.size(), 190u );
   for( const auto& source : std::filesystem::recursive_directory_iterator( "routing" ) ) {
      if( source.path().extension() != ".cpp" )
         continue;
      for( const std::string macro :
         { "CHECKED(", "CHECKED_WITH_SIGNATURE(", "CHECKED_AVAILABLE(" } )
         for( const std::string& call : argumentsOf( macro, contentsOf( source ) ) )
            EXPECT_TRUE( texts.contains( call ) ) << call << " of " << source.path();
   }
}

} // namespace
} // namespace Strata
