#pragma once

#include <QString>

// The system SORVAN manages is the one under $SORVANROOT (default "/"), as
// dnf's --installroot.  Every configuration path is looked up through here so
// that the editor, the engine and the tests read the same files, and so that a
// sandbox root never leads a write onto the host.
namespace Repo::ManagedRoot
{

// The root directory: $SORVANROOT made absolute and clean, "/" when unset or
// empty.  Read afresh at each call.
QString path();

// `systemPath` (absolute, as the managed system names it) as a path of this
// machine.  A path already inside the root is returned cleaned but unchanged,
// so that applying this twice is harmless.  Relative paths are only cleaned.
QString under(QString const& systemPath);

// Follows the symbolic links of the last component of `hostPath`, reading an
// absolute link target as a path of the managed system (as a chroot would),
// so that a sandbox's /etc/yum.conf -> /etc/dnf/dnf.conf stays in the
// sandbox.  Returns the path the chain ends on, which need not exist.
QString resolve(QString const& hostPath);

} // namespace Repo::ManagedRoot
