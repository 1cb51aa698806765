"""What Python tests of several kinds share: the Mac-shaped root, the person in front of it, the shipped bundle."""

from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
