"""Reads what the checks need of a Mach-O executable: its slices, load commands, imports and Objective-C classes.

It reads both ways in which linkers write pointers (LC_DYLD_INFO and chained fixups) and methods (pointers and offsets),
so that what LLVM's linker made on Linux and what Apple's made on a Mac can be looked at alike.
"""

import hashlib
import struct
from dataclasses import dataclass, field

FAT_MAGIC = 0xCAFEBABE
MAGIC_64 = 0xFEEDFACF
ARCHITECTURES = {0x01000007: "x86_64", 0x0100000C: "arm64"}
PLATFORM_MACOS = 1
EXECUTABLE = 2
POSITION_INDEPENDENT = 0x200000

LC_SYMTAB = 0x2
LC_LOAD_DYLIB = 0xC
LC_SEGMENT_64 = 0x19
LC_CODE_SIGNATURE = 0x1D
LC_DYLD_INFO_ONLY = 0x80000022
LC_VERSION_MIN_MACOSX = 0x24
LC_BUILD_VERSION = 0x32
LC_RPATH = 0x8000001C
LC_DYLD_CHAINED_FIXUPS = 0x80000034
OTHER_LIBRARY_COMMANDS = {0x80000018: "weak", 0x8000001F: "re-exported", 0x20: "lazy", 0x80000023: "upward"}

ADHOC = 0x2
HARDENED_RUNTIME = 0x10000
SHA1, SHA256 = 1, 2


class NotMachO(Exception):
    """The file is not what was expected; the message says in which way."""


@dataclass
class Method:
    name: str
    types: str


@dataclass
class Variable:
    name: str
    type: str


@dataclass
class Property:
    name: str
    attributes: str


@dataclass
class Protocol:
    name: str
    adopted: list = field(default_factory=list)
    methods: list = field(default_factory=list)  # the required instance methods, with their extended types
    others: list = field(default_factory=list)  # the names of all others
    properties: list = field(default_factory=list)


@dataclass
class Class:
    name: str
    superclass: str
    instance_methods: list
    class_methods: list
    variables: list
    properties: list
    adopted: list


@dataclass
class CodeDirectory:
    flags: int
    hash_type: int
    identifier: str
    pages_match: bool


def slices(content):
    """The slices of an executable file, by architecture."""
    if len(content) < 32:
        raise NotMachO(f"{len(content)} bytes are too few for an executable")
    magic, = struct.unpack_from(">I", content)
    if magic != FAT_MAGIC:
        single = Slice(content)
        return {single.architecture: single}
    count, = struct.unpack_from(">I", content, 4)
    found = {}
    for number in range(count):
        cpu, _, offset, size, _ = struct.unpack_from(">5I", content, 8 + 20 * number)
        one = Slice(content[offset:offset + size])
        if ARCHITECTURES.get(cpu) != one.architecture or one.architecture in found:
            raise NotMachO(f"slice {number} is listed as another architecture than it is, or twice")
        found[one.architecture] = one
    if not found:
        raise NotMachO("there are no slices")
    return found


