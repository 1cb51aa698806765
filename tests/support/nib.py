"""Reads a nib, which is a keyed archive, without the help of what wrote it."""

import plistlib


class Archived:
    """An object of the archive, whose values are looked up by their keys."""

    def __init__(self, objects, place):
        self.objects = objects
        self.place = place
        self.values = objects[place]

    def __eq__(self, other):
        return isinstance(other, Archived) and self.place == other.place

    def __hash__(self):
        return self.place

    def __repr__(self):
        return f"{self.class_name} {self.place}"

    def __contains__(self, key):
        return key in self.values

    def __getitem__(self, key):
        return self.resolved(self.values[key])

    def keys(self):
        return self.values.keys() - {"$class"}

    def get(self, key, default=None):
        return self[key] if key in self else default

    @property
    def class_name(self):
        return self.objects[self.values["$class"].data]["$classname"]

    def resolved(self, value):
        if isinstance(value, list):
            return [self.resolved(item) for item in value]
        if not isinstance(value, plistlib.UID):
            return value
        entry = self.objects[value.data]
        if not isinstance(entry, dict):
            return None if value.data == 0 else entry
        found = Archived(self.objects, value.data)
        if found.class_name in ("NSArray", "NSMutableArray", "NSMutableSet"):
            return found["NS.objects"]
        return dict(zip(found["NS.keys"], found["NS.objects"])) if found.class_name == "NSDictionary" else found


class Nib:
    def __init__(self, content):
        archive = plistlib.loads(content)
        self.data = Archived(archive["$objects"], archive["$top"]["IB.objectdata"].data)
        self.owner = self.data["NSRoot"]
        self.connectors = self.data["NSConnections"]
        self.spoken = self.data["NSAccessibilityConnectors"]
        self.parents = dict(zip(self.data["NSObjectsKeys"], self.data["NSObjectsValues"]))

    def all(self, class_name):
        return [found for found in self.parents if found.class_name == class_name]
