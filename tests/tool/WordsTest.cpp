#include "tool/words/Words.h"
#include "desk/Texts.h"
#include "tool/view/Table.h"
#include "tool/words/ByUnit.h"
#include "tool/words/Command.h"

#include <gtest/gtest.h>

namespace Strata::Tool {
namespace {

std::string shown( const std::string& text )
{
   std::string all;
   for( const Word& word : splitLine( "f", 1, text ).words )
      all += "<" + word.text + ">@" + std::to_string( word.column ) + "+" +
             std::to_string( word.width ) + ( word.quoted ? "q " : " " );
   return all;
}

TEST( Words, KeepTheirColumnsThroughBlanksQuotesAndComments )
{
   EXPECT_EQ( shown( "  set  a.b[c d] 1 # x" ), "<set>@3+3 <a.b[c>@8+5 <d]>@14+2 <1>@17+1 " );
   EXPECT_EQ( shown( "a[\"b c\"] \"x # \\\" \\\\\"" ), "<a[b c]>@1+8 <x # \" \\>@10+11q " );
   EXPECT_EQ( shown( "# nothing" ), "" );
   EXPECT_EQ( shown( "a\t\"\" b\r" ), "<a>@1+1 <>@3+2q <b>@6+1 " );
}

std::string errorOf( const std::string& text, void ( *use )( Words& ) )
{
   try {
      const Line line = splitLine( "s.scenario", 7, text );
      Words words( line );
      use( words );
   } catch( const InputError& error ) {
      return error.what();
   }
   return "none";
}

TEST( Words, ErrorsPointAtTheirPlaceAndSayWhatWouldBeRight )
{
   const auto takeCommandOf = []( Words& words ) { takeCommand( words ); };
   EXPECT_EQ( errorOf( "\tintreface Ethernet1", takeCommandOf ),
      "s.scenario:7:2: there is no command 'intreface'; did you mean 'interface'?\n"
      "    intreface Ethernet1\n"
      "    ^~~~~~~~~" );
   EXPECT_EQ( errorOf( "show entires", takeCommandOf ),
      "s.scenario:7:6: there is no command 'show entires'; did you mean 'entries'?\n"
      "   show entires\n"
      "        ^~~~~~~" );
   EXPECT_EQ( errorOf( "a \"b", takeCommandOf ),
      "s.scenario:7:3: this quote is not closed; end the text with \"\n"
      "   a \"b\n"
      "     ^~" );
   EXPECT_EQ( errorOf( "70000", []( Words& words ) { words.value<U16>( "a VLAN" ); } ),
      "s.scenario:7:1: '70000' is not a number from 0 to 65535\n"
      "   70000\n"
      "   ^~~~~" );
   EXPECT_EQ( errorOf( "no", takeCommandOf ).substr( 0, 45 ),
      "s.scenario:7:4: no is followed by one of swit" );
}

TEST( Commands, TheLongestNameMatchesAndQuotedWordsDoNot )
{
   const Line line = splitLine( "f", 1, "expect no calls" );
   Words words( line );
   EXPECT_EQ( takeCommand( words ).name, "expect no calls" );
   EXPECT_TRUE( words.done() );
   EXPECT_NE( errorOf( "\"mark\"", []( Words& w ) { takeCommand( w ); } ), "none" );
}

TEST( Table, FitsTheTerminalAndContinuesTheLastColumn )
{
   Table table( { { "Id", Align::right }, { "Text" } } );
   table.section( "main" );
   table.row( { "7", "first\n  " + std::string( 50, 'a' ) + " " + std::string( 40, 'b' ) } );
   table.row( { "12", std::string( 90, 'c' ) } );
   std::string text;
   for( const auto& line : table.lines() ) {
      EXPECT_LE( line.text.size(), Table::usualWidth );
      text += line.text + "\n";
   }
   EXPECT_EQ( text, "  Id  Text\n"
                    "main\n"
                    "   7  first\n"
                    "        " +
                       std::string( 50, 'a' ) +
                       "\n"
                       "          " +
                       std::string( 40, 'b' ) +
                       "\n"
                       "  12  " +
                       std::string( 74, 'c' ) +
                       "\n"
                       "      " +
                       std::string( 16, 'c' ) + "\n" );
   EXPECT_EQ( table.json().at( 1 ).at( "id" ), 12 );
}

TEST( ByUnit, MergesEqualRowsAndNamesTheirUnits )
{
   ByUnit<std::string> rows;
   for( const U32 unit : { 0u, 1u, 2u, 5u, 8u, 9u } )
      rows.add( unit, unit == 5 ? "b" : "a" );
   ASSERT_EQ( rows.rows().size(), 2u );
   EXPECT_EQ( numberRanges( rows.rows()[ 0 ].second ), "0-2,8,9" );
   EXPECT_EQ( rows.rows()[ 1 ].first, "b" );
}

} // namespace
} // namespace Strata::Tool
