"""An interface file as a tree of elements that give each part away once, so that what is left over is not known."""

import base64


class Refusal(Exception):
    """The file cannot be compiled, because of an element that is told as it stands there."""


class Element:
    def __init__(self, read):
        self.name = "<" + " ".join([read.tag, *(f'{name}="{value}"' for name, value in read.items())]) + ">"
        self.tag, self.key = read.tag, read.get("key")
        self.attributes = {name: value for name, value in read.items() if name != "key"}  # that nobody has asked for
        self.children = [Element(child) for child in read]  # that nobody has asked for
        self.known = []
        self.text = "".join([read.text or "", *(child.tail or "" for child in read)])

    def refusal(self, reason):
        return Refusal(f"{self.name}: {reason}")

    def required(self, name):
        if name not in self.attributes:
            raise self.refusal(f'the attribute "{name}" is missing')
        return self.attributes.pop(name)

    def choice(self, name, table):
        """What the table has for the attribute's value, or under None if the attribute may be absent and is."""
        value = self.attributes.pop(name, None) if None in table else self.required(name)
        if value not in table:
            raise self.refusal(f'{name}="{value}" is not known')
        return table[value]

    def expect(self, **values):
        """Refuses any other value of the attributes."""
        for name, value in values.items():
            self.choice(name, {value: value})

    def flag(self, name):
        return self.choice(name, {"YES": True, "NO": False, None: False})

    def bits(self, table):
        """The bits of all attributes that are YES."""
        return sum(bit for name, bit in table.items() if self.flag(name))

    def number(self, name):
        """A whole one, or the 0.0 that Interface Builder writes for an origin."""
        value = self.required(name).removesuffix(".0")
        if not value.removeprefix("-").isdecimal():
            raise self.refusal(f'{name}="{value}" is no number')
        return int(value)

    def string(self, name):
        """A text, which Interface Builder writes as an attribute, or as an element if an attribute would garble it."""
        element = self.optional("string", name)
        if element is None:
            return self.attributes.pop(name, "")
        text, element.text = element.text, ""
        return base64.b64decode(text.strip() + "==").decode() if element.flag("base64-UTF8") else text

    def optional(self, tag, key=None):
        for element in self.children:
            if (element.tag, element.key) == (tag, key):
                self.children.remove(element)
                self.known.append(element)
                return element
        return None

    def child(self, tag, key=None):
        element = self.optional(tag, key)
        if element is None:
            raise self.refusal(f"it has no <{tag}>" if key is None else f'it has no <{tag} key="{key}">')
        return element

    def all_in(self, tag):
        """The elements that the one of this tag holds, if there is one."""
        container = self.optional(tag)
        if container is None:
            return []
        container.known, container.children = container.children, []
        return container.known

    def build_all_in(self, tag, makers, parent):
        return [element.choose(makers)(element, parent) for element in self.all_in(tag)]

    def choose(self, table):
        """What the table has for the element's tag."""
        if self.tag not in table:
            raise self.refusal("this element is not known here")
        return table[self.tag]

    def refuse_leftovers(self):
        for element in self.children:
            element.choose({})
        for name, value in self.attributes.items():
            raise self.refusal(f'the attribute {name}="{value}" is not known')
        if self.text.strip():
            raise self.refusal(f'the text "{self.text.strip()}" is not known')
        for element in self.known:
            element.refuse_leftovers()
