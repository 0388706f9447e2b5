// The origin of a piece of chip state: the command that wrote it, and its place in the transcript.
#pragma once

#include "platform/runtime/Types.h"

#include <compare>
#include <string>

namespace Strata::Sim {

struct Cause
{
   std::string text;  // "call init true true"; empty without a command
   std::string event; // the last change of an input that the command had made by then; may be empty
   U64 record = 0;    // the record of the call

   bool operator==( const Cause& ) const = default;
};

/// State of a chip other than entries.
struct ChipPlace
{
   enum class Kind : U8
   {
      control,     // by number of the role
      portControl, // the same, on `port`
      portSwitchControl,
      registers,
      vlanFlags, // by VLAN
      myStation, // by index
   };

   Kind kind;
   U32 number = 0;
   int port = 0;

   auto operator<=>( const ChipPlace& ) const = default;
};

} // namespace Strata::Sim
