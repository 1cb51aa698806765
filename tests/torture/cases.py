"""Random cases: a Mac in some odd state, the installer run on it, and the model's word on what has to come of it.

A case is a dict of what is unlike an ordinary Mac; {} is one on which a managed installation succeeds. So a case can be
made smaller by leaving entries out, and printed, and read back.
"""

import datetime
import os
import plistlib
import random

from support.desktop import Desktop
from support.installer import CRITICAL, Installer
from support.interface import INSTALL_BUTTON
from support.waiting import TooLate, until
from torture import model
from torture.place import Place, assembly, copy_tree, remove_tree, strangers

HEADING = b"SOFTWARE LICENSE AGREEMENT FOR macOS "
APPLICATION = "/Applications/Quillmark.app"
DEFAULTS = {"teamID": "T2", "partnerID": "P1"}
VALUES = [
    "", "A", "with blanks ", "line\nfeeds\n", "100% %@ %s \\n", "caf\u00e9", "\u6771\u4eac", "\U0001f58b", "-dash", "<tag/>&amp;",
    "x" * 4000, 0, 7, -40, 2**31, -2**63, 2**63 - 1, True, False, 1.5, -0.25, b"", b"\0\1\2\377", [], ["a", 7], {}, {"k": ["v"]},
    datetime.datetime(2024, 2, 29, 12, 30), [[[]]],
]
ARGUMENT_VALUES = ["", "A", "two words", "caf\u00e9", "42", "007", "100%@", "x y;z", "'quoted'"]
BROKEN_DEFAULTS = [
    b"", b"\0", b"not a property list {", b"<?xml version=\"1.0\"?><plist>", b"bplist00\xff\xff\xff", b"\xff\xfe\xff",
    b"<plist version=\"1.0\"><dict><key>teamID</key></dict></plist>", b"{" * 2000, b"(" * 50, b"x" * 100000,
]

PLAIN = ["\u00c5sa", "\u6771\u4eac", "O-Brien", "a+b", "100%", "a=b", "a@b", "x~", "a{b,c}", "a^b", "bj\u00f6rn.m", "\u05d3\u05d5\u05d3", "a-rf",
         "a" * 60, "%@", "a!b"]
SPECIAL = [" ", "'", '"', ";", "&", "|", "<", ">", "(", ")", "$x", "$1", "`x`", "*", "?", "[a]", " #", " ~", "!", "$"]


def draw_name(rng):
    """A folder's name, plain or with one to three characters that mean something to a shell.

    Not a backslash: GNUstep takes it for a separator.
    """
    if rng.random() < 0.4:
        return rng.choice(PLAIN)
    return "a" + "".join(rng.choice(SPECIAL) + rng.choice("bcd") for _ in range(rng.choice([1, 1, 2, 3])))


def draw_licence(rng):
    """The text's bytes, as latin-1 so that a case can be printed; None where there is none."""
    if rng.random() < 0.1:
        return None
    ends = [b"\\\n", b"\\\r\n", b" \\\n", b"\n", b"\\"]
    names = [b"Sonoma", b"Ventura", b"Big Sur", b"Monterey", b"big sur", b"Sequoia", b"Tahoe", b"", b"macOS Sonoma", b"Son\xffoma",
             "Caf\u00e9".encode(), b"a/b", b"../WGComponents/Sonoma", b"%@", b"Sonoma ", b"\t", b"Big Sur or macOS Monterey", b"$HOME"]
    lines = [HEADING + rng.choice(names) + rng.choice(ends[:1] * 6 + ends) for _ in range(rng.choice([1, 1, 1, 1, 1, 2, 3, 0]))]
    if rng.random() < 0.1:
        lines.append(HEADING.rstrip() + b"X\\\n")
    rng.shuffle(lines)
    return (b"{\\rtf1\n" + b"".join(lines) + rng.choice([b"", b"}\n", b"macOS\n"])).decode("latin-1")


def draw_values(rng, values):
    """Mostly both, as without both there is no managed run."""
    return {key: rng.choice(values) for key in ["teamID", "partnerID"] if rng.random() < 0.95}


ITEM_KINDS = ["file", "folder", "link to folder", "link to file", "dangling link", "locked", "locked inside", "older", "read-only"]
FOLDER_MODES = [0o555, 0o333, 0o111, 0o000]

