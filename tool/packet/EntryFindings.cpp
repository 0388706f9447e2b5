#include "tool/packet/EntryFindings.h"

#include "sim/chip/FieldRefusals.h"
#include "tool/Session.h"

#include <utility>

namespace Strata::Tool {

using Cover::Coverage;
using Cover::Outcome;
using Report::FindingKind;

namespace {

std::string listed( const std::vector<std::string>& parts, const char* between )
{
   std::string text;
   for( const std::string& part : parts )
      text += ( text.empty() ? "" : between ) + part;
   return text;
}

/// What each action of a rule says about itself and the others; empty if they go together.
std::vector<std::string> actionFindings(
   const Sim::ChipProfile& chip, Sim::FieldStage stage, const Sim::FieldRule& rule )
{
   std::vector<std::string> findings;
   for( auto action = rule.actions.begin(); action != rule.actions.end(); ++action ) {
      if( Sim::actionCode( chip, stage, {}, *action ) != Sim::SdkCode::None )
         findings.push_back( action->text() + " means nothing at this stage" );
      for( auto other = rule.actions.begin(); other != action; ++other )
         if( Sim::actionCode( chip, stage, { {}, { *other } }, *action ) == Sim::SdkCode::Config )
            findings.push_back(
               other->text() + " and " + action->text() + " contradict each other" );
   }
   return findings;
}

/// Which qualifiers of the entry its fields cannot have at all; empty if they only exclude each other.
std::string impossibleValues( const Session& session, const Coverage& about )
{
   std::vector<std::string> values;
   for( const Sim::FieldGroup& group : session.agent().hardware().chip( about.unit ).groups() )
      if( const Sim::FieldEntry* const entry = group.find( about.id ) )
         for( const Sim::FieldQualifier& qualifier : entry->hardware->qualifiers )
            if( Sim::qualifierCode( group.profile().stage, {}, qualifier ) != Sim::SdkCode::None )
               values.push_back( qualifier.text() );
   return listed( values, ", " );
}

} // namespace

std::string nameOf( const Session& session, const Coverage& about, U32 id )
{
   for( const Sim::FieldGroup& group : session.agent().hardware().chip( about.unit ).groups() )
      if( const Sim::FieldEntry* const entry = group.find( id ) )
         return entry->name;
   return std::to_string( id );
}

std::vector<std::string> blockerNames( const Session& session, const Coverage& about )
{
   std::vector<std::string> names;
   for( const U32 id : about.blockers )
      names.push_back( nameOf( session, about, id ) );
   return names;
}

std::string proofText( const Session& session, const Coverage& about )
{
   std::string text;
   if( !about.blockers.empty() ) {
      text =
         "its packets meet '" + listed( blockerNames( session, about ), "' or '" ) + "' first, ";
      text += about.largest ? "and '" + nameOf( session, about, *about.largest ) +
                                 "' does something else with them"
                            : "with the same actions";
   }
   if( !about.reasons.empty() )
      text += ( text.empty() ? "" : "; " ) + listed( about.reasons, ", " );
   if( !text.empty() )
      return text;
   const std::string impossible = impossibleValues( session, about );
   return impossible.empty() ? "its qualifiers exclude each other"
                             : "the field has no such value: " + impossible;
}

std::vector<EntryFinding> findingsOf( const Session& session, const Coverage& about )
{
   const Sim::Chip& chip = session.agent().hardware().chip( about.unit );
   std::vector<EntryFinding> findings;
   for( const Sim::FieldGroup& group : chip.groups() )
      if( const Sim::FieldEntry* const entry = group.find( about.id ) )
         for( std::string& text :
            actionFindings( chip.profile(), group.profile().stage, *entry->hardware ) )
            findings.push_back( { FindingKind::actions, std::move( text ) } );
   if( about.outcome == Outcome::proved && ( !about.blockers.empty() || about.reasons.empty() ) )
      findings.push_back( { FindingKind::neverWins, proofText( session, about ) } );
   if( about.outcome == Outcome::found && !about.hasEffect )
      findings.push_back(
         { FindingKind::noEffect, "no packet that was tried fares otherwise without it" } );
   return findings;
}

} // namespace Strata::Tool
