#include "platform/runtime/Errors.h"

namespace Vormel {

RangeError::RangeError( U64 index, U64 size )
   : Error( "cannot access index " + std::to_string( index ) + " of an array with size " +
            std::to_string( size ) )
{}

NullArgumentError::NullArgumentError( std::string_view mutator, std::string_view argument )
   : Error(
        std::string( mutator ) + ": argument '" + std::string( argument ) + "' must not be null" )
{}

} // namespace Vormel
