"""What several classes have: geometry, which is archived as text, fonts, colours and images."""

from functools import cache

from interface_compiler.archive import Node, dictionary

# The name, the size, and the flags by which AppKit knows the font's role.
SYSTEM_FONTS = {
    "system": (".AppleSystemUIFont", 13.0, 0x414),
    "systemBold": (".AppleSystemUIFontBold", 13.0, 0x818),
    "smallSystem": (".AppleSystemUIFont", 11.0, 0xC1C),
}
# Each with the components to draw with where the catalogue has no such name: white, or red, green and blue.
SYSTEM_COLORS = {
    "controlColor": "0.6666666667", "selectedTextBackgroundColor": "0.6666666667",
    "controlTextColor": "0", "selectedTextColor": "0", "linkColor": "0 0 1",
}
RGB_SPACE, WHITE_SPACE, CATALOG_SPACE = 1, 3, 6


def pair(first, second):
    return f"{{{first}, {second}}}"


def size(element):
    return pair(element.number("width"), element.number("height"))


def rectangle(element):
    return pair(pair(element.number("x"), element.number("y")), size(element))


# One object for all that are equal, as in AppKit. The components of a colour end with a zero byte there.
@cache
def make_font(name, points, flags):
    return Node("NSFont", NSName=name, NSSize=points, NSfFlags=flags)


@cache
def plain_color(components):
    space, key = (RGB_SPACE, "NSRGB") if " " in components else (WHITE_SPACE, "NSWhite")
    return Node("NSColor", NSColorSpace=space, **{key: components.encode() + b"\0"})


@cache
def system_color(name):
    return Node("NSColor", NSColorSpace=CATALOG_SPACE, NSCatalogName="System", NSColorName=name,
                NSColor=plain_color(SYSTEM_COLORS[name]))


@cache
def image(name):
    return Node("NSCustomResource", NSClassName="NSImage", NSResourceName=name)


def font(element, key="font"):
    return make_font(*element.child("font", key).choice("metaFont", SYSTEM_FONTS))


def color(element, key):
    found = element.child("color", key)
    if found.choice("colorSpace", {"catalog": True, "calibratedWhite": False}):
        found.expect(catalog="System")
        return system_color(found.choice("name", {name: name for name in SYSTEM_COLORS}))
    found.expect(white="1", alpha="1")
    return plain_color("1")


def attributed_string(element):
    """Of one run of attributes."""
    fragment = element.child("fragment")
    attributes = fragment.child("attributes")
    attributes.child("integer", "NSUnderline").expect(value="1")
    return Node("NSAttributedString", NSString=fragment.required("content"), NSAttributes=dictionary(
        NSColor=color(attributes, "NSColor"), NSFont=font(attributes, "NSFont"), NSUnderline=1))
