"""What the compiled interface holds for each part that an interface file may have."""

import re
import sys
import unittest

from support import REPOSITORY
from support.nib import Nib

sys.path.insert(0, str(REPOSITORY / "tools"))

from interface_compiler.document import Refusal
from interface_compiler.nib import compile_interface

DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<document type="com.apple.InterfaceBuilder3.Cocoa.XIB" version="3.0" toolsVersion="18122" targetRuntime="MacOSX.Cocoa">
<objects>
<customObject id="-2" customClass="NSApplication"/>
<customObject id="-1" customClass="FirstResponder"/>
<customObject id="-3" customClass="NSObject"/>
<customObject id="delegate" customClass="AppDelegate"/>
{}
</objects>
</document>
"""
WINDOW = """<window title="Title" releasedWhenClosed="YES" allowsToolTipsWhenApplicationIsInactive="NO"
    autorecalculatesKeyViewLoop="NO" deferred="NO" visibleAtLaunch="NO" id="window">
<windowStyleMask key="styleMask"/>
<windowPositionMask key="initialPositionMask" leftStrut="YES" rightStrut="YES" topStrut="YES" bottomStrut="YES"/>
<rect key="contentRect" x="10" y="20" width="300" height="200.5"/>
<rect key="screenRect" x="0.0" y="0.0" width="1024" height="746"/>
<view key="contentView" id="content">
<rect key="frame" x="0.0" y="0.0" width="300" height="200"/>
<subviews>{}</subviews>
</view>
</window>"""
FRAME = '<rect key="frame" x="1" y="2" width="3" height="4"/>'
MASK = '<autoresizingMask key="autoresizingMask"/>'
FONT = '<font key="font" metaFont="system"/>'
LABEL = f"""<textField id="label">{FRAME}{MASK}
<textFieldCell key="cell" alignment="left" title="Text" id="labelCell">{FONT}
<color key="textColor" name="controlTextColor" catalog="System" colorSpace="catalog"/>
<color key="backgroundColor" name="controlColor" catalog="System" colorSpace="catalog"/>
</textFieldCell></textField>"""
BUTTON = f"""<button id="button">{FRAME}{MASK}
<buttonCell key="cell" type="push" alignment="left" id="buttonCell">
<behavior key="behavior"/>{FONT}
</buttonCell></button>"""
IMAGE = f"""<imageView id="image">{FRAME}{MASK}
<imageCell key="cell" alignment="left" imageScaling="proportionallyDown" image="NSApplicationIcon" id="imageCell"/>
</imageView>"""
WHITE = '<color key="{}" white="1" alpha="1" colorSpace="calibratedWhite"/>'
TEXT = f"""<textView selectable="NO" editable="NO" importsGraphics="NO" richText="NO" drawsBackground="NO" id="text">
<rect key="frame" x="0.0" y="0.0" width="80" height="70"/>{WHITE.format("backgroundColor")}
<size key="minSize" width="80" height="70"/><size key="maxSize" width="10000000" height="10000000"/>
{WHITE.format("insertionPointColor")}
</textView>"""
SCROLL = f"""<scrollView hasVerticalScroller="NO" hasHorizontalScroller="NO" usesPredominantAxisScrolling="NO"
    borderType="none" id="scroll">{FRAME}{MASK}
