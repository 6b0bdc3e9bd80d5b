"""gmsh: see common.py. It reads each file and writes it in its own format, which is read here."""
import math
import os
import shutil
import tempfile

import common
from common import check, check_close

if not shutil.which("gmsh"):
    common.missing("gmsh")

KINDS = {1: "bar", 2: "tria", 3: "quad", 4: "tetra", 5: "hexa", 6: "penta", 7: "pyra"}


class Mesh:
    def __init__(self, path):
        with tempfile.TemporaryDirectory() as own:
            out = os.path.join(own, "out.msh")
            result = common.run("gmsh", "-0", "-save_all", "-format", "msh2", "-o", out, path)
            self.refused = result.returncode != 0
            with open(out) as file:
                text = file.read()
        lines = text.split("$Nodes\n")[1].split("$End")[0].splitlines()[1:]
        self.nodes = {int(n): [float(x) for x in rest] for n, *rest in map(str.split, lines)}
        lines = text.split("$Elements\n")[1].split("$End")[0].splitlines()[1:]
        self.elements = []
        self.references = []
        for line in lines:
            _, kind, tags, *rest = map(int, line.split())
            self.elements.append((KINDS[kind], rest[tags:]))
            self.references.append(rest[1])

    def count(self):
        found = {}
        for kind, _ in self.elements:
            found[kind] = found.get(kind, 0) + 1
        return found

    def measure(self):
        return math.fsum(common.measure(kind, [self.nodes[k] for k in nodes])
                         for kind, nodes in self.elements)

    def width(self, d):
        along = [p[d] for p in self.nodes.values()]
        return max(along) - min(along)


def check_mesh(name, mesh, sample, kinds, measure):
    # gmsh drops the nodes that no element uses, which those in the middle of edges are.
    used = {k for _, nodes in mesh.elements for k in nodes}
    check(name, "nodes", set(mesh.nodes), used)
    check(name, "all nodes", len(used) == sample["nodes"], not sample["higher"])
    check(name, "elements", mesh.count(), kinds)
    check_close(name, "measure", mesh.measure(), measure)
    common.check_box(name, mesh.nodes.values(), sample)


def check_medit(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        mesh = Mesh(f"{folder}/{name}.mesh")
        expected = common.measure_with_inverted(sample, "tetra")  # as for meshio
        check(name, "refused", mesh.refused, False)
        check_mesh(name, mesh, sample, common.medit_kinds(sample), expected)
    tetra = Mesh(f"{folder}/turned_tetra4.mesh")
    check_mesh("turned_tetra4", tetra, samples["tetra4"], {"tetra": 900}, 6.0)
    check_mesh("flat", Mesh(f"{folder}/flat.mesh"), samples["tria3"], {"tria": 288}, 2.0)
    check("two_sections", "elements", Mesh(f"{folder}/two_sections.mesh").count(), {"tria": 64})
    refs = Mesh(f"{folder}/refs.mesh")
    check("refs", "references", refs.references, [3] * 278 + [7] * 10)
    # Nodes are numbered anew, those of the lowest reference first: of ours it has none below 6.
    check("refs", "nodes of the first element", refs.elements[0], ("tria", [1, 2, 15]))
    with open(f"{folder}/refs.mesh") as file:
        first = file.read().split("Triangles\n")[1].split()[1:4]
    check("refs", "nodes of the first element as written", first, ["6", "7", "20"])
    check_close("far6", "height", Mesh(f"{folder}/far6.mesh").width(1), 1.0)
    check("far7", "height", Mesh(f"{folder}/far7.mesh").width(1), 0.0)
    check_close("huge", "width", Mesh(f"{folder}/huge.mesh").width(0) / 1e300, 2.0)


def check_vtk(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        mesh = Mesh(f"{folder}/{name}.vtk")
        # It ends with an error at the poly-vertex cells, but has the others.
        check(name, "refused", mesh.refused, sample["higher"])
        check_mesh(name, mesh, sample, sample["elements"], sample["measure"])
    # Wedges that are upright for VTK and meshio are inside out here.
    penta = Mesh(f"{folder}/turned_penta6.vtk")
    check_mesh("turned_penta6", penta, samples["penta6"], {"penta": 128}, -6.0)
    check("empty", "refused", Mesh(f"{folder}/empty.vtk").refused, True)
    check_close("huge", "width", Mesh(f"{folder}/huge.vtk").width(0) / 1e300, 2.0)
    check("small", "width", Mesh(f"{folder}/small.vtk").width(0), 0.0)


def check_stl(folder, _):
    samples = common.samples(folder)
    for form in ("text", "binary"):
        face = Mesh(f"{folder}/tria3.{form}.stl")
        check_mesh(f"tria3 {form}", face, samples["tria3"], {"tria": 288}, 2.0)
        for name, volume in (("closed", -6.0), ("turned", 6.0)):
            mesh = Mesh(f"{folder}/{name}.{form}.stl")
            check(name, "elements", mesh.count(), {"tria": 340})
            check_close(name, "area", mesh.measure(), 22.0)
            triangles = [nodes for _, nodes in mesh.elements]
            check_close(name, "volume", common.volume_within(mesh.nodes, triangles), volume)
    # Triangles that the precision of the file leaves without area are dropped.
    check("far7", "elements of text", Mesh(f"{folder}/far7.text.stl").count(), {})
    check("far8", "elements of binary", Mesh(f"{folder}/far8.binary.stl").count(), {})
    check("empty", "elements", Mesh(f"{folder}/empty.stl").count(), {})


common.main({"medit": check_medit, "vtk": check_vtk, "stl": check_stl})
