// What a recorder knows of the chips: the calls that make what the calls so far have made, without those whose effect
// is gone. A recording with a limit begins each of its files with them. A call takes the place of the earlier one of
// its place (a control, an entry's qualifier), so the size is that of the chips, however long an agent runs.
//
// Requires: the journal's mutex is held at every call.
#pragma once

#include "platform/sdk/SdkShimInterface.h"
#include "platform/sdk/TcamEntryManager.h"

#include <array>
#include <concepts>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Strata::Recording {

enum class TcamOperation : U8
{
#define STRATA_TCAM_OPERATION( result, method, parameters, arguments ) method,
#define STRATA_TCAM_QUESTION( result, method, parameters, arguments ) method,
#include "platform/sdk/TcamOperations.def"
};

class ChipCalls
{
 public:
   /// Where to write a call that has succeeded, as a JSON object; null if it needs no place, or has none.
   template<class... Arguments>
   std::string* placeOf( SdkOperation operation, const Arguments&... arguments )
   {
      return place( operation, Given( arguments... ) );
   }
   /// The same for an operation of an entry manager that has returned: with its result, 0 if it has none.
   template<class... Arguments>
   std::string* placeOf( TcamOperation operation, S64 result, const Arguments&... arguments )
   {
      return place( operation, result, Given( arguments... ) );
   }

   /// All calls as JSON objects, in an order in which they can be made.
   void forEach( const std::function<void( std::string_view call )>& use ) const;

 private:
   /// What places depend on: the first numbers among the arguments of a call, and its sets of ports.
   struct Given
   {
      template<class... Arguments>
      explicit Given( const Arguments&... arguments )
      {
         ( take( arguments ), ... );
      }

      std::array<S64, 4> numbers{};
      std::array<PortBitmap, 2> ports{};

    private:
      template<class Argument>
      void take( const Argument& argument )
      {
         if constexpr( std::is_integral_v<Argument> )
            add( static_cast<S64>( argument ) );
         else if constexpr( std::is_same_v<Argument, int*> ) // a number that the call returns
            add( *argument );
         else if constexpr( std::is_same_v<Argument, PortBitmap> )
            ports[ portsTaken_++ ] = argument;
      }
      void add( S64 number )
      {
         if( taken_ < numbers.size() )
            numbers[ taken_++ ] = number;
      }

      std::size_t taken_ = 0;
      std::size_t portsTaken_ = 0;
   };

   struct Kept
   {
      U64 order = 0; // of all calls and entries
      std::string text;
   };

   enum class Part : U8
   {
      claim,
      qualifier,
      removal, // of all actions
      action,
      installation,
   };
   struct EntryCall
   {
      Part part;
      S64 which; // of the qualifiers or actions
      std::string text;
   };
   using EntryCalls = std::vector<EntryCall>;
   struct Entry
   {
      U64 order = 0;
      EntryCalls hardware; // up to the installation; empty if it is not in hardware
      EntryCalls since;    // for the next installation
      std::string state;   // the call that disabled it, or took it out of hardware
   };
   using EntryId = std::pair<S64, S64>; // unit and id

   struct VlanPorts
   {
      U64 order = 0;
      PortBitmap tagged;
      PortBitmap untagged;
      PortBitmap removed;
      std::array<std::string, 2> texts; // empty if nothing was added, or removed
   };

   std::string* place( SdkOperation operation, const Given& given );
   std::string* place( TcamOperation operation, S64 result, const Given& given );
   /// Of the operation and its first `count` numbers.
   std::string* replaced( SdkOperation operation, const Given& given, std::size_t count );
   Entry& entryOf( S64 unit, S64 id );
   void changePorts( SdkOperation operation, const Given& given );

   static std::string* put( EntryCalls& calls, Part part, S64 which = 0 );
   /// Joins what the next installation puts into hardware, in `hardware`.
   static void join( Entry& entry );

   U64 order_ = 0;
   std::map<std::array<S64, 5>, Kept> kept_;
   std::map<EntryId, Entry> entries_;
   std::map<std::pair<S64, S64>, VlanPorts> vlanPorts_; // by unit and VLAN
};

} // namespace Strata::Recording