<clipView key="contentView" id="clip">{FRAME}<autoresizingMask key="autoresizingMask" widthSizable="YES"/>
<subviews>{TEXT}</subviews>{WHITE.format("backgroundColor")}</clipView>
<scroller key="horizontalScroller" hidden="YES" horizontal="YES" id="horizontal">{FRAME}</scroller>
<scroller key="verticalScroller" horizontal="NO" id="vertical">{FRAME}</scroller>
</scrollView>"""
ITEM = '<menuItem title="Item" id="item"><modifierMask key="keyEquivalentModifierMask"/></menuItem>'
MENU = '<menu title="Menu" id="menu"><items>{}</items></menu>'


def compiled(objects):
    return Nib(compile_interface(DOCUMENT.format(objects).encode()))


def in_window(views):
    return compiled(WINDOW.format(views))


def replaced(text, old, new):
    assert text.count(old) == 1, (old, text)
    return text.replace(old, new)


class Flags(unittest.TestCase):
    """Each attribute by itself sets its bits and no others."""

    def assert_bits(self, text, class_name, key, rows, at, compile_text=in_window):
        """Rows of attributes, written after the text `at`, and their bits."""
        plain = compile_text(text).only(class_name).get(key, 0)
        for attributes, bits in rows.items():
            with self.subTest(attributes):
                value = compile_text(replaced(text, at, f"{at} {attributes} ")).only(class_name).get(key, 0)
                self.assertEqual(hex((value ^ plain) & 0xFFFFFFFF), hex(bits))

    def test_the_window(self):
        self.assert_bits(WINDOW.format(""), "NSWindowTemplate", "NSWindowStyleMask", {
            'titled="YES"': 1, 'closable="YES"': 2, 'miniaturizable="YES"': 4, 'resizable="YES"': 8},
            '<windowStyleMask key="styleMask"', compiled)
        self.assertEqual(in_window("").only("NSWindowTemplate")["NSWTFlags"], 0x780000)
        for old, new, bits in [('releasedWhenClosed="YES"', 'releasedWhenClosed="NO"', 0x40000000),
                               ('deferred="NO"', "", 0x20000000),
                               ('allowsToolTipsWhenApplicationIsInactive="NO"', "", 0x2000),
                               ('autorecalculatesKeyViewLoop="NO"', "", 0x800)]:
            with self.subTest(new or f"without {old}"):
                flags = compiled(replaced(WINDOW, old, new).format("")).only("NSWindowTemplate")["NSWTFlags"]
                self.assertEqual(flags, 0x780000 | bits)

    def test_a_view(self):
        self.assert_bits(LABEL, "NSTextField", "NSvFlags", {'hidden="YES"': 0x80000000}, "<textField ")
        self.assert_bits(LABEL, "NSTextField", "NSvFlags", {
            'flexibleMinX="YES"': 1, 'widthSizable="YES"': 2, 'flexibleMaxX="YES"': 4, 'flexibleMinY="YES"': 8,
            'heightSizable="YES"': 16, 'flexibleMaxY="YES"': 32}, '<autoresizingMask key="autoresizingMask"')
        self.assertEqual(in_window(LABEL).only("NSTextField")["NSvFlags"], 0x100)

    def test_a_text_cell(self):
        self.assertEqual(in_window(LABEL).only("NSTextFieldCell")["NSCellFlags"], 0x4000000)
        at = '<textFieldCell key="cell"'
        self.assert_bits(LABEL, "NSTextFieldCell", "NSCellFlags", {
            'scrollable="YES"': 0x100000, 'lineBreakMode="clipping"': 0x40, 'editable="NO"': 0,
            'selectable="NO"': 0}, at)
        self.assert_bits(LABEL, "NSTextFieldCell", "NSCellFlags2", {
            'lineBreakMode="charWrapping"': 0x200, 'lineBreakMode="clipping"': 0x400,
            'lineBreakMode="truncatingHead"': 0x600, 'lineBreakMode="truncatingTail"': 0x800,
            'lineBreakMode="truncatingMiddle"': 0xA00, 'sendsActionOnEndEditing="YES"': 0x400000}, at)
        alignments = {'alignment="left"': 0, 'alignment="right"': 0x4000000, 'alignment="center"': 0x8000000,
                      'alignment="justified"': 0xC000000, "": 0x10000000}
        for alignment, bits in alignments.items():
            with self.subTest(alignment):
                cell = in_window(replaced(LABEL, 'alignment="left"', alignment)).only("NSTextFieldCell")
                self.assertEqual(cell["NSCellFlags2"], bits)

    def test_a_button(self):
        self.assertEqual(in_window(BUTTON).only("NSButtonCell")["NSButtonFlags"], 0)
        self.assert_bits(BUTTON, "NSButtonCell", "NSButtonFlags", {
            'pushIn="YES"': 0x80000000, 'changeContents="YES"': 0x40000000, 'changeBackground="YES"': 0x20000000,
            'changeGray="YES"': 0x10000000, 'lightByContents="YES"': 0x8000000, 'lightByBackground="YES"': 0x4000000,
            'lightByGray="YES"': 0x2000000, 'doesNotDimImage="YES"': 0x1000}, '<behavior key="behavior"')
        at = '<buttonCell key="cell"'
        self.assert_bits(BUTTON, "NSButtonCell", "NSButtonFlags", {
            'borderStyle="border"': 0x800000, 'inset="1"': 0x2000, 'inset="2"': 0x4000, 'inset="3"': 0x6000,
            'imagePosition="only"': 0x400000, 'imagePosition="overlaps"': 0x480000, 'imagePosition="left"': 0x380000,
            'imagePosition="leading"': 0x380000, 'imagePosition="right"': 0x280000,
            'imagePosition="trailing"': 0x280000, 'imagePosition="above"': 0x80000,
            'imagePosition="below"': 0x180000}, at)
        self.assert_bits(BUTTON, "NSButtonCell", "NSButtonFlags2", {
            'bezelStyle="rounded"': 1, 'bezelStyle="regularSquare"': 2, 'bezelStyle="shadowlessSquare"': 6,
            'bezelStyle="smallSquare"': 0x22, 'bezelStyle="helpButton"': 0x21,
            'imageScaling="proportionallyUpOrDown"': 0x40, 'imageScaling="proportionallyDown"': 0x80,
            'imageScaling="axesIndependently"': 0xC0}, at)

    def test_a_button_that_shows_its_state_takes_appkits_images(self):
        for kind, name in {"check": "NSSwitch", "radio": "NSRadioButton"}.items():
            with self.subTest(kind):
                cell = in_window(replaced(BUTTON, 'type="push"', f'type="{kind}"')).only("NSButtonCell")
                self.assertEqual(cell["NSButtonFlags"], 0x100)
                self.assertEqual(cell["NSAlternateImage"].class_name, "NSButtonImageSource")
                self.assertEqual(cell["NSAlternateImage"]["NSImageName"], name)
        self.assertNotIn("NSAlternateImage", in_window(BUTTON).only("NSButtonCell"))

    def test_an_image_view(self):
        cell = in_window(IMAGE).only("NSImageCell")
        self.assertEqual((cell["NSCellFlags"], cell["NSCellFlags2"]), (0x8000000, 0))
        at = '<imageCell key="cell"'
        self.assert_bits(IMAGE, "NSImageCell", "NSCellFlags2", {'refusesFirstResponder="YES"': 0x2000000}, at)
        self.assert_bits(IMAGE, "NSImageCell", "NSAlign", {
            'imageAlignment="top"': 1, 'imageAlignment="topLeft"': 2, 'imageAlignment="topRight"': 3,
            'imageAlignment="left"': 4, 'imageAlignment="bottom"': 5, 'imageAlignment="bottomLeft"': 6,
            'imageAlignment="bottomRight"': 7, 'imageAlignment="right"': 8}, at)
        self.assert_bits(IMAGE, "NSImageCell", "NSStyle", {
            'imageFrameStyle="photo"': 1, 'imageFrameStyle="grayBezel"': 2, 'imageFrameStyle="groove"': 3,
            'imageFrameStyle="button"': 4}, at)
        for scaling, value in {"proportionallyDown": 0, "axesIndependently": 1, "none": 2,
                               "proportionallyUpOrDown": 3}.items():
            with self.subTest(scaling):
                cell = in_window(replaced(IMAGE, '"proportionallyDown"', f'"{scaling}"')).only("NSImageCell")
                self.assertEqual(cell["NSScale"], value)

    def test_a_scroll_view(self):
        view = in_window(SCROLL).only("NSScrollView")
        self.assertEqual(view["NSsFlags"], 0x20800)
        for old, new, bits in [('hasVerticalScroller="NO"', 'hasVerticalScroller="YES"', 0x10),
                               ('hasHorizontalScroller="NO"', 'hasHorizontalScroller="YES"', 0x20),
                               ('usesPredominantAxisScrolling="NO"', "", 0x10000),
                               ('borderType="none"', 'borderType="line"', 1), ('borderType="none"', "", 2),
                               ('borderType="none"', 'borderType="groove"', 3),
                               ("<scrollView", '<scrollView autohidesScrollers="YES"', 0x200)]:
            with self.subTest(new or f"without {old}"):
                changed = in_window(replaced(SCROLL, old, new)).only("NSScrollView")["NSsFlags"]
                self.assertEqual(changed, 0x20800 | bits)

    def test_scrollers_and_a_clip_view(self):
        nib = in_window(SCROLL)
        view = nib.only("NSScrollView")
        self.assertEqual((view["NSHScroller"]["NSsFlags"], "NSsFlags" in view["NSVScroller"]), (1, False))
        self.assertEqual(view["NSHScroller"]["NSvFlags"] & 0xFFFFFFFF, 0x80000100)
        self.assertEqual(nib.only("NSClipView")["NSvFlags"], 0x100, "its scroll view resizes it")

    def test_a_text_view(self):
        shared = in_window(SCROLL).only("NSTextView")["NSSharedData"]
        self.assertEqual(shared["NSFlags"], 0x800)
        for attribute, bits in {'selectable="NO"': 1, 'editable="NO"': 2, 'richText="NO"': 4,
                                'importsGraphics="NO"': 8, 'drawsBackground="NO"': 0x100}.items():
            with self.subTest(f"without {attribute}"):
                shared = in_window(replaced(SCROLL, attribute, "")).only("NSTextView")["NSSharedData"]
                self.assertEqual(shared["NSFlags"], 0x800 | bits)
        for attribute, bits in {"usesFontPanel": 0x20, "usesRuler": 0x40, "continuousSpellChecking": 0x80,
                                "smartInsertDelete": 0x200, "allowsUndo": 0x400,
                                "spellingCorrection": 0x4000000}.items():
            with self.subTest(attribute):
                changed = replaced(SCROLL, "<textView", f'<textView {attribute}="YES"')
                self.assertEqual(in_window(changed).only("NSTextView")["NSSharedData"]["NSFlags"], 0x800 | bits)
        self.assertEqual(in_window(SCROLL).only("NSTextView")["NSTVFlags"], 0xC4)
        self.assert_bits(SCROLL, "NSTextView", "NSTVFlags",
                         {'horizontallyResizable="YES"': 1, 'verticallyResizable="YES"': 2}, "<textView")

    def test_a_menu_item(self):
        self.assert_bits(MENU.format(ITEM), "NSMenuItem", "NSKeyEquivModMask", {
            'shift="YES"': 0x20000, 'control="YES"': 0x40000, 'option="YES"': 0x80000, 'command="YES"': 0x100000,
            'option="YES" command="YES"': 0x180000}, '<modifierMask key="keyEquivalentModifierMask"', compiled)


class Keys(unittest.TestCase):
    """What all nibs have for a class that Apple's tools made, and no more."""

    VIEW = {"NSvFlags", "NSNextResponder", "NSSuperview", "NSFrame"}
    CONTROL = VIEW | {"NSEnabled", "NSCell", "NSAllowsLogicalLayoutDirection"}
    CELL = {"NSCellFlags", "NSCellFlags2", "NSContents", "NSControlView"}
    KEYS = {
        "NSIBObjectData": {
            "NSRoot", "NSConnections", "NSVisibleWindows", "NSObjectsKeys", "NSObjectsValues", "NSOidsKeys",
            "NSOidsValues", "NSAccessibilityConnectors", "NSAccessibilityOidsKeys", "NSAccessibilityOidsValues"},
        "NSWindowTemplate": {
            "NSWindowStyleMask", "NSWindowBacking", "NSWTFlags", "NSWindowRect", "NSScreenRect", "NSWindowTitle",
            "NSWindowClass", "NSViewClass", "NSUserInterfaceItemIdentifier", "NSWindowView", "NSMaxSize",
            "NSMinFullScreenContentSize", "NSMaxFullScreenContentSize", "NSWindowIsRestorable"},
        "NSTextField": CONTROL | {"NSTextFieldAlignmentRectInsetsVersion"},
        "NSTextFieldCell": CELL | {"NSSupport", "NSTextColor", "NSBackgroundColor"},
        "NSButton": CONTROL,
        "NSButtonCell": CELL | {
            "NSSupport", "NSButtonFlags", "NSButtonFlags2", "NSKeyEquivalent", "NSAlternateContents", "NSPeriodicDelay",
            "NSPeriodicInterval"},
        "NSImageView": CONTROL,
        "NSImageCell": CELL | {"NSAlign", "NSScale", "NSStyle", "NSAnimates"},
        "NSScrollView": VIEW | {
            "NSsFlags", "NSContentView", "NSNextKeyView", "NSHScroller", "NSVScroller", "NSSubviews", "NSMagnification",
            "NSMinMagnification", "NSMaxMagnification"},
        "NSClipView": VIEW | {
            "NSDocView", "NSNextKeyView", "NSSubviews", "NSAutomaticallyAdjustsContentInsets", "NScvFlags", "NSBGColor",
            "NSCursor"},
        "NSTextView": VIEW - {"NSFrame"} | {
            "NSFrameSize", "NSTextContainer", "NSSharedData", "NSMaxSize", "NSTVFlags", "NSDelegate"},
        "NSMenu": {"NSTitle", "NSMenuItems"},
        "NSMenuItem": {"NSMenu", "NSTitle", "NSKeyEquiv", "NSMnemonicLoc", "NSOnImage", "NSMixedImage"},
    }
    FIXED = {
        "NSWindowTemplate": {"NSWindowBacking": 2, "NSWindowClass": "NSWindow", "NSViewClass": None,
                             "NSMaxSize": "{10000000000000, 10000000000000}"},
        "NSTextField": {"NSTextFieldAlignmentRectInsetsVersion": 2, "NSAllowsLogicalLayoutDirection": False},
        "NSButtonCell": {"NSAlternateContents": "", "NSPeriodicDelay": 400, "NSPeriodicInterval": 75},
        "NSScrollView": {"NSMagnification": 1.0, "NSMinMagnification": 0.25, "NSMaxMagnification": 4.0},
        "NSClipView": {"NScvFlags": 4, "NSAutomaticallyAdjustsContentInsets": True},
        "NSMenuItem": {"NSMnemonicLoc": 0x7FFFFFFF},
    }

    @classmethod
    def setUpClass(cls):
        cls.nib = compiled(WINDOW.format(LABEL + BUTTON + IMAGE + SCROLL) + MENU.format(ITEM))

    def one(self, class_name):
        return self.nib.data if class_name == "NSIBObjectData" else self.nib.only(class_name)

    def test_the_keys_of_each_class(self):
        for class_name, keys in self.KEYS.items():
            with self.subTest(class_name):
                self.assertEqual(self.one(class_name).keys(), keys)

    def test_the_values_that_are_the_same_in_every_object_of_a_class(self):
        for class_name, values in self.FIXED.items():
            with self.subTest(class_name):
                found = self.one(class_name)
                self.assertEqual({key: found[key] for key in values}, values)

    def test_the_text_of_a_text_view(self):
        view = self.one("NSTextView")
        container = view["NSTextContainer"]
        self.assertEqual((container["NSMinWidth"], container["NSTCFlags"]), (15.0, 1))
        self.assertEqual(container["NSLayoutManager"]["NSLMFlags"], 102)
        shared = view["NSSharedData"]
        self.assertEqual((shared["NSMoreFlags"], shared["NSTextCheckingTypes"]), (1, 0))
        for cursor, kind, hot_spot in [(self.one("NSClipView")["NSCursor"], 0, "{4, 4}"),
                                       (shared["NSLinkAttributes"]["NSCursor"], 13, "{8, -8}")]:
            self.assertEqual((cursor["NSCursorType"], cursor["NSHotSpot"]), (kind, hot_spot))

    def test_the_images_of_a_menu_item(self):
        item = self.one("NSMenuItem")
        self.assertEqual([item[key]["NSResourceName"] for key in ("NSOnImage", "NSMixedImage")],
                         ["NSMenuCheckmark", "NSMenuMixedState"])

    def test_the_top_of_the_archive(self):
        self.assertEqual(self.nib.top["IB.systemFontUpdateVersion"], 1)
        self.assertEqual(set(self.nib.top), {"IB.objectdata", "IB.systemFontUpdateVersion"})


