#include "platform/sdk/ObservedShim.h"

#include <chrono>

namespace Strata {

namespace {

constexpr auto operationNames = roleNames<SdkOperation>;
constexpr std::size_t operationCount = operationNames.size();

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
   ++counters.calls;
   if( code == unavailableCode_ )
      ++counters.unavailable;
   else if( code < 0 )
      ++counters.failures;
   counters.nanoseconds += nanoseconds;
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
      if( counters.calls != 0 )
         all.push_back( { operationNames[ i ], counters.calls, counters.failures,
            counters.unavailable, seconds( counters.nanoseconds ), seconds( counters.longest ) } );
   }
   return all;
}

void ObservedShim::statisticsDel()
{
   for( std::size_t i = 0; i < operationCount; ++i ) {
      Counters& counters = counters_[ i ];
      for( std::atomic<U64>* const counter : { &counters.calls, &counters.failures,
              &counters.unavailable, &counters.nanoseconds, &counters.longest } )
         *counter = 0;
   }
}

} // namespace Strata
