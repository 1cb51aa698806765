"""Drives the installer, in a Mac-shaped root on a virtual display, as a person at a Mac would."""
