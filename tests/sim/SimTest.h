// A simulated switch with two units, whose breaches are collected, and functions that call it as the slice does.
#pragma once

#include "platform/runtime/Activity.h"
#include "sim/switch/SimSwitch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace Strata::Sim {

class SimTest : public testing::Test
{
 protected:
   explicit SimTest( const std::string& profile = "hsdk" )
      : hardware( { .profile = profile, .units = { 0, 4 }, .ports = 4, .seed = 7 } )
   {
      hardware.critic().collect();
   }

   /// Makes the call after the pre-call hook and without the activity lock.
   template<class... Parameters>
   int call( int ( SdkShimInterface::*operation )( Parameters... ),
      std::type_identity_t<Parameters>... arguments )
   {
      hardware.shim().preCall();
      return bareCall( operation, arguments... );
   }
   template<class... Parameters>
   int bareCall( int ( SdkShimInterface::*operation )( Parameters... ),
      std::type_identity_t<Parameters>... arguments )
   {
      const Vormel::UnlockAnchor anchor( Vormel::activityLock() );
      SdkShimInterface& shim = hardware.shim();
      return ( shim.*operation )( arguments... );
   }
   int addAction( U32 unit, U32 entry, FieldAction action )
   {
      return call( &SdkShimInterface::fieldActionAdd, unit, entry,
         hardware.shim().fieldAction( action ), 0, 0 );
   }

   /// Returns the collected breaches as "call: what was wrong", and forgets them.
   std::vector<std::string> breaches()
   {
      std::vector<std::string> texts;
      for( const Breach& breach : hardware.critic().breaches() )
         texts.push_back( breach.call + ": " + breach.what );
      hardware.critic().breachesDel();
      return texts;
   }
   /// The lines of the records of a kind, from this record number on.
   std::vector<std::string> lines( RecordKind kind, U64 from = 0 )
   {
      std::vector<std::string> found;
      for( const Record& record : hardware.transcript().records() )
         if( record.kind == kind && record.number > from )
            found.push_back( record.line() );
      return found;
   }

   Vormel::LockAnchor lock{ Vormel::activityLock() };
   SimSwitch hardware;
};

constexpr int ok = 0;
constexpr int code( SdkCode of )
{
   return static_cast<int>( of );
}

} // namespace Strata::Sim
