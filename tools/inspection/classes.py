"""Looks at the Objective-C classes and the helper's protocol as the shipped executable describes them."""

import unittest

from inspection import product

AUTHORIZATION = "^{AuthorizationOpaqueRef=}"

# A char, and a bool.
BOOL = {"x86_64": "c", "arm64": "B"}

# Each property of AppDelegate, in order: name, type, and attributes: N nonatomic, C copy, & strong, W weak.
PROPERTIES = [
    ("window", '@"NSWindow"', "N"),
    ("textView", '@"NSTextView"', "N"),
    ("tac", '@"NSTextField"', "W"),
    ("TACText", '@"NSTextFieldCell"', "W"),
    ("authorization", '@"NSData"', "C"),
    ("helperToolConnection", '@"NSXPCConnection"', "&"),
    ("installButtonTitle", '@"NSAttributedString"', "&"),
    ("TCCheckBoxOutlet", '@"NSButtonCell"', "W"),
    ("termsAndConditionsTextField", '@"NSTextField"', "W"),
    ("checkboxOutlet", '@"NSButton"', "W"),
    ("linkBtnOutlet", '@"NSButton"', "W"),
    ("TCLabel", '@"NSTextField"', "W"),
    ("andText", '@"NSTextField"', "W"),
    ("privacyTextOutlet", '@"NSButton"', "W"),
    ("didInstall", "BOOL", ""),
    ("termsAndConditionsText", '@"NSTextField"', "W"),
]
# Those whose variables are declared under their own names, before the ones that the compiler adds.
DECLARED = {"didInstall", "termsAndConditionsText"}
VARIABLES = [("_authRef", AUTHORIZATION), *((name, kind) for name, kind, _ in PROPERTIES if name in DECLARED),
             *((f"_{name}", kind) for name, kind, _ in PROPERTIES if name not in DECLARED)]

# The compiler adds to a class's own the properties of the protocols that it adopts; these are the NSObject protocol's.
INHERITED_PROPERTIES = ["hash", "superclass", "description", "debugDescription"]

METHODS = [
    ("clickOnTC:", "v24@0:8@16"),
    ("termsAndConditionClicked:", "v24@0:8@16"),
    ("privacyPolicyClicked:", "v24@0:8@16"),
    ("applicationDidFinishLaunching:", "v24@0:8@16"),
    ("attributedString:withColor:", "@32@0:8@16@24"),
    ("applicationShouldTerminateAfterLastWindowClosed:", "BOOL24@0:8@16"),
    ("logText:", "v24@0:8@16"),
    ("logWithFormat:", "v24@0:8@16"),
    ("logError:", "v24@0:8@16"),
    ("connectToHelperTool", "v16@0:8"),
    ("connectAndExecuteCommandBlock:", "v24@0:8@?16"),
    ("installAction:", "v24@0:8@16"),
    ("getVersionAction:", "v24@0:8@16"),
    ("installButtonClick:", "v24@0:8@16"),
    ("homeDirectory", "@16@0:8"),
    ("writeToTextFile", "v16@0:8"),
    ("writeToTextFileRMM", "v16@0:8"),
    ("getMacVersion", "@16@0:8"),
    ("installQuillmarkApplication", "v16@0:8"),
    ("installQuillmarkApplicationRMM", "v16@0:8"),
    ("installQuillmarkApplication2", "v16@0:8"),
    ("bindAction:", "v24@0:8@16"),
    ("componentsArePresent:", "BOOL24@0:8@16"),
    ("doQuitApplication:", "v24@0:8@16"),
]

# What manual retain/release and zeroing weak references need beside the declared methods.
LIFETIME_METHODS = {"dealloc", ".cxx_destruct"}

COMMON_METHODS = [
    ("commandInfo", "@16@0:8"),
    ("authorizationRightForCommand:", "@24@0:8:16"),
    ("enumerateRightsUsingBlock:", "v24@0:8@?16"),
    ("setupAuthorizationRights:", f"v24@0:8{AUTHORIZATION}16"),
]

# With the extended types, from which the connection learns the classes that a message and its reply carry.
HELPER_MESSAGES = [
    ("connectWithEndpointReply:", 'v24@0:8@?<v@?@"NSXPCListenerEndpoint">16'),
    ("getVersionWithReply:", 'v24@0:8@?<v@?@"NSString">16'),
    ("install:authorization:withReply:", 'v40@0:8@"NSString"16@"NSData"24@?<v@?@"NSError">32'),
    ("bindToLowNumberPortAuthorization:withReply:",
     'v32@0:8@"NSData"16@?<v@?@"NSError"@"NSFileHandle"@"NSFileHandle">24'),
]


def setter(name):
    return f"set{name[0].upper()}{name[1:]}:"


def typed(expected, one):
    """The expected names and types, with BOOL as it is in the slice."""
    return [(name, text.replace("BOOL", BOOL[one.architecture])) for name, text in expected]


class Classes(unittest.TestCase):
    maxDiff = None

    @product.for_each_slice
    def test_there_are_the_two_classes_and_the_delegate_is_an_object_that_adopts_the_application_delegate(self, one):
        self.assertEqual(sorted(one.classes()), ["AppDelegate", "Common"])
        delegate = one.classes()["AppDelegate"]
        self.assertEqual((delegate.superclass, delegate.adopted), ("NSObject", ["NSApplicationDelegate"]))

    @product.for_each_slice
    def test_the_delegate_has_its_variables_in_order(self, one):
        self.assertEqual(one.classes()["AppDelegate"].variables, typed(VARIABLES, one))

    @product.for_each_slice
    def test_the_delegate_has_its_properties_in_order(self, one):
        properties = one.classes()["AppDelegate"].properties
        expected = []
        for name, kind, attributes in PROPERTIES:
            variable = name if name in DECLARED else f"_{name}"
            expected.append((name, ",".join(part for part in (f"T{kind}", attributes, f"V{variable}") if part)))
        self.assertEqual(properties[:len(PROPERTIES)], typed(expected, one))
        self.assertIn([name for name, _ in properties[len(PROPERTIES):]], ([], INHERITED_PROPERTIES))

    @product.for_each_slice
    def test_the_delegate_has_its_methods_in_the_declared_order(self, one):
        accessors = [accessor for name, _, _ in PROPERTIES for accessor in (name, setter(name))]
        methods = [method for method in one.classes()["AppDelegate"].instance_methods
                   if method[0] not in LIFETIME_METHODS]
        self.assertEqual(methods[:len(METHODS)], typed(METHODS, one))
        self.assertEqual(sorted(name for name, _ in methods[len(METHODS):]), sorted(accessors))
        self.assertEqual(one.classes()["AppDelegate"].class_methods, [])

    @product.for_each_slice
    def test_the_rights_catalogue_is_class_methods_only(self, one):
        common = one.classes()["Common"]
        self.assertEqual(common.class_methods, COMMON_METHODS)
        self.assertEqual((common.instance_methods, common.variables, common.properties, common.adopted),
                         ([], [], [], []))
        self.assertEqual(common.superclass, "NSObject")

    @product.for_each_slice
    def test_the_helper_protocol_has_its_messages_in_order_with_the_classes_that_they_carry(self, one):
        protocol = one.protocols().get("HelperToolProtocol")
        self.assertIsNotNone(protocol, "the executable does not describe HelperToolProtocol")
        self.assertEqual(protocol.methods, HELPER_MESSAGES)
        self.assertEqual((protocol.others, protocol.properties, protocol.adopted), ([], [], []))
