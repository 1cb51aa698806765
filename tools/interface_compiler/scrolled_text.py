"""A scroll view with its clip view and scrollers, and the text view that it scrolls."""

from interface_compiler.archive import Node, dictionary, mutable_array
from interface_compiler.values import color, cursor, size, system_color
from interface_compiler.views import AUTORESIZING, add_subviews, view

BORDER_TYPES = {"none": 0, "line": 1, None: 2, "groove": 3}
# Each with its bit and with what it is where the file does not say.
TEXT_FLAGS = {
    "selectable": (0x1, True),
    "editable": (0x2, True),
    "richText": (0x4, True),
    "importsGraphics": (0x8, True),
    "usesFontPanel": (0x20, False),
    "usesRuler": (0x40, False),
    "continuousSpellChecking": (0x80, False),
    "drawsBackground": (0x100, True),
    "smartInsertDelete": (0x200, False),
    "allowsUndo": (0x400, False),
    "spellingCorrection": (0x4000000, False),
}
ARROW, POINTING_HAND = 0, 13


def scroll_view(element, superview, nib):
    node = view(element, "NSScrollView", superview, nib)
    for name in ("horizontalLineScroll", "horizontalPageScroll", "verticalLineScroll", "verticalPageScroll"):
        element.expect(name, "10", None)
    flags = 0x20800 | element.choice("borderType", BORDER_TYPES)
    flags |= 0x10 * element.flag("hasVerticalScroller", True) | 0x20 * element.flag("hasHorizontalScroller", True)
    flags |= 0x200 * element.flag("autohidesScrollers", False)
    flags |= 0x10000 * element.flag("usesPredominantAxisScrolling", True)
    clip = clip_view(element.child("clipView", "contentView"), node, nib)
    horizontal = scroller(element.child("scroller", "horizontalScroller"), node, nib)
    vertical = scroller(element.child("scroller", "verticalScroller"), node, nib)
    node.update(
        NSsFlags=flags, NSContentView=clip, NSNextKeyView=clip, NSHScroller=horizontal, NSVScroller=vertical,
        NSSubviews=mutable_array([clip, horizontal, vertical]), NSMagnification=1.0, NSMinMagnification=0.25,
        NSMaxMagnification=4.0)
    return node


def clip_view(element, superview, nib):
    node = add_subviews(element, view(element, "NSClipView", superview, nib), nib)
    subviews = node["NSSubviews"]["NS.objects"] if "NSSubviews" in node else []
    if len(subviews) != 1:
        raise element.refusal("it does not hold one view, which it would show a part of")
    # The scroll view puts it in its place, so Interface Builder leaves its autoresizing mask out of the nib.
    node["NSvFlags"] &= ~sum(AUTORESIZING.values())
    node.update(
        NSDocView=subviews[0], NSNextKeyView=subviews[0], NSAutomaticallyAdjustsContentInsets=True, NScvFlags=4,
        NSBGColor=color(element.child("color", "backgroundColor")), NSCursor=cursor(ARROW, "{4, 4}"))
    return node


def scroller(element, superview, nib):
    node = view(element, "NSScroller", superview, nib)
    if element.flag("horizontal", False):
        node["NSsFlags"] = 1
    node.update(
        NSTarget=superview, NSAction="_doScroller:", NSControlTarget=superview, NSControlAction="_doScroller:",
        NSAllowsLogicalLayoutDirection=False)
    return node


def text_view(element, superview, nib):
    node = view(element, "NSTextView", superview, nib)
    minimum = size(element.child("size", "minSize"))
    if minimum != node.get("NSFrameSize"):
        node["NSMinize"] = minimum  # AppKit's spelling; without the key the minimum is the frame's size
    flags = 0xC4 | element.flag("horizontallyResizable", False) | 2 * element.flag("verticallyResizable", False)
    node.update(NSMaxSize=size(element.child("size", "maxSize")), NSTVFlags=flags, NSDelegate=None,
                NSTextContainer=text_container(element, node), NSSharedData=shared_data(element))
    return node


def text_container(element, owner):
    """Of an empty text, and as wide as its view."""
    storage = Node("NSTextStorage", NSString=Node("NSMutableString", **{"NS.string": ""}), NSDelegate=None)
    layout = Node("NSLayoutManager", NSTextStorage=storage, NSLMFlags=102, NSDelegate=None)
    width = float(element.child("rect", "frame").number("width"))
    container = Node("NSTextContainer", NSLayoutManager=layout, NSTextView=owner, NSWidth=width, NSMinWidth=15.0,
                     NSTCFlags=1)
    layout["NSTextContainers"] = mutable_array([container])
    return container


def shared_data(element):
    """What all views of one text share."""
    flags = 0x800 | sum(bit for name, (bit, default) in TEXT_FLAGS.items() if element.flag(name, default))
    return Node(
        "NSTextViewSharedData", NSFlags=flags, NSMoreFlags=1, NSTextCheckingTypes=0, NSTextFinder=None,
        NSPreferredTextFinderStyle=0, NSMarkedAttributes=None, NSDefaultParagraphStyle=None,
        NSAutomaticTextCompletionDisabled=False,
        NSBackgroundColor=color(element.child("color", "backgroundColor")),
        NSInsertionColor=color(element.child("color", "insertionPointColor")),
        NSSelectedAttributes=dictionary(NSBackgroundColor=system_color("selectedTextBackgroundColor"),
                                        NSColor=system_color("selectedTextColor")),
        NSLinkAttributes=dictionary(NSColor=system_color("linkColor"), NSCursor=cursor(POINTING_HAND, "{8, -8}"),
                                    NSUnderline=1))
