"""The window and what is in it. A control is a view with a cell that draws it."""

from interface_compiler.archive import Node, array, dictionary
from interface_compiler.values import attributed_string, color, font, image, pair, rectangle, size, system_color

STYLE_MASK = {"titled": 1, "closable": 2, "miniaturizable": 4, "resizable": 8}
BUFFERED, DEFERRED, KEPT_WHEN_CLOSED = 2, 0x20000000, 0x40000000
TITLE_BAR_HEIGHT = 22  # as of the tools that made such files
UNLIMITED = "{10000000000000, 10000000000000}"
AUTORESIZING = {"flexibleMinX": 1, "widthSizable": 2, "flexibleMaxX": 4, "flexibleMinY": 8, "heightSizable": 16,
                "flexibleMaxY": 32}
HIDDEN = 0x80000000
CONTROL = {"NSEnabled": True, "NSAllowsLogicalLayoutDirection": False}
ALIGNMENTS = {"left": 0, "center": 0x8000000, None: 0x10000000}
TEXT_CELL, IMAGE_CELL = 0x4000000, 0x8000000
NOT_WRAPPING, SCROLLABLE, CLIPPING = 0x40, 0x100000, 0x400
ENDS_EDITING, REFUSES_FIRST_RESPONDER = 0x400000, 0x2000000
# With the name of the image of AppKit's that such a button draws its state with, if it does.
BUTTON_TYPES = {"check": "NSSwitch", "push": None, "square": None}
DRAWS_IMAGE_SOURCE, INSET_2 = 0x100, 0x4000
BEHAVIORS = {"doesNotDimImage": 0x1000, "lightByGray": 0x2000000, "lightByBackground": 0x4000000,
             "lightByContents": 0x8000000, "changeContents": 0x40000000, "pushIn": 0x80000000}
IMAGE_POSITIONS = {None: 0, "left": 0x380000}
BORDER_STYLES = {None: 0, "border": 0x800000}
BEZEL_STYLES = {"rounded": 1, "regularSquare": 2, "shadowlessSquare": 6}
IMAGE_SCALINGS = {None: 0, "proportionallyDown": 0x80}
# What may be dropped on an image view that takes it; every image view lists them.
IMAGE_TYPES = ["Apple PDF pasteboard type", "Apple PICT pasteboard type", "Apple PNG pasteboard type",
               "NSFilenamesPboardType", "NeXT Encapsulated PostScript v1.2 pasteboard type",
               "NeXT TIFF v4.0 pasteboard type"]
BEZEL, VERTICAL_SCROLLER, AUTOHIDES, PREDOMINANT_AXIS = 0x2, 0x10, 0x200, 0x10000
VERTICALLY_RESIZABLE, SELECTABLE, DRAWS_BACKGROUND = 0x2, 0x1, 0x100
ARROW, POINTING_HAND = (Node("NSCursor", NSCursorType=kind, NSHotSpot=spot) for kind, spot in
                        [(0, "{4, 4}"), (13, "{8, -8}")])


