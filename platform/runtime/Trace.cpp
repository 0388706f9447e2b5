#include "platform/runtime/Trace.h"

#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Registries.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <streambuf>

namespace Vormel {

namespace {

struct Setting
{
   std::string_view pattern;
   U32 mask;
};

} // namespace

static constexpr U32 maskUpTo( U32 level )
{
   return ( 2u << level ) - 1;
}

TraceHandle::TraceHandle( const char* name ) : name_{ name }
{
   Detail::traceRegistry().handles.push_back( this );
}

TraceHandle::~TraceHandle()
{
   std::erase( Detail::traceRegistry().handles, this );
}

void TraceHandle::levelIs( U32 level )
{
   if( level > maxLevel )
      throw ValueError( std::string( "trace handle " ) + name_ + ": level " +
                        std::to_string( level ) + " is not one of 0 to 9" );
   levelsIs( maskUpTo( level ) );
}

TraceHandle* traceHandle( std::string_view name )
{
   const auto& handles = Detail::traceRegistry().handles;
   const auto it = std::ranges::find_if( handles, [ & ]( auto* h ) { return h->name() == name; } );
   return it == handles.end() ? nullptr : *it;
}

std::vector<TraceHandle*> traceHandles()
{
   return Detail::traceRegistry().handles;
}

static bool matches( std::string_view pattern, std::string_view name )
{
   if( pattern.empty() )
      return name.empty();
   if( pattern[ 0 ] == '*' )
      return matches( pattern.substr( 1 ), name ) ||
             ( !name.empty() && matches( pattern, name.substr( 1 ) ) );
   return !name.empty() && ( pattern[ 0 ] == '?' || pattern[ 0 ] == name[ 0 ] ) &&
          matches( pattern.substr( 1 ), name.substr( 1 ) );
}

static std::optional<U32> parseMask( std::string_view text )
{
   if( text == "off" )
      return 0;
   if( text.size() == 1 && text[ 0 ] >= '0' && text[ 0 ] <= '9' )
      return maskUpTo( static_cast<U32>( text[ 0 ] - '0' ) );
   return std::nullopt;
}

static Setting parseSetting( std::string_view item )
{
   const auto equals = item.find( '=' );
   const auto mask = equals == item.npos ? std::nullopt : parseMask( item.substr( equals + 1 ) );
   if( !mask )
      throw ValueError( "trace setting '" + std::string( item ) +
                        "' is not HANDLE=LEVEL with a level of 0 to 9 or off" );
   const Setting setting{ item.substr( 0, equals ), *mask };
   const auto matched = [ & ]( auto* h ) { return matches( setting.pattern, h->name() ); };
   if( std::ranges::none_of( Detail::traceRegistry().handles, matched ) ) {
      std::string known;
      for( const auto* handle : Detail::traceRegistry().handles )
         known += std::string( known.empty() ? "" : ", " ) + handle->name();
      throw ValueError( "trace setting '" + std::string( item ) +
                        "': no trace handle has this name; the handles are: " + known );
   }
   return setting;
}

void traceLevelsIs( std::string_view settings )
{
   std::vector<Setting> parsed;
   for( bool more = true; more; ) {
      const auto comma = settings.find( ',' );
      parsed.push_back( parseSetting( settings.substr( 0, comma ) ) );
      more = comma != settings.npos;
      if( more )
         settings.remove_prefix( comma + 1 );
   }
   for( const Setting& setting : parsed )
      for( TraceHandle* handle : Detail::traceRegistry().handles )
         if( matches( setting.pattern, handle->name() ) )
            handle->levelsIs( setting.mask );
}

TraceSink traceSinkIs( TraceSink sink )
{
   auto next = sink ? std::make_shared<const TraceSink>( std::move( sink ) ) : nullptr;
   {
      const std::lock_guard guard( Detail::traceRegistry().sinkMutex );
      Detail::traceRegistry().sink.swap( next );
   }
   return next ? *next : TraceSink();
}

static void writeLine( std::FILE* file, const TraceRecord& record )
{
   std::string line{ record.handle };
   ( line += ' ' ) += std::to_string( record.level );
   ( line += ' ' ) += record.function;
   ( ( line += ' ' ) += record.text ) += '\n';
   std::fwrite( line.data(), 1, line.size(), file );
}

TraceSink traceToFile( const std::string& file )
{
   const std::shared_ptr<std::FILE> stream( std::fopen( file.c_str(), "a" ), []( std::FILE* f ) {
      if( f )
         std::fclose( f );
   } );
   if( !stream )
      throw Error( "traceToFile: cannot open '" + file + "': " + std::strerror( errno ) );
   std::setvbuf( stream.get(), nullptr, _IOLBF, BUFSIZ );
   return [ stream ]( const TraceRecord& record ) { writeLine( stream.get(), record ); };
}

// A reference, since a sink may replace itself while it runs.
static std::shared_ptr<const TraceSink> currentSink()
{
   const std::lock_guard guard( Detail::traceRegistry().sinkMutex );
   return Detail::traceRegistry().sink;
}

void traceRecord(
   const TraceHandle& handle, U32 level, std::string_view function, std::string_view text ) noexcept
{
   try {
      const TraceRecord record{ handle.name(), level, function, text };
      if( const auto sink = currentSink() )
         ( *sink )( record );
      else
         writeLine( stderr, record );
   } catch( const std::exception& error ) {
      std::fprintf( stderr, "a trace of %s was lost: %s\n", handle.name(), error.what() );
   } catch( ... ) {
      std::fprintf( stderr, "a trace of %s was lost\n", handle.name() );
   }
}

static constexpr std::ios_base::fmtflags decimal = std::ios_base::skipws | std::ios_base::dec;
static constexpr std::ios_base::fmtflags hexadecimal = std::ios_base::skipws | std::ios_base::hex;

/// The text, and a stream that appends to it.
struct VORMEL_HIDDEN TraceStream::Parts final : std::streambuf
{
   std::string text;
   std::ostream stream{ this };
   U64 depth = 0; // number of unfinished traces of this thread when this one began

