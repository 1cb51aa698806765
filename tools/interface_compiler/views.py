"""Windows, and what every view has."""

from interface_compiler.archive import Node, mutable_array
from interface_compiler.values import origin, rectangle, size

STYLE_MASK = {"titled": 1, "closable": 2, "miniaturizable": 4, "resizable": 8}
STRUTS = {"leftStrut": 1, "rightStrut": 2, "topStrut": 4, "bottomStrut": 8}
AUTORESIZING = {"flexibleMinX": 1, "widthSizable": 2, "flexibleMaxX": 4, "flexibleMinY": 8, "heightSizable": 16,
                "flexibleMaxY": 32}
BUFFERED = 2
UNLIMITED = "{10000000000000, 10000000000000}"


def window(element, parent, nib):
    # The position's flags are known of a window that keeps its place relative to all four edges of the screen.
    position = element.child("windowPositionMask", "initialPositionMask")
    if position.bits(STRUTS) != sum(STRUTS.values()):
        raise position.refusal("only all four struts together are known")
    element.expect("animationBehavior", "default", None)
    flags = 0x780000
    flags |= 0x800 * element.flag("autorecalculatesKeyViewLoop", True)
    flags |= 0x2000 * element.flag("allowsToolTipsWhenApplicationIsInactive", True)
    flags |= 0x20000000 * element.flag("deferred", True)
    flags |= 0x40000000 * (not element.flag("releasedWhenClosed", True))
    node = nib.add(element, Node(
        "NSWindowTemplate", NSWindowStyleMask=element.child("windowStyleMask", "styleMask").bits(STYLE_MASK),
        NSWindowBacking=BUFFERED, NSWTFlags=flags, NSWindowRect=rectangle(element.child("rect", "contentRect")),
        NSScreenRect=rectangle(element.child("rect", "screenRect")), NSWindowTitle=element.string("title"),
        NSWindowClass="NSWindow", NSViewClass=None, NSUserInterfaceItemIdentifier=None, NSMaxSize=UNLIMITED,
        NSMinFullScreenContentSize="{0, 0}", NSMaxFullScreenContentSize="{0, 0}",
        NSWindowIsRestorable=element.flag("restorable", True)), parent)
    if element.flag("visibleAtLaunch", True):
        nib.visible_windows.append(node)
    content = element.child("view", "contentView")
    node["NSWindowView"] = add_subviews(content, view(content, "NSView", node, nib, is_content=True), nib)
    return node


def view(element, class_name, parent, nib, is_content=False):
    """What a view of any class has. The parent of a window's content is no view."""
    superview = None if is_content else parent
    flags = 0x100 | 0x80000000 * element.flag("hidden", False)
    autoresizing = element.optional("autoresizingMask", "autoresizingMask")
    if autoresizing:
        flags |= autoresizing.bits(AUTORESIZING)
    node = nib.add(element, Node(class_name, NSvFlags=flags, NSNextResponder=superview), parent)
    if superview is not None:
        node["NSSuperview"] = superview
    frame = element.child("rect", "frame")
    if origin(frame) == "{0, 0}":
        node["NSFrameSize"] = size(frame)
    else:
        node["NSFrame"] = rectangle(frame)
    return node


def add_subviews(element, node, nib):
    subviews = [nib.build_view(subview, node) for subview in element.all_in("subviews")]
    if subviews:
        node["NSSubviews"] = mutable_array(subviews)
    return node


def plain_view(element, parent, nib):
    return add_subviews(element, view(element, "NSView", parent, nib), nib)
