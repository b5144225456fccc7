"""Sides of mesh triangles from a script: turns, a path of sides and a list of paths."""
from qorapi import OrientedTriangle, OrientedTriangleStack, OrientedTriangleStackList

side = OrientedTriangle(4, 0)            # triangle 4, the side from corner 0 to corner 1
print(side.rotated(), side.flipped())    # OrientedTriangle(4, 2) OrientedTriangle(4, 1)

# The three sides of each of three triangles, in one path.
path = OrientedTriangleStack()
for index in range(3):
    t = OrientedTriangle(index, 0)
    for _ in range(3):
        path.append(t)                   # only the number is kept
        t.rotate()
print(len(path), path[-1], path.indexOf(OrientedTriangle(1, 4)))   # 9 OrientedTriangle(2, 4) 5

# The built-in cursor of a stack starts on the first entry.
path.reset()
versions = [path.current().version()]
while path.next():
    versions.append(path.current().version())
print(versions)                          # [0, 2, 4, 0, 2, 4, 0, 2, 4]

loops = OrientedTriangleStackList([path, OrientedTriangleStack(path[:3])])
first = loops[0]
if first is not None:
    first.clear()                        # the list holds path itself
print(len(path), [len(s) if s is not None else 0 for s in loops])   # 0 [0, 3]
