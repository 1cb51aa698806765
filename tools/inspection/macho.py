"""What the checks want to know of a Mach-O executable: load commands, imports, signature and Objective-C classes.

LLVM's objdump and nm tell what they can. The Objective-C part of objdump follows neither methods that are written as
offsets nor chained pointers, both of which Apple's linker writes for newer systems, and leaves out the messages of a
protocol that no class adopts; what a signature says, only Apple's tools show. That is read here.
"""

import functools
import hashlib
import re
import struct
import subprocess
import sys
from dataclasses import dataclass, field

FAT_MAGIC = 0xCAFEBABE
MAGIC_64 = 0xFEEDFACF
ARCHITECTURES = {0x01000007: "x86_64", 0x0100000C: "arm64"}

# Of <mach-o/compact_unwind_encoding.h>: the mode's bits, and the mode that leaves a function to its DWARF entry.
UNWIND_MODE = 0x0F000000
UNWIND_BY_DWARF = {"x86_64": 0x04000000, "arm64": 0x03000000}

# Of objc4's objc-runtime-new.h: a list of methods is one of offsets, and those of names lead to the names themselves.
RELATIVE_METHODS = 0x80000000
DIRECT_SELECTORS = 0x40000000

# Of xnu's <kern/cs_blobs.h>.
EMBEDDED_SIGNATURE = 0xFADE0CC0
CODE_DIRECTORY = 0xFADE0C02
ENTITLEMENTS = {0xFADE7171, 0xFADE7172}  # as a property list, and in DER
ADHOC = 0x2
HARDENED_RUNTIME = 0x10000
WITH_TEAM = 0x20200  # the first version of a code directory that has room for a team
SHA1, SHA256 = 1, 2


class NotMachO(Exception):
    """The file is not what was expected; the message says in which way."""


@dataclass
class LoadCommand:
    name: str
    fields: dict  # named as objdump does; numbers are numbers, all else is text
    sections: list = field(default_factory=list)  # the fields of each, where the command is a segment


@dataclass(frozen=True, order=True)
class Import:
    symbol: str
    library: str  # without its folder and version: "Foundation", "libSystem"; or "weak", for whichever defines it first


@dataclass
class Protocol:
    name: str
    adopted: list
    methods: list  # name and extended type of each required instance method
    others: list  # the names of all other methods
    properties: list  # name and attributes


@dataclass
class Class:
    name: str
    superclass: str
    instance_methods: list  # name and type
    class_methods: list
    variables: list  # name and type
    properties: list  # name and attributes
    adopted: list


@dataclass
class CodeDirectory:
    flags: int
    hash_type: int
    page_size: int
    identifier: str
    team: str  # "" where nobody's certificate has signed
    pages_match: bool


def slices(path):
    """The slices of an executable file, by architecture."""
    content = path.read_bytes()
    if len(content) < 32:
        raise NotMachO(f"{len(content)} bytes are too few for an executable")
    magic, count = struct.unpack_from(">2I", content)
    if magic != FAT_MAGIC:
        one = Slice(path, 0, content)
        return {one.architecture: one}
    found = {}
    for number in range(count):
        cpu, _, offset, size, _ = struct.unpack_from(">5I", content, 8 + 20 * number)
        if content[offset + 4:offset + 8] != struct.pack("<I", cpu) or ARCHITECTURES.get(cpu) in found:
            raise NotMachO(f"slice {number} is listed as another architecture than it is, or twice")
        one = Slice(path, offset, content[offset:offset + size])
        found[one.architecture] = one
    return found


