// strata-l3 profiles, attributes, operations, commands, messages: lists, as a table or as JSON.
#include "platform/runtime/Syslog.h"
#include "sim/chip/ChipProfile.h"
#include "tool/cli/Subcommand.h"
#include "tool/view/Catalogue.h"
#include "tool/words/Command.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>

namespace Strata::Tool {

namespace {

using nlohmann::ordered_json;

struct List
{
   Table table;
   ordered_json json;
};

std::string markdownCell( const ordered_json& value )
{
   std::string text;
   if( value.is_array() )
      for( const ordered_json& item : value )
         text += ( text.empty() ? "" : "; " ) + item.get<std::string>();
   else
      text = value.is_string() ? value.get<std::string>() : value.dump();
   std::string escaped;
   for( const char c : text ) {
      if( c == '|' || c == '<' || c == '*' || c == '\\' )
         escaped += '\\';
      escaped += c;
   }
   return escaped;
}

/// One row for each object of the array.
void writeMarkdown( std::ostream& out, const ordered_json& rows )
{
   if( rows.empty() )
      return;
   std::string rule = "|";
   out << "|";
   for( const auto& [ key, value ] : rows.front().items() ) {
      out << " " << key << " |";
      rule += value.is_number() ? "---:|" : "---|";
   }
   out << "\n" << rule << "\n";
   for( const ordered_json& row : rows ) {
      out << "|";
      for( const auto& item : row.items() )
         out << " " << markdownCell( item.value() ) << " |";
      out << "\n";
   }
}

/// A subcommand that lists something.
class ListSubcommand : public Subcommand
{
 public:
   ListSubcommand(
      std::string name, std::string help, std::function<List( const std::string& )> make )
      : name_( std::move( name ) ),
        help_( std::move( help ) ),
        make_( std::move( make ) )
   {}

   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const list = app.add_subcommand( name_, help_ );
      CLI::Option* const json = list->add_flag( "--json", json_, "Write a JSON array" );
      list->add_flag( "--markdown", markdown_, "Write a Markdown table" )->excludes( json );
      if( name_ == "attributes" ) {
         std::vector<std::string> objects;
         for( const NamedType& type : namedTypes() )
            objects.emplace_back( type.object );
         list
            ->add_option(
               "object", object_, "The object whose attributes are listed; the helper by default" )
            ->check( CLI::IsMember( objects ) );
      }
      return list;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      const List list = make_( object_ );
      if( json_ )
         terminal.out << list.json.dump( 3 ) << std::endl;
      else if( markdown_ )
         writeMarkdown( terminal.out, list.json );
      else
         for( const Table::TextLine& line : list.table.lines() )
            terminal.out << line.text << '\n';
      return ExitStatus::held;
   }

 private:
   std::string name_;
   std::string help_;
   std::function<List( const std::string& )> make_;
   bool json_ = false;
   bool markdown_ = false;
   std::string object_ = "helper";
};

List profiles( const std::string& )
{
   List list{ Table( { { "Profile" }, { "Ports", Align::right }, { "Description" } } ),
      ordered_json::array() };
   for( const Sim::ChipProfile& profile : Sim::chipProfiles() ) {
      list.table.row(
         { profile.name, std::to_string( profile.frontPanelPorts ), profile.description } );
      list.json.push_back( { { "name", profile.name }, { "ports", profile.frontPanelPorts },
         { "description", profile.description } } );
   }
   return list;
}

List attributes( const std::string& object )
{
   const auto& types = namedTypes();
   const auto found = std::ranges::find( types, object, &NamedType::object );
   List list{ attributeTable( *found->type ), ordered_json::array() };
   for( const auto& attribute : found->type->attributes() ) {
      const Vormel::AttributeInfo& info = attribute->info();
      list.json.push_back( { { "number", info.number }, { "name", info.name },
         { "kind", Vormel::enumName( info.kind ) }, { "type", info.type }, { "key", info.keyType },
         { "default", info.defaultText }, { "meaning", info.meaning },
         { "maintainer", info.maintainer } } );
   }
   return list;
}

List operations( const std::string& )
{
   const Vormel::EntityType& type = *namedTypes().front().type;
   List list{ operationTable( type ), ordered_json::array() };
   for( const auto& operation : type.operations() ) {
      auto parameters = ordered_json::array();
      for( const Vormel::Parameter& parameter : operation->parameters() )
         parameters.push_back( toText( parameter ) );
      list.json.push_back( { { "name", operation->name() }, { "parameters", parameters },
         { "summary", operation->summary() } } );
   }
   return list;
}

List scenarioCommands( const std::string& )
{
   List list{ commandTable( {} ), ordered_json::array() };
   for( const Command& command : commands() )
      list.json.push_back( { { "name", command.name }, { "syntax", command.syntax },
         { "summary", command.summary } } );
   return list;
}

List messages( const std::string& )
{
   List list{ Table( { { "Message" } } ), ordered_json::array() };
   for( const Vormel::SyslogHandle* const message : Vormel::syslogHandles() ) {
      const std::string severityName = Vormel::enumText( message->severity() );
      const auto severity = static_cast<U32>( message->severity() );
      list.table.row(
         { std::string( message->key() ) + "\n   severity: " + std::to_string( severity ) + " (" +
            severityName + ")\n   format: " + message->format() + "\n   explanation: " +
            message->explanation() + "\n   recommended action: " + message->recommendedAction() } );
      list.json.push_back(
         { { "key", message->key() }, { "severity", severity }, { "severityName", severityName },
            { "format", message->format() }, { "explanation", message->explanation() },
            { "recommendedAction", message->recommendedAction() } } );
   }
   return list;
}

} // namespace

std::unique_ptr<Subcommand> profilesSubcommand()
{
   return std::make_unique<ListSubcommand>(
      "profiles", "List the chips that can be simulated", profiles );
}

std::unique_ptr<Subcommand> attributesSubcommand()
{
   return std::make_unique<ListSubcommand>(
      "attributes", "List the attributes of the helper or of an input object", attributes );
}

std::unique_ptr<Subcommand> operationsSubcommand()
{
   return std::make_unique<ListSubcommand>(
      "operations", "List the helper's operations that can be called by name", operations );
}

std::unique_ptr<Subcommand> commandsSubcommand()
{
   return std::make_unique<ListSubcommand>(
      "commands", "List the commands that a scenario can use", scenarioCommands );
}

std::unique_ptr<Subcommand> messagesSubcommand()
{
   return std::make_unique<ListSubcommand>(
      "messages", "List the system log messages, in order of declaration", messages );
}

} // namespace Strata::Tool