class Values(unittest.TestCase):
    def test_flags_are_signed_integers_of_32_bits(self):
        flags = in_window(replaced(LABEL, "<textField ", '<textField hidden="YES" ')).only("NSTextField")["NSvFlags"]
        self.assertEqual(flags, 0x80000100 - (1 << 32))

    def test_rectangles_are_text_and_one_at_the_origin_is_a_size_only(self):
        nib = in_window(LABEL)
        window = nib.only("NSWindowTemplate")
        self.assertEqual(window["NSWindowRect"], "{{10, 20}, {300, 200.5}}")
        self.assertEqual(window["NSScreenRect"], "{{0, 0}, {1024, 746}}")
        self.assertEqual(nib.only("NSTextField")["NSFrame"], "{{1, 2}, {3, 4}}")
        content = window["NSWindowView"]
        self.assertEqual((content["NSFrameSize"], "NSFrame" in content), ("{300, 200}", False))

    def test_the_content_of_a_window_has_no_superview_and_every_other_view_has(self):
        nib = in_window(LABEL)
        content = nib.only("NSWindowTemplate")["NSWindowView"]
        self.assertEqual((content["NSNextResponder"], "NSSuperview" in content), (None, False))
        label, = content["NSSubviews"]
        self.assertEqual((label["NSNextResponder"], label["NSSuperview"]), (content, content))

    def test_a_window_that_is_visible_at_launch_is_listed(self):
        self.assertEqual(in_window("").data["NSVisibleWindows"], [])
        nib = compiled(replaced(WINDOW, 'visibleAtLaunch="NO"', "").format(""))
        self.assertEqual(nib.data["NSVisibleWindows"], [nib.only("NSWindowTemplate")])

    def test_a_window_tells_whether_it_is_restorable(self):
        self.assertIs(in_window("").only("NSWindowTemplate")["NSWindowIsRestorable"], True)
        nib = compiled(replaced(WINDOW, "<window ", '<window restorable="NO" ').format(""))
        self.assertIs(nib.only("NSWindowTemplate")["NSWindowIsRestorable"], False)

    def test_a_cell_and_its_control_know_each_other(self):
        for text, view, cell in [(LABEL, "NSTextField", "NSTextFieldCell"), (BUTTON, "NSButton", "NSButtonCell"),
                                 (IMAGE, "NSImageView", "NSImageCell")]:
            with self.subTest(view):
                nib = in_window(text)
                self.assertEqual(nib.only(view)["NSCell"], nib.only(cell))
                self.assertEqual(nib.only(cell)["NSControlView"], nib.only(view))
                self.assertIs(nib.only(view)["NSEnabled"], True)

    def test_each_object_tells_the_classes_that_it_inherits_from(self):
        nib = in_window(IMAGE + SCROLL)
        for names in (["NSImageView", "NSControl", "NSView", "NSResponder", "NSObject"],
                      ["NSTextView", "NSText", "NSView", "NSResponder", "NSObject"],
                      ["NSImageCell", "NSCell", "NSObject"], ["NSWindowTemplate", "NSObject"]):
            self.assertEqual(nib.only(names[0]).class_names, names)

    def test_fonts(self):
        for attributes, expected in {
                'metaFont="system"': (".AppleSystemUIFont", 13.0, 0x414),
                'metaFont="system" size="15"': (".AppleSystemUIFont", 15.0, 0x414),
                'metaFont="systemBold" size="12"': (".AppleSystemUIFontBold", 12.0, 0x818),
                'metaFont="smallSystem"': (".AppleSystemUIFont", 11.0, 0xC1C),
                'metaFont="miniSystem"': (".AppleSystemUIFont", 9.0, 0xE1E),
                'name="Helvetica-Bold" size="20"': ("Helvetica-Bold", 20.0, 0x10)}.items():
            with self.subTest(attributes):
                font = in_window(replaced(LABEL, 'metaFont="system"', attributes)).only("NSTextFieldCell")["NSSupport"]
                found = font["NSName"], font["NSSize"], font["NSfFlags"]
                self.assertEqual(found, expected)
                self.assertIs(type(found[1]), float)

    def test_colours(self):
        field = in_window(LABEL).only("NSTextFieldCell")
        color = field["NSTextColor"]
        self.assertEqual([color[key] for key in ("NSColorSpace", "NSCatalogName", "NSColorName")],
                         [6, "System", "controlTextColor"])
        self.assertEqual([color["NSColor"][key] for key in ("NSColorSpace", "NSWhite")], [3, b"0\0"])
        white = in_window(SCROLL).only("NSClipView")["NSBGColor"]
        self.assertEqual((white["NSColorSpace"], white["NSWhite"]), (3, b"1\0"))
        blue = in_window(SCROLL).only("NSTextView")["NSSharedData"]["NSLinkAttributes"]["NSColor"]["NSColor"]
        self.assertEqual((blue["NSColorSpace"], blue["NSRGB"]), (1, b"0 0 1\0"))

    def test_a_key_equivalent_may_be_an_attribute_or_text_in_base_64(self):
        for written, key in {'<string key="keyEquivalent" base64-UTF8="YES">\nDQ\n</string>': "\r",
                             '<string key="keyEquivalent">x</string>': "x", "": ""}.items():
            with self.subTest(written):
                nib = in_window(replaced(BUTTON, "</buttonCell>", written + "</buttonCell>"))
                self.assertEqual(nib.only("NSButtonCell")["NSKeyEquivalent"], key)
        nib = in_window(replaced(BUTTON, "<buttonCell ", '<buttonCell keyEquivalent="y" '))
        self.assertEqual(nib.only("NSButtonCell")["NSKeyEquivalent"], "y")

    def test_an_image_view_names_its_image(self):
        image = in_window(IMAGE).only("NSImageCell")["NSContents"]
        self.assertEqual(image.class_name, "NSCustomResource")
        self.assertEqual((image["NSClassName"], image["NSResourceName"]), ("NSImage", "NSApplicationIcon"))

    def test_a_text_view_is_as_wide_as_its_text_and_no_smaller_than_its_least_size(self):
        view = in_window(SCROLL).only("NSTextView")
        self.assertEqual((view["NSTextContainer"]["NSWidth"], view["NSMaxSize"]), (80.0, "{10000000, 10000000}"))
        self.assertNotIn("NSMinize", view)
        view = in_window(replaced(SCROLL, 'key="minSize" width="80"', 'key="minSize" width="60"')).only("NSTextView")
        self.assertEqual(view["NSMinize"], "{60, 70}")

    def test_a_text_view_its_container_layout_and_storage_hang_together(self):
        view = in_window(SCROLL).only("NSTextView")
        container = view["NSTextContainer"]
        layout = container["NSLayoutManager"]
        self.assertEqual((container["NSTextView"], layout["NSTextContainers"]), (view, [container]))
        self.assertEqual(layout["NSTextStorage"]["NSString"]["NS.string"], "")

    def test_a_scroll_view_shows_the_text_and_its_scrollers_move_it(self):
        nib = in_window(SCROLL)
        view, clip, text = (nib.only(name) for name in ("NSScrollView", "NSClipView", "NSTextView"))
        scrollers = [view["NSHScroller"], view["NSVScroller"]]
        self.assertEqual((view["NSContentView"], clip["NSDocView"]), (clip, text))
        self.assertEqual(view["NSSubviews"], [clip, *scrollers])
        for scroller in scrollers:
            self.assertEqual((scroller["NSTarget"], scroller["NSAction"]), (view, "_doScroller:"))

    def test_a_menu_item_with_a_submenu_opens_it(self):
        submenu = '<menu key="submenu" title="More" systemMenu="window" id="submenu"/>'
        nib = compiled(MENU.format(f'<menuItem title="More" id="more">{submenu}</menuItem>'))
        item = nib.only("NSMenuItem")
        self.assertEqual((item["NSTarget"], item["NSAction"]), (item["NSSubmenu"], "submenuAction:"))
        self.assertEqual((item["NSSubmenu"]["NSTitle"], item["NSSubmenu"]["NSName"]), ("More", "_NSWindowsMenu"))

    def test_the_menus_that_appkit_fills_are_called_by_its_names(self):
        for name, expected in {"main": "_NSMainMenu", "apple": "_NSAppleMenu", "services": "_NSServicesMenu",
                               "window": "_NSWindowsMenu", "help": "_NSHelpMenu"}.items():
            with self.subTest(name):
                menu = compiled(replaced(MENU, "<menu ", f'<menu systemMenu="{name}" ').format("")).only("NSMenu")
                self.assertEqual(menu["NSName"], expected)
        self.assertNotIn("NSName", compiled(MENU.format("")).only("NSMenu"))

    def test_an_item_without_modifiers_has_no_mask_and_one_that_does_not_say_has_command(self):
        self.assertNotIn("NSKeyEquivModMask", compiled(MENU.format(ITEM)).only("NSMenuItem"))
        nib = compiled(MENU.format('<menuItem title="Quit" keyEquivalent="q" id="quit"/>'))
        self.assertEqual(nib.only("NSMenuItem")["NSKeyEquivModMask"], 0x100000)

    def test_a_separator_and_an_alternate_item(self):
        separator = compiled(MENU.format('<menuItem isSeparatorItem="YES" id="line"/>')).only("NSMenuItem")
        self.assertEqual((separator["NSIsSeparator"], separator["NSIsDisabled"]), (True, True))
        alternate = compiled(MENU.format(replaced(ITEM, "<menuItem ", '<menuItem alternate="YES" '))).only("NSMenuItem")
        self.assertIs(alternate["NSIsAlternate"], True)
        self.assertNotIn("NSIsAlternate", compiled(MENU.format(ITEM)).only("NSMenuItem"))

    def connected(self, connection):
        nib = in_window(replaced(BUTTON, "</button>", f"<connections>{connection}</connections></button>"))
        connector, = nib.connectors
        self.assertEqual(connector["NSSource"], nib.only("NSButton"))
        return nib, connector

    def test_an_outlet(self):
        nib, connector = self.connected('<outlet property="nextKeyView" destination="content" id="c"/>')
        self.assertEqual(connector.class_name, "NSNibOutletConnector")
        self.assertEqual((connector["NSLabel"], connector["NSDestination"]), ("nextKeyView", nib.only("NSView")))

    def test_an_action_to_the_first_responder_has_no_destination(self):
        _, connector = self.connected('<action selector="copy:" target="-1" id="c"/>')
        self.assertEqual((connector.class_name, connector["NSLabel"]), ("NSNibControlConnector", "copy:"))
        self.assertNotIn("NSDestination", connector)
        nib, connector = self.connected('<action selector="copy:" target="window" id="c"/>')
        self.assertEqual(connector["NSDestination"], nib.only("NSWindowTemplate"))

    def test_a_binding_with_and_without_a_transformer_of_its_value(self):
        binding = '<binding destination="delegate" name="hidden" keyPath="installed" id="c"{}'
        _, connector = self.connected(binding.format("/>"))
        self.assertEqual([connector[key] for key in ("NSBinding", "NSKeyPath", "NSLabel")],
                         ["hidden", "installed", "hidden: installed"])
        self.assertEqual(connector["NSNibBindingConnectorVersion"], 2)
        self.assertEqual(connector["NSDestination"]["NSClassName"], "AppDelegate")
        self.assertNotIn("NSOptions", connector)
        _, connector = self.connected(binding.format(
            '><dictionary key="options"><string key="NSValueTransformerName">NSNegateBoolean</string></dictionary>'
            '</binding>'))
        self.assertEqual(connector["NSOptions"], {"NSValueTransformerName": "NSNegateBoolean"})

    def test_outlets_are_connected_before_actions_and_those_before_bindings(self):
        nib = in_window(replaced(BUTTON, "</button>", """<connections>
            <binding destination="delegate" name="hidden" keyPath="installed" id="c1"/>
            <action selector="copy:" target="-1" id="c2"/>
            <outlet property="nextKeyView" destination="content" id="c3"/></connections></button>"""))
        self.assertEqual([connector.class_name for connector in nib.connectors],
                         ["NSNibOutletConnector", "NSNibControlConnector", "NSNibBindingConnector"])

    def test_a_description_for_voiceover(self):
        nib = in_window(replaced(LABEL, "</textField>", '<accessibility description="Spoken"/></textField>'))
        connector, = nib.spoken
        self.assertEqual(connector["AXDestinationArchiveKey"], nib.only("NSTextField"))
        self.assertEqual([connector["AXAttributeTypeArchiveKey"], connector["AXAttributeValueArchiveKey"]],
                         ["AXDescription", "Spoken"])


