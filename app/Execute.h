#pragma once

class QWidget;

namespace Execute
{
// Starts argv[0] with the null-terminated argument vector argv, detached from
// this process (double fork, so it never becomes our zombie).  Only a failure
// of the first fork is reported, in a message box on parent.
void execute(QWidget* parent, char* const* argv);
} // namespace Execute
