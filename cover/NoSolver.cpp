// The solver of a build without an SMT library.
#include "cover/Solver.h"
#include "platform/runtime/Assert.h"

namespace Strata::Cover {

class Solver::Search
{
};

bool Solver::available()
{
   return false;
}

Solver::Solver( const Facts&, const Sim::FieldGroup& )
{
   VORMEL_ASSERT( Solver::available() );
}

Solver::~Solver() = default;

Solver::Answer Solver::find( U32 )
{
   return {};
}

Solver::Answer Solver::nearest( U32, const Sim::FieldKey& )
{
   return {};
}

void Solver::refute( const Shape&, bool ) {}

void Solver::lookUpIn( std::size_t ) {}

void Solver::reset() {}

} // namespace Strata::Cover
