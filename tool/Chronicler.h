// Collects a run for its report.
#pragma once

#include "report/Chronicle.h"
#include "tool/RunListener.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Strata::Tool {

class Chronicler : public RunListener
{
 public:
   /// `whenDead` runs when the agent has died, before the process ends.
   explicit Chronicler( std::function<void()> whenDead = {} ) : whenDead_( std::move( whenDead ) )
   {}

   /// Whether to ask the solver about the entries at the end.
   void findsEntriesIs( bool finds ) { findsEntries_ = finds; }

   Report::Chronicle& chronicle() { return chronicle_; }

   void switchBegins() override;
   void twinMade( const Session& session, const Desk::RecordingFile& recording ) override;
   void begins( const Line& line ) override;
   void marked( Session& session ) override;
   void explained( Session& session, const Sim::Arrival& arrival, const Sim::Verdict& verdict,
      const Sim::Explanation& explanation, bool isSent ) override;
   void frameComes( Session& session, U32 frame, const Sim::Arrival& arrival ) override;
   void watched( const std::vector<Report::Transient>& transients ) override;
   void switchEnds( Session& session ) override;
   void recorded( const Sim::Record& record ) override;
   void noted( std::string_view text ) override;
   void shown( const std::string& title, const Table& table ) override;
   void shown( const std::string& title, const std::string& json ) override;
   void resulted( const std::string& text ) override;
   void held( const Line& line ) override;
   void failed( const Line& line, const std::string& expected, const std::string& found ) override;
   void childWrote( std::string_view text ) override;
   void complained( const std::string& text ) override;
   void refused( const std::string& text ) override;
   void died( const std::string& text ) override;

 private:
   Report::Event& event();
   void add( Report::LogLine line );
   void add( Report::Packet packet );
   void take( Report::Moment moment, Session& session );
   /// What commands show of the rest of the agent.
   void takeTables( Session& session, Report::Snapshot& snapshot );

   std::function<void()> whenDead_;
   Report::Chronicle chronicle_;
   bool findsEntries_ = false;
   std::size_t chips_ = 0;
   Session* session_ = nullptr;           // while it has the present switch
   Report::Snapshot* tablesOf_ = nullptr; // while its tables are taken
   bool twinIsNew_ = false;               // its first mark is not one of a scenario
   // Packets of the present capture, by what became of them and the entries that won; nothing for those without a picture.
   std::map<std::string, std::optional<std::size_t>> frames_;
};

} // namespace Strata::Tool
