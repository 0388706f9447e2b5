// Random scenarios: pieces of the project's own ones, shuffled and changed. The command ends each of them with one of
// its exit statuses.
#include "sim/chip/ChipProfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Strata::Tool {
namespace {

class Mutator
{
 public:
   explicit Mutator( unsigned seed ) : random_( seed )
   {
      for( const auto& file : std::filesystem::directory_iterator( "scenarios" ) ) {
         std::ifstream in( file.path() );
         if( file.path().extension() == ".scenario" )
            for( std::string line; std::getline( in, line ); )
               if( !line.empty() && line[ 0 ] != '#' )
                  lines_.push_back( line );
      }
      std::sort( lines_.begin(), lines_.end() );
   }

   std::string scenario()
   {
      const std::vector<std::string_view> profiles = Sim::chipProfileNames();
      std::string text =
         "switch " + std::string( profiles[ below( profiles.size() ) ] ) + " units 2\n";
      for( unsigned i = 5 + below( 30 ); i > 0; --i )
         text += mutated( lines_[ below( lines_.size() ) ] ) + "\n";
      return text;
   }

 private:
   unsigned below( std::size_t limit ) { return static_cast<unsigned>( random_() % limit ); }

   std::string mutated( std::string line )
   {
      static const char* const odd[] = { "0", "-1", "4294967296", "99999999999999999999", "\"", "[",
         "]", "Ethernet0", "Vlan4095", "ff:ff:ff:ff:ff:ff", "true", "\xff", "unit", "#" };
      while( below( 3 ) == 0 ) {
         const unsigned at = below( line.size() + 1 );
         switch( below( 4 ) ) {
         case 0:
            line.erase( at, 1 + below( 4 ) );
            break;
         case 1:
            line.insert( at, odd[ below( std::size( odd ) ) ] );
            break;
         case 2:
            line.insert( at, " " + lines_[ below( lines_.size() ) ] );
            break;
         default:
            line.resize( at );
         }
      }
      return line;
   }

   std::mt19937 random_;
   std::vector<std::string> lines_;
};

TEST( FuzzTest, NoScenarioBreaksTheCommand )
{
   // CI runs it for longer, and with the sanitizers.
   const char* const wanted = std::getenv( "STRATA_FUZZ_SECONDS" );
   const std::chrono::seconds limit( wanted ? std::atoi( wanted ) : 2 );
   const auto end = std::chrono::steady_clock::now() + limit;
   const std::string file =
      ( std::filesystem::temp_directory_path() / ( "strata-fuzz-" + std::to_string( getpid() ) ) )
         .string();
   const std::string command =
      "ASAN_OPTIONS=exitcode=99 UBSAN_OPTIONS=exitcode=99 timeout 60 " STRATA_TOOL_FILE
      " run --quiet " +
      file + " >" + file + ".out 2>&1";
   int runs = 0;
   for( unsigned seed = 1; std::chrono::steady_clock::now() < end; ++seed, ++runs ) {
      const std::string scenario = Mutator( seed ).scenario();
      std::ofstream( file ) << scenario;
      const int status = std::system( command.c_str() );
      ASSERT_TRUE( WIFEXITED( status ) && WEXITSTATUS( status ) <= 3 )
         << "seed " << seed << ", status " << status << "\n"
         << scenario << std::ifstream( file + ".out" ).rdbuf();
   }
   std::filesystem::remove( file );
   std::filesystem::remove( file + ".out" );
   EXPECT_GT( runs, 3 );
}

} // namespace
} // namespace Strata::Tool
