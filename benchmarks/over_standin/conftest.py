"""Makes the package that these benchmarks import: the extension and `core` over a stand-in.

`TESSARA_FRIENDLY` and `TESSARA_BASIC` name the two built files.
"""

import atexit
import os
import shutil
import sys
import tempfile
from pathlib import Path

import standin_package


def _make_package():
    root = Path(tempfile.mkdtemp(prefix="tessara-benchmarks-"))
    atexit.register(shutil.rmtree, root, ignore_errors=True)
    folder = standin_package.make(root, Path(os.environ["TESSARA_FRIENDLY"]), core="real")
    (folder / "basic.py").unlink()
    shutil.copy(os.environ["TESSARA_BASIC"], folder)
    sys.path.insert(0, str(root))


assert "tessara" not in sys.modules, "these benchmarks need a process of their own"
_make_package()
