"""What connects the objects once they are loaded: outlets, actions and bindings; and what VoiceOver says of them."""

from interface_compiler.archive import Node, dictionary

TRANSFORMER = "NSValueTransformerName"


def outlet(source, element, nib):
    return Node("NSNibOutletConnector", NSSource=source, NSLabel=element.required("property"),
                NSDestination=nib.object_named_by(element, "destination"))


def action(source, element, nib):
    node = Node("NSNibControlConnector", NSSource=source, NSLabel=element.required("selector"))
    if element.get("target") != nib.FIRST_RESPONDER:  # without a destination the responder chain is asked
        node["NSDestination"] = nib.object_named_by(element, "target")
    return node


def binding(source, element, nib):
    name, path = element.required("name"), element.required("keyPath")
    node = Node("NSNibBindingConnector", NSSource=source, NSDestination=nib.object_named_by(element, "destination"),
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
    for _, element in connections:
        if element.tag not in KINDS:
            raise element.refusal("this element is not known here")
    return [make(source, element, nib)
            for kind, make in KINDS.items() for source, element in connections if element.tag == kind]


def spoken_description(element, node):
    return Node("NSNibAXAttributeConnector", AXDestinationArchiveKey=node, AXAttributeTypeArchiveKey="AXDescription",
                AXAttributeValueArchiveKey=element.required("description"))