   void clear()
   {
      text.clear();
      stream.clear();
      stream.flags( decimal );
      stream.width( 0 );
      stream.precision( 6 );
      stream.fill( ' ' );
   }

   bool appends( std::ios_base::fmtflags flags ) const
   {
      return stream.flags() == flags && stream.width() == 0;
   }

   void appendDigits( auto value, int base )
   {
      char digits[ 24 ];
      const auto end = std::to_chars( digits, digits + sizeof digits, value, base ).ptr;
      text.append( digits, end );
   }

 protected:
   int_type overflow( int_type character ) override
   {
      text += traits_type::to_char_type( character );
      return character;
   }
   std::streamsize xsputn( const char* characters, std::streamsize count ) override
   {
      text.append( characters, static_cast<std::size_t>( count ) );
      return count;
   }
};

TraceStream::TraceStream() : parts_( std::make_unique<Parts>() ) {}
TraceStream::~TraceStream() = default;

std::ostream& TraceStream::stream()
{
   return parts_->stream;
}

void TraceStream::append( const char* text )
{
   append( std::string_view( text ? text : "(null)" ) );
}

void TraceStream::append( std::string_view text )
{
   if( parts_->stream.width() == 0 )
      parts_->text += text;
   else
      parts_->stream << text;
}

void TraceStream::appendNumber( U64 value )
{
   if( parts_->appends( decimal ) )
      parts_->appendDigits( value, 10 );
   else if( parts_->appends( hexadecimal ) )
      parts_->appendDigits( value, 16 );
   else
      parts_->stream << value;
}

void TraceStream::appendNumber( S64 value, U64 bits )
{
   if( parts_->appends( decimal ) )
      parts_->appendDigits( value, 10 );
   else if( parts_->appends( hexadecimal ) )
      parts_->appendDigits( bits, 16 );
   else
      parts_->stream << value;
}

struct StreamPool
{
   std::deque<TraceStream> streams;
   U64 depth = 0;
};

static StreamPool& streamPool()
{
   static thread_local StreamPool pool;
   return pool;
}

TraceStream& traceBegin()
{
   StreamPool& pool = streamPool();
   // Evaluating a piece of a trace, or its sink, may make another trace.
   if( pool.depth == pool.streams.size() )
      pool.streams.emplace_back();
   TraceStream& stream = pool.streams[ pool.depth ];
   stream.parts_->clear();
   stream.parts_->depth = pool.depth++;
   return stream;
}

void traceEnd(
   const TraceHandle& handle, U32 level, std::string_view function, TraceStream& stream )
{
   traceRecord( handle, level, function, stream.parts_->text );
   streamPool().depth = stream.parts_->depth;
}

} // namespace Vormel
