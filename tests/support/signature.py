"""Signs a copy of the application as somebody with a certificate would, as far as the inspection can tell.

There is no certificate: the signature has both kinds of digest, the flags and the seal of a real one, and an empty
place where Apple's tools put the cryptographic part. The structures are those of xnu's <kern/cs_blobs.h>.
"""

import hashlib
import plistlib
import struct

from inspection.macho import ADHOC, CODE_DIRECTORY, EMBEDDED_SIGNATURE, FAT_MAGIC, HARDENED_RUNTIME

LC_SEGMENT_64, LC_CODE_SIGNATURE = 0x19, 0x1D
CMS_WRAPPER, ENTITLEMENTS = 0xFADE0B01, 0xFADE7171
CODE_DIRECTORY_SLOT, ENTITLEMENTS_SLOT, ALTERNATE_SLOT, CMS_SLOT = 0, 5, 0x1000, 0x10000
VERSION, HEADER_SIZE, PAGE_BITS = 0x20400, 88, 12
TEAM = "ABCDE12345"
DIGESTS = [(1, hashlib.sha1), (2, hashlib.sha256)]  # the older one first, for systems that know no other


def code_directory(code, identifier, flags, kind, digest):
    names = f"{identifier}\0{TEAM}\0".encode()
    team = 0 if flags & ADHOC else HEADER_SIZE + len(identifier) + 1
    pages = [code[at:at + (1 << PAGE_BITS)] for at in range(0, len(code), 1 << PAGE_BITS)]
    size = digest().digest_size
    hashes = HEADER_SIZE + len(names)
    length = hashes + size * len(pages)
    header = struct.pack(">9I4B3I", CODE_DIRECTORY, length, VERSION, flags, hashes, HEADER_SIZE, 0, len(pages),
                         len(code), size, kind, 0, PAGE_BITS, 0, 0, team)
    return header.ljust(HEADER_SIZE, b"\0") + names + b"".join(digest(page).digest() for page in pages)


def superblob(code, identifier, flags, digests, entitlements):
    slots = [CODE_DIRECTORY_SLOT, *range(ALTERNATE_SLOT, ALTERNATE_SLOT + len(digests) - 1)]
    blobs = [(slot, code_directory(code, identifier, flags, *digest)) for slot, digest in zip(slots, digests)]
    if entitlements:
        content = plistlib.dumps(entitlements)
        blobs.append((ENTITLEMENTS_SLOT, struct.pack(">2I", ENTITLEMENTS, 8 + len(content)) + content))
    blobs.append((CMS_SLOT, struct.pack(">2I", CMS_WRAPPER, 8)))
    at = 12 + 8 * len(blobs)
    index = b""
    for slot, blob in blobs:
        index += struct.pack(">2I", slot, at)
        at += len(blob)
    return struct.pack(">3I", EMBEDDED_SIGNATURE, at, len(blobs)) + index + b"".join(blob for _, blob in blobs)


def commands(content):
    """Each load command of a slice: its kind and where it lies."""
    count, = struct.unpack_from("<I", content, 16)
    at = 32
    for _ in range(count):
        kind, size = struct.unpack_from("<2I", content, at)
        yield kind, at
        at += size


def with_place(content):
    """The slice with a load command for its signature, which an unsigned one lacks."""
    content = bytearray(content)
    if LC_CODE_SIGNATURE not in dict(commands(content)):
        content += bytes(-len(content) % 16)
        count, size = struct.unpack_from("<2I", content, 16)
        assert not any(content[32 + size:32 + size + 16]), "no room for a load command"
        struct.pack_into("<4I", content, 32 + size, LC_CODE_SIGNATURE, 16, len(content), 0)
        struct.pack_into("<2I", content, 16, count + 1, size + 16)
    return content


def signed_slice(content, *how):
    content = with_place(content)
    place = dict(commands(content))[LC_CODE_SIGNATURE]
    offset, = struct.unpack_from("<I", content, place + 8)
    length = len(superblob(content[:offset], *how))
    length += -length % 16
    struct.pack_into("<I", content, place + 12, length)
    for kind, at in commands(content):
        if kind == LC_SEGMENT_64 and content[at + 8:at + 24].rstrip(b"\0") == b"__LINKEDIT":
            start, = struct.unpack_from("<Q", content, at + 40)
            size = offset + length - start
            struct.pack_into("<Q", content, at + 32, size + -size % 0x4000)
            struct.pack_into("<Q", content, at + 48, size)
    code = bytes(content[:offset])
    return code + superblob(code, *how).ljust(length, b"\0")


def signed(content, *how):
    """A universal executable, with each of its slices signed."""
    magic, count = struct.unpack_from(">2I", content)
    assert magic == FAT_MAGIC, "not universal"
    header, body = struct.pack(">2I", magic, count), b""
    first = 8 + 20 * count
    for number in range(count):
        cpu, subtype, offset, size, alignment = struct.unpack_from(">5I", content, 8 + 20 * number)
        one = signed_slice(content[offset:offset + size], *how)
        body += bytes(-(first + len(body)) % (1 << alignment))
        header += struct.pack(">5I", cpu, subtype, first + len(body), len(one), alignment)
        body += one
    return header + body


def sign(application, flags=HARDENED_RUNTIME, digests=DIGESTS, entitlements=None):
    executable = application / "Contents/MacOS/Quillmark Installer"
    content = signed(executable.read_bytes(), "com.quillmark.customInstaller", flags, digests, entitlements)
    executable.write_bytes(content)
    seal = application / "Contents/_CodeSignature/CodeResources"
    seal.parent.mkdir(exist_ok=True)
    seal.write_bytes(plistlib.dumps({"files2": {}}))
