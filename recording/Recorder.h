// A recording of the slice: what an agent gives it and what it does, one JSON object a line (docs/recording.md).
//
// The recorder stands between the slice and the agent's shim and entry managers, watches the inputs and the helper, and
// makes the agent's own calls. So an agent uses it in a few places: it gives the slice recorder.shim() and
// recorder.manager(), names its inputs before the helper is brought up, and replaces its direct calls, as in
//
//    helper->init( true, true );        by        recorder.call( "init", true, true );
//
// Without a file it passes everything on, at no cost but that of calls by name. Requires: the activity lock is held at
// every call.
#pragma once

#include "platform/runtime/Clock.h"
#include "platform/runtime/EntityType.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Syslog.h"
#include "platform/runtime/Trace.h"
#include "platform/sdk/SdkShimInterface.h"
#include "platform/sdk/TcamEntryManager.h"
#include "platform/state/PortSwTable.h"
#include "routing/RoutingStatusHelper.h"

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace Strata {

class VORMEL_EXPORT Recorder
{
 public:
   /// Replaces the file; records nothing if its name is empty. std::system_error if it cannot be written. A record that cannot be written later ends the
   /// recording, which a trace of the handle StrataRecording at level 1 reports; the agent goes on.
   explicit Recorder( const std::string& file );
   /// The same, with a limit in bytes. Once the file has reached it, it is renamed to FILE.old before the next input, and
   /// a new file starts with the present state, so that both together are never much larger than twice the limit; a limit
   /// below twice the size of that state counts as that. 0 is no limit, and a device or a pipe has none. A failure to rename
   /// or to open a file ends the recording, as above.
   Recorder( const std::string& file, U64 limit );
   /// Gives each record, one JSON object without the end of its line, to the function, in place of a file. The function is
   /// called on the thread that causes the record, and may cause further ones.
   explicit Recorder( std::function<void( std::string_view record )> reader );
   Recorder( const Recorder& ) = delete;
   Recorder& operator=( const Recorder& ) = delete;
   /// Requires: nothing uses the shim of this recorder any more.
   ~Recorder();

   /// Whether records are still written.
   bool recording() const;
   /// Ends the recording without its last record, as a copy of the process has to: the file is its parent's.
   void leave();

   /// The shim to set with sdkShimIs(), which passes all calls to `next`. It lives as long as the recorder. It asks
   /// `next` about fields of registers and memories, and for texts of codes, also while the activity lock is released.
   /// Requires: `next` outlives the recorder.
   SdkShimInterface& shim( SdkShimInterface& next );
   /// The manager to give to the helper in place of `next`. Null for null.
   Ref<StrataBoundedTcamEntryManager> manager(
      const std::string& name, const Ref<StrataBoundedTcamEntryManager>& next );
   /// The same for the managers that the group manager has, at present and later.
   Ref<StrataTcamGroupManager> groupManager( const Ref<StrataTcamGroupManager>& next );

   /// The software port table to give to the helper in place of `next`: its answers are recorded. Null for null.
   Ref<PortSwTable> portSwTable( const Ref<PortSwTable>& next );

   /// Records the units, and all values of the shared data, and their changes from now on; those of units before the next
   /// input.
   void sharedData( const Ref<StrataCommonSmData>& scsd );
   /// Records all values of the input, which the recording knows by this name, and its changes from now on, each before
   /// the subscribers that come later get it. Objects in its collections are watched as long as they are members.
   void input( const std::string& name, const Ref<const Vormel::Entity>& entity );
   /// The same for the helper, under the name "helper": the attributes that the agent writes are inputs.
   void helper( const Ref<RoutingStatusHelper>& helper );
   /// Records the expiries of the clock's timers until the clock or the recorder is destroyed.
   void clock( Vormel::Clock& clock );

   /// Calls an operation of the helper by name and records it. AccessError or ArgumentError as for the operation;
   /// AccessError if there is no helper yet.
   template<class... Arguments>
   Vormel::Value call( std::string_view operation, const Arguments&... arguments )
   {
      const std::array<Vormel::Value, sizeof...( Arguments )> values{
         Vormel::ValueTraits<Arguments>::value( arguments )... };
      return callWith( operation, values );
   }
   Vormel::Value callWith( std::string_view operation, std::span<const Vormel::Value> arguments );

   // Write an attribute, or remove a member or, without a key, all of them, as Attribute::write() and del() do. For
   // attributes of the slice, which an agent writes in tests and repairs only: that it did so is recorded.
   void set( const Ref<Vormel::Entity>& object, const Vormel::Attribute& attribute,
      const Vormel::Value& key, const Vormel::Value& value );
   void del( const Ref<Vormel::Entity>& object, const Vormel::Attribute& attribute,
      const Vormel::Value& key );

   /// Makes a reactor: make( "RoutingStatusSm", RoutingStatusSmIs, scsd, features, ... ). The record has the names of the
   /// inputs.
   template<class Result, class... Parameters>
   Result make( std::string_view reactor, Result ( *factory )( Parameters... ),
      const std::type_identity_t<std::remove_cvref_t<Parameters>>&... inputs )
   {
      Result made;
      runWith( "make", reactor, { inputs.get()... }, [ & ] { made = factory( inputs... ); } );
      return made;
   }
   /// Drops a reactor: sets the reference to null.
   template<class Reactor>
   void drop( std::string_view name, Ref<Reactor>& reactor )
   {
      runWith( "drop", name, {}, [ & ] { reactor = nullptr; } );
   }
   /// Calls a function of a reactor: run( "handleStrataIntfToPort", [ & ] { reactor->handleStrataIntfToPort(); } ).
   void run( std::string_view function, const std::function<void()>& work )
   {
      runWith( "run", function, {}, work );
   }

   /// For the agent's own sinks. Safe from any thread.
   void trace( const Vormel::TraceRecord& record );
   void log( const Vormel::SyslogRecord& record );

 private:
   void runWith( std::string_view record, std::string_view what,
      std::initializer_list<const Vormel::Counted*> inputs, const std::function<void()>& work );

   class Impl;
   std::unique_ptr<Impl> impl_;
};

} // namespace Strata
