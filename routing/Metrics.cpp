#include "routing/Metrics.h"

#include "platform/runtime/Activity.h"
#include "platform/runtime/ChangeWatcher.h"

#include <charconv>
#include <cstddef>
#include <string_view>

namespace Strata {

namespace {

std::string number( double value )
{
   char digits[ 32 ];
   return { digits, std::to_chars( digits, digits + sizeof digits, value ).ptr };
}

/// A label with its value escaped: name="value".
std::string label( std::string_view name, std::string_view value )
{
   std::string text = std::string( name ) + "=\"";
   for( const char c : value ) {
      if( c == '\\' || c == '"' )
         text += '\\';
      if( c == '\n' )
         text += "\\n";
      else
         text += c;
   }
   return text + '"';
}

/// The text, family by family: what a family is, then its samples.
class Families
{
 public:
   /// The name of a family with a unit ends with it. No help text has a character that must be escaped.
   void family(
      std::string_view name, std::string_view type, std::string_view unit, std::string_view help )
   {
      name_ = "strata_l3_" + std::string( name );
      about( "TYPE", type );
      if( !unit.empty() )
         about( "UNIT", unit );
      about( "HELP", help );
   }
   void sample( std::string_view suffix, const std::string& labels, const std::string& value )
   {
      text_ += name_;
      text_ += suffix;
      if( !labels.empty() )
         text_ += "{" + labels + "}";
      text_ += " " + value + "\n";
   }
   void sample( std::string_view suffix, const std::string& labels, U64 value )
   {
      sample( suffix, labels, std::to_string( value ) );
   }

   std::string text() const { return text_ + "# EOF\n"; }

 private:
   void about( std::string_view what, std::string_view text )
   {
      text_ += "# ";
      text_ += what;
      text_ += " " + name_ + " ";
      text_ += text;
      text_ += "\n";
   }

   std::string name_;
   std::string text_;
};

void addTimes( Families& to, const SdkCallStatistics& call )
{
   const std::string operation = label( "operation", call.call );
   U64 calls = 0;
   for( std::size_t group = 0; group < call.byTime.size(); ++group ) {
      calls += call.byTime[ group ];
      const bool bounded = group < sdkCallTimeBounds.size();
      to.sample( "_bucket",
         operation + ',' +
            label( "le", bounded ? number( static_cast<double>( sdkCallTimeBounds[ group ] ) / 1e9 )
                                 : "+Inf" ),
         calls );
   }
   to.sample( "_count", operation, calls );
   to.sample( "_sum", operation, number( call.seconds ) );
}

void addCalls( Families& to, const std::vector<SdkCallStatistics>& calls )
{
   const auto counter = [ & ]( std::string_view name, std::string_view help,
                           U64 SdkCallStatistics::*count ) {
      to.family( name, "counter", "", help );
      for( const SdkCallStatistics& call : calls )
         to.sample( "_total", label( "operation", call.call ), call.*count );
   };
   counter( "sdk_calls", "Calls of the SDK.", &SdkCallStatistics::calls );
   counter( "sdk_call_failures",
      "Calls of the SDK that returned a negative code, except that for a missing feature.",
      &SdkCallStatistics::failures );
   counter( "sdk_calls_unavailable",
      "Calls of the SDK that returned the code for a missing feature.",
      &SdkCallStatistics::unavailable );
   to.family( "sdk_call_seconds", "histogram", "seconds", "Time of the calls of the SDK." );
   for( const SdkCallStatistics& call : calls )
      addTimes( to, call );
}

void addRoom( Families& to, const std::vector<RangeRoom>& ranges )
{
   const auto gauge = [ & ](
                         std::string_view name, std::string_view help, U64 RangeRoom::*entries ) {
      to.family( name, "gauge", "entries", help );
      for( const RangeRoom& at : ranges )
         to.sample( "",
            label( "unit", std::to_string( at.unit ) ) + ',' + label( "range", at.range ),
            at.*entries );
   };
   gauge( "room_used_entries", "Field Processor entries that are claimed.", &RangeRoom::used );
   gauge(
      "room_left_entries", "Field Processor entries that can still be claimed.", &RangeRoom::left );
}

} // namespace

std::string metricsText( const ObservedShim& observed, const RoutingStatusHelper& helper,
   const std::function<std::vector<RangeRoom>()>& room )
{
   Vormel::checkActivityLock( "metricsText" );
   Families families;
   addCalls( families, observed.statistics() );
   families.family(
      "notifications", "counter", "", "Changes of attributes that were published to subscribers." );
   families.sample( "_total", "", Vormel::changesPublished() );
   families.family( "unknown_mac_drop_packets", "counter", "packets",
      "Packets to unknown MACs that were dropped, as of the last poll of the class's counters." );
   for( const auto& drops : helper.unknownMacCountersPerTc() )
      families.sample( "_total", label( "class", std::to_string( drops.key ) ), drops.value );
   if( room )
      addRoom( families, room() );
   return families.text();
}

} // namespace Strata