class Refusals(unittest.TestCase):
    def test_a_file_without_objects_or_without_an_owner(self):
        for text, reason in {'<document type="com.apple.InterfaceBuilder3.Cocoa.XIB" version="3.0"'
                             ' targetRuntime="MacOSX.Cocoa"/>': "it has no <objects>",
                             replaced(DOCUMENT.format(""), '<customObject id="-2" customClass="NSApplication"/>', ""):
                             "it has no File's Owner"}.items():
            with self.assertRaisesRegex(Refusal, f"<document>: {reason}"):
                compile_interface(text.encode())

    def test_what_no_nib_could_hold(self):
        for text, old, new, reason in [
                (BUTTON, FONT, f'{FONT}<string key="keyEquivalent" base64-UTF8="YES">D*</string>',
                 '"D*" is no text in base 64'),
                (BUTTON, "<buttonCell ", '<buttonCell inset="0.5" ', 'inset="0.5" is not known'),
                (LABEL, "<textFieldCell ", '<textFieldCell editable="YES" ', 'editable="YES" is not known'),
                (IMAGE, ' image="NSApplicationIcon"', "", '"image" is missing'),
                (SCROLL, TEXT, "", "it does not hold one view"),
                (SCROLL, "</scrollView>", f"<subviews>{LABEL}</subviews></scrollView>",
                 "<subviews>: this element is not known here"),
                (BUTTON, "</button>", "<connections/><connections/></button>",
                 "<connections>: this element is not known here"),
                (SCROLL, 'key="minSize" width="80"', 'key="minSize" width="1e3"', 'width="1e3" is no number')]:
            with self.subTest(reason), self.assertRaisesRegex(Refusal, re.escape(reason)):
                in_window(replaced(text, old, new))
