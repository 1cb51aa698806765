"""What connects the objects once they are loaded: outlets, actions and bindings; and what VoiceOver says of them."""

from interface_compiler.archive import Node, dictionary

FIRST_RESPONDER = "-1"
TRANSFORMER = "NSValueTransformerName"


def outlet(source, element, nib):
    return Node("NSNibOutletConnector", NSSource=source, NSLabel=element.required("property"),
                NSDestination=nib.end(element, "destination"))


def action(source, element, nib):
    node = Node("NSNibControlConnector", NSSource=source, NSLabel=element.required("selector"))
    if element.required("target") != FIRST_RESPONDER:  # which is nobody until the action is sent
        node["NSDestination"] = nib.end(element, "target")
    return node


def binding(source, element, nib):
    name, path = element.required("name"), element.required("keyPath")
    node = Node("NSNibBindingConnector", NSSource=source, NSDestination=nib.end(element, "destination"),
                NSBinding=name, NSKeyPath=path, NSLabel=f"{name}: {path}", NSNibBindingConnectorVersion=2)
    options = element.optional("dictionary", "options")
    if options:
        options.child("string", TRANSFORMER)
        node["NSOptions"] = dictionary(**{TRANSFORMER: options.string(TRANSFORMER)})
    return node


# In the order in which they are made when the nib is loaded.
KINDS = {"outlet": outlet, "action": action, "binding": binding}


def connectors(connections, nib):
    """Of pairs of the object that a connection starts at and the element that describes it."""
    return [make(source, element, nib)
            for kind, make in KINDS.items() for source, element in connections if element.tag == kind]


def spoken_description(element, node):
    return Node("NSNibAXAttributeConnector", AXDestinationArchiveKey=node, AXAttributeTypeArchiveKey="AXDescription",
                AXAttributeValueArchiveKey=element.required("description"))