class Slice:
    def __init__(self, content):
        self.content = content
        magic, cpu, _, self.file_type, count, _, self.flags, _ = struct.unpack_from("<8I", content)
        if magic != MAGIC_64 or cpu not in ARCHITECTURES:
            raise NotMachO("no 64-bit Mach-O for Intel or Apple silicon")
        self.architecture = ARCHITECTURES[cpu]
        self.libraries = []
        self.rpaths = []
        self.minimum = self.sdk = None
        self.platform = PLATFORM_MACOS
        self.imports = []
        self.signature = b""
        self._segments = []  # address, memory size, file offset, file size
        self._sections = {}  # name to address, size
        self._bound = {}  # address to imported symbol
        self._chained = {}  # address to target, where pointers are chained
        fixups = []
        at = 32
        for _ in range(count):
            command, size = struct.unpack_from("<2I", content, at)
            if command == LC_SEGMENT_64:
                self._read_segment(at)
            elif command == LC_SYMTAB:
                self._read_imports(at)
            elif command == LC_LOAD_DYLIB:
                self.libraries.append(self._load_command_string(at, 8))
            elif command in OTHER_LIBRARY_COMMANDS:
                self.libraries.append(f"{OTHER_LIBRARY_COMMANDS[command]} {self._load_command_string(at, 8)}")
            elif command == LC_RPATH:
                self.rpaths.append(self._load_command_string(at, 8))
            elif command == LC_VERSION_MIN_MACOSX:
                self.minimum, self.sdk = map(version, struct.unpack_from("<2I", content, at + 8))
            elif command == LC_BUILD_VERSION:
                self.platform, minimum, sdk = struct.unpack_from("<3I", content, at + 8)
                self.minimum, self.sdk = version(minimum), version(sdk)
            elif command == LC_CODE_SIGNATURE:
                offset, length = struct.unpack_from("<2I", content, at + 8)
                self.signature = content[offset:offset + length]
            elif command in (LC_DYLD_INFO_ONLY, LC_DYLD_CHAINED_FIXUPS):
                fixups.append((command, at))
            at += size
        for command, at in fixups:
            if command == LC_DYLD_INFO_ONLY:
                self._read_bindings(*struct.unpack_from("<2I", content, at + 16))
                self._read_bindings(*struct.unpack_from("<2I", content, at + 32))  # the lazy ones
            else:
                self._read_chained_fixups(*struct.unpack_from("<2I", content, at + 8))
        # The symbol table and what the loader really looks up should agree; a symbol in either counts.
        self.imports = sorted({*self.imports, *self._bound.values()})

    @property
    def size_unsigned(self):
        return len(self.content) - len(self.signature)

    def strings(self):
        """Every run of printable bytes that ends in a zero byte, as text."""
        for run in self.content.split(b"\0"):
            tail = run
            for position in range(len(run) - 1, -1, -1):
                if not 0x20 <= run[position] < 0x7F:
                    tail = run[position + 1:]
                    break
            if len(tail) > 3:
                yield tail.decode("ascii")

    def _load_command_string(self, at, name_at):
        offset, = struct.unpack_from("<I", self.content, at + name_at)
        return self.content[at + offset:].split(b"\0", 1)[0].decode()

    def _read_segment(self, at):
        address, memory_size, offset, file_size = struct.unpack_from("<4Q", self.content, at + 24)
        self._segments.append((address, memory_size, offset, file_size))
        count, = struct.unpack_from("<I", self.content, at + 64)
        for number in range(count):
            section = at + 72 + 80 * number
            name = self.content[section:section + 16].rstrip(b"\0").decode()
            self._sections[name] = struct.unpack_from("<2Q", self.content, section + 32)

    def _read_imports(self, at):
        symbols, count, strings, _ = struct.unpack_from("<4I", self.content, at + 8)
        for number in range(count):
            name, kind, _, _, _ = struct.unpack_from("<IBBHQ", self.content, symbols + 16 * number)
            if kind & 0xE0 == 0 and kind & 0x0E == 0 and kind & 1:  # no debugger's entry, undefined, external
                self.imports.append(self.content[strings + name:].split(b"\0", 1)[0].decode())

    def _read_bindings(self, offset, size):
        at, end = offset, offset + size
        segment = place = 0
        symbol = ""

        def number():
            nonlocal at
            value = shift = 0
            while True:
                byte = self.content[at]
                at += 1
                value |= (byte & 0x7F) << shift
                shift += 7
                if byte < 0x80:
                    return value

        def bind(step=0):
            nonlocal place
            self._bound[self._segments[segment][0] + place] = symbol
            place = (place + 8 + step) & 0xFFFFFFFFFFFFFFFF

        while at < end:
            opcode, immediate = self.content[at] & 0xF0, self.content[at] & 0x0F
            at += 1
            if opcode == 0x20 or opcode == 0x60:  # library ordinal, addend
                number()
            elif opcode == 0x40:
                stop = self.content.index(b"\0", at)
                symbol = self.content[at:stop].decode()
                at = stop + 1
            elif opcode == 0x70:
                segment, place = immediate, number()
            elif opcode == 0x80:
                place = (place + number()) & 0xFFFFFFFFFFFFFFFF
            elif opcode == 0x90:
                bind()
            elif opcode == 0xA0:
                bind(number())
            elif opcode == 0xB0:
                bind(8 * immediate)
            elif opcode == 0xC0:
                times, step = number(), number()
                for _ in range(times):
                    bind(step)

    def _read_chained_fixups(self, offset, size):
        data = self.content[offset:offset + size]
        _, starts, imports, names, _, imports_format, _ = struct.unpack_from("<7I", data)
        entry_size = {1: 4, 2: 8, 3: 16}[imports_format]

        def imported(ordinal):
            if imports_format == 3:
                name = struct.unpack_from("<Q", data, imports + entry_size * ordinal)[0] >> 32
            else:
                name = struct.unpack_from("<I", data, imports + entry_size * ordinal)[0] >> 9
            return data[names + name:].split(b"\0", 1)[0].decode()

        base = min(address for address, _, offset, file_size in self._segments if offset == 0 and file_size)
        count, = struct.unpack_from("<I", data, starts)
        for info, in struct.iter_unpack("<I", data[starts + 4:starts + 4 + 4 * count]):
            if info == 0:
                continue
            info += starts
            _, page_size, pointer_format, segment, _, pages = struct.unpack_from("<IHHQIH", data, info)
            if pointer_format not in (2, 6):
                raise NotMachO(f"chained pointers of format {pointer_format} are not known here")
            for page, in struct.iter_unpack("<H", data[info + 22:info + 22 + 2 * pages]):
                if page != 0xFFFF:
                    self._follow_chain(base, base + segment + page, pointer_format, imported)
                segment += page_size

    def _follow_chain(self, base, address, pointer_format, imported):
        while True:
            value = self._raw(address)
            if value >> 63:
                self._bound[address] = imported(value & 0xFFFFFF)
                self._chained[address] = 0
            else:
                target = value & 0xFFFFFFFFF
                self._chained[address] = target + base if pointer_format == 6 else target
            step = value >> 51 & 0xFFF
            if step == 0:
                return
            address += 4 * step

    def _offset(self, address):
        for start, _, offset, file_size in self._segments:
            if start <= address < start + file_size:
                return offset + address - start
        raise NotMachO(f"no byte of the file lies at {address:#x}")

    def _raw(self, address):
        return struct.unpack_from("<Q", self.content, self._offset(address))[0]

    def _pointer(self, address):
        return self._chained.get(address, self._raw(address))

    def _numbers(self, address, count=1):
        return struct.unpack_from(f"<{count}I", self.content, self._offset(address))

    def _string(self, address):
        return self.content[self._offset(address):].split(b"\0", 1)[0].decode()

    def _pointers(self, section):
        address, size = self._sections.get(section, (0, 0))
        return [self._pointer(address + 8 * number) for number in range(size // 8)]

    def _methods(self, address):
        if address == 0:
            return []
        flags, count = self._numbers(address, 2)
        methods = []
        for number in range(count):
            if flags & 0x80000000:
                entry = address + 8 + 12 * number
                name_step, types_step = struct.unpack_from("<2i", self.content, self._offset(entry))
                name = entry + name_step
                if not flags & 0x40000000:
                    name = self._pointer(name)
                types = entry + 4 + types_step
            else:
                entry = address + 8 + 24 * number
                name, types = self._pointer(entry), self._pointer(entry + 8)
            methods.append(Method(self._string(name), self._string(types)))
        return methods

    def _variables(self, address):
        if address == 0:
            return []
        size, count = self._numbers(address, 2)
        entries = [address + 8 + size * number for number in range(count)]
        return [Variable(self._string(self._pointer(entry + 8)), self._string(self._pointer(entry + 16)))
                for entry in entries]

    def _properties(self, address):
        if address == 0:
            return []
        size, count = self._numbers(address, 2)
        entries = [address + 8 + size * number for number in range(count)]
        return [Property(self._string(self._pointer(entry)), self._string(self._pointer(entry + 8)))
                for entry in entries]

    def _protocol_addresses(self, address):
        if address == 0:
            return []
        return [self._pointer(address + 8 + 8 * number) for number in range(self._raw(address))]

    def _protocol(self, address):
        adopted = [self._string(self._pointer(other + 8))
                   for other in self._protocol_addresses(self._pointer(address + 16))]
        required, *others = [self._methods(self._pointer(address + 24 + 8 * number)) for number in range(4)]
        size, = self._numbers(address + 64)
        extended = self._pointer(address + 72) if size > 72 else 0
        if extended:
            required = [Method(method.name, self._string(self._pointer(extended + 8 * number)))
                        for number, method in enumerate(required)]
        return Protocol(self._string(self._pointer(address + 8)), adopted, required,
                        [method.name for methods in others for method in methods],
                        self._properties(self._pointer(address + 56)))

    def protocols(self):
        """By name, those that the file describes."""
        return {protocol.name: protocol for protocol in map(self._protocol, self._pointers("__objc_protolist"))}

    def classes(self):
        """By name, those that the file defines."""
        found = {}
        for address in self._pointers("__objc_classlist"):
            read_only = self._pointer(address + 32) & ~7
            meta_read_only = self._pointer(self._pointer(address) + 32) & ~7
            superclass = self._bound.get(address + 8, "").removeprefix("_OBJC_CLASS_$_")
            one = Class(self._string(self._pointer(read_only + 24)), superclass,
                        self._methods(self._pointer(read_only + 32)), self._methods(self._pointer(meta_read_only + 32)),
                        self._variables(self._pointer(read_only + 48)), self._properties(self._pointer(read_only + 64)),
                        [self._string(self._pointer(protocol + 8))
                         for protocol in self._protocol_addresses(self._pointer(read_only + 40))])
            found[one.name] = one
        return found

    def code_directories(self):
        """What the signature says of the code, one for each kind of digest."""
        if len(self.signature) < 12:
            return []
        magic, _, count = struct.unpack_from(">3I", self.signature)
        if magic != 0xFADE0CC0:
            raise NotMachO("the code signature is not one")
        found = []
        for number in range(count):
            _, at = struct.unpack_from(">2I", self.signature, 12 + 8 * number)
            if struct.unpack_from(">I", self.signature, at)[0] == 0xFADE0C02:
                found.append(self._code_directory(at))
        return found

    def _code_directory(self, at):
        data = self.signature[at:]
        _, _, _, flags, hashes, identifier, _, pages, limit = struct.unpack_from(">9I", data)
        hash_size, hash_type, _, page_bits = data[36:40]
        digest = {SHA1: hashlib.sha1, SHA256: hashlib.sha256}[hash_type]
        page = 1 << page_bits
        match = all(
            digest(self.content[page * number:min(page * (number + 1), limit)]).digest()[:hash_size]
            == data[hashes + hash_size * number:hashes + hash_size * (number + 1)] for number in range(pages))
        return CodeDirectory(flags, hash_type, data[identifier:].split(b"\0", 1)[0].decode(), match and pages > 0)


def version(packed):
    """As text; the third number only where it is not zero."""
    major, minor, patch = packed >> 16, packed >> 8 & 0xFF, packed & 0xFF
    return f"{major}.{minor}.{patch}" if patch else f"{major}.{minor}"
