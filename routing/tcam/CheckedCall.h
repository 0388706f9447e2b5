// The checked SDK call: the convention by which every call that returns a code is made.
//
//    CHECKED( bcm_field_qualify_Ttl( unit, entryId, ttl, 0xFF ) );
//
// The call itself evaluates its arguments, runs the shim's pre-call hook and gives the activity lock away
// while the SDK works. Afterwards a negative code, other than the one for a feature that the chip lacks,
// is written to standard error with the call's own text and ends the agent.
#pragma once

#include "messages/Traces.h"
#include "platform/sdk/SdkNames.h"

namespace Strata {

struct CallSite
{
   const char* file;
   int line;
   const char* function;
   const char* signature; // null: left out of the error line
   const char* text;      // the call as written
};

/// Traces the outcome; ends the agent when the code is fatal.
void callOutcome( int rc, const CallSite& site );

/// False for the code of a feature that the chip lacks; any other negative one ends the agent.
inline bool isAvailable( int rc, const CallSite& site )
{
   if( rc < 0 || apiTrace.enabled( 4 ) ) [[unlikely]]
      callOutcome( rc, site );
   return rc >= 0;
}

} // namespace Strata

// Each macro stringifies its own argument: handed to another macro it would be expanded first.
#define STRATA_CHECKED( call, signature, text ) \
   do { \
      const int callCode = ( call ); \
      if( callCode < 0 || ::Strata::apiTrace.enabled( 4 ) ) [[unlikely]] \
         ::Strata::callOutcome( callCode, { __FILE__, __LINE__, __func__, signature, text } ); \
   } while( false )

#define CHECKED( call ) STRATA_CHECKED( call, nullptr, #call )
#define CHECKED_WITH_SIGNATURE( call ) STRATA_CHECKED( call, __PRETTY_FUNCTION__, #call )
// For a read whose result is to be changed and written: false when the chip lacks it, so that nothing was read.
#define CHECKED_AVAILABLE( call ) \
   ::Strata::isAvailable( ( call ), { __FILE__, __LINE__, __func__, nullptr, #call } )
