#include "cover/Solver.h"

#include "cover/Formula.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace Strata::Cover {

using Sim::FieldQualifier;
using Sim::FieldRule;

namespace {

/// Whether some value that both compare is different, so that no packet matches both.
bool excludeEachOther( const FieldRule& left, const FieldRule& right )
{
   for( const FieldQualifier& mine : left.qualifiers ) {
      if( !Sim::comparesValue( mine.role ) )
         continue;
      const auto other = std::ranges::find( right.qualifiers, mine.role, &FieldQualifier::role );
      if( other == right.qualifiers.end() )
         continue;
      const Sim::ValueMask a = Sim::valueMask( mine );
      const Sim::ValueMask b = Sim::valueMask( *other );
      if( ( ( a.value ^ b.value ) & a.mask & b.mask ) != 0 )
         return true;
   }
   return false;
}

/// Whether each packet that `inner` matches is also matched by `outer`, as far as their qualifiers show one by one.
bool includes( const FieldRule& outer, const FieldRule& inner )
{
   return std::ranges::all_of( outer.qualifiers, [ & ]( const FieldQualifier& wide ) {
      const auto narrow = std::ranges::find( inner.qualifiers, wide.role, &FieldQualifier::role );
      if( narrow == inner.qualifiers.end() )
         return false;
      if( !Sim::comparesValue( wide.role ) )
         return *narrow == wide;
      const Sim::ValueMask a = Sim::valueMask( wide );
      const Sim::ValueMask b = Sim::valueMask( *narrow );
      return ( a.mask & ~b.mask ) == 0 && ( ( a.value ^ b.value ) & a.mask ) == 0;
   } );
}

bool contains( const z3::expr_vector& literals, const z3::expr& literal )
{
   for( unsigned at = 0; at < literals.size(); ++at )
      if( z3::eq( literals[ static_cast<int>( at ) ], literal ) )
         return true;
   return false;
}

} // namespace

bool Solver::available()
{
   return true;
}

class Solver::Search
{
 public:
   Search( const Facts& facts, const Sim::FieldGroup& range )
      : range_( range ),
        formula_( facts, range ),
        round_( formula_.context().bool_const( "round" ) ),
        allLaws_( formula_.context().bool_const( "laws" ) )
   {
      for( const auto& [ law, name ] : Vormel::enumTable<Law> )
         laws_.push_back( formula_.literal( law ) );
      for( const z3::expr& law : laws_ )
         formula_.solver().add( z3::implies( allLaws_, law ) );
      for( const Wish& wish : formula_.wishes() )
         wishes_.push_back( { named( wish.holds ), wish.of } );
   }

   Answer find( U32 id )
   {
      // Most entries that have no packet have it by one wider entry before them, which needs no search.
      const auto wider = std::ranges::find_if( range_.entries(), [ & ]( const auto& other ) {
         return other.first >= id || ( other.second.active() && includes( *other.second.hardware,
                                                                   *range_.find( id )->hardware ) );
      } );
      if( wider->first == id )
         return found( id, winning( id ) );
      Answer answer;
      if( holds( { entry( id ) } ) )
         answer.blockers.push_back( wider->first );
      return answer;
   }

   Answer nearest( U32 id, const Sim::FieldKey& key )
   {
      const std::vector<z3::expr> assumed = winning( id );
      z3::optimize nearest( formula_.context() );
      z3::params settings( formula_.context() );
      settings.set( "ctrl_c", false ); // a signal is the caller's
      nearest.set( settings );
      nearest.add( formula_.solver().assertions() );
      for( const z3::expr& literal : assumed )
         nearest.add( literal );
      nearest.add( allLaws_ );
      nearest.add( round_ );
      const std::vector<Likeness> all = formula_.likenesses( key );
      for( const Likeness& likeness : all )
         nearest.add_soft( likeness.holds, likeness.weight );
      if( nearest.check() != z3::sat )
         return found( id, assumed );
      // What is not alike is then as easy to read as can be.
      std::vector<z3::expr> alike = assumed;
      const z3::model model = nearest.get_model();
      for( const Likeness& likeness : all )
         if( model.eval( likeness.holds, true ).is_true() )
            alike.push_back( named( likeness.holds ) );
      return found( id, alike );
   }

