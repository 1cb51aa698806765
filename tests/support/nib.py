"""Reads a nib, which is a keyed archive, without the help of what wrote it."""

import plistlib

LISTS = ("NSArray", "NSMutableArray", "NSMutableSet")


class Archived:
    """An object of the archive, whose values are looked up by their keys."""

    def __init__(self, objects, place):
        self.objects = objects
        self.place = place

    def __eq__(self, other):
        return isinstance(other, Archived) and self.place == other.place

    def __hash__(self):
        return self.place

    def __repr__(self):
        return f"{self.class_name} {self.place}"

    def __contains__(self, key):
        return key in self.objects[self.place]

    def __getitem__(self, key):
        return self.resolved(self.objects[self.place][key])

    def keys(self):
        return self.objects[self.place].keys() - {"$class"}

    def get(self, key, default=None):
        return self[key] if key in self else default

    @property
    def class_name(self):
        return self.class_names[0]

    @property
    def class_names(self):
        return self.objects[self.objects[self.place]["$class"].data]["$classes"]

    def resolved(self, value):
        if isinstance(value, list):
            return [self.resolved(item) for item in value]
        if not isinstance(value, plistlib.UID):
            return value
        entry = self.objects[value.data]
        if not isinstance(entry, dict):
            return None if value.data == 0 else entry
        found = Archived(self.objects, value.data)
        if found.class_name in LISTS:
            return found["NS.objects"]
        if found.class_name == "NSDictionary":
            return dict(zip(found["NS.keys"], found["NS.objects"]))
        return found


class Nib:
    def __init__(self, content):
        archive = plistlib.loads(content)
        self.top = archive["$top"]
        self.objects = archive["$objects"]
        self.data = Archived(self.objects, self.top["IB.objectdata"].data)
        self.owner = self.data["NSRoot"]
        self.connectors = self.data["NSConnections"]
        self.spoken = self.data["NSAccessibilityConnectors"]
        self.parents = dict(zip(self.data["NSObjectsKeys"], self.data["NSObjectsValues"]))

    def all(self, class_name):
        return [found for found in self.parents if found.class_name == class_name]

    def only(self, class_name):
        found, = self.all(class_name)
        return found
