"""`python3 tools/zoltgen SCHEMA_DIR --out DIR`: runs the package from its folder."""

import os
import sys

if __package__ in (None, ""):
    sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    from zoltgen import main
else:
    from . import main

sys.exit(main())
