"""The yum names SORVAN's program reads, over dnf 4.

The program looks up `yum.__version__` and the exception classes of
`yum.Errors`; the engine itself is dnf, so the version is dnf's own.
"""

from dnf.const import VERSION as __version__

from . import Errors

__all__ = ["Errors", "__version__"]
