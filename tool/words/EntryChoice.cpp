#include "tool/words/EntryChoice.h"

#include "tool/Session.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"

#include <utility>

namespace Strata::Tool {

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
      words.fail( "'" + word.text + "' is not an entry of the " + choice.group + " range" +
                  didYouMean( word.text, entryOffsetNames() ) );
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
