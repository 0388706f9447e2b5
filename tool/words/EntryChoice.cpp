#include "tool/words/EntryChoice.h"

#include "platform/runtime/Format.h"
#include "tool/Session.h"
#include "tool/view/EntryView.h"
#include "tool/view/Expectation.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Strata::Tool {

using Vormel::format;

namespace {

constexpr std::string_view entryMeaning =
   "an entry: an offset, a name such as nexthopToCpu, or the name it is claimed under in quotes";

std::vector<std::string_view> rangeNames( const Sim::SimSwitch& hardware )
{
   std::vector<std::string_view> names;
   for( const auto& manager : hardware.tcamManagers() )
      names.push_back( manager->profile().name );
   return names;
}

/// "; the entry with that id, 'NextHop to Cpu', is 'main 33' here", of a number that is an id of a range; without such an
/// entry the nearest ones.
std::string idHint( const Sim::SimSwitch& hardware, U64 id )
{
   std::string nearest;
   for( const auto& [ unit, chip ] : hardware.chips() )
      for( const Sim::FieldGroup& group : chip.groups() ) {
         const Sim::FieldGroupProfile& range = group.profile();
         if( id < range.base || id >= U64{ range.base } + range.size || group.entries().empty() )
            continue;
         const auto next = group.entries().lower_bound( static_cast<U32>( id ) );
         const auto& [ near, entry ] =
            *( next == group.entries().end() ? std::prev( next ) : next );
         const std::string place = format( "'%s %d' here", range.name, near - range.base );
         if( near == id )
            return format( "; the entry with that id, '%s', is %s", entry.name, place );
         if( nearest.empty() )
            nearest = format( "; no entry has that id; the nearest is %d, '%s', which is %s", near,
               entry.name, place );
      }
   return nearest;
}

/// The word taken last is not an entry of the range, nor a range where these fit as well.
[[noreturn]] void failNoEntry(
   const Session& session, const Words& words, const std::string& group, bool orRange )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   const std::string& word = words.last()->text;
   const std::vector<std::string_view> ranges = rangeNames( hardware );
   std::vector<std::string_view> names = ranges;
   if( group == "main" )
      for( const std::string_view name : entryOffsetNames() )
         names.push_back( name );
   const auto number = numberIn( word );
   std::string hint = number ? idHint( hardware, *number ) : "";
   if( hint.empty() )
      hint = didYouMean( word, names,
         format( "; write %san offset from 0 to %d, or in quotes the name that it is claimed under",
            orRange ? "one of the ranges " + joined( ranges ) + ", or of an entry " : "",
            hardware.tcamManager( group )->profile().size - 1 ) );
   words.fail( format( orRange ? "'%s' is neither a range nor an entry of the %s range%s"
                               : "'%s' is not an entry of the %s range%s",
      word, group, hint ) );
}

EntryChoice takeChoice( const Session& session, Words& words, bool orRange )
{
   const Sim::SimSwitch& hardware = session.agent().hardware();
   EntryChoice choice;
   const Word* const range = words.peek();
   const bool isRange = range && hardware.tcamManager( range->text );
   if( isRange && range->quoted )
      words.failAt(
         *range, "quotes are for the name that an entry is claimed under; write the range '" +
                    range->text + "' without them" );
   if( isRange )
      choice.group = words.take( {} ).text;
   const Word& word = words.take( entryMeaning, "NAME" );
   choice.text = choice.group + ( choice.group.empty() ? "" : " " ) + word.text;
   if( word.quoted ) {
      choice.name = word.text;
      return choice;
   }
   const bool named = !choice.group.empty();
   if( !named )
      choice.group = "main";
   const auto number = numberIn( word.text );
   choice.offset = number && *number < hardware.tcamManager( choice.group )->profile().size
                      ? std::optional<U32>( static_cast<U32>( *number ) )
                   : choice.group == "main" ? entryOffset( word.text )
                                            : std::nullopt;
   if( !choice.offset )
      failNoEntry( session, words, choice.group, orRange && !named );
   return choice;
}

/// What didYouMean() finds for the word, or for its beginning: a longer name than the right one is not a slip.
std::string nearestText( const std::string& word, std::span<const std::string_view> names )
{
   std::string found;
   for( std::size_t size = word.size(); found.empty() && size * 2 > word.size(); --size )
      found = didYouMean( word.substr( 0, size ), names );
   return found;
}

} // namespace

EntryChoice takeEntry( const Session& session, Words& words )
{
   return takeChoice( session, words, false );
}

EntryChoice takeRangeOrEntry(
   const Session& session, Words& words, std::span<const std::string_view> followers )
{
   const auto isThere = [ & ]( std::size_t ahead ) {
      const Word* const word = words.peek( ahead );
      return word &&
             ( word->quoted || std::ranges::find( followers, word->text ) == followers.end() );
   };
   words.offer( "NAME", entryMeaning );
   const std::vector<std::string_view> ranges = rangeNames( session.agent().hardware() );
   if( isThere( 0 ) && ( isThere( 1 ) || words.peek()->quoted ||
                          std::ranges::find( ranges, words.peek()->text ) == ranges.end() ) )
      return takeChoice( session, words, true );
   EntryChoice all;
   all.group = all.text = words.acceptOneOf( ranges );
   if( !all.group.empty() )
      words.offer( "NAME", entryMeaning );
   return all;
}

bool EntryChoice::includes(
   const Sim::FieldGroup& range, U32 id, const Sim::FieldEntry& entry ) const
{
   return ( group.empty() || range.profile().name == group ) &&
          ( !offset || id == range.profile().base + *offset ) &&
          ( name.empty() || entry.name == name );
}

std::string notInHardware( const Sim::SimSwitch& hardware, const std::vector<U32>& units,
   const EntryChoice& choice, std::string_view where )
{
   std::string id;
   std::vector<std::string_view> names;
   for( const U32 unit : units )
      for( const Sim::FieldGroup& group : hardware.chip( unit ).groups() ) {
         const Sim::FieldGroupProfile& range = group.profile();
         if( choice.offset && range.name == choice.group )
            id = format( " (%s %d)", range.name, range.base + *choice.offset );
         for( const auto& [ each, entry ] : group.entries() )
            if( entry.installed() )
               names.push_back( entry.name );
         for( const std::string_view name : entryOffsetNames() )
            if( const Sim::FieldEntry* const entry =
                   group.find( range.base + *entryOffset( name ) );
                range.name == "main" && entry && entry->installed() )
               names.push_back( name );
      }
   const std::string hint = nearestText(
      choice.name.empty() ? choice.text.substr( choice.text.rfind( ' ' ) + 1 ) : choice.name,
      names );
   return format( "'%s'%s is not in hardware %s%s", choice.text, id, where,
      hint.empty() ? "; 'show entries' lists what is" : hint );
}

const Sim::FieldEntry* findEntry( const Sim::Chip& chip, const EntryChoice& choice )
{
   for( const Sim::FieldGroup& group : chip.groups() )
      for( const auto& [ id, entry ] : group.entries() )
         if( choice.includes( group, id, entry ) )
            return &entry;
   return nullptr;
}

Sim::FieldEntry* findEntry( Sim::Chip& chip, const EntryChoice& choice )
{
   return const_cast<Sim::FieldEntry*>( findEntry( std::as_const( chip ), choice ) );
}

} // namespace Strata::Tool
