#include "desk/ChromeTrace.h"

#include "desk/RecordedHardware.h"
#include "sim/switch/SimSwitch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace Strata::Desk {

namespace {

constexpr std::string_view opening = "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[";

/// Writes the events of a recording as they are read.
class Events
{
 public:
   Events( const RecordingFile& recording, const RoomSizes& rooms, std::ostream& out )
      : out_( out ),
        rooms_( rooms )
   {
      out_ << opening;
      for( const RecordedLine& record : recording.records() ) {
         const Json json = record.json();
         const U64 time = json.at( "t" ).get<U64>();
         follow( record, json, time );
         last_ = time;
      }
      while( !open_.empty() )
         close( last_ );
      out_ << "\n]}\n";
   }

 private:
   // A slice that is open. A change of an input and an expiry have no record of their end: they last until the last record
   // before the next input, or before the end of what they are in.
   struct Slice
   {
      U64 number;
      bool hasEnd;
   };
   void follow( const RecordedLine& record, const Json& json, U64 time )
   {
      if( isInput( record.kind ) ) {
         closeEndless();
         open( record.number, json, time, "input", returns( record.kind ) );
         inputs_[ record.number ] = time;
      } else if( record.kind == RecordedKind::begin ) {
         open( record.number, json, time, "call", true );
         arrow( json.at( "cause" ).get<U64>(), time );
         calls_.emplace( record.number, json );
      } else if( record.kind == RecordedKind::end || record.kind == RecordedKind::returned )
         closeUpTo( json.at( "of" ).get<U64>(), json, time );
      else if( record.kind == RecordedKind::chip )
         count( json, json, time );
      else if( record.kind == RecordedKind::manager )
         countRoom( json, time );
      else if( record.kind == RecordedKind::notify )
         event( "i", time, { { "name", recordText( json ) }, { "cat", "change" }, { "s", "t" } } );
   }

   void open( U64 number, const Json& json, U64 time, const char* category, bool hasEnd )
   {
      event( "B", time,
         { { "name", recordText( json ) }, { "cat", category },
            { "args", { { "record", number } } } } );
      open_.push_back( { number, hasEnd } );
   }
   void close( U64 time )
   {
      event( "E", time, Json::object() );
      open_.pop_back();
   }
   void closeEndless()
   {
      while( !open_.empty() && !open_.back().hasEnd )
         close( last_ );
   }
   /// A record ends the slice with this number, and what is open in it. A file that continues another may end a slice
   /// that it does not have.
   void closeUpTo( U64 number, const Json& end, U64 time )
   {
      bool known = false;
      for( const Slice& slice : open_ )
         known = known || slice.number == number;
      while( known && open_.back().number != number )
         close( last_ );
      if( known )
         close( time );
      if( const auto at = calls_.find( number ); at != calls_.end() ) {
         count( at->second, end, time );
         calls_.erase( at );
      }
   }

   /// From the input to the first call that it causes.
   void arrow( U64 cause, U64 time )
   {
      const auto at = inputs_.find( cause );
      if( at == inputs_.end() )
         return;
      event( "s", at->second, { { "name", "reaction" }, { "cat", "flow" }, { "id", cause } } );
      event(
         "f", time, { { "name", "reaction" }, { "cat", "flow" }, { "id", cause }, { "bp", "e" } } );
      inputs_.erase( at );
   }

