// Trace records: named handles, each with ten levels (0 to 9) that are enabled separately, and one
// sink that gets the records. All levels are initially off, and a trace that is off costs a load, a
// test and a branch: its arguments are not evaluated (declare the handles with
// VORMEL_DECLARE_TRACE). Switching levels, replacing the sink and emitting are safe from any thread; a
// sink guards itself. Registering handles is for the holder of the activity lock.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Types.h"

#include <atomic>
#include <functional>
#include <ios>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vormel {

class VORMEL_EXPORT TraceHandle
{
 public:
   static constexpr U32 maxLevel = 9;

   /// Registers itself; `name` must outlive the handle.
   explicit TraceHandle( const char* name );
   ~TraceHandle();
   TraceHandle( const TraceHandle& ) = delete;
   TraceHandle& operator=( const TraceHandle& ) = delete;

   const char* name() const { return name_; }

   bool enabled( U32 level ) const
   {
      return ( levels_.load( std::memory_order_relaxed ) & ( 1u << level ) ) != 0;
   }

   /// The enabled levels, bit n for level n.
   U32 levels() const { return levels_.load( std::memory_order_relaxed ); }
   void levelsIs( U32 mask ) { levels_.store( mask, std::memory_order_relaxed ); }

   /// Enables the levels 0 to `level` and no others; ValueError above 9.
   void levelIs( U32 level );
   void levelsOff() { levelsIs( 0 ); }

 private:
   std::atomic<U32> levels_{ 0 };
   const char* name_;
};

struct TraceRecord
{
   std::string_view handle;
   U32 level;
   std::string_view function;
   std::string_view text;
};

using TraceSink = std::function<void( const TraceRecord& )>;

/// Null when there is no handle of that name.
VORMEL_EXPORT TraceHandle* traceHandle( std::string_view name );
/// All handles in order of creation.
VORMEL_EXPORT std::vector<TraceHandle*> traceHandles();

/// Sets levels of the existing handles: "ApiStrata=4,Strata*=7", read from left to right. A pattern
/// may contain `*` and `?`; the level is 0 to 9 (it and all below) or "off". ValueError, and no
/// level is changed, when an item is malformed or matches no handle.
VORMEL_EXPORT void traceLevelsIs( std::string_view settings );

/// Sets the sink and returns the previous one. An empty sink is the default one, which writes
/// "<handle> <level> <function> <text>" to standard error.
VORMEL_EXPORT TraceSink traceSinkIs( TraceSink sink );

/// A sink that appends the lines of the default sink to a file. Error when the file cannot be opened.
VORMEL_EXPORT TraceSink traceToFile( const std::string& file );

/// Passes a record to the sink, whether or not the level is enabled. An exception of the sink is reported on standard
/// error.
VORMEL_EXPORT void traceRecord( const TraceHandle& handle, U32 level, std::string_view function,
   std::string_view text ) noexcept;

/// Collects the pieces of one trace; see Text.h for the text of values. Integers and text are appended to it, other
/// types written by their stream operator. The streams are kept for reuse and used by reference, so that a function that
/// traces needs no room for one on its stack.
class VORMEL_EXPORT TraceStream
{
 public:
   TraceStream();
   TraceStream( const TraceStream& ) = delete;
   TraceStream& operator=( const TraceStream& ) = delete;
   ~TraceStream();

   template<class T>
   TraceStream& operator<<( const T& value )
   {
      if constexpr( std::is_same_v<T, bool> )
         append( value ? "1" : "0" );
      else if constexpr( std::is_convertible_v<const T&, const char*> )
         append( static_cast<const char*>( value ) );
      else if constexpr( std::is_convertible_v<const T&, std::string_view> )
         append( static_cast<std::string_view>( value ) );
      else if constexpr( Detail::ByteInteger<T> )
         *this << int{ value };
      else if constexpr( isNumber<T> && std::is_signed_v<T> )
         appendNumber( value, static_cast<std::make_unsigned_t<T>>( value ) );
      else if constexpr( isNumber<T> )
         appendNumber( value );
      else
         writeText( stream(), value );
      return *this;
   }
   TraceStream& operator<<( std::ios_base& ( *manipulator )( std::ios_base& ))
   {
      stream() << manipulator;
      return *this;
   }
   TraceStream& operator<<( std::ostream& ( *manipulator )( std::ostream& ))
   {
      stream() << manipulator;
      return *this;
   }

 private:
   friend TraceStream& traceBegin();
   friend void traceEnd( const TraceHandle&, U32, std::string_view, TraceStream& );

   template<class T>
   static constexpr bool isNumber = std::is_integral_v<T> && !std::is_same_v<T, char>;

   std::ostream& stream();
   void append( const char* text ); // null is written as (null)
   void append( std::string_view text );
   void appendNumber( U64 value );
   void appendNumber( S64 value, U64 bits ); // bits: of the value in its own width

   struct Parts;
   std::unique_ptr<Parts> parts_;
};

/// A stream for one trace, empty.
VORMEL_EXPORT TraceStream& traceBegin();
/// The same as traceRecord(), with the text of a stream from traceBegin(), which is returned for reuse.
VORMEL_EXPORT void traceEnd(
   const TraceHandle& handle, U32 level, std::string_view function, TraceStream& stream );

} // namespace Vormel

/// Declares a handle that another source file defines, and marks it as being in the
/// same shared object: the test of a level is then three instructions, without a fourth to find
/// the handle.
#define VORMEL_DECLARE_TRACE( name ) \
   extern __attribute__( ( visibility( "hidden" ) ) ) ::Vormel::TraceHandle name

/// VORMEL_TRACE( strataTrace, 7, "handleIntfFlood" << " intf: " << intf );
#define VORMEL_TRACE( handle, level, ... ) VORMEL_TRACE_AS( handle, level, __func__, __VA_ARGS__ )

/// The same, attributed to the function that `function` names.
#define VORMEL_TRACE_AS( handle, level, function, ... ) \
   do { \
      if( ( handle ).enabled( level ) ) [[unlikely]] \
         ::Vormel::traceEnd( \
            ( handle ), ( level ), ( function ), ::Vormel::traceBegin() << __VA_ARGS__ ); \
   } while( false )
