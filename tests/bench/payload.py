"""Clients to install: folder trees of a number of files and of a size, with bytes that no file system can pack."""

import os
from dataclasses import dataclass

# As many as one writes at once; the same for each file, for a memory file system shares nothing.
BLOCK = os.urandom(1 << 20)
FILES_IN_A_FOLDER = 40


@dataclass(frozen=True)
class Payload:
    name: str
    files: int
    bytes: int
    # All files beside each other, or spread over folders.
    in_one_folder: bool = False

    def make(self, client):
        resources = client / "Contents/Resources"
        resources.mkdir(parents=True)
        (client / "Contents/Info.plist").write_text("the client\n")
        folder = resources
        for number in range(self.files):
            if not self.in_one_folder and number % FILES_IN_A_FOLDER == 0:
                folder = resources / f"folder {number // FILES_IN_A_FOLDER}"
                folder.mkdir()
            with open(folder / f"file {number}", "wb", buffering=0) as file:
                left = self.bytes // self.files
                while left > 0:
                    left -= file.write(BLOCK[:left])


MEGABYTE = 10**6
LARGE = [Payload("219 MB in 4,000 files", 4000, 219 * MEGABYTE),
         Payload("one file of 1 GB", 1, 1000 * MEGABYTE),
         Payload("50,000 small files", 50_000, 50 * MEGABYTE)]
GROWING = [Payload(f"{size} MB", max(1, size // 10), size * MEGABYTE) for size in [10, 100, 1000]]
CROWDED = Payload("10,000 files in one folder", 10_000, 10 * MEGABYTE, in_one_folder=True)
