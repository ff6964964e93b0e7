#pragma once

namespace peekmend {

/// Prepares the process for running tools; called first in `main`, before any thread starts.
/// Children inherit a UTF-8 locale, without which the process listing spells other letters than
/// ASCII as "?", and a child's exit status is never lost to an inherited SIGCHLD setting.
void prepareProcess();

} // namespace peekmend
