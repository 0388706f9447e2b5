#include "tool/packet/AcceptedTransients.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>

namespace Strata::Tool {

namespace {

constexpr const char* ending = ".transients";
constexpr std::string_view blanks = " \t\r";

std::string trimmed( std::string_view text )
{
   const std::size_t first = text.find_first_not_of( blanks );
   return first == text.npos
             ? std::string()
             : std::string( text.substr( first, text.find_last_not_of( blanks ) - first + 1 ) );
}

/// With single blanks and small letters.
std::string plainForm( std::string_view text )
{
   std::string plain;
   for( const char each : text ) {
      const bool blank = blanks.find( each ) != blanks.npos;
      if( !blank || !plain.ends_with( ' ' ) )
         plain += blank ? ' ' : static_cast<char>( std::tolower( static_cast<U8>( each ) ) );
   }
   return plain;
}

bool isMeant( const std::string& pattern, const std::string& name )
{
   return pattern.ends_with( '*' ) ? name.starts_with( pattern.substr( 0, pattern.size() - 1 ) )
                                   : name == pattern;
}

std::filesystem::path ownFile( const std::string& scenario )
{
   return std::filesystem::path( scenario ).replace_extension( ending );
}

/// InputError if the line accepts nothing.
AcceptedTransients::Rule ruleOf( const Line& line, bool isOwn )
{
   constexpr std::string_view arrow = "=>";
   std::array<std::string, 3> parts;
   std::string_view rest = line.text;
   for( std::string& part : parts ) {
      const std::size_t end = &part == &parts.back() ? rest.size() : rest.find( arrow );
      part = trimmed( rest.substr( 0, end ) );
      if( part.empty() || end == rest.npos )
         throw InputError( line, 1, static_cast<U32>( line.text.size() ),
            "a line is 'COMMAND => PACKET => REASON', or starts with '#'" );
      rest.remove_prefix( std::min( rest.size(), end + arrow.size() ) );
   }
   return { line, plainForm( parts[ 0 ] ), plainForm( parts[ 1 ] ), parts[ 2 ], isOwn };
}

/// None if there is no such file.
std::vector<AcceptedTransients::Rule> rulesIn(
   const std::filesystem::path& path, bool isOwn, const Line& asking )
{
   const auto fail = [ & ]( const std::string& why ) {
      throw InputError( asking, asking.words.front().column, asking.words.front().width,
         "cannot read the accepted transients '" + path.string() + "': " + why );
   };
   std::error_code none;
   if( !std::filesystem::exists( path, none ) )
      return {};
   if( std::filesystem::is_directory( path, none ) )
      fail( "it is a directory" );
   std::ifstream file( path );
   if( !file )
      fail( std::strerror( errno ) );
   std::vector<AcceptedTransients::Rule> rules;
   U32 number = 0;
   for( std::string text; std::getline( file, text ); ) {
      ++number;
      if( const std::string said = trimmed( text ); !said.empty() && !said.starts_with( '#' ) )
         rules.push_back(
            ruleOf( { .file = path, .number = number, .text = said, .words = {} }, isOwn ) );
   }
   return rules;
}

} // namespace

std::vector<AcceptedTransients::Rule> AcceptedTransients::rulesFor(
   const Line& line, const std::string& command )
{
   const std::filesystem::path own = ownFile( line.file );
   const std::filesystem::path ofAll = own.parent_path() / ( std::string( "all" ) + ending );
   const std::string plain = plainForm( command );
   std::vector<Rule> rules;
   for( const auto& path : std::set{ own, ofAll } )
      for( Rule& rule : rulesIn( path, path != ofAll, line ) ) {
         const bool isFor = isMeant( rule.command, plain );
         if( rule.isOwn ) {
            Use& use = uses_[ { rule.line.file, rule.line.number } ];
            use.isForOneCommand = !rule.command.ends_with( '*' );
            use.commandRan = use.commandRan || isFor;
         }
         if( isFor )
            rules.push_back( std::move( rule ) );
      }
   return rules;
}

void AcceptedTransients::accept(
   std::vector<Report::Transient>& all, const std::vector<Rule>& rules )
{
   for( Report::Transient& transient : all ) {
      const std::array names{ plainForm( transient.packet ), plainForm( transient.title() ) };
      for( const Rule& rule : rules ) {
         if( std::ranges::none_of(
                names, [ & ]( const auto& name ) { return isMeant( rule.packet, name ); } ) )
            continue;
         if( rule.isOwn )
            uses_[ { rule.line.file, rule.line.number } ].accepted = true;
         if( !transient.reason || !rule.packet.ends_with( '*' ) )
            transient.reason = rule.reason;
      }
   }
}

std::string AcceptedTransients::advice(
   const Report::Transient& transient, const Line& line, const std::string& command )
{
   return "to accept it, write '" + command + " => " + transient.title() + " => REASON' into '" +
          ownFile( line.file ).string() + "'";
}

std::vector<std::string> AcceptedTransients::idle( bool everyCommandWasWatched ) const
{
   std::vector<std::string> texts;
   for( const auto& [ place, use ] : uses_ )
      if( !use.accepted && ( everyCommandWasWatched || ( use.isForOneCommand && use.commandRan ) ) )
         texts.push_back( place.first + ":" + std::to_string( place.second ) +
                          ": this line accepts nothing; " +
                          ( use.commandRan ? "its packet was no transient of its command"
                                           : "no such command ran" ) );
   return texts;
}

} // namespace Strata::Tool
