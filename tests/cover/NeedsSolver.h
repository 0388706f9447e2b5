// For tests of what a build without the solver cannot do.
#pragma once

#include "cover/Solver.h"

#include <gtest/gtest.h>

#define NEEDS_SOLVER() \
   if( !Strata::Cover::Solver::available() ) \
   GTEST_SKIP() << "this build has no solver"