   void refute( const Shape& shape, bool everywhere )
   {
      formula_.solver().add( z3::implies( round_, formula_.differs( shape, !everywhere ) ) );
   }

   void lookUpIn( std::size_t vlan )
   {
      formula_.solver().add( z3::implies( round_, formula_.isLookedUpIn( vlan ) ) );
   }

   void reset()
   {
      round_ = formula_.context().bool_const( ( "round" + std::to_string( ++rounds_ ) ).c_str() );
   }

 private:
   /// The entry matches, and no earlier one does.
   std::vector<z3::expr> winning( U32 id )
   {
      std::vector<z3::expr> assumed{ entry( id ) };
      for( const auto& [ other, earlier ] : range_.entries() ) {
         if( other >= id )
            break;
         if( earlier.active() &&
             !excludeEachOther( *earlier.hardware, *range_.find( id )->hardware ) )
            assumed.push_back( !entry( other ) );
      }
      return assumed;
   }

   /// A shape of which this holds, or what excludes it.
   Answer found( U32 id, std::vector<z3::expr> assumed )
   {
      Answer answer;
      answer.shape = preferred( assumed, *range_.find( id )->hardware );
      if( answer.shape )
         return answer;
      if( holds( assumed ) ) { // as far as the range decides
         assumed.insert( assumed.end(), laws_.begin(), laws_.end() );
         assumed.push_back( round_ );
         holds( assumed );
      }
      return excluded( id, std::move( assumed ) );
   }

   /// A literal that means the expression.
   z3::expr named( const z3::expr& meaning )
   {
      const z3::expr literal =
         formula_.context().bool_const( ( "literal" + std::to_string( ++literals_ ) ).c_str() );
      formula_.solver().add( literal == meaning );
      return literal;
   }

   const z3::expr& entry( U32 id )
   {
      const auto known = entries_.find( id );
      return known != entries_.end()
                ? known->second
                : entries_.emplace( id, named( formula_.matches( *range_.find( id )->hardware ) ) )
                     .first->second;
   }

   bool holds( const std::vector<z3::expr>& assumed )
   {
      z3::expr_vector vector( formula_.context() );
      for( const z3::expr& literal : assumed )
         vector.push_back( literal );
      const z3::check_result result = formula_.solver().check( vector );
      if( result == z3::unknown )
         throw std::runtime_error( "the solver gave up: " + formula_.solver().reason_unknown() );
      return result == z3::sat;
   }

   /// The shape that fulfils the wishes; where they contradict each other, the last one is given up. Empty if no shape
   /// fits even without wishes.
   std::optional<Shape> preferred( std::vector<z3::expr> assumed, const FieldRule& rule )
   {
      assumed.push_back( allLaws_ );
      assumed.push_back( round_ );
      const std::size_t needed = assumed.size();
      for( const Wish& wish : wishes_ )
         if( std::ranges::none_of( rule.qualifiers,
                [ & ]( const FieldQualifier& qualifier ) { return qualifier.role == wish.of; } ) )
            assumed.push_back( wish.holds );
      while( !holds( assumed ) ) {
         const z3::expr_vector core = formula_.solver().unsat_core();
         std::size_t last = assumed.size() - 1; // of the wishes that contradict
         while( last >= needed && !contains( core, assumed[ last ] ) )
            --last;
         if( last < needed )
            return std::nullopt;
         assumed.erase( assumed.begin() + static_cast<std::ptrdiff_t>( last ) );
      }
      return formula_.shape( formula_.solver().get_model() );
   }

