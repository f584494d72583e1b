#pragma once

#include <QString>

class QApplication;

// Applies the program's preferred widget style unless the user, the
// environment or the desktop already chose one.
class DefaultStyle
{
public:
    // Reads the untouched command line, before the application object
    // removes the toolkit's own options from it.
    DefaultStyle(int argc, char** argv);

    void set(QApplication& application, QString const& style);

    bool userChose() const { return chosen; }

private:
    bool chosen;
};
