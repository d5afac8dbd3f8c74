"""Which of the two executables runs on the rig: ROTATE_ARCHITECTURE is x64, the default, or x86."""

import os
import sys
from collections import namedtuple

# The preset that builds the executables, the compiler that builds the rig's Windows side, and the size
# of a pointer, which changes system structures.
Architecture = namedtuple("Architecture", "name preset triple pointer")
KNOWN = {known.name: known for known in (
    Architecture("x64", "win64", "x86_64-w64-mingw32", 8),
    Architecture("x86", "win32", "i686-w64-mingw32", 4))}

_name = os.environ.get("ROTATE_ARCHITECTURE", "x64")
if _name not in KNOWN:
    sys.exit(f"ROTATE_ARCHITECTURE is {_name!r}; it must be {' or '.join(KNOWN)}")
CHOSEN = KNOWN[_name]
