#include "tool/view/ChangesView.h"

#include "sim/switch/SimSwitch.h"
#include "tool/words/ByUnit.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Strata::Tool {

using nlohmann::ordered_json;

static std::string changeText( const Desk::Difference& difference )
{
   std::string text = !difference.before  ? "new: " + *difference.after
                      : !difference.after ? "gone: " + *difference.before
                                          : *difference.before + " -> " + *difference.after;
   return difference.cause.text.empty() ? text : text + "\n  by " + difference.cause.text;
}

static ordered_json orNull( const std::optional<std::string>& text )
{
   return text ? ordered_json( *text ) : ordered_json();
}

Table changesTable( const std::vector<Desk::Difference>& differences )
{
   ByUnit<UnitRow> rows;
   for( const Desk::Difference& difference : differences ) {
      const std::string& field = difference.field;
      const std::string& cause = difference.cause.text;
      rows.add( difference.key.unit,
         { { difference.part, field, changeText( difference ) },
            { { "kind", Vormel::enumName( difference.key.kind ) }, { "part", difference.part },
               { "field", field.empty() ? ordered_json() : ordered_json( field ) },
               { "before", orNull( difference.before ) }, { "after", orNull( difference.after ) },
               { "cause", cause.empty() ? ordered_json() : ordered_json( cause ) } } } );
   }
   // Parts are headings, because a table of four columns has no room for the change.
   Table table( { { "Field" }, { "Units" }, { "Change" } } );
   std::string part;
   for( const auto& [ row, units ] : rows.rows() ) {
      if( row.cells[ 0 ] != part )
         table.section( row.cells[ 0 ] );
      part = row.cells[ 0 ];
      ordered_json object = row.object;
      object[ "units" ] = units;
      table.row( { row.cells[ 1 ], numberRanges( units ), row.cells[ 2 ] }, std::move( object ) );
   }
   return table;
}

std::string writtenPlace( const Sim::Record& record, const Sim::SimSwitch& hardware )
{
   const auto field = [ & ]( const char* name ) { return record.field( name ); };
   if( record.kind == Sim::RecordKind::entry ) {
      const auto id = static_cast<U32>( std::stoul( field( "id" ) ) );
      std::string text = field( "manager" ) + " " + field( "id" );
      for( const Sim::FieldGroup& group :
         hardware.chip( static_cast<U32>( std::stoul( field( "unit" ) ) ) ).groups() )
         if( const Sim::FieldEntry* const entry = group.find( id ) )
            text += " \"" + entry->name + "\"";
      return text;
   }
   const std::string port = field( "port" );
   const bool ofPort = !port.empty() && port.find_first_not_of( "0123456789" ) == port.npos;
   for( const auto& [ name, text ] :
      { std::pair( "reg", "" ), std::pair( "vlanId", "VLAN " ), std::pair( "control", "" ),
         std::pair( "index", "my-station " ), std::pair( "profile", "options profile " ) } )
      if( const std::string value = field( name ); !value.empty() )
         return text + value +
                ( ofPort && name == std::string_view( "control" ) ? " of port " + port : "" );
   return {};
}

} // namespace Strata::Tool
