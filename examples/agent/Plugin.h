// The interface of the agent and its plugins: one C function, so that neither needs the other's headers.
#pragma once

/// The agent's log.
using Say = void ( * )( const char* line );

/// What a plugin exports as `pluginRun`; returns 0 when all went well.
using PluginRun = int ( * )( Say say );
