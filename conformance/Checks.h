// The checks, grouped by their subject. Each restores the state of the port.
#pragma once

#include "conformance/Entry.h"

namespace Strata::Conformance {

/// The highest value of the 7-bit ingress-port field of a my-station entry.
inline constexpr int highestIngressPort = 0x7F;

// Codes.cpp
void checkShim( Examiner& examiner );
/// Runs last, after all codes have been returned.
void checkCodeTexts( Examiner& examiner );

/// Every number and answer of the shim that must not change while the process runs, as text.
std::vector<std::string> stableNumbers( const Examiner& examiner );
std::vector<std::string> stableAnswers( const Examiner& examiner );

// Units.cpp
void checkUnits( Examiner& examiner );
void checkRanges( Examiner& examiner );

// Claims.cpp, Installation.cpp, Field.cpp: for a range on a unit
void checkClaims( Examiner& examiner, const ManagedRange& range, U32 unit );
void checkInstallation( Examiner& examiner, const ManagedRange& range, U32 unit );
void checkQualifiersAndActions( Examiner& examiner, const ManagedRange& range, U32 unit );
/// The FP lock and actions with a port bitmap, in the main range.
void checkFieldLock( Examiner& examiner, const ManagedRange& range, U32 unit );

// Controls.cpp
void checkSwitchControls( Examiner& examiner, U32 unit );
void checkPortControls( Examiner& examiner, const StrataPort& port );
void checkPortTable( Examiner& examiner );
void checkVlans( Examiner& examiner, U32 unit );
void checkOptionsProfiles( Examiner& examiner, U32 unit );

// Registers.cpp
void checkRegisters( Examiner& examiner );
void checkMemoryFields( Examiner& examiner );
void checkMyStation( Examiner& examiner, U32 unit );

// Process.cpp
void checkActivityLock( Examiner& examiner );
void checkTimers( Examiner& examiner );

/// Runs `work` while another thread holds the activity lock, for at most some seconds; false if the work took longer.
/// Requires: the lock is not held.
bool runBesideLockHolder( const std::function<void()>& work );

} // namespace Strata::Conformance
