#include "platform/runtime/Errors.h"

#include "platform/runtime/Format.h"

namespace Vormel {

RangeError::RangeError( U64 index, U64 size )
   : Error( format( "cannot access index %d of an array with size %d", index, size ) )
{}

NullArgumentError::NullArgumentError( std::string_view mutator, std::string_view argument )
   : Error(
        std::string( mutator ) + ": argument '" + std::string( argument ) + "' must not be null" )
{}

} // namespace Vormel
