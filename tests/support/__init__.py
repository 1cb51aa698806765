"""What Python tests of several kinds share: the Mac-shaped root, the person in front of it, the shipped bundle."""

import sys
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
# Where the tools have their parts: "inspection" and what else a test looks at.
sys.path.append(str(REPOSITORY / "tools"))
