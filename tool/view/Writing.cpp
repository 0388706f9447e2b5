// The part of Console that writes: to the terminal, the transcript and the channel of a child process.
#include "tool/Interrupt.h"
#include "tool/view/Console.h"
#include "tool/view/Screen.h"
#include "tool/view/Table.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace Strata::Tool {

namespace {

std::string_view colourOf( Tone tone )
{
   switch( tone ) {
   case Tone::heading:
      return "\033[1;36m";
   case Tone::title:
      return "\033[1m";
   case Tone::note:
      return "\033[33m";
   case Tone::good:
      return "\033[32m";
   case Tone::bad:
      return "\033[1;31m";
   case Tone::faint:
      return "\033[2m";
   case Tone::plain:
      break;
   }
   return {};
}

/// Replaces line numbers, so that a transcript stays the same when code moves.
std::string withoutSourceLines( const std::string& text )
{
   static const std::regex sourceLine( "\\.(cpp|h):[0-9]+" );
   const bool mayName = text.find( ".cpp:" ) != text.npos || text.find( ".h:" ) != text.npos;
   return mayName ? std::regex_replace( text, sourceLine, ".$1:*" ) : text;
}

} // namespace

ChildChannel::~ChildChannel() = default;

Console::Console( std::ostream& out, std::ostream& err, const ConsoleConfig& config )
   : out_( out ),
     err_( err ),
     config_( config )
{
   if( config_.transcriptFile.empty() )
      return;
   transcript_.open( config_.transcriptFile, std::ios::trunc );
   if( !transcript_ )
      throw std::runtime_error( "cannot write the transcript '" + config_.transcriptFile +
                                "': " + std::strerror( errno ) );
}

bool Console::writesTo( const std::string& file ) const
{
   std::error_code none; // a file that does not exist is not the same
   return std::filesystem::equivalent( file, config_.transcriptFile, none );
}

void Console::write( std::ostream& stream, bool colour, const std::vector<Toned>& lines )
{
   for( const Toned& line : lines ) {
      if( interrupted() )
         break; // the rest is not wanted
      const std::string_view code = colour ? colourOf( line.tone ) : std::string_view();
      stream << code << line.text << ( code.empty() ? "" : "\033[0m" ) << '\n';
   }
   stream.flush();
}

void Console::writeTranscript( const std::vector<Toned>& lines )
{
   for( const Toned& line : lines )
      transcript_ << withoutSourceLines( line.text ) << '\n';
   transcript_.flush();
}

bool Console::shows( Weight weight ) const
{
   if( config_.checking )
      return weight == Weight::report;
   if( config_.quiet )
      return weight == Weight::asked || weight == Weight::report;
   if( config_.json )
      return true;
   return weight == Weight::detail  ? false
          : weight == Weight::echo  ? config_.echo
          : weight == Weight::fatal ? !config_.errorsBeside
                                    : true;
}

bool Console::hears( Weight weight ) const
{
   return channel_ || transcript_.is_open() || shows( weight );
}

std::size_t Console::width() const
{
   return config_.screen ? screenSize().columns : Table::usualWidth;
}

void Console::writeScreen( const std::vector<Toned>& lines )
{
   if( folds_ ) {
      for( const Toned& line : lines )
         folding_.add( line );
      return;
   }
   folding_.flush();
   if( page_ )
      page_->insert( page_->end(), lines.begin(), lines.end() );
   else
      write( out_, config_.colour, lines );
}

void Console::emitJson( Weight weight, const std::string& object )
{
   if( channel_ )
      return channel_->send( 'J', object );
   if( shows( weight ) )
      out_ << object << '\n' << std::flush;
   if( transcript_.is_open() )
      transcript_ << object << '\n' << std::flush;
}

void Console::emitText( Weight weight, const Lines& lines )
{
   const bool onScreen = !channel_ && shows( weight );
   const bool elsewhere = channel_ || transcript_.is_open();
   const std::size_t screenWidth = onScreen ? width() : Table::usualWidth;
   const std::vector<Toned> text = lines( elsewhere ? Table::usualWidth : screenWidth );
   if( onScreen )
      writeScreen( elsewhere && screenWidth != Table::usualWidth ? lines( screenWidth ) : text );
   if( channel_ )
      for( const Toned& line : text )
         channel_->send( 'T', line.text );
   else if( transcript_.is_open() )
      writeTranscript( text );
   blank_ = !text.empty() && text.back().text.empty();
}

void Console::emit( Weight weight, const Lines& lines, const Json& json )
{
   const bool heard = hears( weight );
   if( heard && config_.json )
      emitJson( weight, json() );
   else if( heard )
      emitText( weight, lines );
   else
      blank_ = false;
   reported_ = true;
   happened_ = false;
}

void Console::checkWritten()
{
   if( !out_.flush() )
      throw std::runtime_error( "cannot write the output: it is not whole" );
   if( transcript_.is_open() && !transcript_.flush() )
      throw std::runtime_error(
         "cannot write the transcript '" + config_.transcriptFile + "': it is not whole" );
}

void Console::error( const std::string& text )
{
   if( !config_.screen || !config_.errorsBeside ) {
      err_ << text << std::endl;
      return;
   }
   std::istringstream lines( text );
   for( std::string line; std::getline( lines, line ); ) {
      const bool quoted = line.starts_with( ' ' ); // with a caret below it
      for( const std::string& part : quoted ? std::vector{ line } : wrapped( line, width() ) )
         err_ << part << '\n';
   }
   err_.flush();
}

void Console::childOf( ChildChannel& channel )
{
   channel_ = &channel;
   listener_ = nullptr; // it belongs to the parent
}

} // namespace Strata::Tool
