// Compares the indexed lookup with a linear search, for random entries and packets.
#include "sim/packet/FieldLookup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace Strata::Sim {
namespace {

class Dice
{
 public:
   explicit Dice( unsigned seed ) : random_( seed ) {}
   U32 below( U32 limit ) { return static_cast<U32>( random_() % limit ); }
   U64 value() { return below( 4 ); }
   U64 mask() { return std::array<U64, 4>{ 0, 1, 3, 0xFFFFFFFF }[ below( 4 ) ]; }
   PortBitmap ports()
   {
      PortBitmap ports;
      for( U32 port = 0; port < 8; ++port )
         if( below( 2 ) == 0 )
            ports.add( port );
      return ports;
   }
   Qualifier role()
   {
      static constexpr auto roles = Vormel::enumValues<Qualifier>();
      return roles[ below( roles.size() ) ];
   }
   FieldQualifier qualifier()
   {
      return { .role = role(),
         .data = value(),
         .mask = mask(),
         .port = value(),
         .portMask = mask(),
         .ports = ports(),
         .allPorts = ports() };
   }
   FieldKey key()
   {
      FieldKey key;
      for( const Qualifier role : Vormel::enumValues<Qualifier>() )
         if( below( 4 ) != 0 )
            key.valueIs( role, value() );
      if( below( 2 ) == 0 )
         key.dstPortIs( static_cast<U32>( value() ), static_cast<U32>( value() ) );
      key.arrivalPort = below( 9 ) == 8 ? FieldKey::stackPort : below( 8 );
      if( below( 2 ) == 0 )
         key.departurePort = below( 8 );
      return key;
   }

 private:
   std::mt19937 random_;
};

U32 winnerByWalk( const FieldGroup& group, const FieldKey& key )
{
   for( const auto& [ id, entry ] : group.entries() )
      if( entry.active() &&
          std::ranges::all_of( entry.hardware->qualifiers,
             [ & ]( const auto& qualifier ) { return key.matches( qualifier ); } ) )
         return id;
   return 0;
}

TEST( FieldLookupTest, AgreesWithALinearSearch )
{
   U32 winners = 0;
   for( unsigned seed = 0; seed < 60; ++seed ) {
      Dice dice( seed );
      const U32 size = seed % 3 == 0 ? 1000 : 1 + dice.below( 80 );
      FieldGroup group( { "random", {}, 1, size, size } );
      for( U32 id = 1; id <= size; ++id ) {
         group.claim( id, "entry", {} );
         for( U32 i = dice.below( 6 ); i > 0; --i )
            group.find( id )->claim.qualifierIs( dice.qualifier() );
         group.find( id )->claim.actionIs( { .role = FieldAction::Drop } );
         if( dice.below( 8 ) != 0 )
            group.install( id );
         if( dice.below( 8 ) == 0 )
            group.enable( id, false );
      }
      const FieldLookup lookup( group );
      for( int i = 0; i < 300; ++i ) {
         const FieldKey key = dice.key();
         const U32 expected = winnerByWalk( group, key );
         ASSERT_EQ( lookup.winner( key ), expected ) << "seed " << seed << ", key " << i;
         winners += expected != 0;
      }
   }
   EXPECT_GT( winners, 1000u ) << "the dice make nothing match";
}

} // namespace
} // namespace Strata::Sim
