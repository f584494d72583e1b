#pragma once

#include <QString>

// The engine reports what dependency resolution adds in "TSINFO: " lines of
// its log; the apply's progress counts them.  These read one line's text
// (after the prefix) and the package names in it, with no engine at hand.
namespace TsInfo
{
enum Kind {
    // "Marking ENVRA ..." or "Updating ENVRA ...": a package is brought in.
    Marked,
    // "Obsoleting ENVRA ... with ...": the replacement is brought in.
    Obsoleting,
    // "... marked as erase": nothing to fetch.
    Erased,
    // Anything else.
    Unexpected,
};

struct Line {
    Kind kind = Unexpected;
    // The package named (Marked, Obsoleting).
    QString envra;
    // What the package weighs in the progress: 2 for an update, else 1 (Marked).
    unsigned weight = 1;
};

Line parse(QString const& text);

// [epoch:]name-version-release.arch into its name and architecture; false,
// with the outputs untouched, for a text of another shape.
bool parseEnvra(QString const& envra, QString& name, QString& arch);
} // namespace TsInfo
