"""Buttons, text fields and image views: each is a view with a cell that draws it."""

from interface_compiler.archive import Node
from interface_compiler.values import color, font, image
from interface_compiler.views import view

ALIGNMENTS = {"left": 0, "right": 0x4000000, "center": 0x8000000, "justified": 0xC000000, None: 0x10000000}
LINE_BREAK_MODES = {None: 0, "charWrapping": 0x200, "clipping": 0x400, "truncatingHead": 0x600,
                    "truncatingTail": 0x800, "truncatingMiddle": 0xA00}
TEXT_CELL, IMAGE_CELL = 0x4000000, 0x8000000
NOT_WRAPPING, SCROLLABLE = 0x40, 0x100000
ENDS_EDITING, REFUSES_FIRST_RESPONDER = 0x400000, 0x2000000

# With the name of the image of AppKit's that such a button draws its state with, if it does.
BUTTON_TYPES = {"check": "NSSwitch", "radio": "NSRadioButton",
                **dict.fromkeys(["push", "square", "bevel", "smallSquare", "help", "roundRect"])}
DRAWS_IMAGE_SOURCE = 0x100
BEHAVIORS = {"doesNotDimImage": 0x1000, "lightByGray": 0x2000000, "lightByBackground": 0x4000000,
             "lightByContents": 0x8000000, "changeGray": 0x10000000, "changeBackground": 0x20000000,
             "changeContents": 0x40000000, "pushIn": 0x80000000}
IMAGE_POSITIONS = {None: 0, "only": 0x400000, "left": 0x380000, "right": 0x280000, "below": 0x180000,
                   "above": 0x80000, "overlaps": 0x480000, "leading": 0x380000, "trailing": 0x280000}
BORDER_STYLES = {None: 0, "border": 0x800000}
BEZEL_STYLES = {None: 0, "rounded": 1, "regularSquare": 2, "shadowlessSquare": 6, "smallSquare": 0x22,
                "helpButton": 0x21}
BUTTON_IMAGE_SCALINGS = {None: 0, "proportionallyUpOrDown": 0x40, "proportionallyDown": 0x80,
                         "axesIndependently": 0xC0}
INSETS = {None: 0, "1": 0x2000, "2": 0x4000, "3": 0x6000}
# How long a continuous button waits, and how long between two actions, in milliseconds.
PERIODIC_DELAY, PERIODIC_INTERVAL = 400, 75

IMAGE_ALIGNMENTS = {None: 0, "top": 1, "topLeft": 2, "topRight": 3, "left": 4, "bottom": 5, "bottomLeft": 6,
                    "bottomRight": 7, "right": 8}
IMAGE_SCALINGS = {"proportionallyDown": 0, "axesIndependently": 1, "none": 2, "proportionallyUpOrDown": 3}
IMAGE_FRAME_STYLES = {None: 0, "photo": 1, "grayBezel": 2, "groove": 3, "button": 4}


def control(element, class_name, superview, nib):
    node = view(element, class_name, superview, nib)
    node.update(NSEnabled=True, NSAllowsLogicalLayoutDirection=False)
    return node


def add_cell(element, node, owner, nib):
    node["NSControlView"] = owner
    owner["NSCell"] = nib.add(element, node, owner)
    return node


def text_cell(element, class_name, owner, nib):
    line_break = element.choice("lineBreakMode", LINE_BREAK_MODES)
    flags = TEXT_CELL | NOT_WRAPPING * bool(line_break) | SCROLLABLE * element.flag("scrollable", False)
    flags2 = line_break | element.choice("alignment", ALIGNMENTS)
    flags2 |= ENDS_EDITING * element.flag("sendsActionOnEndEditing", False)
    return add_cell(element, Node(
        class_name, NSCellFlags=flags, NSCellFlags2=flags2, NSContents=element.string("title"),
        NSSupport=font(element.child("font", "font"))), owner, nib)


def button(element, superview, nib):
    node = control(element, "NSButton", superview, nib)
    part = element.child("buttonCell", "cell")
    cell = text_cell(part, "NSButtonCell", node, nib)
    flags = part.child("behavior", "behavior").bits(BEHAVIORS)
    flags |= part.choice("imagePosition", IMAGE_POSITIONS) | part.choice("borderStyle", BORDER_STYLES)
    flags |= part.choice("inset", INSETS)
    source = part.choice("type", BUTTON_TYPES)
    if source:
        flags |= DRAWS_IMAGE_SOURCE
        cell["NSAlternateImage"] = Node("NSButtonImageSource", NSImageName=source)
    cell.update(
        NSButtonFlags=flags,
        NSButtonFlags2=part.choice("bezelStyle", BEZEL_STYLES) | part.choice("imageScaling", BUTTON_IMAGE_SCALINGS),
        NSAlternateContents="", NSKeyEquivalent=part.string("keyEquivalent"),
        NSPeriodicDelay=PERIODIC_DELAY, NSPeriodicInterval=PERIODIC_INTERVAL)
    return node


def text_field(element, superview, nib):
    """A label: one that can neither be edited nor selected."""
    node = control(element, "NSTextField", superview, nib)
    node["NSTextFieldAlignmentRectInsetsVersion"] = 2
    part = element.child("textFieldCell", "cell")
    for name in ("editable", "selectable"):
        part.expect(name, "NO", None)
    cell = text_cell(part, "NSTextFieldCell", node, nib)
    cell.update(NSTextColor=color(part.child("color", "textColor")),
                NSBackgroundColor=color(part.child("color", "backgroundColor")))
    return node


def image_view(element, superview, nib):
    node = control(element, "NSImageView", superview, nib)
    part = element.child("imageCell", "cell")
    flags2 = part.choice("alignment", ALIGNMENTS)
    flags2 |= REFUSES_FIRST_RESPONDER * part.flag("refusesFirstResponder", False)
    add_cell(part, Node(
        "NSImageCell", NSCellFlags=IMAGE_CELL, NSCellFlags2=flags2, NSContents=image(part.required("image")),
        NSAlign=part.choice("imageAlignment", IMAGE_ALIGNMENTS), NSScale=part.choice("imageScaling", IMAGE_SCALINGS),
        NSStyle=part.choice("imageFrameStyle", IMAGE_FRAME_STYLES), NSAnimates=False), node, nib)
    return node
