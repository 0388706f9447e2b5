// A small agent. It is not linked to the libraries of its plugins, which are loaded with the plugins.
#include "Plugin.h"

#include <dlfcn.h>
#include <iostream>

int main( int argc, char** argv )
{
   if( argc != 2 ) {
      std::cerr << "usage: agent PLUGIN, as in: agent ./routing-plugin.so\n";
      return 2;
   }
   void* const plugin = ::dlopen( argv[ 1 ], RTLD_NOW | RTLD_LOCAL );
   void* const run = plugin ? ::dlsym( plugin, "pluginRun" ) : nullptr;
   if( !run ) {
      std::cerr << "agent: " << ::dlerror() << "\n";
      return 1;
   }
   std::cout << "agent: plugin loaded" << std::endl;
   const int status = reinterpret_cast<PluginRun>( run )(
      []( const char* line ) { std::cout << line << std::endl; } );
   ::dlclose( plugin );
   std::cout << "agent: plugin ended with status " << status << std::endl;
   return status;
}