   void count( const Json& begin, const Json& end, U64 time )
   {
      const std::string call = begin.at( "call" ).get<std::string>();
      const Json& arguments = begin.at( "arguments" );
      if( begin.contains( "manager" ) ) {
         countEntry( begin, end, time );
      } else if( end.value( "code", Json() ) == "success" && !call.starts_with( "bcm_field_" ) &&
                 ( call.ends_with( "_set" ) || call.ends_with( "_write" ) ) && !arguments.empty() )
         countWrite( call, arguments, time );
   }
   /// A range is known: its room on each unit.
   void countRoom( const Json& manager, U64 time )
   {
      const std::string name = decodedText( manager.at( "manager" ) );
      for( const auto& [ place, room ] : rooms_ )
         if( place.first == groupNamed( name ) )
            sizes_[ name + " unit " + std::to_string( place.second ) ] = room;
      writeRoom( time );
   }
   void writeRoom( U64 time )
   {
      Json all = Json::object();
      for( const auto& [ name, room ] : sizes_ ) {
         const std::size_t used = fitted_[ name ].size();
         all[ name ] = room - std::min<std::size_t>( room, used );
      }
      if( !all.empty() )
         event( "C", time, { { "name", "room left" }, { "args", all } } );
   }
   /// An entry takes room from its claim or installation to its removal or release.
   void countEntry( const Json& begin, const Json& end, U64 time )
   {
      const std::string call = begin.at( "call" ).get<std::string>();
      const Json& arguments = begin.at( "arguments" );
      if( !arguments.contains( "unit" ) || !arguments.contains( "entryId" ) )
         return;
      const std::string range =
         decodedText( begin.at( "manager" ) ) + " unit " + arguments.at( "unit" ).dump();
      std::set<U64>& claimed = claimed_[ range ];
      std::set<U64>& fitted = fitted_[ range ];
      const std::size_t claims = claimed.size();
      const std::size_t used = fitted.size();
      if( call == "getEntry" ) {
         if( const Json id = end.value( "result", Json( 0 ) ); id != 0 )
            if( claimed.insert( id.get<U64>() ).second )
               fitted.insert( id.get<U64>() );
      } else if( const U64 id = arguments.at( "entryId" ).get<U64>(); call == "releaseEntry" ) {
         claimed.erase( id );
         fitted.erase( id );
      } else if( call == "removeEntry" )
         fitted.erase( id );
      else if( call == "installEntry" && end.value( "code", Json() ) == "success" )
         fitted.insert( id );
      if( claimed.size() != claims ) {
         Json all = Json::object();
         for( const auto& [ name, ids ] : claimed_ )
            all[ name ] = ids.size();
         event( "C", time, { { "name", "claimed entries" }, { "args", all } } );
      }
      if( fitted.size() != used )
         writeRoom( time );
   }
   /// Of an operation that writes a control, register, memory entry or VLAN, the last argument is the value.
   void countWrite( const std::string& call, const Json& arguments, U64 time )
   {
      std::string place = call;
      std::string value;
      for( const auto& argument : arguments.items() ) {
         place += ' ' + value;
         value = argument.value().dump();
      }
      const auto [ at, isFirst ] = written_.try_emplace( place, value );
      if( !isFirst && at->second == value )
         event( "C", time,
            { { "name", "redundant writes" }, { "args", { { "writes", ++redundant_ } } } } );
      at->second = value;
   }

   void event( const char* phase, U64 nanoseconds, const Json& members )
   {
      Json event{ { "ph", phase }, { "ts", static_cast<double>( nanoseconds ) / 1000 },
         { "pid", 1 }, { "tid", 1 } };
      event.update( members );
      out_ << ( first_ ? "\n" : ",\n" ) << event.dump();
      first_ = false;
   }

   std::ostream& out_;
   bool first_ = true;
   U64 last_ = 0; // the time of the last record
   U64 redundant_ = 0;
   std::vector<Slice> open_;
   std::map<U64, U64> inputs_; // that have caused no call yet, with their times
   std::map<U64, Json> calls_; // that have not ended
   const RoomSizes& rooms_;
   std::map<std::string, std::set<U64>> claimed_; // ids, by the range and unit
   std::map<std::string, std::set<U64>> fitted_;  // those that take room
   std::map<std::string, U32> sizes_;
   std::map<std::string, std::string> written_;
};

} // namespace

void checkChromeTrace( const std::string& file )
{
   std::error_code none;
   if( std::filesystem::is_directory( file, none ) )
      throw std::runtime_error( "'" + file + "' is a directory; give the trace another name" );
   std::string start( opening.size(), ' ' );
   if( std::ifstream present( file ); present.read( start.data(), 1 ) ) {
      present.read( start.data() + 1, static_cast<std::streamsize>( start.size() - 1 ) );
      if( start != opening )
         throw std::runtime_error(
            "'" + file + "' exists and is not a trace; give the trace another name" );
   }
}

RoomSizes roomSizes( const Sim::SimSwitch& hardware )
{
   RoomSizes rooms;
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() )
         rooms[ { group.profile().key, unit } ] = group.room();
   return rooms;
}

RoomSizes roomSizes( const RecordingFile& recording )
{
   RoomSizes rooms;
   try {
      const Sim::SimSwitchConfig hardware = hardwareOf( recording );
      const auto known = Sim::chipProfileNames();
      if( std::ranges::find( known, hardware.chip->name ) != known.end() )
         for( const U32 unit : hardware.units )
            for( const Sim::FieldGroupProfile& group : hardware.chip->groups )
               rooms[ { group.key, unit } ] = group.room;
   } catch( const RecordingError& ) {
      // There is no such switch.
   }
   return rooms;
}

void writeChromeTrace(
   const RecordingFile& recording, const RoomSizes& rooms, const std::string& file )
{
   checkChromeTrace( file );
   std::ofstream out( file );
   const Events events( recording, rooms, out );
   if( !out.flush() )
      throw std::runtime_error( "'" + file + "' cannot be written" );
}

} // namespace Strata::Desk
