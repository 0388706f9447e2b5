#include "platform/sdk/ObservedShim.h"

#include <algorithm>
#include <bit>
#include <chrono>

namespace Strata {

namespace {

constexpr auto operationNames = roleNames<SdkOperation>;
constexpr std::size_t operationCount = operationNames.size();

/// The group of sdkCallTimeBounds, found without a search, because the bounds are the even powers of two from 2^8 on.
constexpr std::size_t groupOf( U64 nanoseconds )
{
   const auto bits =
      static_cast<std::size_t>( std::bit_width( nanoseconds - ( nanoseconds != 0 ) ) );
   return bits <= 8 ? 0 : std::min( ( bits - 7 ) / 2, sdkCallTimeBounds.size() );
}

constexpr bool groupsHaveTheirBounds()
{
   for( std::size_t i = 0; i < sdkCallTimeBounds.size(); ++i )
      if( groupOf( sdkCallTimeBounds[ i ] ) != i || groupOf( sdkCallTimeBounds[ i ] + 1 ) != i + 1 )
         return false;
   return groupOf( 0 ) == 0 && groupOf( ~U64( 0 ) ) == sdkCallTimeBounds.size();
}
static_assert( groupsHaveTheirBounds() );

double seconds( U64 nanoseconds )
{
   return static_cast<double>( nanoseconds ) * 1e-9;
}

} // namespace

ObservedShim::ObservedShim( SdkShimInterface& next )
   : ForwardingShim( next ),
     unavailableCode_( next.featureNotAvailableCode() ),
     counters_( std::make_unique<Counters[]>( operationCount ) )
{}

ObservedShim::~ObservedShim() = default;

template<class Call>
int ObservedShim::observed( SdkOperation operation, Call call )
{
   using Clock = std::chrono::steady_clock;
   const auto start = Clock::now();
   const int code = call();
   const auto spent = std::chrono::duration_cast<std::chrono::nanoseconds>( Clock::now() - start );
   const U64 nanoseconds = static_cast<U64>( spent.count() );
   Counters& counters = counters_[ static_cast<std::size_t>( operation ) ];
   constexpr auto relaxed = std::memory_order_relaxed; // the counters order nothing else
   counters.byTime[ groupOf( nanoseconds ) ].fetch_add( 1, relaxed );
   if( code == unavailableCode_ )
      counters.unavailable.fetch_add( 1, relaxed );
   else if( code < 0 )
      counters.failures.fetch_add( 1, relaxed );
   counters.nanoseconds.fetch_add( nanoseconds, relaxed );
   U64 longest = counters.longest;
   while( longest < nanoseconds && !counters.longest.compare_exchange_weak( longest, nanoseconds ) )
      ;
   return code;
}

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int ObservedShim::method parameters \
   { \
      return observed( SdkOperation::method, [ & ] { return next().method arguments; } ); \
   }
#include "platform/sdk/SdkOperations.def"

std::vector<SdkCallStatistics> ObservedShim::statistics() const
{
   std::vector<SdkCallStatistics> all;
   for( std::size_t i = 0; i < operationCount; ++i ) {
      const Counters& counters = counters_[ i ];
      SdkCallStatistics one{ operationNames[ i ], 0, counters.failures, counters.unavailable,
         seconds( counters.nanoseconds ), seconds( counters.longest ), {} };
      for( std::size_t group = 0; group < one.byTime.size(); ++group )
         one.calls += one.byTime[ group ] = counters.byTime[ group ];
      if( one.calls != 0 )
         all.push_back( one );
   }
   return all;
}

void ObservedShim::statisticsDel()
{
   for( std::size_t i = 0; i < operationCount; ++i ) {
      Counters& counters = counters_[ i ];
      for( std::atomic<U64>& calls : counters.byTime )
         calls = 0;
      for( std::atomic<U64>* const counter :
         { &counters.failures, &counters.unavailable, &counters.nanoseconds, &counters.longest } )
         *counter = 0;
   }
}

} // namespace Strata
