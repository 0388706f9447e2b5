// Folds what repeats itself in a stream of lines: a sequence of lines that differs from the one before in numbers only, as
// the same calls for each port do. Its first round is shown whole, and of the others their number and the last line.
#pragma once

#include "tool/view/Toned.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace Strata::Tool {

class Folding
{
 public:
   using Sink = std::function<void( const Toned& line )>;
   explicit Folding( Sink sink ) : sink_( std::move( sink ) ) {}

   void add( const Toned& line );
   /// Shows what is held back, at the end of a command.
   void flush();

 private:
   void show( const Toned& line );
   bool continuesRound( const std::string& form ) const;
   void beginRound( const std::string& form );

   Sink sink_;
   std::deque<std::string> forms_; // of the lines that were shown last, without their numbers
   std::size_t period_ = 0;        // lines of the sequence that may repeat; 0 for none
   std::size_t rounds_ = 0;        // that are folded
   std::vector<Toned> round_;      // the present one
   std::vector<Toned> few_;        // the first lines that are folded
   Toned last_{};                  // the last one
};

} // namespace Strata::Tool
