#include "tool/cli/Options.h"

#include "tool/words/Words.h"

#include <sstream>
#include <string_view>

namespace Strata::Tool {

using Views = std::vector<std::string_view>;

Strings choicesOf( CLI::Option& option )
{
   std::string text;
   try {
      text = option.get_validator( 0 )->get_description();
   } catch( const CLI::OptionNotFound& ) {
      return {};
   }
   const std::size_t open = text.find( '{' );
   const std::size_t close = text.rfind( '}' );
   if( open == text.npos || close == text.npos )
      return {};
   std::istringstream members( text.substr( open + 1, close - open - 1 ) );
   Strings all;
   for( std::string member; std::getline( members, member, ',' ); )
      all.push_back( member );
   return all;
}

Strings namesOfOptions( CLI::App& app )
{
   Strings names;
   for( CLI::Option* const option : app.get_options() )
      for( const std::string& name : option->get_lnames() )
         names.push_back( "--" + name );
   return names;
}

void checkFlags( CLI::App& app )
{
   for( CLI::Option* const option : app.get_options() )
      if( option->get_items_expected_max() == 0 )
         option->disable_flag_override()->multi_option_policy( CLI::MultiOptionPolicy::Throw );
   for( CLI::App* const subcommand : app.get_subcommands( []( CLI::App* ) { return true; } ) )
      checkFlags( *subcommand );
}

namespace {

/// A command line that does not fit, and the part of it that did: the application, or a subcommand.
class Refusal
{
 public:
   Refusal( const CLI::ParseError& error, CLI::App& app )
      : error_( error ),
        app_( app ),
        used_( app.get_subcommands().empty() ? app : *app.get_subcommands().front() ),
        name_( &used_ == &app ? app.get_name() : app.get_name() + " " + used_.get_name() )
   {}

   std::string text() const { return name_ + ": " + problem(); }

 private:
   std::string problem() const
   {
      switch( static_cast<CLI::ExitCodes>( error_.get_exit_code() ) ) {
      case CLI::ExitCodes::ExtrasError:
         return extra();
      case CLI::ExitCodes::RequiredError:
         return missing();
      case CLI::ExitCodes::ArgumentMismatch:
         return mismatch();
      case CLI::ExitCodes::ValidationError:
         return badValue();
      case CLI::ExitCodes::ExcludesError:
         return "'" + firstWord() + "' and '" + lastWord() + "' exclude each other; leave one out";
      default:
         return error_.what();
      }
   }

   std::string firstWord() const
   {
      const std::string text = error_.what();
      return text.substr( 0, text.find_first_of( ": " ) );
   }
   std::string lastWord() const
   {
      const std::string text = error_.what();
      return text.substr( text.rfind( ' ' ) + 1 );
   }

   std::string seeHelp( const std::string& what ) const
   {
      return "; '" + name_ + " --help' lists " + what;
   }

   /// Those that the help shows.
   std::vector<CLI::App*> subcommands() const
   {
      return app_.get_subcommands(
         []( const CLI::App* each ) { return !each->get_group().empty(); } );
   }

   /// A word that was not expected.
   std::string extra() const
   {
      const Strings words = app_.remaining( true );
      const std::string word = words.empty() ? std::string() : words.front();
      if( !word.starts_with( '-' ) )
         return "'" + word + "' is one word too many" + seeHelp( "what it takes" );
      if( used_.get_option_no_throw( word ) )
         return "'" + word + "' is an option of '" + used_.get_name() + "' and comes behind it";
      for( const CLI::App* const other : subcommands() )
         if( other->get_option_no_throw( word ) )
            return "there is no option '" + word + "' here; '" + app_.get_name() + " " +
                   other->get_name() + "' has it";
      const Strings names = namesOfOptions( used_ );
      return "there is no option '" + word + "'" +
             didYouMean( word, Views( names.begin(), names.end() ), seeHelp( "the options" ) );
   }

   std::string missing() const
   {
      if( &used_ != &app_ )
         return "the " + firstWord() + " is missing" + seeHelp( "what it takes" );
      Views names;
      for( const CLI::App* const each : subcommands() )
         names.push_back( each->get_name() );
      return "a subcommand is missing; there are " + joined( names );
   }

   /// Too few values, or too many.
   std::string mismatch() const
   {
      const std::string text = error_.what();
      const std::string name = "'" + firstWord() + "'";
      if( text.find( "received" ) != text.npos )
         return name + " is given twice; leave one out";
      if( text.find( "override" ) != text.npos )
         return "'--" + firstWord() + "' takes no value; leave it out";
      return name + " needs a value" + choices();
   }

   std::string badValue() const
   {
      const CLI::Option* const option = used_.get_option_no_throw( firstWord() );
      const std::string value =
         option && !option->results().empty() ? option->results().back() : "";
      const Strings known = choicesOfUsed();
      return "'" + value + "' is not a value of '" + firstWord() + "'" +
             didYouMean( value, Views( known.begin(), known.end() ), choices() );
   }

   Strings choicesOfUsed() const
   {
      CLI::Option* const option = used_.get_option_no_throw( firstWord() );
      return option ? choicesOf( *option ) : Strings();
   }

   std::string choices() const
   {
      const Strings known = choicesOfUsed();
      return known.empty() ? seeHelp( "what it takes" )
                           : "; choose one of " + joined( Views( known.begin(), known.end() ) );
   }

   const CLI::ParseError& error_;
   CLI::App& app_;
   CLI::App& used_;
   std::string name_;
};

} // namespace

std::string refusalText( const CLI::ParseError& error, CLI::App& app )
{
   return Refusal( error, app ).text();
}

} // namespace Strata::Tool
