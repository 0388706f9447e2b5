// Which arguments of the SDK operations are numbers of the SDK, and of what kind, for code that names them.
#pragma once

#include "platform/runtime/Types.h"
#include "platform/sdk/SdkShimInterface.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace Strata {

/// The kinds of the SDK's numbers; those behind Memory have one number each.
enum class ArgumentRole : U8
{
   FieldAction,
   FieldIpType,
   IpOptionAction,
   PacketResult,
   SwitchControl,
   PortControl,
   Register,
   Memory,
   AnyBlock,
   ChipWidePort,
   AnyPort,
   StpForward,
   ExactMask,
};
constexpr std::size_t argumentRoleCount = 13;

/// Nothing for a plain number. Requires: the argument is a number.
constexpr std::optional<ArgumentRole> argumentRole(
   SdkOperation operation, std::string_view argument )
{
   using enum SdkOperation;
   if( argument == "action" )
      return operation == l3Ip4OptionsProfileCreate ? ArgumentRole::IpOptionAction
                                                    : ArgumentRole::FieldAction;
   if( argument == "ipType" )
      return ArgumentRole::FieldIpType;
   if( argument == "control" ) // that of a VLAN is a record, which is no number
      return operation == portControlSet ? ArgumentRole::PortControl : ArgumentRole::SwitchControl;
   if( argument == "reg" )
      return ArgumentRole::Register;
   if( argument == "memory" )
      return ArgumentRole::Memory;
   if( argument == "block" )
      return ArgumentRole::AnyBlock;
   if( argument == "port" && operation == switchControlPortSet )
      return ArgumentRole::ChipWidePort;
   if( argument == "port" && operation != portControlSet && operation != fieldQualifyDstPort )
      return ArgumentRole::AnyPort;
   if( argument == "data" && operation == fieldQualifyPacketRes )
      return ArgumentRole::PacketResult;
   if( argument == "data" && operation == fieldQualifyIngressStpState )
      return ArgumentRole::StpForward;
   if( argument == "mask" &&
       ( operation == fieldQualifyPacketRes || operation == fieldQualifyIntPriority ||
          operation == fieldQualifyDstMcastGroup ) )
      return ArgumentRole::ExactMask;
   return std::nullopt;
}

} // namespace Strata
