// The exceptions of the runtime. Every text says what was wrong and what would be right.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Types.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Vormel {

class VORMEL_EXPORT Error : public std::runtime_error
{
 public:
   using std::runtime_error::runtime_error;
};

/// An array index out of bounds: "cannot access index 3 of an array with size 3".
class VORMEL_EXPORT RangeError : public Error
{
 public:
   RangeError( U64 index, U64 size );
};

/// A null pointer given to a mutator that needs an object: "intfStatusIs: argument 'status' must
/// not be null".
class VORMEL_EXPORT NullArgumentError : public Error
{
 public:
   NullArgumentError( std::string_view mutator, std::string_view argument );
};

/// A value that an attribute does not accept; the text names the attribute, the value and the valid
/// range.
class VORMEL_EXPORT ValueError : public Error
{
 public:
   using Error::Error;
};

/// A generic access by a name that does not exist, or with a wrong argument; the text has the name,
/// the argument and the expected value.
class VORMEL_EXPORT AccessError : public Error
{
 public:
   using Error::Error;
};

/// An argument that an operation does not accept, in a call by name.
class VORMEL_EXPORT ArgumentError : public AccessError
{
 public:
   ArgumentError( std::size_t index, const std::string& text )
      : AccessError( text ),
        index_( index )
   {}

   /// The argument's place in the call; the first has 0.
   std::size_t index() const { return index_; }

 private:
   std::size_t index_;
};

} // namespace Vormel