   /// The assumptions that contradict each other, of which none can be left out. The solver can minimise them itself
   /// (core.minimize), but takes longer.
   Answer excluded( U32 id, std::vector<z3::expr> assumed )
   {
      const z3::expr_vector core = formula_.solver().unsat_core();
      std::erase_if(
         assumed, [ & ]( const z3::expr& literal ) { return !contains( core, literal ); } );
      // That the entry itself matches, which comes first, is not part of the answer.
      const std::size_t first = !assumed.empty() && z3::eq( assumed.front(), entry( id ) ) ? 1 : 0;
      for( std::size_t at = assumed.size(); at-- > first; ) {
         std::vector<z3::expr> fewer = assumed;
         fewer.erase( fewer.begin() + static_cast<std::ptrdiff_t>( at ) );
         if( !holds( fewer ) )
            assumed = std::move( fewer );
      }
      Answer answer;
      std::vector<Law> laws;
      for( const z3::expr& literal : assumed ) {
         for( const auto& [ other, matches ] : entries_ )
            if( literal.is_not() && z3::eq( literal.arg( 0 ), matches ) )
               answer.blockers.push_back( other );
         for( const auto& [ law, name ] : Vormel::enumTable<Law> )
            if( z3::eq( literal, formula_.literal( law ) ) )
               laws.push_back( law );
         answer.limited = answer.limited || z3::eq( literal, round_ );
      }
      // How results follow from lookups is part of each proof; it is a reason only if there is no other.
      const auto isGeneral = []( Law law ) { return law == Law::key || law == Law::destination; };
      const auto isOfValues = [ & ]( Law law ) {
         return isGeneral( law ) || law == Law::headers || law == Law::rows;
      };
      const bool allGeneral = std::ranges::all_of( laws, isGeneral );
      bool toName = answer.blockers.empty();
      for( const Law law : laws )
         if( !isGeneral( law ) || ( allGeneral && law == laws.back() ) )
            answer.reasons.push_back(
               reasonText( law ) + ( isOfValues( law ) && std::exchange( toName, false )
                                         ? excludedValues( id, assumed )
                                         : "" ) );
      // A group or flood with one member departs by one port, too, which the formula leaves out.
      const std::vector<FieldQualifier>& qualifiers = range_.find( id )->hardware->qualifiers;
      const bool departs = std::ranges::find( qualifiers, Sim::Qualifier::OutPortsClass,
                              &FieldQualifier::role ) != qualifiers.end();
      if( departs && answer.blockers.empty() ) {
         answer.limited = true;
         answer.reasons.emplace_back( "groups and floods with one port are not tried" );
      }
      answer.limited = answer.limited || ( departs && !laws.empty() ) ||
                       std::ranges::find( laws, Law::words ) != laws.end();
      std::ranges::sort( answer.blockers );
      return answer;
   }

   /// ": Ttl 1 and IpType ArpRequest", the values of the entry that these assumptions alone exclude, of which none can be
   /// left out.
   std::string excludedValues( U32 id, std::vector<z3::expr> assumed )
   {
      std::erase_if(
         assumed, [ & ]( const z3::expr& literal ) { return z3::eq( literal, entry( id ) ); } );
      FieldRule rule = *range_.find( id )->hardware;
      for( std::size_t at = rule.qualifiers.size(); at-- > 0; ) {
         FieldRule fewer = rule;
         fewer.qualifiers.erase( fewer.qualifiers.begin() + static_cast<std::ptrdiff_t>( at ) );
         assumed.push_back( named( formula_.matches( fewer ) ) );
         if( !holds( assumed ) )
            rule = std::move( fewer );
         assumed.pop_back();
      }
      std::string text;
      for( const FieldQualifier& qualifier : rule.qualifiers )
         text += ( text.empty() ? ": " : " and " ) + qualifier.text();
      return text;
   }

   const Sim::FieldGroup& range_;
   Formula formula_;
   z3::expr round_; // what was refuted for the present entry is in force
   z3::expr allLaws_;
   U32 rounds_ = 0;
   U32 literals_ = 0;
   std::vector<z3::expr> laws_;
   std::vector<Wish> wishes_; // named
   std::map<U32, z3::expr> entries_;
};

Solver::Solver( const Facts& facts, const Sim::FieldGroup& range )
   : search_( std::make_unique<Search>( facts, range ) )
{}

Solver::~Solver() = default;

Solver::Answer Solver::find( U32 id )
{
   return search_->find( id );
}

Solver::Answer Solver::nearest( U32 id, const Sim::FieldKey& key )
{
   return search_->nearest( id, key );
}

void Solver::refute( const Shape& shape, bool everywhere )
{
   search_->refute( shape, everywhere );
}

void Solver::lookUpIn( std::size_t vlan )
{
   search_->lookUpIn( vlan );
}

void Solver::reset()
{
   search_->reset();
}

} // namespace Strata::Cover
