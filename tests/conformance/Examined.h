// A simulated switch for the kit to examine, and checks of the kit's report.
#pragma once

#include "conformance/sim/SimPort.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Strata::Conformance {

/// A simulated switch of two units, and the kit's port for it.
struct Switch
{
   explicit Switch( const std::string& profile = "register" )
      : hardware( { .profile = profile, .units = { 0, 4 }, .ports = 4, .seed = 7 } )
   {
      hardware.critic().collect();
   }
   ~Switch() { sdkShimIs( &hardware.observedShim() ); }

   /// Puts a shim in front of the switch's own, for the process and in the shared data.
   void shimIs( SdkShimInterface* shim )
   {
      const Ref<StrataCommonSmData> own = hardware.scsd();
      port.scsd = Vormel::make<StrataCommonSmData>( shim );
      for( const auto& i : own->units() )
         port.scsd->units().unitIs( i.key(), *own->units().find( i.key() ) );
      sdkShimIs( shim );
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   Sim::SimSwitch hardware;
   Port port = simPort( hardware );
};

inline std::set<std::string> brokenPromises( const Report& report )
{
   std::set<std::string> names;
   for( const Finding& finding : report.findings() )
      names.emplace( Vormel::enumName( finding.promise ) );
   return names;
}

/// Expects that the report names the promise as broken, by a call that contains this text.
inline void expectBroken( const Report& report, const char* promise, const char* call )
{
   EXPECT_TRUE( brokenPromises( report ).contains( promise ) ) << report.text( false );
   const std::string sentence = std::string( "broken promise " ) + promise + ": ";
   bool named = false;
   for( const Finding& finding : report.findings() )
      named = named || ( finding.text().starts_with( sentence ) &&
                          finding.call.find( call ) != std::string::npos );
   EXPECT_TRUE( named ) << "no finding names " << call << "\n" << report.text( false );
}

} // namespace Strata::Conformance
