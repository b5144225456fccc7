"""Data objects from a script: typed attributes, a subscription, save and load."""
import os, tempfile
from typing import Any
os.chdir(tempfile.mkdtemp())  # the file goes to a fresh temporary directory
import qorapi
from qorapi import DataObject, DataObjectArray, Vector3D

part = DataObject("bracket", radius=2.0, count=3)   # keywords become typed properties
part.center = Vector3D(1, 2, 3)
part.radius = 3                  # an existing double takes an int as a double
part.holes = DataObjectArray([DataObject("h1"), DataObject("h2")])
part.parent = DataObject("assembly")

# args: name, oldValue, newValue and the property itself
def changed(event: str, args: dict[str, Any]) -> None:
    print(event, args["name"], args["oldValue"], "->", args["newValue"])

with part.subscribe("property_modified", changed):
    part.count = 4               # property_modified count 3 -> 4

qorapi.save("part.wex", part)    # the object and every object it refers to
again = qorapi.load("part.wex")  # shared objects and cycles come back whole
print(again.holes[1].name, again.center)   # h2 Vector3D(1, 2, 3)
