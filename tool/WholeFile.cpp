#include "tool/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace Strata::Tool {

WholeFile::WholeFile( const std::string& name )
   : name_( name ),
     draft_( name + ".draft-" + std::to_string( ::getpid() ) ),
     out_( draft_, std::ios::binary )
{
   check();
}

WholeFile::~WholeFile()
{
   std::remove( draft_.c_str() );
}

void WholeFile::finish()
{
   out_.close();
   check();
   if( std::rename( draft_.c_str(), name_.c_str() ) != 0 )
      fail();
}

void WholeFile::check()
{
   if( !out_ )
      fail();
}

void WholeFile::fail() const
{
   throw std::runtime_error( "cannot write '" + name_ + "': " + std::strerror( errno ) );
}

} // namespace Strata::Tool
