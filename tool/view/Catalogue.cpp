#include "tool/view/Catalogue.h"

#include "platform/state/Interfaces.h"
#include "routing/RoutingStatusHelper.h"
#include "sim/switch/SimSwitch.h"
#include "tool/words/Command.h"

namespace Strata::Tool {

using Vormel::AttributeInfo;
using Vormel::AttributeKind;

namespace {

std::string typeText( const AttributeInfo& info )
{
   std::string type( info.type );
   switch( info.kind ) {
   case AttributeKind::Array:
      return type + " by " + std::string( info.keyType ) + " (array)";
   case AttributeKind::Map:
      return type + " by " + std::string( info.keyType ) + " (map)";
   case AttributeKind::Field:
      return type + " (fixed)";
   case AttributeKind::Scalar:
      break;
   }
   return type;
}

std::string describe( const AttributeInfo& info )
{
   std::string text( info.name );
   text += "\n   " + typeText( info );
   if( info.kind == AttributeKind::Scalar )
      text += ", default " + std::string( info.defaultText );
   return text + "\n   " + std::string( info.meaning ) +
          "\n   written by: " + std::string( info.maintainer );
}

} // namespace

Table attributeTable( const Vormel::EntityType& type )
{
   Table table( { { "Number", Align::right }, { "Attribute" } } );
   for( const auto& attribute : type.attributes() ) {
      const AttributeInfo& info = attribute->info();
      table.row( { info.number == 0 ? "-" : std::to_string( info.number ), describe( info ) } );
   }
   return table;
}

Table operationTable( const Vormel::EntityType& type )
{
   Table table( { { "Operation" } } );
   for( const auto& operation : type.operations() ) {
      std::string text( operation->name() );
      text += "\n   " + std::string( operation->summary() );
      for( const Vormel::Parameter& parameter : operation->parameters() )
         text += "\n   " + toText( parameter );
      table.row( { text } );
   }
   return table;
}

std::string withSyntax( const Command& command )
{
   std::string text( command.name );
   return command.syntax.empty() ? text : text + ' ' + std::string( command.syntax );
}

Table commandTable( std::string_view start )
{
   Table table( { { "Command" } } );
   for( const Command& command : commands() )
      if( command.name.starts_with( start ) )
         table.row( { withSyntax( command ) + "\n   " + std::string( command.summary ) } );
   return table;
}

/// For programs.
static nlohmann::ordered_json commandJson( const Theme& theme, const Command& command )
{
   return { { "theme", theme.title }, { "command", command.name }, { "syntax", command.syntax },
      { "summary", command.summary } };
}

Table overviewTable()
{
   Table table( { { "Command" }, { "Summary", Align::left, true } } );
   for( const Theme& theme : themes() ) {
      table.section( std::string( theme.title ) );
      for( const Command& command : theme.commands )
         table.row( { std::string( command.name ), std::string( command.summary ) },
            commandJson( theme, command ) );
   }
   return table;
}

struct SyntaxWord
{
   std::string_view name;
   std::string_view meaning;
};

// In this order, because an explanation may use words that are explained after it.
static const SyntaxWord syntaxWords[] = {
   { "PORTS", "one or more of: PORT, Ethernet1-4, a LAG for all of its ports" },
   { "NEXTHOP", nextHopSyntax },
   { "FRAME", "the layers from the outside in, or 'hex BYTES', or 'pcap FILE [frame N]'\n"
              "   [dmac MAC] [smac MAC] [vlan ID] [priority N] [dei], then one of the following;\n"
              "   a second 'vlan ID' is the inner tag; MAC may be 'router' or 'virtual-router'\n"
              "   ethertype N\n"
              "   arp request|reply [from IP] [for IP]\n"
              "   [mpls LABEL [ttl N]]... ipv4 [src IP] [dst IP] [ttl N] [options] [bad-checksum]\n"
              "   [mpls LABEL [ttl N]]... ipv6 [src IP] [dst IP] [ttl N] [hop-by-hop]\n"
              "   behind IP: udp|tcp [sport N] [dport N], icmp, igmp, protocol N\n"
              "   behind udp: vxlan VNI and a frame\n"
              "   at the end: length N" },
   { "PORT",
      "an interface such as Ethernet1, or 'port N', 'cpu', 'loopback', 'recirculation', each with "
      "[unit N]; packets also come in by 'higig [unit N]', the stack link" },
   { "OBJECT", "helper, which may be left out, or an input such as scsd, or an interface" },
   { "PREFIX", "such as 10.1.0.0/16 or 2001:db8::/32" },
   { "DURATION", "such as 250ms, 5s or 2m" },
   { "HANDLE", "a trace handle such as ApiStrata; * matches any part of a name" },
};

static bool hasWord( std::string_view text, std::string_view word )
{
   const auto capital = [ & ]( std::size_t at ) {
      return at < text.size() && text[ at ] >= 'A' && text[ at ] <= 'Z';
   };
   for( std::size_t at = text.find( word ); at != text.npos; at = text.find( word, at + 1 ) )
      if( !capital( at - 1 ) && !capital( at + word.size() ) )
         return true;
   return false;
}

Table helpTable( std::string_view start )
{
   Table table( { { "Command" } } );
   std::string syntax;
   for( const Theme& theme : themes() )
      for( const Command& command : theme.commands )
         if( command.name.starts_with( start ) ) {
            table.row( { withSyntax( command ) + "\n   " + std::string( command.summary ) },
               commandJson( theme, command ) );
            syntax += std::string( command.syntax ) + ' ';
         }
   table.section( "Words of their syntax" );
   for( const auto& [ name, meaning ] : syntaxWords )
      if( hasWord( syntax, name ) ) {
         syntax += meaning;
         table.row( { std::string( name ) + "\n   " + std::string( meaning ) },
            { { "word", name }, { "meaning", meaning } } );
      }
   return table;
}

const std::vector<NamedType>& namedTypes()
{
   static const std::vector<NamedType> types = [] {
      std::vector<NamedType> all{ { "helper", &RoutingStatusHelper::type() } };
      for( const auto& known : Sim::SimSwitch::objects() )
         all.push_back( { known.name, &known.type() } );
      all.push_back( { "interface", &Interface::EthIntfStatus::type() } );
      return all;
   }();
   return types;
}

} // namespace Strata::Tool
