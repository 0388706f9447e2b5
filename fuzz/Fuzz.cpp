#include "fuzz/Fuzz.h"

#include "platform/runtime/Activity.h"
#include "tool/ScenarioRun.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <streambuf>
#include <sys/mman.h>
#include <unistd.h>

namespace Strata::Fuzz {

void require( bool holds, std::string_view text )
{
   if( holds )
      return;
   std::fprintf(
      stderr, "not as it must be: %.*s\n", static_cast<int>( text.size() ), text.data() );
   std::abort();
}

MemoryFile::MemoryFile( Input contents )
   : descriptor_( ::memfd_create( "input", MFD_CLOEXEC ) ),
     name_( "/proc/self/fd/" + std::to_string( descriptor_ ) )
{
   require( descriptor_ >= 0 && ::write( descriptor_, contents.data(), contents.size() ) ==
                                   static_cast<ssize_t>( contents.size() ),
      "a file in memory can be written" );
}

MemoryFile::~MemoryFile()
{
   ::close( descriptor_ );
}

namespace {

/// Drops what is written to it.
class Nothing : public std::streambuf
{
 protected:
   int_type overflow( int_type c ) override { return traits_type::not_eof( c ); }
   std::streamsize xsputn( const char*, std::streamsize count ) override { return count; }
};

struct Stage
{
   Stage()
   {
      const char* const other = std::getenv( "STRATA_FUZZ_SWITCH" );
      try {
         Tool::runLines( other ? other : "fuzz/switch.scenario", session );
      } catch( const std::exception& error ) {
         require( false, error.what() );
      }
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   Nothing nothing;
   std::ostream out{ &nothing };
   Tool::Console console{ out, out, {} };
   Tool::Session session{ console };
};

} // namespace

Tool::Session& session()
{
   // Never destroyed, because the libraries' own objects are gone when the process ends.
   static Stage& stage = *new Stage;
   return stage.session;
}

} // namespace Strata::Fuzz
