// Maps addresses one to one by a key. Addresses that share their first bits, however many, are mapped to addresses that
// share exactly these; for MAC addresses that is true from the first byte on. Reserved addresses are mapped to
// themselves. Each bit is flipped or not by a pseudorandom function of the bits before it.
#pragma once

#include "desk/SipHash.h"
#include "platform/types/EthAddr.h"

namespace Strata::Desk {

enum class AddressFamily : U8
{
   mac,
   ip4,
   ip6
};

/// As many leading bytes as an address of the family has. A MAC address has its first byte turned: group and local bit come
/// first.
using AddressBits = std::array<U8, 16>;

constexpr U32 lengthOf( AddressFamily family )
{
   return family == AddressFamily::mac ? 48 : family == AddressFamily::ip4 ? 32 : 128;
}

AddressBits bitsOf( const Vormel::EthAddr& mac );
AddressBits bitsOf( U32 ip );
Vormel::EthAddr macOf( const AddressBits& bits );
/// Ones, then zeros.
AddressBits prefixMask( U32 length );

AddressBits mapped( const SipKey& key, AddressFamily family, const AddressBits& bits );
/// A value that counts under the mask only: what it does not have there it does not get.
AddressBits mapped(
   const SipKey& key, AddressFamily family, const AddressBits& bits, const AddressBits& mask );

} // namespace Strata::Desk
