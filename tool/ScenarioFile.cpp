#include "tool/ScenarioFile.h"

#include "tool/Interrupt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Strata::Tool {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr int patienceMs = 1000;

/// Why a file of this kind cannot be a scenario; empty if it can.
std::string objection( int descriptor, const struct stat& about )
{
   if( S_ISDIR( about.st_mode ) )
      return "it is a directory";
   if( S_ISBLK( about.st_mode ) || ( S_ISCHR( about.st_mode ) && ::isatty( descriptor ) == 0 ) )
      return "it is a device";
   return {};
}

} // namespace

ScenarioFile::ScenarioFile( const std::string& file, std::shared_ptr<const Inclusion> inclusion )
   : file_( file ),
     name_( file == "-" ? "stdin" : file ),
     inclusion_( std::move( inclusion ) ),
     // Without O_NONBLOCK, opening a pipe would wait for its writer.
     descriptor_( file == "-" ? ::dup( STDIN_FILENO )
                              : ::open( file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC ) )
{
   struct stat about = {};
   if( descriptor_ < 0 || ::fstat( descriptor_, &about ) != 0 )
      fail( std::strerror( errno ) );
   if( const std::string why = objection( descriptor_, about ); !why.empty() ) {
      ::close( descriptor_ );
      fail( why );
   }
   regular_ = S_ISREG( about.st_mode );
}

ScenarioFile::~ScenarioFile()
{
   ::close( descriptor_ );
}

void ScenarioFile::fail( const std::string& why ) const
{
   throw ScenarioFileError( "cannot read the scenario '" + file_ + "': " + why );
}

/// Waits until there is something to read.
void ScenarioFile::await()
{
   for( ;; ) {
      pollfd input{ descriptor_, POLLIN, 0 };
      const int ready = ::poll( &input, 1, waits_ ? patienceMs : -1 );
      if( ready > 0 )
         return;
      if( ready < 0 && errno != EINTR )
         fail( std::strerror( errno ) );
      safePoint( [ this ] { return "while it waited for " + name_; } );
      if( ready == 0 )
         std::exchange( waits_, {} )();
   }
}

bool ScenarioFile::fill()
{
   std::array<char, 65536> chunk;
   for( ;; ) {
      if( !regular_ )
         await();
      const ssize_t got = ::read( descriptor_, chunk.data(), chunk.size() );
      if( got < 0 && ( errno == EINTR || errno == EAGAIN ) )
         continue;
      if( got < 0 )
         fail( std::strerror( errno ) );
      buffer_.append( chunk.data(), static_cast<std::size_t>( got ) );
      return got > 0;
   }
}

/// A line without its end, or the first bytes of one that is too long.
std::optional<std::string> ScenarioFile::nextText()
{
   for( std::size_t searched = at_;; ) {
      const std::size_t newline = buffer_.find( '\n', searched );
      const std::size_t end = std::min( newline, buffer_.size() );
      if( newline != buffer_.npos || end - at_ > maxLineLength ) {
         const std::size_t length = std::min( end - at_, maxLineLength + 1 );
         std::string text = buffer_.substr( at_, length );
         at_ = newline == buffer_.npos ? end : end + 1;
         if( !std::exchange( skips_, newline == buffer_.npos ) )
            return text;
         searched = at_;
         continue;
      }
      buffer_.erase( 0, std::exchange( at_, 0 ) );
      searched = buffer_.size();
      if( fill() )
         continue;
      const bool rest = !buffer_.empty() && !skips_;
      return rest ? std::optional( std::exchange( buffer_, std::string() ) ) : std::nullopt;
   }
}

std::optional<Line> ScenarioFile::next()
{
   std::optional<std::string> text = nextText();
   if( !text )
      return std::nullopt;
   if( ++number_ == 1 && text->starts_with( byteOrderMark ) )
      text->erase( 0, byteOrderMark.size() );
   return splitLine( name_, number_, std::move( *text ), inclusion_ );
}

std::string includedFile( const Line& line, const std::string& name )
{
   return ( std::filesystem::path( line.file ).parent_path() / name ).lexically_normal();
}

namespace {

/// The files that the line includes; also one that is included where an error is expected.
std::vector<std::string> includedFiles( const Line& line )
{
   std::vector<std::string> files;
   for( std::size_t i = 0; i + 1 < line.words.size(); ++i )
      if( line.words[ i ].text == "include" && ( i == 0 || line.words[ i - 1 ].text != "|" ) )
         files.push_back( includedFile( line, line.words[ i + 1 ].text ) );
   return files;
}

/// `seen` has the scenarios that were looked through.
bool reads( const std::string& scenario, const std::string& file, std::set<std::string>& seen )
{
   std::error_code none; // a file that does not exist is not the same
   if( std::filesystem::equivalent( scenario, file, none ) )
      return true;
   if( scenario == "-" || !std::filesystem::is_regular_file( scenario, none ) ||
       !seen.insert( scenario ).second )
      return false;
   ScenarioFile lines( scenario );
   for( ;; ) {
      try {
         const std::optional<Line> line = lines.next();
         if( !line )
            return false;
         const auto included = includedFiles( *line );
         if( std::ranges::any_of(
                included, [ & ]( const auto& name ) { return reads( name, file, seen ); } ) )
            return true;
      } catch( const InputError& ) {
         continue; // the run reports it
      }
   }
}

} // namespace

bool readsFile( const std::string& scenario, const std::string& file )
{
   std::set<std::string> seen;
   std::error_code none;
   return std::filesystem::exists( file, none ) && reads( scenario, file, seen );
}

} // namespace Strata::Tool
