"""The vocabulary of the data-model source: entries, attributes, schemas, and the names
that every stage shares."""

import os
import re


# The folder of the model source: MODELS, counts.txt and model/.
HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

PLAIN_TYPES = {"int", "double", "string", "bool"}
RUNTIME_AGGREGATES = {
    kind + elem
    for kind in ("ListOf", "ArrayOf", "SetOf", "BagOf")
    for elem in ("Integer", "Double", "Float", "String", "Boolean", "LumoObject")
}
RUNTIME_CLASSES = {"LumoDomain", "LumoAttribute"}
AGGREGATE_KINDS = ("ListOf", "ArrayOf", "SetOf", "BagOf")

# Directory-record codec: mask position -> attribute, status position -> attribute.
MASK_ATTRIBUTES = ("structure", "line_font", "level", "view", "transformation",
                   "label_display", "line_weight", "color")
MASK_LETTERS = "SFLVTDWC"
STATUS_ATTRIBUTES = ("blank", "subordinate", "used", "hierarchy")

DERIVED_FORMS = [
    (re.compile(r"^size\((\w+)\)$"), "size"),
    (re.compile(r"^size\((\w+)\) - 1$"), "size_less_one"),
    (re.compile(r"^size\((\w+)\[0\]\) - 1$"), "first_size_less_one"),
    (re.compile(r"^length\((\w+)\)$"), "length"),
    (re.compile(r"^(\w+)\.subscript$"), "subscript"),
    (re.compile(r"^(-?\d+)$"), "constant"),
    (re.compile(r"^([A-Za-z_]\w*)$"), "alias"),
]

IDENT = r"[A-Za-z_]\w*"


class ModelError(Exception):
    """A fault in the source, with the place where it stands."""


class Attribute:
    def __init__(self, name, type_, where, optional=False, spelling=None, default=None):
        self.name = name
        self.type = type_
        self.where = where
        self.optional = optional
        self.spelling = spelling or name
        self.default = default


class Entry:
    """One class, select, enumeration or aggregate of the source."""

    def __init__(self, kind, name, schema, where):
        self.kind = kind          # entity, structure, select, enum, aggregate
        self.name = name
        self.schema = schema
        self.where = where
        self.abstract = False
        self.bases = []
        self.attributes = []
        self.choices = []         # (choice name, type) pairs
        self.enumerators = []
        self.directory = None
        self.derived = []         # (name, form, argument, where)
        self.parameters = None    # the layout: a list of Step, or None
        self.parameter_code = False  # pdread and pdwrite written by hand

    @property
    def dictionary_name(self):
        return dictionary_name(self.name)


class Schema:
    def __init__(self, name, internal, where):
        self.name = name
        self.internal = internal
        self.where = where
        self.entries = []


class Model:
    def __init__(self):
        self.schemas = []
        self.entries = {}

    def schema(self, name):
        for s in self.schemas:
            if s.name == name:
                return s
        return None


def dictionary_name(name):
    for kind in AGGREGATE_KINDS:
        if name.startswith(kind) and name not in RUNTIME_AGGREGATES:
            return kind + dictionary_name(name[len(kind):])
    return name[4:] if name.startswith("igs_") else name


def aggregate_parts(name):
    """('ListOf', 'igs_coordinate') for 'ListOfigs_coordinate', else None."""
    for kind in AGGREGATE_KINDS:
        if name.startswith(kind) and len(name) > len(kind):
            return kind, name[len(kind):]
    return None


class Step:
    """One step of a parameter layout (see FORMAT.md, "Parameter layouts").

    kind: I, R, S, L, X, C, P? or P! for one parameter of attribute name (no name for
    the item of a list that is not a structure); D for a dropped constant (value);
    N for the count of list name; items for the items of list name (steps); form
    for steps that stand only when form() is value; hand for a step written by hand.
    """

    def __init__(self, kind, name, where, value=None, steps=None):
        self.kind = kind
        self.name = name
        self.where = where
        self.value = value
        self.steps = steps or []
