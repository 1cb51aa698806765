"""Withholds system calls that Debian 12's proot does not know.

proot leaves the path in such a call as it is, so that it leads to the host instead of the root. When the kernel answers
ENOSYS, the C library falls back on the older call, which proot does know.
"""

import ctypes
import errno
import os
import platform
import struct

# statx, faccessat2, openat2, renameat2, execveat, fchmodat2
ARCHITECTURES = {
    "x86_64": (0xC000003E, [332, 439, 437, 316, 322, 452]),
    "aarch64": (0xC00000B7, [291, 439, 437, 276, 281, 452]),
}

PR_SET_SECCOMP = 22
PR_SET_NO_NEW_PRIVS = 38
SECCOMP_MODE_FILTER = 2
SECCOMP_RET_ERRNO = 0x00050000
SECCOMP_RET_ALLOW = 0x7FFF0000
LOAD_WORD = 0x20
JUMP_IF_EQUAL = 0x15
RETURN = 0x06
OFFSET_OF_NUMBER = 0
OFFSET_OF_ARCHITECTURE = 4


class Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("instructions", ctypes.c_char_p)]


def withhold():
    """Makes the calls answer ENOSYS in this process and in all that it starts; for good."""
    if platform.machine() not in ARCHITECTURES:
        return
    architecture, calls = ARCHITECTURES[platform.machine()]
    instructions = [
        instruction(LOAD_WORD, OFFSET_OF_ARCHITECTURE),
        instruction(JUMP_IF_EQUAL, architecture, on_true=1),
        instruction(RETURN, SECCOMP_RET_ALLOW),
        instruction(LOAD_WORD, OFFSET_OF_NUMBER),
    ]
    for call in calls:
        instructions.append(instruction(JUMP_IF_EQUAL, call, on_false=1))
        instructions.append(instruction(RETURN, SECCOMP_RET_ERRNO | errno.ENOSYS))
    instructions.append(instruction(RETURN, SECCOMP_RET_ALLOW))

    program = Program(len(instructions), b"".join(instructions))
    libc = ctypes.CDLL(None, use_errno=True)
    for arguments in [(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), (PR_SET_SECCOMP, SECCOMP_MODE_FILTER, ctypes.byref(program))]:
        if libc.prctl(*arguments) != 0:
            raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


def instruction(code, value, on_true=0, on_false=0):
    return struct.pack("HBBI", code, on_true, on_false, value)
