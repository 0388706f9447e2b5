// Maps the MAC and IP addresses of a recording one to one, so that it can be given to others (docs/recording.md).
//
// Nothing is remembered, and a key always gives the same mapping (desk/AddressMap.h).
#pragma once

#include "desk/SipHash.h"
#include "platform/runtime/Errors.h"

#include <string>
#include <string_view>

namespace Strata::Desk {

class Anonymiser
{
 public:
   /// With a random key.
   Anonymiser();
   /// With the key that a text stands for.
   explicit Anonymiser( std::string_view keyText );

   /// A record with its addresses mapped: in every text, in qualifiers with their masks, and in memory entries. All other
   /// bytes are those of the line. ValueError if it is not one JSON object.
   std::string record( std::string_view line ) const;
   /// A text with its addresses mapped.
   std::string text( std::string_view text ) const;

 private:
   SipKey key_;
};

} // namespace Strata::Desk
