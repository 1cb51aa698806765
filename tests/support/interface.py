"""Where the controls lie in the window, read from the interface file."""

import xml.etree.ElementTree

from support import REPOSITORY
from support.picture import Area

FILE = REPOSITORY / "resources/MainMenu.xib"


def area_of(rectangle):
    return Area(*(int(float(rectangle.get(name))) for name in ["x", "y", "width", "height"]))


def read():
    """The size of the window's content, the area of every control in it by its label, and the items of every menu."""
    document = xml.etree.ElementTree.parse(FILE)
    window = document.find(".//window")
    size = area_of(window.find("rect[@key='contentRect']"))
    controls = {}
    for control in window.findall("view/subviews/*"):
        frame = area_of(control.find("rect[@key='frame']"))
        # The file counts from the bottom, the screen from the top.
        top = size.height - frame.y - frame.height
        controls[control.get("userLabel")] = Area(frame.x, top, frame.width, frame.height)
    menus = {menu.get("title"): [item.get("title") for item in menu.findall("items/menuItem")]
             for menu in document.findall("./objects/menu/items/menuItem/menu")}
    return (size.width, size.height), controls, menus


WINDOW_SIZE, CONTROLS, MENUS = read()
TITLE = "Quillmark Installer"
CHECKBOX = "Terms Checkbox"
TERMS_LINK = "Terms Link"
PRIVACY_LINK = "Privacy Link"
INSTALL_BUTTON = "Install Button"
FINISHED_LABEL = "Finished Label"  # in the place of the one on how long it takes
ACTIVITY_LOG = "Activity Log Scroll View"
TERMS_CONTROLS = [CHECKBOX, "Terms Label", TERMS_LINK, "And Label", PRIVACY_LINK]
