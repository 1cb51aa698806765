#!/usr/bin/env python3
"""Runs a command as root of a namespace of users in which less can be done than here. Only root can.

usage: confined.py KINDS COUNT COMMAND [ARGUMENT...]

KINDS are the kinds of namespaces that cannot be made there, such as "user,mnt". COUNT is how many users and groups there
are: with 1 there is only root.
"""

import ctypes
import os
import sys

CLONE_NEWUSER = 0x10000000


def main(kinds, count, *command):
    waiting, unshared = os.pipe()
    confined = os.getpid()
    mapper = os.fork()
    if mapper == 0:
        os.close(unshared)
        map_users(confined, count, waiting)
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(CLONE_NEWUSER) != 0:
        sys.exit(f"confined.py: unshare: {os.strerror(ctypes.get_errno())}")
    os.write(unshared, b"x")
    if os.waitpid(mapper, 0)[1] != 0:
        sys.exit("confined.py: the users cannot be mapped")
    for kind in kinds.split(","):
        with open(f"/proc/sys/user/max_{kind}_namespaces", "w", encoding="ascii") as limit:
            limit.write("0")
    os.execvp(command[0], command)


def map_users(process, count, waiting):
    """In a process that is still outside, which may map more than one user."""
    if os.read(waiting, 1):
        for kind in ["uid_map", "gid_map"]:
            with open(f"/proc/{process}/{kind}", "w", encoding="ascii") as mapping:
                mapping.write(f"0 0 {count}")
        os._exit(0)
    os._exit(1)


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
