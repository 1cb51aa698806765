"""Menus and their items."""

from interface_compiler.archive import Node, mutable_array
from interface_compiler.values import image

# By this name AppKit knows which menu to put its own items into.
SYSTEM_MENUS = {
    "main": "_NSMainMenu",
    "apple": "_NSAppleMenu",
    "services": "_NSServicesMenu",
    "window": "_NSWindowsMenu",
    "help": "_NSHelpMenu",
    None: None,
}
MODIFIERS = {"shift": 1 << 17, "control": 1 << 18, "option": 1 << 19, "command": 1 << 20}
NO_MNEMONIC = 0x7FFFFFFF


def menu(element, parent, nib):
    items = []
    node = nib.add(element, Node("NSMenu", NSTitle=element.string("title"), NSMenuItems=mutable_array(items)), parent)
    name = element.choice("systemMenu", SYSTEM_MENUS)
    if name:
        node["NSName"] = name
    for item in element.all_in("items"):
        if item.tag != "menuItem":
            raise item.unknown()
        items.append(menu_item(item, node, nib))
    return node


def menu_item(element, parent, nib):
    node = nib.add(element, Node(
        "NSMenuItem", NSMenu=parent, NSTitle=element.string("title"), NSKeyEquiv=element.string("keyEquivalent"),
        NSMnemonicLoc=NO_MNEMONIC, NSOnImage=image("NSMenuCheckmark"), NSMixedImage=image("NSMenuMixedState")), parent)
    if element.flag("isSeparatorItem", False):
        node.update(NSIsSeparator=True, NSIsDisabled=True)
        return node
    mask = element.optional("modifierMask", "keyEquivalentModifierMask")
    modifiers = mask.bits(MODIFIERS) if mask else MODIFIERS["command"]
    if modifiers:
        node["NSKeyEquivModMask"] = modifiers
    if element.flag("alternate", False):
        node["NSIsAlternate"] = True
    submenu = element.optional("menu", "submenu")
    if submenu:
        made = menu(submenu, node, nib)
        node.update(NSSubmenu=made, NSTarget=made, NSAction="submenuAction:")
    return node
