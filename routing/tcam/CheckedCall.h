// The checked SDK call, which is used for every SDK call that returns a code.
//
//    CHECKED( bcm_field_qualify_Ttl( unit, entryId, ttl, 0xFF ) );
//
// The call itself evaluates its arguments, runs the shim's pre-call hook and releases the activity lock
// while the SDK works (sdkCall in platform/sdk/SdkNames.h). Afterwards a negative code, other than the one for a feature
// that the chip lacks, is written to standard error with the call's own text and ends the agent.
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

// Each macro stringifies its own argument, because an argument that is passed to another macro is expanded first.
#define STRATA_CHECKED( call, signature, text ) \
   do { \
      const int callCode = ( call ); \
      if( callCode < 0 || ::Strata::apiTrace.enabled( 4 ) ) [[unlikely]] { \
         static constexpr ::Strata::CallSite site{ \
            __FILE__, __LINE__, __func__, signature, text }; \
         ::Strata::callOutcome( callCode, site ); \
      } \
   } while( false )

// For entries, VLANs and the controls of single features: the text of the call identifies it.
#define CHECKED( call ) STRATA_CHECKED( call, nullptr, #call )
// Also writes the signature of the enclosing function. For chip-wide controls, registers and the my-station memory, where
// several functions make the same call.
#define CHECKED_WITH_SIGNATURE( call ) STRATA_CHECKED( call, __PRETTY_FUNCTION__, #call )
// For a read whose result is changed and written back: false if the chip lacks it, so that nothing was read.
#define CHECKED_AVAILABLE( call ) \
   ::Strata::isAvailable( ( call ), { __FILE__, __LINE__, __func__, nullptr, #call } )
