#include "platform/runtime/HashMap.h"
#include "platform/types/IntfId.h"

#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Vormel {
namespace {

template<class Map>
std::string text( const Map& map )
{
   std::string result;
   for( const auto& entry : map )
      result += entry.key + "=" + std::to_string( entry.value ) + " ";
   return result;
}

/// Inserts and removes few keys and many at random, so that runs of slots wrap, shift and grow.
TEST( HashMapTest, AgreesWithTheStandardMap )
{
   std::mt19937 random( 1 );
   // Names in a row have different homes; many of these share one.
   const auto at = []( U32 number ) {
      return IntfId::ethernet( number * number % 65521 + 1, number % 7 );
   };
   for( const U32 range : { 6u, 40u, 3000u } ) {
      HashMap<IntfId, U32, 3439701939> map;
      std::unordered_map<IntfId, U32> reference;
      for( U32 step = 0; step < 20000; ++step ) {
         const IntfId intf = at( static_cast<U32>( random() ) % range );
         const auto known = reference.find( intf );
         if( random() % 2 ) {
            EXPECT_EQ( map.insertOrAssign( intf, step ), known == reference.end() );
            reference[ intf ] = step;
         } else if( known == reference.end() ) {
            EXPECT_FALSE( map.erase( intf ) );
         } else {
            EXPECT_EQ( map.erase( intf ), known->second );
            reference.erase( known );
         }
         ASSERT_EQ( map.size(), reference.size() );
      }
      for( U32 number = 0; number < range; ++number ) {
         const auto known = reference.find( at( number ) );
         const U32* found = map.find( at( number ) );
         ASSERT_EQ( found != nullptr, known != reference.end() );
         if( found ) {
            EXPECT_EQ( *found, known->second );
         }
      }
   }
}

TEST( HashMapTest, OrderIsThatOfInsertionAndRemovalMovesTheLastIntoTheGap )
{
   HashMap<std::string, int> map;
   for( const char* key : { "d", "a", "c", "b" } )
      map.insertOrAssign( key, map.empty() ? 0 : 1 );
   map.insertOrAssign( "a", 7 );
   EXPECT_EQ( text( map ), "d=0 a=7 c=1 b=1 " );
   // The key is a reference into the entry that is removed.
   EXPECT_EQ( map.erase( map.entryAt( 0 ).key ), 0 );
   EXPECT_EQ( text( map ), "b=1 a=7 c=1 " );
   EXPECT_THROW( map.entryAt( 3 ), RangeError );
   EXPECT_TRUE( map.contains( std::string_view( "cx" ).substr( 0, 1 ) ) );
}

TEST( HashMapTest, CopiesAreSeparateAndMovedFromMapsAreEmpty )
{
   HashMap<std::string, int> map;
   map.insertOrAssign( "an interface name that no small string holds", 1 );
   HashMap<std::string, int> copy = map;
   copy.insertOrAssign( "b", 2 );
   copy.erase( "an interface name that no small string holds" );
   EXPECT_EQ( map.size(), 1u );
   const HashMap<std::string, int> moved = std::move( copy );
   EXPECT_EQ( text( moved ), "b=2 " );
   EXPECT_FALSE( copy.contains( "b" ) );
   copy.insertOrAssign( "c", 3 );
   copy = map;
   map.clear();
   EXPECT_FALSE( map.contains( "c" ) || copy.contains( "c" ) );
   EXPECT_EQ( copy.size(), 1u );

   HashMap<U16, std::unique_ptr<int>> owners; // values that only move
   owners.insertOrAssign( 1, std::make_unique<int>( 1 ) );
   EXPECT_EQ( **owners.erase( 1 ), 1 );
}

} // namespace
} // namespace Vormel
