"""What several classes have: geometry, which is archived as text, fonts, colours, images and cursors."""

from functools import cache

from interface_compiler.archive import Node

# The name, the size unless the file gives one, and the flags, by which AppKit knows the font's role.
SYSTEM_FONTS = {
    "system": (".AppleSystemUIFont", 13, 0x414),
    "systemBold": (".AppleSystemUIFontBold", 13, 0x818),
    "smallSystem": (".AppleSystemUIFont", 11, 0xC1C),
    "miniSystem": (".AppleSystemUIFont", 9, 0xE1E),
}
NAMED_FONT = 0x10

# Each with the components to draw with where the catalogue has no such name: white, or red, green and blue.
SYSTEM_COLORS = {
    "controlBackgroundColor": "0.6666666667",
    "controlColor": "0.6666666667",
    "controlTextColor": "0",
    "linkColor": "0 0 1",
    "selectedTextBackgroundColor": "0.6666666667",
    "selectedTextColor": "0",
    "textBackgroundColor": "1",
    "textColor": "0",
}
RGB_SPACE, WHITE_SPACE, CATALOG_SPACE = 1, 3, 6


def pair(first, second):
    return f"{{{first}, {second}}}"


def size(element):
    return pair(element.number("width"), element.number("height"))


def origin(element):
    return pair(element.number("x"), element.number("y"))


def rectangle(element):
    return pair(origin(element), size(element))


# One object for all that are equal, as in AppKit. Colours also end with a zero byte there.

@cache
def make_font(name, points, flags):
    return Node("NSFont", NSName=name, NSSize=float(points), NSfFlags=flags)


@cache
def white(component):
    return Node("NSColor", NSColorSpace=WHITE_SPACE, NSWhite=component.encode() + b"\0")


@cache
def system_color(name):
    components = SYSTEM_COLORS[name]
    rgb = Node("NSColor", NSColorSpace=RGB_SPACE, NSRGB=components.encode() + b"\0")
    return Node("NSColor", NSColorSpace=CATALOG_SPACE, NSCatalogName="System", NSColorName=name,
                NSColor=rgb if " " in components else white(components))


@cache
def image(name):
    return Node("NSCustomResource", NSClassName="NSImage", NSResourceName=name)


def cursor(kind, hot_spot):
    return Node("NSCursor", NSCursorType=kind, NSHotSpot=hot_spot)


def font(element):
    if "metaFont" not in element.attributes:
        return make_font(element.required("name"), element.number("size"), NAMED_FONT)
    name, points, flags = element.choice("metaFont", SYSTEM_FONTS)
    return make_font(name, element.number("size", str(points)), flags)


def color(element):
    space = element.choice("colorSpace", {"catalog": CATALOG_SPACE, "calibratedWhite": WHITE_SPACE})
    if space == CATALOG_SPACE:
        element.expect("catalog", "System")
        element.choice("name", SYSTEM_COLORS)
        return system_color(element.attributes["name"])
    element.expect("alpha", "1")
    return white(str(element.number("white")))
