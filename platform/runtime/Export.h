// The library is built with hidden visibility; what an agent may use is marked here.
#pragma once

#define VORMEL_EXPORT __attribute__( ( visibility( "default" ) ) )
