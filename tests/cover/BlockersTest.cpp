// The entries that are said to cover another one, beside a list of all keys.
#include "cover/Facts.h"
#include "cover/Solver.h"
#include "tests/cover/NeedsSolver.h"
#include "tests/packet/PacketTest.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace Strata::Cover {
namespace {

using namespace Sim;

/// Entries that compare up to three of eight bits, so that all keys can be listed, and many entries that overlap cover
/// one: what the solver names first as covering it is rarely minimal.
class SmallKeys
{
 public:
   explicit SmallKeys( U64 seed ) : random_( seed ) {}

   FieldRule rule()
   {
      const U32 mask = ( 1U << below( 8 ) ) | ( 1U << below( 8 ) ) | ( 1U << below( 8 ) );
      const U32 value = below( 256 );
      FieldRule rule;
      for( const auto& [ role, first, bits ] : parts )
         if( const U32 cared = ( mask >> first ) & bits; cared != 0 )
            rule.qualifierIs( { .role = role, .data = ( value >> first ) & bits, .mask = cared } );
      rule.actionIs( { .role = below( 2 ) == 0 ? FieldAction::Drop : FieldAction::CopyToCpu } );
      return rule;
   }
   static std::vector<FieldKey> all()
   {
      std::vector<FieldKey> keys( 256 );
      for( U32 number = 0; number < keys.size(); ++number )
         for( const auto& [ role, first, bits ] : parts )
            keys[ number ].valueIs( role, ( number >> first ) & bits );
      return keys;
   }
   U32 below( U32 limit ) { return static_cast<U32>( random_() % limit ); }

 private:
   struct Part
   {
      Qualifier role;
      U32 first; // of its bits
      U32 bits;
   };
   static constexpr std::array<Part, 4> parts{
      { { Qualifier::IntPriority, 0, 7 }, { Qualifier::SrcClassField, 3, 7 },
         { Qualifier::L3Routable, 6, 1 }, { Qualifier::TunnelTerminated, 7, 1 } } };
   std::mt19937_64 random_;
};

bool matches( const FieldRule& rule, const FieldKey& key )
{
   return std::ranges::all_of(
      rule.qualifiers, [ & ]( const auto& qualifier ) { return key.matches( qualifier ); } );
}

/// Whether each key that matches the rule matches one of these entries.
bool cover( const FieldGroup& group, const std::vector<U32>& ids, const FieldRule& rule,
   const std::vector<FieldKey>& keys )
{
   return std::ranges::all_of( keys, [ & ]( const FieldKey& key ) {
      return !matches( rule, key ) || std::ranges::any_of( ids, [ & ]( U32 id ) {
         return matches( *group.find( id )->hardware, key );
      } );
   } );
}

TEST_F( PacketTest, BlockersAreThoseThatCoverAnEntryAndNoneTooMany )
{
   NEEDS_SOLVER();
   bringUp( "hsdk" );
   const Facts facts( agent().hardware(), session.packets().tables(), 0 );
   U32 covered = 0;
   for( U64 seed = 0; covered < 1000; ++seed ) {
      SmallKeys dice( seed );
      const U32 size = 2 + dice.below( 60 );
      FieldGroup group( { "random", {}, 1, size, size } );
      for( U32 id = 1; id <= size; ++id ) {
         group.claim( id, "entry", {} );
         group.find( id )->claim = dice.rule();
         group.install( id );
      }
      Solver solver( facts, group );
      const std::vector<FieldKey> keys = SmallKeys::all();
      std::vector<U32> earlier;
      for( U32 id = 1; id <= size; earlier.push_back( id++ ) ) {
         const FieldRule& rule = *group.find( id )->hardware;
         const Solver::Answer answer = solver.find( id );
         const bool isCovered = cover( group, earlier, rule, keys );
         ASSERT_EQ( !answer.shape && answer.reasons.empty(), isCovered ) << seed << " " << id;
         if( !isCovered )
            continue;
         ++covered;
         ASSERT_TRUE( cover( group, answer.blockers, rule, keys ) ) << seed << " " << id;
         for( const U32 blocker : answer.blockers ) {
            std::vector<U32> fewer = answer.blockers;
            std::erase( fewer, blocker );
            ASSERT_FALSE( cover( group, fewer, rule, keys ) )
               << seed << " " << id << " without " << blocker;
         }
      }
   }
}

} // namespace
} // namespace Strata::Cover
