# Run by FreeCAD's command line (freecadcmd): opens a STEP file written by
# lumesh in a second, independent CAD system and checks that it is the solid
# the import reported. Inputs come from the environment because freecadcmd
# takes every argument as a file to open. Prints one line starting with "OK"
# or "FAIL".
import os

import Mesh
import Part

step = os.environ["LUMESH_STEP"]
stl = os.environ["LUMESH_STL"]
want_planes = int(os.environ["LUMESH_PLANES"])
want_cylinders = int(os.environ["LUMESH_CYLINDERS"])

problems = []
shape = Part.read(step)
if not shape.isValid():
    problems.append("not valid")
if len(shape.Solids) != 1:
    problems.append("%d solids" % len(shape.Solids))
if not all(shell.isClosed() for shell in shape.Shells):
    problems.append("an open shell")
kinds = {}
for face in shape.Faces:
    name = type(face.Surface).__name__
    kinds[name] = kinds.get(name, 0) + 1
planes = kinds.pop("Plane", 0)
cylinders = kinds.pop("Cylinder", 0)
if planes != want_planes or cylinders != want_cylinders or kinds:
    problems.append("faces %d planes %d cylinders %s, the import reported %d and %d"
                    % (planes, cylinders, sorted(kinds.items()), want_planes, want_cylinders))
mesh_volume = Mesh.Mesh(stl).Volume
if shape.Solids and abs(shape.Volume - mesh_volume) > 0.01 * abs(mesh_volume):
    problems.append("volume %.4f, the mesh's %.4f" % (shape.Volume, mesh_volume))

print(("FAIL " + "; ".join(problems)) if problems else
      "OK %d faces, volume %.4f (mesh %.4f)" % (len(shape.Faces), shape.Volume, mesh_volume))
