#pragma once

#include <QStringList>

class QWidget;

namespace Execute
{
// Starts argv[0] with the null-terminated argument vector argv, detached from
// this process: its parent is a small watcher process of its own, so it never
// becomes our child or our zombie, and this returns at once.
//
// What the program writes to standard error is kept.  When it ends with a
// non-zero status or by a signal (an exec failure included), a message box on
// parent, which the call need not outlive, names the program, says how it
// ended and shows what it wrote, with every text of `secrets` (a password in
// an argument, say) replaced by asterisks.  A failure of the first fork is
// reported at once.
void execute(QWidget* parent, char* const* argv, QStringList const& secrets = {});
} // namespace Execute
