#include "tool/words/EntryChoice.h"

#include "tool/Session.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"

#include <utility>

namespace Strata::Tool {

/// The word taken last is not an entry of the range.
[[noreturn]] static void failNoEntry(
   const Session& session, const Words& words, const std::string& group )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const U32 last = hardware.tcamManager( group )->profile().size - 1;
   std::vector<std::string_view> names;
   for( const auto& manager : hardware.tcamManagers() )
      names.push_back( manager->profile().name );
   if( group == "main" )
      for( const std::string_view name : entryOffsetNames() )
         names.push_back( name );
   words.fail( "'" + words.last()->text + "' is not an entry of the " + group + " range" +
               didYouMean( words.last()->text, names,
                  "; write an offset from 0 to " + std::to_string( last ) +
                     ", or in quotes the name that it is claimed under" ) );
}

EntryChoice takeEntry( const Session& session, Words& words )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   EntryChoice choice;
   if( const Word* const word = words.peek(); word && hardware.tcamManager( word->text ) )
      choice.group = words.take( {} ).text;
   const Word& word = words.take( "an entry: an offset, a name such as nexthopToCpu, or the "
                                  "name it is claimed under in quotes",
      "NAME" );
   choice.text = choice.group + ( choice.group.empty() ? "" : " " ) + word.text;
   if( word.quoted ) {
      choice.name = word.text;
      return choice;
   }
   if( choice.group.empty() )
      choice.group = "main";
   const auto number = numberIn( word.text );
   choice.offset = number && *number < hardware.tcamManager( choice.group )->profile().size
                      ? std::optional<U32>( static_cast<U32>( *number ) )
                   : choice.group == "main" ? entryOffset( word.text )
                                            : std::nullopt;
   if( !choice.offset )
      failNoEntry( session, words, choice.group );
   return choice;
}

const Sim::FieldEntry* findEntry( const Sim::Chip& chip, const EntryChoice& choice )
{
   for( const Sim::FieldGroup& group : chip.groups() ) {
      if( !choice.group.empty() && group.profile().name != choice.group )
         continue;
      if( choice.offset )
         return group.find( group.profile().base + *choice.offset );
      for( const auto& [ id, entry ] : group.entries() )
         if( entry.name == choice.name )
            return &entry;
   }
   return nullptr;
}

Sim::FieldEntry* findEntry( Sim::Chip& chip, const EntryChoice& choice )
{
   return const_cast<Sim::FieldEntry*>( findEntry( std::as_const( chip ), choice ) );
}

} // namespace Strata::Tool
