// The interface of the agent and its plugins: one C function, so that neither needs the other's headers.
#pragma once

/// The agent's log.
using Say = void ( * )( const char* line );

/// The function that a plugin exports as `pluginRun`. Returns 0 for success.
using PluginRun = int ( * )( Say say );
