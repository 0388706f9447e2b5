// The ids of the main manager's entries, as offsets in its range (EntryIds.def).
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/TcamEntryManager.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace Strata {

enum class TcamL3EntryId : U32
{
#define STRATA_ENTRY( name, offset ) name = offset,
#include "routing/EntryIds.def"
};

/// The entries that a fabric unit can carry, under the same numbers.
enum class TcamL3EntryIdFabric : U32
{
#define STRATA_ENTRY( name, offset )
#define STRATA_FABRIC_ENTRY( name, offset ) name = offset,
#define STRATA_RESERVED_ENTRY( name, offset )
#include "routing/EntryIds.def"
};

namespace Detail {
inline constexpr U32 tcamL3EntryOffsets[] = {
#define STRATA_ENTRY( name, offset ) offset,
#include "routing/EntryIds.def"
};
} // namespace Detail

static_assert( std::ranges::adjacent_find( Detail::tcamL3EntryOffsets, std::greater_equal() ) ==
                  std::ranges::end( Detail::tcamL3EntryOffsets ),
   "the rows of EntryIds.def are in the order of their offsets" );

static_assert( *std::rbegin( Detail::tcamL3EntryOffsets ) + 1 == mainRangeIds,
   "mainRangeIds is the last offset of EntryIds.def plus one" );

} // namespace Strata