DIMENSIONS = {
    "interactive": lambda rng: True,
    "defaults": lambda rng: draw_values(rng, VALUES),
    "arguments": lambda rng: draw_values(rng, ARGUMENT_VALUES),
    "broken defaults": lambda rng: rng.randrange(len(BROKEN_DEFAULTS)),
    "home": draw_name,
    "temporary": lambda rng: rng.choice(["/private/tmp/{}", "/private/var/folders/{}/T", "/private/var/{}"]).format(draw_name(rng)),
    "decoy": lambda rng: rng.choice(["file", "folder"]),
    "staging": lambda rng: rng.choice(ITEM_KINDS),
    "system application": lambda rng: rng.choice(ITEM_KINDS),
    "user application": lambda rng: rng.choice(ITEM_KINDS),
    "older component": lambda rng: rng.choice(ITEM_KINDS[:-1]),
    "applications": lambda rng: rng.choice([*FOLDER_MODES, "read-only"]),
    "user applications": lambda rng: rng.choice([*FOLDER_MODES, "read-only", "missing", "file", "link to folder", "dangling link"]),
    "home mode": lambda rng: rng.choice([0o555, 0o333, 0o711]),
    "component": lambda rng: rng.choice(["missing", "file", "unreadable file", "link to file", "dangling link", "modes", "names",
                                         "deep"]),
    "components": lambda rng: rng.choice(["missing", "file", "link to folder", "dangling link", 0o000, 0o444, 0o333, 0o555]),
    "licence": draw_licence,
    "unreadable licence": lambda rng: True,
    "processor": lambda rng: rng.choice(["x86_64\n", "i386\n", "", "\n", "x86_64", "x86_64\n\n", "X86_64\n", " x86_64\n", "\xff\n",
                                         "arm64e\n"]),
    "relocated": lambda rng: rng.choice(["known", "lost"]),
    "query fails": lambda rng: True,
    "appkit": lambda rng: rng.choice(["1404", "1404.47", "1405", "1343.16", "2575.70"]),
    "resource": lambda rng: rng.choice([(name, what) for name in ["Quillmark.app", "client.up.tunnelblick.sh",
                                                                  "client.down.tunnelblick.sh"]
                                        for what in ["missing", "file", "unreadable"]]),
}


def draw(seed, number):
    """The case of that number: two or three oddities, sometimes many."""
    rng = random.Random(f"{seed}/{number}")
    count = rng.choice([1, 2, 2, 3, 3, 4, 6])
    names = rng.sample(sorted(DIMENSIONS), count)
    # A person costs ten times as much as a managed run.
    for name in ["interactive", "broken defaults"]:
        if name in names and rng.random() < 0.5:
            names.remove(name)
    if "processor" in names and rng.random() < 0.8:
        return {**{name: DIMENSIONS[name](rng) for name in names},
                "licence": (HEADING + rng.choice([b"Big Sur", b"Monterey"]) + b"\\\n").decode()}
    return {name: DIMENSIONS[name](rng) for name in names}


# Making it so

def make_place(case):
    components = case.get("components", "present")
    place = Place(home=case.get("home", "ann"), temporary=case.get("temporary", "/private/var/folders/xx/T"),
                  components=components if components in ("missing", "file") else "present",
                  relocated=case.get("relocated"), query_fails="relocated" in case and "query fails" in case,
                  appkit=case.get("appkit", "2487.0"))
    try:
        spoil(place, case)
    except BaseException:
        place.close()
        raise
    return place


def spoil(place, case):
    """From the inside out, so that a folder's mode is set once all is in it."""
    elsewhere = place.at(f"{place.home}/elsewhere")
    elsewhere.mkdir()
    (elsewhere / "mine").write_text("mine\n")
    write_defaults(place, case)
    if "decoy" in case:
        make_decoy(place, case["decoy"])
    spoil_source(place, case)
    put(place, case.get("older component"), f"{place.temporary}/QuillmarkGuard", ["built-for", "bin"])
    put(place, case.get("staging"), f"{place.home}/Quillmark_Components",
        ["installationHelper.txt", "client.up.tunnelblick.sh", "QuillmarkGuard"])
    put(place, case.get("system application"), APPLICATION, ["old"])
    put(place, case.get("user application"), f"{place.home}{APPLICATION}", ["old"])
    spoil_folder(place, case.get("user applications"), f"{place.home}/Applications")
    spoil_folder(place, case.get("applications"), "/Applications")
    if "home mode" in case:
        place.at(place.home).chmod(case["home mode"])


