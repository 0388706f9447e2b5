// A recording is read, told in words, made a twin of, and copied with other addresses.
#include "fuzz/Fuzz.h"

#include "desk/Anonymiser.h"
#include "desk/RecordingFile.h"
#include "platform/runtime/Errors.h"
#include "tool/Session.h"

#include <nlohmann/json.hpp>
#include <string>

namespace Strata::Fuzz {
namespace {

void checkRecords( const Desk::RecordingFile& recording )
{
   static const Desk::Anonymiser anonymiser( "fuzz" );
   U64 number = 0;
   for( const Desk::RecordedLine& record : recording.records() ) {
      require( number == 0 || record.number == number + 1, "records are numbered one by one" );
      number = record.number;
      require( !Desk::recordText( record.json() ).empty(), "a record can be told in words" );
      const Desk::Json other =
         Desk::Json::parse( anonymiser.record( record.text ), nullptr, false );
      require( other.is_object() && other.value( "n", U64() ) == record.number,
         "a copy with other addresses has the same records" );
   }
}

} // namespace
} // namespace Strata::Fuzz

int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
   using namespace Strata;
   const Fuzz::MemoryFile file( { data, size } );
   try {
      const Desk::RecordingFile recording( file.name() );
      Fuzz::checkRecords( recording );
      Fuzz::session().twinIs( recording );
   } catch( const Desk::RecordingError& error ) {
      Fuzz::require( std::string_view( error.what() ).starts_with( file.name() + ":" ),
         "an error begins with the file" );
   }
   return 0;
}
