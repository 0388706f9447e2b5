// Transients that are accepted, in files beside scenarios: my.transients is that of my.scenario, and all.transients that
// of every scenario in its directory. Each line is "COMMAND => PACKET => REASON"; an empty one, or one that starts with
// '#', says nothing.
#pragma once

#include "report/Chronicle.h"
#include "tool/words/Words.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Strata::Tool {

/// COMMAND and PACKET may be the start of a name, with '*' behind it; blanks and the case of letters do not count. PACKET
/// is the entry or probe, alone or as it is shown ("main: vlan flood").
class AcceptedTransients
{
 public:
   struct Rule
   {
      Line line;
      std::string command; // as the packet, with single blanks and small letters
      std::string packet;
      std::string reason;
      bool isOwn; // in the scenario's own file
   };

   /// Those for the line's command. InputError if a line of the files is something else, or one cannot be read.
   std::vector<Rule> rulesFor( const Line& line, const std::string& command );

   /// Gives those that are accepted their reason. That of a rule with the whole name goes before that of a start.
   void accept( std::vector<Report::Transient>& all, const std::vector<Rule>& rules );

   /// How to accept it.
   static std::string advice(
      const Report::Transient& transient, const Line& line, const std::string& command );

   /// A text for each line of scenarios' own files that has accepted nothing. If not every command was watched, those
   /// that may be for another one are left out.
   std::vector<std::string> idle( bool everyCommandWasWatched ) const;

 private:
   struct Use
   {
      bool isForOneCommand;
      bool commandRan = false;
      bool accepted = false;
   };

   std::map<std::pair<std::string, U32>, Use> uses_; // by file and number of the line
};

} // namespace Strata::Tool