def write_defaults(place, case):
    file = place.at(f"{place.home}/Library/Preferences/Quillmark Installer.plist")
    if "broken defaults" in case:
        file.write_bytes(BROKEN_DEFAULTS[case["broken defaults"]])
    else:
        file.write_bytes(plistlib.dumps(defaults_file(case)))


def defaults_file(case):
    if "broken defaults" in case or ("interactive" in case and "defaults" not in case):
        return {}
    # In a case that someone looks through, what the arguments give need not be in the file.
    return case.get("defaults", {} if len(case.get("arguments", {})) == 2 else DEFAULTS)


def defaults(case):
    return {**defaults_file(case), **case.get("arguments", {})}


def arguments(case):
    return [word for key, value in case.get("arguments", {}).items() for word in (f"-{key}", value)]


def make_decoy(place, kind):
    """What a shell finds that takes the temporary folder's path for several."""
    path = place.temporary.split(" ")[0]
    if path != place.temporary and not place.at(path).exists() and not place.at(path).is_symlink():
        if kind == "file":
            place.at(path).write_text("decoy\n")
        else:
            place.at(path).mkdir()
            (place.at(path) / "decoy").write_text("decoy\n")


def spoil_source(place, case):
    guards = place.at(f"{place.components}/WGComponents")
    if "component" in case and guards.is_dir():
        for folder in sorted(guards.iterdir()):
            spoil_component(folder / "QuillmarkGuard", case["component"])
    if "components" in case:
        spoil_components(place, case["components"])
    if "licence" in case:
        licence = place.at(assembly.LICENCE)
        licence.unlink()
        if case["licence"] is not None:
            licence.write_bytes(case["licence"].encode("latin-1"))
    licence = place.at(assembly.LICENCE)
    if "unreadable licence" in case and licence.exists():
        licence.chmod(0)
    if "processor" in case:
        uname = place.at(f"{assembly.TOOLS}/uname")
        answer = "".join(f"\\{byte:03o}" for byte in case["processor"].encode("latin-1"))
        uname.write_text(f"#!/bin/sh\nprintf '{answer}'\n")
    if "resource" in case:
        name, what = case["resource"]
        path = place.at(f"{place.bundle}/Contents/Resources/{name}")
        remove_tree(path)
        if what != "missing":
            path.write_text("a file\n")
            path.chmod(0o644 if what == "file" else 0)


def spoil_component(path, kind):
    if kind in ("modes", "names", "deep"):
        if kind == "modes":
            for number, mode in enumerate([0o400, 0o755, 0o666, 0o777, 0o711, 0o640]):
                (path / f"mode {number}").write_text(f"{number}\n")
                (path / f"mode {number}").chmod(mode)
            (path / "folder").mkdir()
            (path / "folder").chmod(0o777)
        elif kind == "names":
            for name in [b"\xff\xfe", b"back\\slash", b"a:b", b"c:", b" ", b"-rf", b"new\nline", "caf\u00e9".encode(), b"x" * 200, b"..."]:
                (path / os.fsdecode(name)).write_bytes(name)
        else:
            (path / "/".join("abcdefgh" * 4)).mkdir(parents=True)
        return
    remove_tree(path)
    if kind.endswith("file"):
        target = path.with_name("real") if kind == "link to file" else path
        target.write_text("a component\n")
        target.chmod(0 if kind == "unreadable file" else 0o640)
    if "link" in kind:
        path.symlink_to("real")


def spoil_components(place, kind):
    path = place.at(place.components)
    if isinstance(kind, int):
        path.chmod(kind)
    elif "link" in kind:
        if kind == "link to folder":
            path.rename(path.with_name("real components"))
        else:
            remove_tree(path)
        path.symlink_to("real components")


