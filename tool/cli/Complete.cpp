// strata-l3 complete: the words that can follow on a command line. The completions of the shells call it.
#include "platform/runtime/Trace.h"
#include "tool/cli/Options.h"
#include "tool/cli/Subcommand.h"

#include <ostream>
#include <string>
#include <vector>

namespace Strata::Tool {

namespace {

Strings valuesOf( CLI::Option& option )
{
   if( option.get_type_name() != "HANDLE=LEVEL" )
      return choicesOf( option );
   Strings handles;
   for( const Vormel::TraceHandle* const handle : Vormel::traceHandles() )
      handles.push_back( std::string( handle->name() ) + "=" );
   return handles;
}

CLI::App* findSubcommand( CLI::App& app, const std::string& name )
{
   const auto found =
      app.get_subcommands( [ & ]( CLI::App* each ) { return each->check_name( name ); } );
   return found.empty() ? nullptr : found.front();
}

Strings wordsOf( CLI::App& app )
{
   Strings words;
   for( const CLI::App* const subcommand :
      app.get_subcommands( []( CLI::App* each ) { return !each->get_group().empty(); } ) )
      words.push_back( subcommand->get_name() );
   for( CLI::Option* const option : app.get_options() )
      if( option->get_positional() )
         for( const std::string& value : valuesOf( *option ) )
            words.push_back( value );
   return words;
}

class Complete : public Subcommand
{
 public:
   CLI::App* declare( CLI::App& app ) override
   {
      app_ = &app;
      CLI::App* const complete =
         app.add_subcommand( "complete", "List the words that can replace the last word" );
      complete->add_option( "words", words_, "The words of the line, after '--'" );
      complete->group( "" );
      return complete;
   }

   ExitStatus run( Terminal& terminal ) override
   {
      // A shell may pass "--color=auto" as three words.
      if( !words_.empty() && words_.back() == "=" )
         words_.back().clear();
      std::erase( words_, "=" );
      CLI::App* app = app_;
      CLI::Option* waiting = nullptr; // the option whose value comes next
      for( std::size_t i = 0; i + 1 < words_.size(); ++i ) {
         const std::string& word = words_[ i ];
         CLI::Option* const option =
            word.starts_with( '-' ) ? app->get_option_no_throw( word ) : nullptr;
         waiting = option && option->get_items_expected_min() > 0 ? option : nullptr;
         if( CLI::App* const subcommand = findSubcommand( *app, word ) )
            app = subcommand;
      }
      const std::string last = words_.empty() ? std::string() : words_.back();
      const Strings all = waiting                   ? valuesOf( *waiting )
                          : last.starts_with( '-' ) ? namesOfOptions( *app )
                                                    : wordsOf( *app );
      for( const std::string& word : all )
         if( word.starts_with( last ) )
            terminal.out << word << '\n';
      return ExitStatus::held;
   }

 private:
   CLI::App* app_ = nullptr;
   Strings words_;
};

} // namespace

std::unique_ptr<Subcommand> completeSubcommand()
{
   return std::make_unique<Complete>();
}

} // namespace Strata::Tool
