"""An interface file as a tree of elements that know what has been read of them, so that nothing is dropped silently."""

import base64
import re
from xml.parsers import expat

# More digits than these no coordinate has, and some would not survive a float.
NUMBER = re.compile(r"-?[0-9]{1,9}(\.[0-9]{1,18})?")
# Of the elements that lie in one another. An interface has two dozen; Python runs out of stack at some hundreds.
MOST_LEVELS = 100


class Refusal(Exception):
    """The file cannot be compiled, because of what stands in this line of it."""

    def __init__(self, line, reason):
        super().__init__(reason)
        self.line = line


def parse(content):
    """The root element of the file, whose content is given as bytes."""
    # Interface Builder writes UTF-8, whatever a declaration says; expat would follow a byte order mark.
    try:
        content.decode()
    except UnicodeDecodeError as error:
        raise Refusal(content.count(b"\n", 0, error.start) + 1, "this is not UTF-8") from None
    above, roots = [], []
    parser = expat.ParserCreate("UTF-8")
    parser.buffer_text = True

    def document_type(*_):
        # It could define what the file does not show: entities, other files, attributes.
        raise Refusal(parser.CurrentLineNumber, "a document type is not known here")

    def start(tag, attributes):
        element = Element(tag, attributes, parser.CurrentLineNumber)
        if len(above) == MOST_LEVELS:
            raise element.refusal("it lies too deep")
        (above[-1].children if above else roots).append(element)
        above.append(element)

    def text(data):
        above[-1].text += data

    parser.StartDoctypeDeclHandler = document_type
    parser.StartElementHandler = start
    parser.EndElementHandler = lambda tag: above.pop()
    parser.CharacterDataHandler = text
    try:
        parser.Parse(content, True)
    except expat.ExpatError as error:
        raise Refusal(error.lineno, f"this is no XML: {expat.ErrorString(error.code)}") from None
    return roots[0]


class Element:
    def __init__(self, tag, attributes, line):
        self.tag = tag
        self.attributes = attributes
        self.line = line
        self.text = ""
        self.children = []
        self.unread = set(attributes)
        self.known = False  # whether anybody has asked for the element
        self.text_known = False

    def __str__(self):
        names = "".join(f' {name}="{self.attributes[name]}"' for name in ("id", "key") if name in self.attributes)
        return f"<{self.tag}{names}>"

    def refusal(self, reason):
        return Refusal(self.line, f"{self}: {reason}")

    def unknown(self):
        return self.refusal("this element is not known here")

    # Attributes

    def get(self, name, default=None):
        self.unread.discard(name)
        return self.attributes.get(name, default)

    def choice(self, name, table):
        """What the table has for the attribute's value, or under None if the attribute is absent."""
        value = self.get(name)
        if value in table:
            return table[value]
        if value is None:
            raise self.refusal(f'the attribute "{name}" is missing')
        raise self.refusal(f'{name}="{value}" is not known')

    def expect(self, name, *values):
        """Refuses any other value, None being that the attribute is absent."""
        self.choice(name, dict.fromkeys(values))

    def required(self, name):
        if name not in self.attributes:
            raise self.refusal(f'the attribute "{name}" is missing')
        return self.get(name)

    def flag(self, name, default):
        return self.choice(name, {"YES": True, "NO": False, None: default})

    def bits(self, table):
        """The bits of all attributes that are YES."""
        return sum(bit for name, bit in table.items() if self.flag(name, False))

    def number(self, name, default=None):
        value = self.required(name) if default is None else self.get(name, default)
        if not NUMBER.fullmatch(value):
            raise self.refusal(f'{name}="{value}" is no number')
        return int(float(value)) if float(value).is_integer() else float(value)

    def string(self, name):
        """A text, which Interface Builder writes as an attribute, or as an element if an attribute would garble it."""
        element = self.optional("string", name)
        if element is None:
            return self.get(name, "")
        element.text_known = True
        if not element.flag("base64-UTF8", False):
            return element.text
        digits = "".join(element.text.split())
        try:
            return base64.b64decode(digits + "=" * (-len(digits) % 4), validate=True).decode()
        except ValueError:
            raise element.refusal(f'"{digits}" is no text in base 64') from None

    # Elements below

    def optional(self, tag, key=None):
        for element in self.children:
            if element.tag == tag and element.attributes.get("key") == key:
                element.known = True
                element.get("key")
                return element
        return None

    def child(self, tag, key=None):
        element = self.optional(tag, key)
        if element is None:
            name = f'<{tag} key="{key}">' if key else f"<{tag}>"
            raise self.refusal(f"it has no {name}")
        return element

    def all_in(self, tag):
        """The elements that the one of this tag holds, if there is one."""
        container = self.optional(tag)
        if container is None:
            return []
        for element in container.children:
            element.known = True
        return container.children

    def leave_out(self):
        """The element, with all that is in it, is for Interface Builder only."""
        self.known = self.text_known = True
        self.unread.clear()
        for element in self.children:
            element.leave_out()

    def refuse_unread(self):
        """Everything has been built: what nobody has asked for until now is not known."""
        if not self.known:
            raise self.unknown()
        for name in sorted(self.unread):
            raise self.refusal(f'the attribute {name}="{self.attributes[name]}" is not known')
        if not self.text_known and self.text.strip():
            raise self.refusal(f'the text "{self.text.strip()}" is not known')
        for element in self.children:
            element.refuse_unread()