class Views:
    """Each method makes the object for an element, in what is above it, and notes it with `add`."""

    def window(self, element, parent):
        element.child("windowPositionMask", "initialPositionMask").expect(
            leftStrut="YES", rightStrut="YES", topStrut="YES", bottomStrut="YES")
        element.expect(allowsToolTipsWhenApplicationIsInactive="NO", animationBehavior="default", restorable="NO",
                       autorecalculatesKeyViewLoop="NO", releasedWhenClosed="NO", visibleAtLaunch="NO")
        least = element.child("value", "minSize")
        least.expect(type="size")
        width, height = least.number("width"), least.number("height")
        node = self.add(element, Node(
            "NSWindowTemplate", NSWindowStyleMask=element.child("windowStyleMask", "styleMask").bits(STYLE_MASK),
            NSWindowBacking=BUFFERED, NSWTFlags=0x780000 | DEFERRED | KEPT_WHEN_CLOSED,
            NSWindowRect=rectangle(element.child("rect", "contentRect")),
            NSScreenRect=rectangle(element.child("rect", "screenRect")), NSWindowTitle=element.string("title"),
            NSWindowClass="NSWindow", NSViewClass=None, NSUserInterfaceItemIdentifier=None,
            NSWindowContentMinSize=pair(width, height), NSMinSize=pair(width, height + TITLE_BAR_HEIGHT),
            NSMaxSize=UNLIMITED, NSMinFullScreenContentSize="{0, 0}", NSMaxFullScreenContentSize="{0, 0}",
            NSWindowIsRestorable=False), parent)
        content = element.child("view", "contentView")
        node["NSWindowView"] = self.add_subviews(content, self.view(content, "NSView", node))

    def view(self, element, class_name, parent, **values):
        """What a view of any class has. The parent of a window's content is no view."""
        superview = None if parent.class_name == "NSWindowTemplate" else parent
        resizing = element.child("autoresizingMask", "autoresizingMask").bits(AUTORESIZING)
        node = self.add(element, Node(class_name, NSvFlags=0x100 | HIDDEN * element.flag("hidden") | resizing,
                                      NSNextResponder=superview, **values), parent)
        if superview is not None:
            node["NSSuperview"] = superview
        frame = rectangle(element.child("rect", "frame"))
        if frame.startswith("{{0, 0}, "):
            node["NSFrameSize"] = frame[len("{{0, 0}, "):-1]
        else:
            node["NSFrame"] = frame
        return node

    def add_subviews(self, element, node):
        makers = {"button": self.button, "imageView": self.image_view, "scrollView": self.scroll_view,
                  "textField": self.text_field, "textView": self.text_view}
        node["NSSubviews"] = array(element.build_all_in("subviews", makers, node))
        return node

    def text_cell(self, element, class_name, owner):
        clipping = element.choice("lineBreakMode", {None: False, "clipping": True})
        flags = TEXT_CELL | NOT_WRAPPING * clipping | SCROLLABLE * element.flag("scrollable")
        flags2 = CLIPPING * clipping | element.choice("alignment", ALIGNMENTS)
        flags2 |= ENDS_EDITING * element.flag("sendsActionOnEndEditing")
        owner["NSCell"] = self.add(element, Node(
            class_name, NSCellFlags=flags, NSCellFlags2=flags2, NSContents=element.string("title"),
            NSSupport=font(element), NSControlView=owner), owner)
        return owner["NSCell"]

    def button(self, element, superview):
        node = self.view(element, "NSButton", superview, **CONTROL)
        part = element.child("buttonCell", "cell")
        part.expect(inset="2")
        source, behavior = part.choice("type", BUTTON_TYPES), part.child("behavior", "behavior").bits(BEHAVIORS)
        cell = self.text_cell(part, "NSButtonCell", node)
        cell.update(
            NSButtonFlags=behavior | DRAWS_IMAGE_SOURCE * bool(source) | INSET_2
            | part.choice("imagePosition", IMAGE_POSITIONS) | part.choice("borderStyle", BORDER_STYLES),
            NSButtonFlags2=part.choice("bezelStyle", BEZEL_STYLES) | part.choice("imageScaling", IMAGE_SCALINGS),
            NSAlternateContents="", NSKeyEquivalent=part.string("keyEquivalent"), NSPeriodicDelay=400,
            NSPeriodicInterval=75)
        if source:
            cell["NSAlternateImage"] = Node("NSButtonImageSource", NSImageName=source)
        title = part.optional("attributedString", "attributedTitle")
        if title:
            cell["NSAttributedTitle"] = attributed_string(title)
        return node

    def text_field(self, element, superview):
        """A label: one that can neither be edited nor selected."""
        node = self.view(element, "NSTextField", superview, **CONTROL, NSTextFieldAlignmentRectInsetsVersion=2)
        part = element.child("textFieldCell", "cell")
        self.text_cell(part, "NSTextFieldCell", node).update(
            NSTextColor=color(part, "textColor"), NSBackgroundColor=color(part, "backgroundColor"))
        return node

    def image_view(self, element, superview):
        node = self.view(element, "NSImageView", superview, **CONTROL, NSEditable=True,
                         NSDragTypes=array(IMAGE_TYPES, "NSMutableSet"))
        part = element.child("imageCell", "cell")
        part.expect(alignment="left", imageScaling="proportionallyUpOrDown", refusesFirstResponder="YES")
        node["NSCell"] = self.add(part, Node(
            "NSImageCell", NSCellFlags=IMAGE_CELL, NSCellFlags2=REFUSES_FIRST_RESPONDER,
            NSContents=image(part.required("image")), NSAlign=0, NSScale=3, NSStyle=0, NSAnimates=False), node)
        return node

    def scroll_view(self, element, superview):
        node = self.view(element, "NSScrollView", superview)
        element.expect(hasHorizontalScroller="NO", autohidesScrollers="YES")
        clip = self.clip_view(element.child("clipView", "contentView"), node)
        horizontal = self.scroller(element.child("scroller", "horizontalScroller"), node)
        vertical = self.scroller(element.child("scroller", "verticalScroller"), node)
        node.update(
            NSsFlags=0x20800 | BEZEL | VERTICAL_SCROLLER | AUTOHIDES | PREDOMINANT_AXIS, NSContentView=clip,
            NSNextKeyView=clip, NSHScroller=horizontal, NSVScroller=vertical, NSMagnification=1.0,
            NSMinMagnification=0.25, NSMaxMagnification=4.0, NSSubviews=array([clip, horizontal, vertical]))
        return node

    def clip_view(self, element, superview):
        node = self.add_subviews(element, self.view(element, "NSClipView", superview))
        document, = node["NSSubviews"]["NS.objects"]
        # The scroll view puts it in its place, so Interface Builder leaves its autoresizing mask out of the nib.
        node["NSvFlags"] &= ~sum(AUTORESIZING.values())
        node.update(NSDocView=document, NSNextKeyView=document, NSAutomaticallyAdjustsContentInsets=True, NScvFlags=4,
                    NSBGColor=color(element, "backgroundColor"), NSCursor=ARROW)
        return node

    def scroller(self, element, superview):
        horizontal = {"NSsFlags": 1} if element.flag("horizontal") else {}
        return self.view(element, "NSScroller", superview, **horizontal, NSTarget=superview, NSAction="_doScroller:",
                         NSControlTarget=superview, NSControlAction="_doScroller:",
                         NSAllowsLogicalLayoutDirection=False)

    def text_view(self, element, superview):
        """One that can be read and selected, and that grows downwards with its text."""
        node = self.view(element, "NSTextView", superview)
        element.expect(editable="NO", richText="NO", importsGraphics="NO", verticallyResizable="YES")
        # The least size has no key: without one it is the frame's.
        width, height = node["NSFrameSize"].strip("{}").split(", ")
        element.child("size", "minSize").expect(width=width, height=height)
        storage = Node("NSTextStorage", NSString=Node("NSMutableString", **{"NS.string": ""}), NSDelegate=None)
        layout = Node("NSLayoutManager", NSTextStorage=storage, NSLMFlags=102, NSDelegate=None)
        container = Node("NSTextContainer", NSLayoutManager=layout, NSTextView=node, NSWidth=float(width),
                         NSMinWidth=15.0, NSTCFlags=1)
        layout["NSTextContainers"] = array([container])
        shared = Node(
            "NSTextViewSharedData", NSFlags=0x800 | SELECTABLE | DRAWS_BACKGROUND, NSMoreFlags=1,
            NSTextCheckingTypes=0, NSTextFinder=None, NSPreferredTextFinderStyle=0, NSMarkedAttributes=None,
            NSDefaultParagraphStyle=None, NSAutomaticTextCompletionDisabled=False,
            NSBackgroundColor=color(element, "backgroundColor"), NSInsertionColor=color(element, "insertionPointColor"),
            NSSelectedAttributes=dictionary(NSBackgroundColor=system_color("selectedTextBackgroundColor"),
                                            NSColor=system_color("selectedTextColor")),
            NSLinkAttributes=dictionary(NSColor=system_color("linkColor"), NSCursor=POINTING_HAND, NSUnderline=1))
        node.update(NSMaxSize=size(element.child("size", "maxSize")), NSTVFlags=0xC4 | VERTICALLY_RESIZABLE,
                    NSDelegate=None, NSTextContainer=container, NSSharedData=shared)
        return node