class Slice:
    def __init__(self, path, offset, content):
        magic, cpu = struct.unpack_from("<2I", content)
        if magic != MAGIC_64 or cpu not in ARCHITECTURES:
            raise NotMachO("no 64-bit Mach-O for Intel or Apple silicon")
        self.path = path
        self.offset = offset
        self.content = content
        self.architecture = ARCHITECTURES[cpu]

        header, *commands = re.split(r"^Load command \d+$", self._ask("objdump", "--private-headers"), flags=re.M)
        _, _, _, _, self.file_type, _, _, *self.flags = header.splitlines()[-1].split()
        self.commands = [load_command(text) for text in commands]
        self.libraries = [command for command in self.commands if "compatibility version" in command.fields]
        self.segments = {command.fields["segname"]: command.fields for command in self.all("LC_SEGMENT_64")}
        self.sections = {section["sectname"]: section
                         for command in self.all("LC_SEGMENT_64") for section in command.sections}

    def all(self, *names):
        """The load commands of these names."""
        return [command for command in self.commands if command.name in names]

    @property
    def platform(self):
        return self._target.get("platform", "macos")  # the older command has none, but is macOS's own

    @property
    def minimum(self):
        return self._target["minos"] if "minos" in self._target else self._target["version"]

    @property
    def sdk(self):
        return self._target["sdk"]

    @property
    def _target(self):
        command, = self.all("LC_VERSION_MIN_MACOSX", "LC_BUILD_VERSION")
        return command.fields

    def link_edit_tables(self):
        """Where each table for the loader and for tools lies in the slice."""
        return {f"{command.name} {name}": value for command in self.commands for name, value in command.fields.items()
                if command.name not in ("LC_SEGMENT_64", "LC_MAIN") and name.endswith("off") and value != 0}

    @functools.cached_property
    def imports(self):
        """What the symbol table and the loader's tables name; they should agree, and a symbol in either counts.

        What the slice itself defines, and the loader may replace by an earlier image's definition, is not imported.
        """
        listed = {Import(symbol, library) for symbol, library
                  in re.findall(r"\(undefined\).* (\S+) \(from (\S+)\)$", self._ask("nm", "-m", "-u"), re.M)}
        undefined = {one.symbol for one in listed}
        return sorted(listed | {one for one in self._bound.values()
                                if one.library != "weak" or one.symbol in undefined})

    @functools.cached_property
    def unwind_encodings(self):
        listed = re.findall(r"encoding(?:\[\d+\])?[:=] ?(0x\w+)", self._ask("objdump", "--unwind-info"))
        return {int(encoding, 16) for encoding in listed}

    def strings(self):
        """Every run of printable bytes that ends in a zero byte, as text."""
        return {run.decode() for run in re.findall(rb"[ -~]{4,}(?=\0)", self.content)}

    @property
    def signature(self):
        return b"".join(self.content[command.fields["dataoff"]:][:command.fields["datasize"]]
                        for command in self.all("LC_CODE_SIGNATURE"))

    @property
    def size_unsigned(self):
        return len(self.content) - len(self.signature)

    def code_directories(self):
        """What the signature says of the code, one for each kind of digest."""
        return [self._code_directory(blob) for magic, blob in self._signature_blobs() if magic == CODE_DIRECTORY]

    def entitlements(self):
        """The kinds in which the signature has any."""
        return [magic for magic, _ in self._signature_blobs() if magic in ENTITLEMENTS]

    def _signature_blobs(self):
        """What the signature is made of: the magic number of each part, and the part with all that follows."""
        if not self.signature:
            return []
        magic, _, count = struct.unpack_from(">3I", self.signature)
        if magic != EMBEDDED_SIGNATURE:
            raise NotMachO("the code signature is not one")
        places = [struct.unpack_from(">2I", self.signature, 12 + 8 * number)[1] for number in range(count)]
        return [(struct.unpack_from(">I", self.signature, place)[0], self.signature[place:]) for place in places]

    def _code_directory(self, blob):
        _, _, version, flags, hashes, identifier, _, pages, limit = struct.unpack_from(">9I", blob)
        hash_size, hash_type, _, page_bits = blob[36:40]
        digest = {SHA1: hashlib.sha1, SHA256: hashlib.sha256}[hash_type]
        page_size = 1 << page_bits
        match = all(
            digest(self.content[page_size * number:min(page_size * (number + 1), limit)]).digest()[:hash_size]
            == blob[hashes + hash_size * number:hashes + hash_size * (number + 1)] for number in range(pages))
        team = struct.unpack_from(">I", blob, 48)[0] if version >= WITH_TEAM else 0
        return CodeDirectory(flags, hash_type, page_size, text_at(blob, identifier),
                             text_at(blob, team) if team else "", match and pages > 0)

    def image_info(self):
        """Version and flags for the Objective-C runtime."""
        return self._numbers("2I", self.sections["__objc_imageinfo"]["addr"])

    def protocols(self):
        """By name, those that the file describes."""
        return {protocol.name: protocol for protocol in map(self._protocol, self._pointers("__objc_protolist"))}

    def classes(self):
        """By name, those that the file defines."""
        return {one.name: one for one in map(self._class, self._pointers("__objc_classlist"))}

    def _class(self, address):
        read_only, meta_read_only = (self._pointer(one + 32) & ~7 for one in (address, self._pointer(address)))
        superclass = self._bound[address + 8].symbol if address + 8 in self._bound else ""
        return Class(self._string(read_only + 24), superclass.removeprefix("_OBJC_CLASS_$_"),
                     self._methods(self._pointer(read_only + 32)), self._methods(self._pointer(meta_read_only + 32)),
                     self._pairs(self._pointer(read_only + 48), at=8), self._pairs(self._pointer(read_only + 64)),
                     self._protocol_names(self._pointer(read_only + 40)))

    def _protocol(self, address):
        required, *others = [self._methods(self._pointer(address + 24 + 8 * number)) for number in range(4)]
        size, = self._numbers("I", address + 64)
        types = self._pointer(address + 72) if size > 72 else 0
        if types:
            required = [(name, self._string(types + 8 * number)) for number, (name, _) in enumerate(required)]
        return Protocol(self._string(address + 8), self._protocol_names(self._pointer(address + 16)), required,
                        [name for methods in others for name, _ in methods],
                        self._pairs(self._pointer(address + 56)))

    def _protocol_names(self, address):
        if address == 0:
            return []
        count, = self._numbers("Q", address)
        return [self._string(self._pointer(address + 8 + 8 * number) + 8) for number in range(count)]

    def _methods(self, address):
        if address == 0 or not self._numbers("I", address)[0] & RELATIVE_METHODS:
            return self._pairs(address)
        flags, count = self._numbers("2I", address)
        methods = []
        for entry in range(address + 8, address + 8 + 12 * count, 12):
            name, types = self._numbers("2i", entry)
            name = self._text(entry + name) if flags & DIRECT_SELECTORS else self._string(entry + name)
            methods.append((name, self._text(entry + 4 + types)))
        return methods

    def _pairs(self, address, at=0):
        """The two strings that lie at the same place in each entry of a list."""
        if address == 0:
            return []
        size, count = self._numbers("2I", address)
        entries = range(address + 8 + at, address + 8 + at + size * count, size)
        return [(self._string(entry), self._string(entry + 8)) for entry in entries]

    def _pointers(self, section):
        place = self.sections.get(section, {"addr": 0, "size": 0})
        return [self._pointer(address) for address in range(place["addr"], place["addr"] + place["size"], 8)]

    def _string(self, address):
        """The text that the pointer at the address leads to."""
        return self._text(self._pointer(address))

    def _pointer(self, address):
        if address in self._bound:
            return 0
        return self._chained[address] if address in self._chained else self._numbers("Q", address)[0]

    def _text(self, address):
        return text_at(self.content, self._place(address))

    def _numbers(self, layout, address):
        return struct.unpack_from(f"<{layout}", self.content, self._place(address))

    def _place(self, address):
        for segment in self.segments.values():
            if 0 <= address - segment["vmaddr"] < segment["filesize"]:
                return address - segment["vmaddr"] + segment["fileoff"]
        raise NotMachO(f"no byte of the file lies at {address:#x}")

    @functools.cached_property
    def _bound(self):
        """The import that the loader writes to each address."""
        return {int(row[2], 16): Import(symbol=row[-1], library=row[-2]) for row in self._fixups if "rebase" not in row}

    @functools.cached_property
    def _chained(self):
        """Where each chained pointer leads; a pointer that is not chained is the address itself."""
        return {int(row[2], 16): int(row[-1], 16) for row in self._fixups if "rebase" in row}

    @functools.cached_property
    def _fixups(self):
        """The words of each row of objdump's tables of what the loader writes. The third is the address."""
        tables = ["--dyld-info"] if self.all("LC_DYLD_CHAINED_FIXUPS") else ["--bind", "--lazy-bind"]
        rows = [line.removesuffix(" (weak import)").split() for line in self._ask("objdump", *tables).splitlines()]
        return [row for row in rows if len(row) > 4 and row[2].startswith("0x")]

    @property
    def relocations(self):
        """How many addresses the loader writes."""
        if self.all("LC_DYLD_CHAINED_FIXUPS"):
            return len(self._fixups)
        rows = map(str.split, self._ask("objdump", "--rebase").splitlines())
        return len(self._fixups) + sum(len(row) > 3 and row[2].startswith("0x") for row in rows)

    def _ask(self, tool, *options):
        program = [f"llvm-{tool}-19"] if sys.platform == "linux" else ["xcrun", f"llvm-{tool}"]
        macho = ["--macho"] if tool == "objdump" else []
        told = subprocess.run([*program, *macho, *options, f"--arch={self.architecture}", self.path],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60)
        if told.returncode != 0:
            raise NotMachO(told.stderr.strip())
        return told.stdout


def text_at(content, place):
    """The text that ends in a zero byte."""
    return content[place:content.index(b"\0", place)].decode()


def load_command(text):
    """One command as objdump prints it, with a segment's sections behind it."""
    own, *sections = [dict(map(name_and_value, block.strip().splitlines())) for block in text.split("\nSection\n")]
    return LoadCommand(own["cmd"], own, sections)


def name_and_value(line):
    name, value = re.fullmatch(r"\s*(current version|compatibility version|time stamp|\S+)\s+(.*?)(?: \(.*\))?",
                               line).groups()
    return name, int(value, 0) if re.fullmatch(r"0x[0-9a-f]+|\d+", value) else value
