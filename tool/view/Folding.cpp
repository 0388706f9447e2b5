#include "tool/view/Folding.h"

#include <algorithm>
#include <string_view>

namespace Strata::Tool {

namespace {

constexpr std::size_t longestSequence = 24;
// Fewer lines are shown as they are.
constexpr std::size_t fewestFolded = 3;

/// The text with one mark in place of each number.
std::string withoutNumbers( const std::string& text )
{
   constexpr std::string_view digits = "0123456789";
   constexpr std::string_view hexDigits = "0123456789abcdef";
   std::string form;
   for( std::size_t at = 0; at < text.size(); ) {
      if( digits.find( text[ at ] ) == digits.npos ) {
         form += text[ at++ ];
         continue;
      }
      const bool hex = text.compare( at, 2, "0x" ) == 0;
      at = std::min(
         text.find_first_not_of( hex ? hexDigits : digits, at + ( hex ? 2 : 0 ) ), text.size() );
      form += '0';
   }
   return form;
}

} // namespace

void Folding::show( const Toned& line )
{
   sink_( line );
   forms_.push_back( withoutNumbers( line.text ) );
   if( forms_.size() > longestSequence )
      forms_.pop_front();
}

bool Folding::continuesRound( const std::string& form ) const
{
   return period_ > 0 && forms_[ forms_.size() - period_ + round_.size() ] == form;
}

/// The line may begin to repeat the shortest sequence that begins like it.
void Folding::beginRound( const std::string& form )
{
   for( std::size_t period = 1; period <= forms_.size(); ++period )
      if( forms_[ forms_.size() - period ] == form ) {
         period_ = period;
         return;
      }
}

void Folding::add( const Toned& line )
{
   const std::string form = withoutNumbers( line.text );
   if( period_ > 0 && !continuesRound( form ) )
      flush();
   if( period_ == 0 )
      beginRound( form );
   if( period_ == 0 )
      return show( line );
   round_.push_back( line );
   if( round_.size() < period_ )
      return;
   ++rounds_;
   for( const Toned& each : round_ )
      if( few_.size() < fewestFolded )
         few_.push_back( each );
   last_ = round_.back();
   round_.clear();
}

void Folding::flush()
{
   const std::vector<Toned> begun = std::move( round_ );
   const std::vector<Toned> few = std::move( few_ );
   const std::size_t sequence = period_;
   const std::size_t rounds = rounds_;
   round_.clear();
   few_.clear();
   period_ = rounds_ = 0;
   if( few.size() < fewestFolded ) {
      for( const Toned& line : few )
         show( line );
   } else {
      const std::string lines = sequence == 1 ? "line" : std::to_string( sequence ) + " lines";
      const std::string times = rounds == 1 ? "once" : std::to_string( rounds ) + " times";
      sink_( { Tone::faint,
         "  ...    the last " + lines + " " + times + " more, with other numbers, up to" } );
      sink_( last_ );
   }
   for( const Toned& line : begun )
      show( line );
}

} // namespace Strata::Tool
