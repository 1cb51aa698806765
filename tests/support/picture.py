"""What is on the screen."""

import collections
import functools
import struct
import zlib
from typing import NamedTuple

BYTES_PER_PIXEL = 4
# How far apart the strongest and the weakest of red, green and blue are.
LEAST_OF_A_COLOUR = 64


class Area(NamedTuple):
    """A rectangle in pixels, from the top left corner of whatever it lies in."""
    x: int
    y: int
    width: int
    height: int

    def moved(self, x, y):
        return Area(self.x + x, self.y + y, self.width, self.height)

    def smaller_by(self, edge):
        return Area(self.x + edge, self.y + edge, self.width - 2 * edge, self.height - 2 * edge)

    def centre(self):
        return self.x + self.width // 2, self.y + self.height // 2


class Picture:
    """Pixels, line by line from the top, each as the bytes blue, green, red and one that means nothing."""

    def __init__(self, width, height, lines):
        self.width = width
        self.height = height
        self.lines = lines

    def __eq__(self, other):
        return self.lines == other.lines

    def area(self):
        return Area(0, 0, self.width, self.height)

    def pixels(self):
        """Where the pixels lie and their blue, green and red."""
        for y, line in enumerate(self.lines):
            for x in range(self.width):
                yield x, y, line[x * BYTES_PER_PIXEL:x * BYTES_PER_PIXEL + 3]

    def colours(self):
        return {colour for _, _, colour in self.pixels()}

    def near(self, colour, tolerance=12):
        """Where pixels have the colour of that red, green and blue, or almost."""

        @functools.cache
        def is_near(pixel):
            return all(abs(a - b) <= tolerance for a, b in zip(pixel, reversed(colour)))

        return [(x, y) for x, y, pixel in self.pixels() if is_near(pixel)]

    def coloured(self):
        """Where pixels are neither black nor white nor a grey between them."""
        return [(x, y) for x, y, pixel in self.pixels() if max(pixel) - min(pixel) > LEAST_OF_A_COLOUR]

    def crop(self, area):
        first, last = area.x * BYTES_PER_PIXEL, (area.x + area.width) * BYTES_PER_PIXEL
        return Picture(area.width, area.height, [line[first:last] for line in self.lines[area.y:area.y + area.height]])

    def without(self, areas):
        """The same picture with the areas blackened."""
        lines = [bytearray(line) for line in self.lines]
        for area in areas:
            for line in lines[area.y:area.y + area.height]:
                first = area.x * BYTES_PER_PIXEL
                line[first:first + area.width * BYTES_PER_PIXEL] = bytes(area.width * BYTES_PER_PIXEL)
        return Picture(self.width, self.height, [bytes(line) for line in lines])

    def save(self, path):
        """Writes the picture as PNG, in its 256 commonest colours: of the others each becomes the nearest of these."""
        pixels = [colour for _, _, colour in self.pixels()]
        palette = [colour for colour, _ in collections.Counter(pixels).most_common(256)]

        @functools.cache
        def nearest(pixel):
            return min(range(len(palette)), key=lambda index: sum((a - b) ** 2 for a, b in zip(pixel, palette[index])))

        raw = b"".join(b"\0" + bytes(map(nearest, pixels[start:start + self.width]))
                       for start in range(0, len(pixels), self.width))
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 3, 0, 0, 0)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                         chunk(b"PLTE", b"".join(colour[::-1] for colour in palette)) +
                         chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def read_window_dump(path):
    """Reads a screen in the XWD format with 24-bit colours, as Xvfb keeps it in a file."""
    dump = path.read_bytes()
    fields = struct.unpack_from(">25I", dump)
    header_size, width, height, bytes_per_line, colours = fields[0], fields[4], fields[5], fields[12], fields[19]
    first = header_size + colours * struct.calcsize(">IHHHBB")
    starts = range(first, first + height * bytes_per_line, bytes_per_line)
    return Picture(width, height, [dump[start:start + width * BYTES_PER_PIXEL] for start in starts])
