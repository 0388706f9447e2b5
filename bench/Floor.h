// The floor of a job: the SDK calls and entry-manager operations that it makes, recorded once and made again in a plain
// loop, with the same arguments, hooks and lock handling. What a job costs beyond its floor is the slice's own.
#pragma once

#include "platform/runtime/Activity.h"
#include "platform/sdk/ForwardingShim.h"
#include "platform/sdk/ForwardingTcamEntryManager.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench {

using namespace Strata;

/// The calls of one job, in their order.
class Floor
{
 public:
   /// Makes all calls. Requires: the activity lock is held.
   void run() const
   {
      for( const auto& step : steps_ )
         step->run();
   }
   std::size_t calls() const { return steps_.size(); }

 private:
   friend class RecordingShim;
   friend class RecordingManager;

   /// A copy of an argument; of what a pointer points to.
   template<class Parameter>
   struct Kept
   {
      std::remove_cvref_t<Parameter> value;
      const std::remove_cvref_t<Parameter>& argument() const { return value; }
   };
   template<class Pointee>
   struct Kept<Pointee*>
   {
      explicit Kept( Pointee* pointer ) : value( *pointer ) {}
      mutable std::remove_const_t<Pointee> value;
      Pointee* argument() const { return &value; }
   };

   class Step
   {
    public:
      Step() = default;
      Step( const Step& ) = delete;
      Step& operator=( const Step& ) = delete;
      virtual ~Step() = default;
      virtual void run() const = 0;
   };

   /// What belongs to a call: the hook before it, and what it does with the activity lock.
   struct Around
   {
      bool hook = false;
      bool releases = false;
      bool takes = false;
   };

   template<class Target, class Method, class... Parameters>
   class Call final : public Step
   {
    public:
      Call( Target& target, Method method, Around around, Parameters... arguments )
         : target_( target ),
           method_( method ),
           around_( around ),
           arguments_( Kept<Parameters>{ arguments }... )
      {}
      void run() const override
      {
         if constexpr( std::is_same_v<Target, SdkShimInterface> )
            if( around_.hook )
               target_.preCall();
         if( around_.releases )
            Vormel::activityLock().unlock();
         std::apply( [ & ]( const auto&... kept ) { ( target_.*method_ )( kept.argument()... ); },
            arguments_ );
         if( around_.takes )
            Vormel::activityLock().lock();
      }

    private:
      Target& target_;
      Method method_;
      Around around_;
      std::tuple<Kept<Parameters>...> arguments_;
   };

   template<class Target, class Result, class... Parameters>
   void add( Around around, Target& target, Result ( Target::*method )( Parameters... ),
      std::type_identity_t<Parameters>... arguments )
   {
      steps_.push_back(
         std::make_unique<Call<Target, Result ( Target::* )( Parameters... ), Parameters...>>(
            target, method, around, arguments... ) );
   }
   template<class Target, class Result, class... Parameters>
   void add( Around around, Target& target, Result ( Target::*method )( Parameters... ) const,
      std::type_identity_t<Parameters>... arguments )
   {
      steps_.push_back(
         std::make_unique<Call<Target, Result ( Target::* )( Parameters... ) const, Parameters...>>(
            target, method, around, arguments... ) );
   }

   std::vector<std::unique_ptr<Step>> steps_;
};

/// Adds each operation to a floor while one is set.
class RecordingShim final : public ForwardingShim
{
 public:
   using ForwardingShim::ForwardingShim;
   /// Null for none.
   void floorIs( Floor* floor ) { floor_ = floor; }

#define STRATA_SDK_OPERATION( method, name, parameters, arguments ) \
   int method parameters override \
   { \
      return record( #method, &SdkShimInterface::method, STRATA_UNPACKED arguments ); \
   }
#define STRATA_UNPACKED( ... ) __VA_ARGS__
#include "platform/sdk/SdkOperations.def"
#undef STRATA_UNPACKED

 private:
   /// Between fieldLock and fieldUnlock the activity lock stays released.
   template<class Method, class... Arguments>
   int record( std::string_view name, Method method, const Arguments&... arguments )
   {
      const bool locks = name == "fieldLock";
      const bool unlocks = name == "fieldUnlock";
      if( floor_ )
         floor_->add(
            { .hook = !unlocks, .releases = !inside_, .takes = unlocks || !( inside_ || locks ) },
            next(), method, arguments... );
      inside_ = ( inside_ || locks ) && !unlocks;
      return ( next().*method )( arguments... );
   }

   Floor* floor_ = nullptr;
   bool inside_ = false; // an FP lock
};

#define RECORDING_MANAGER_ATTRIBUTES( ROW )

class RecordingManager final : public ForwardingTcamEntryManager
{
   VORMEL_ENTITY( RecordingManager, RECORDING_MANAGER_ATTRIBUTES )

 public:
   using ForwardingTcamEntryManager::ForwardingTcamEntryManager;
   /// Null for none.
   void floorIs( Floor* floor ) { floor_ = floor; }

#define STRATA_UNPACKED( ... ) __VA_OPT__(, ) __VA_ARGS__
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) \
   result method parameters override \
   { \
      if( floor_ ) \
         floor_->add( {}, static_cast<StrataTcamEntryManager&>( next() ), \
            &StrataTcamEntryManager::method STRATA_UNPACKED arguments ); \
      return next().method arguments; \
   }
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) \
   result method parameters const override \
   { \
      if( floor_ ) \
         floor_->add( {}, static_cast<StrataTcamEntryManager&>( next() ), \
            &StrataTcamEntryManager::method STRATA_UNPACKED arguments ); \
      return next().method arguments; \
   }
#include "platform/sdk/TcamOperations.def"
#undef STRATA_UNPACKED

 private:
   Floor* floor_ = nullptr;
};

} // namespace Bench
