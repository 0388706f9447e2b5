// Runs the conformance kit on simulated chips.
#include "conformance/sim/SimPort.h"
#include "platform/runtime/Errors.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace Strata::Conformance {
namespace {

constexpr std::string_view usage =
   "Usage: strata-l3-conformance [--all] [PROFILE]...\n"
   "       strata-l3-conformance --help\n"
   "Examines simulated chips, each of two units, for what the layer-3 slice relies on.\n"
   "Without a PROFILE, all of them. Prints what is not kept; with --all, every promise.\n"
   "Exit status: 0 when nothing is broken, 1 when something is, 2 for a wrong command line.\n";

bool conforms( const std::string& profile, bool all )
{
   const Vormel::LockAnchor lock( Vormel::activityLock() );
   Sim::SimSwitch hardware( { .profile = profile, .units = { 0, 1 } } );
   hardware.critic().collect();
   const Report report = examine( simPort( hardware ) );
   std::cout << profile << '\n' << report.text( all ) << '\n';
   return report.conforms();
}

int run( const std::vector<std::string>& arguments )
{
   bool all = false;
   std::vector<std::string> profiles;
   for( const std::string& argument : arguments ) {
      if( argument == "--help" ) {
         std::cout << usage;
         return EXIT_SUCCESS;
      }
      if( argument == "--all" )
         all = true;
      else if( argument.starts_with( "-" ) )
         throw Vormel::Error( "there is no option '" + argument + "'" );
      else
         profiles.push_back( Sim::chipProfile( argument ).name );
   }
   if( profiles.empty() )
      for( const std::string_view profile : Sim::chipProfileNames() )
         profiles.emplace_back( profile );
   bool kept = true;
   for( const std::string& profile : profiles )
      kept = conforms( profile, all ) && kept;
   return kept ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace
} // namespace Strata::Conformance

int main( int argc, char** argv )
{
   try {
      return Strata::Conformance::run( { argv + 1, argv + argc } );
   } catch( const Vormel::Error& error ) {
      std::cerr << "strata-l3-conformance: " << error.what() << '\n' << Strata::Conformance::usage;
      return 2;
   }
}