def put(place, kind, inside, names):
    """What an earlier run or somebody else left at a path."""
    if kind is None:
        return
    path, elsewhere = place.at(inside), f"{place.home}/elsewhere"
    path.parent.mkdir(parents=True, exist_ok=True)
    if kind == "file":
        path.write_text("a file\n")
    elif "link" in kind:
        path.symlink_to({"link to folder": elsewhere, "link to file": f"{elsewhere}/mine", "dangling link": "nowhere"}[kind])
    elif kind == "older":
        # The same kind of thing, of an earlier release.
        copy_tree(place.at(f"{place.bundle}/Contents/Resources/Quillmark.app")
                  if place.at(f"{place.bundle}/Contents/Resources/Quillmark.app").is_dir() else place.at(elsewhere), path)
        (path / "mine").write_text("mine\n")
    else:
        fill(path, kind, names)
        if kind == "read-only":
            place.options.read_only.append(inside)


def fill(path, kind, names):
    path.mkdir()
    locked = path / "deeper" if kind == "locked inside" else path
    locked.mkdir(exist_ok=True)
    for name in names:
        (locked / name).write_text(f"old {name}\n")
    if kind.startswith("locked"):
        locked.chmod(0o555)


def spoil_folder(place, kind, inside):
    if kind is None:
        return
    path = place.at(inside)
    if isinstance(kind, int):
        path.chmod(kind)
    elif kind == "read-only":
        place.options.read_only.append(inside)
    else:
        remove_tree(path)
        # A place in it that is to be read-only went with it.
        place.options.read_only[:] = [other for other in place.options.read_only if not other.startswith(f"{inside}/")]
        if kind == "file":
            path.write_text("a file\n")
        elif "link" in kind:
            path.symlink_to("elsewhere" if kind == "link to folder" else "nowhere")


# Running it

class Mismatch(Exception):
    """The installer and the model do not agree; the message says where."""


def expected(case, place):
    return model.install(place.before(defaults=defaults(case)))


def run(case, desktop):
    """Runs a case and compares; a Mismatch if the two are not the same."""
    place = make_place(case)
    try:
        after = expected(case, place)
        installer = Installer(place, desktop, arguments(case))
        try:
            use(installer, after)
            left = strangers(installer.session.pid)
        except (TooLate, AssertionError) as error:
            raise Mismatch(f"{error}\n{chr(10).join(installer.error_output.lines)}") from error
        finally:
            installer.close()
        # What a release of several lines adds to an entry of the console is not told apart from what programs print.
        compare(installer.console(), [entry.split("\n")[0] for entry in after.console], "console")
        compare_trees(place.items(), after.items)
        if left:
            raise Mismatch(f"processes are left: {left}")
    finally:
        place.close()


def use(installer, after):
    """What a person does: dismiss an alert, or tick, click, look and close the window."""
    if after.window:
        installer.wait_for_window()
        installer.tick()
        installer.click(INSTALL_BUTTON)
    if after.alert:
        installer.dismiss_alert(CRITICAL)
    elif after.window:
        if after.installed:
            installer.wait_until_installed()
        installer.desktop.close_window(installer.window)
    status = installer.wait_for_end()
    if status != 0:
        raise Mismatch(f"the installer ended with status {status}")


def compare(found, expected, what):
    if found != expected:
        raise Mismatch(f"{what}: {found}\nexpected: {expected}")


def compare_trees(found, expected):
    different = sorted(path for path in found.keys() | expected.keys() if found.get(path) != expected.get(path))
    if different:
        raise Mismatch("\n".join(f"{path}: {show(found.get(path))}, expected {show(expected.get(path))}"
                                 for path in different[:12]))


def show(item):
    if item is None:
        return "nothing"
    return f"{item.kind} {item.mode:04o} {str(item.content or '')[:60]}".rstrip()


def reduce(case, fails, attempts=30):
    """The smallest case that still fails: what can be left out is left out, one entry after another."""
    smaller = True
    while smaller and attempts > 0:
        smaller = False
        for name in sorted(case):
            without = {other: value for other, value in case.items() if other != name}
            attempts -= 1
            if fails(without):
                case, smaller = without, True
                break
            if attempts == 0:
                break
    return case


def fails(case, desktop):
    """Why the case fails, or None."""
    try:
        run(case, desktop)
    except (Mismatch, AssertionError) as mismatch:
        return str(mismatch)
    return None


def open_desktop():
    """Once and for all cases of a worker."""
    desktop = Desktop()
    until(lambda: desktop.windows() == [], "an empty screen")
    return desktop
