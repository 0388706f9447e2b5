// The terminal at standard output: its size, and a pager for what is longer.
#pragma once

#include <cstddef>
#include <string>

namespace Strata::Tool {

struct ScreenSize
{
   std::size_t columns;
   std::size_t rows; // 0 if there is no terminal, or it does not say
};

/// The present size, which follows the window; the columns of text are 60 to 200, and 80 without a terminal.
ScreenSize screenSize();

/// Whether the terminal moves the cursor and has colours; a terminal of the type "dumb", or of none, does neither.
bool isDumbTerminal();

/// Shows the text in $PAGER, or in less, and waits until the user leaves it. False if there is no pager: then nothing was
/// shown. Ctrl-C is the pager's.
bool showInPager( const std::string& text );

} // namespace Strata::Tool
