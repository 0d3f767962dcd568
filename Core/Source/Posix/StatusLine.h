#pragma once

#include <cstddef>
#include <string_view>

// One line at the cursor of standard error, where that is a terminal, that comes and goes: "Verifying: 42%".
// Whoever prints anything on a standard stream erases it first. It takes nothing but carriage returns and
// blanks, which every terminal knows.

namespace Posix {

/// How many columns the line may take; 0 when standard error is not a terminal, or this process is in its
/// background and would write into what is typed there.
std::size_t StatusLineRoom();

/// Puts `text`, printable ASCII of no more than StatusLineRoom() columns, in place of the line that is shown.
void ShowStatusLine(std::string_view text);

/// Does nothing when no line is shown.
void EraseStatusLine();

}  // namespace Posix
