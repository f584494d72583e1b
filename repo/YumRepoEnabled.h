#pragma once

#include <QList>
#include <QString>
#include <fnmatch.h>

// One --enablerepo or --disablerepo request of this run.  The pattern is a
// shell wildcard that must match a repository identifier as a whole, with
// case significant; requests later on the command line win.
struct YumRepoEnabled {
    bool enable;
    QString pattern;

    YumRepoEnabled(bool enable_, QString const& pattern_)
        : enable(enable_)
        , pattern(pattern_)
    {
    }

    bool matches(QString const& id) const
    {
        return ::fnmatch(pattern.toUtf8().constData(), id.toUtf8().constData(), 0) == 0;
    }
};

using YumRepoEnabledList = QList<YumRepoEnabled>;
