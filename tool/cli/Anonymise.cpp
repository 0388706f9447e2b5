// strata-l3 anonymise: a copy of a recording with other addresses, to be given to others.
#include "desk/Anonymiser.h"
#include "desk/RecordingFile.h"
#include "tool/WholeFile.h"
#include "tool/cli/Subcommand.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string>

namespace Strata::Tool {

namespace {

namespace fs = std::filesystem;

std::ifstream opened( const std::string& file )
{
   std::ifstream in( file, std::ios::binary );
   if( !in || fs::is_directory( file ) )
      throw std::runtime_error( "cannot read '" + file + "': " +
                                std::strerror( fs::is_directory( file ) ? EISDIR : errno ) );
   return in;
}

class Anonymise : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      CLI::App* const anonymise = app.add_subcommand(
         "anonymise", "Copy a recording with other MAC and IP addresses, to give it to others" );
      anonymise->add_option( "recording", in_, "The recording" )->required();
      anonymise->add_option( "-o,--output", out_, "The copy" )->required();
      anonymise
         ->add_option(
            "--key", key_, "A text: recordings with the same one are mapped alike; keep it secret" )
         ->type_name( "TEXT" );
      return anonymise;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      try {
         copy( terminal );
         return ExitStatus::held;
      } catch( const std::exception& error ) {
         terminal.err << "strata-l3 anonymise: " << error.what() << std::endl;
         return ExitStatus::error;
      }
   }

 private:
   void copy( Terminal& terminal ) const
   {
      std::ifstream in = opened( in_ );
      if( fs::exists( out_ ) && fs::equivalent( in_, out_ ) )
         throw std::runtime_error(
            "the copy would replace the recording '" + in_ + "'; give it another name" );
      Desk::checkReplaceable( out_, "the copy" );
      const Desk::Anonymiser anonymiser =
         key_.empty() ? Desk::Anonymiser() : Desk::Anonymiser( key_ );
      WholeFile copy( out_ );
      std::string line;
      for( U64 number = 1; std::getline( in, line ); ++number )
         try {
            copy.out() << anonymiser.record( line ) << ( in.eof() ? "" : "\n" );
         } catch( const Vormel::ValueError& error ) {
            if( in.eof() && number > 1 ) { // its writer was stopped in it
               terminal.err << "strata-l3 anonymise: " << in_ << ": the last line, " << number
                            << ", is cut off, and left out" << std::endl;
               break;
            }
            throw std::runtime_error(
               in_ + ":" + std::to_string( number ) + ": this line is " + error.what() );
         }
      if( in.bad() )
         throw std::runtime_error( "cannot read '" + in_ + "'" );
      copy.finish();
   }

   std::string in_;
   std::string out_;
   std::string key_;
};

} // namespace

std::unique_ptr<Subcommand> anonymiseSubcommand()
{
   return std::make_unique<Anonymise>();
}

} // namespace Strata::Tool
