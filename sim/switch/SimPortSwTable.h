// A simple software port table for the agent.
#pragma once

#include "platform/state/PortSwTable.h"

#include <map>
#include <string>

namespace Strata::Sim {

// clang-format off
#define STRATA_SIM_PORT_SW_TABLE_ATTRIBUTES( ROW )
// clang-format on

class SimPortSwTable : public PortSwTable
{
   VORMEL_ENTITY( SimPortSwTable, STRATA_SIM_PORT_SW_TABLE_ATTRIBUTES )

   PortSwEntry entry( const StrataPort& port ) const override;
   void entryCommit( const StrataPort& port, const PortSwEntry& entry ) override;

   const std::map<StrataPort, PortSwEntry>& entries() const { return entries_; }
   /// The number of commits.
   U64 commits() const { return commits_; }

 private:
   std::map<StrataPort, PortSwEntry> entries_;
   U64 commits_ = 0;
};

} // namespace Strata::Sim
