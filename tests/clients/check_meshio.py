"""meshio: see common.py."""
import contextlib
import io
import math

import common
from common import check, check_close

try:
    import meshio
except ImportError:
    common.missing("python3-meshio")

KINDS = {"line": "bar", "triangle": "tria", "quad": "quad", "tetra": "tetra", "pyramid": "pyra",
         "wedge": "penta", "hexahedron": "hexa"}


def read(path):
    """The mesh, or None where meshio refuses the file, for which it may end the process."""
    with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
        try:
            return meshio.read(path)
        except (SystemExit, Exception):
            return None


def elements(mesh):
    """Kind and nodes of each element. A kind that is not ours is left as meshio has it."""
    return [(KINDS.get(block.type, block.type), nodes) for block in mesh.cells
            for nodes in block.data.tolist()]


def count(mesh):
    found = {}
    for kind, _ in elements(mesh):
        found[kind] = found.get(kind, 0) + 1
    return found


def measure(mesh):
    points = mesh.points.tolist()
    return math.fsum(common.measure(kind, [points[k] for k in nodes])
                     for kind, nodes in elements(mesh))


def check_mesh(name, mesh, sample, kinds, expected_measure):
    if mesh is None:
        check(name, "refused", True, False)
        return
    check(name, "number of nodes", len(mesh.points), sample["nodes"])
    check(name, "elements", count(mesh), kinds)
    check_close(name, "measure", measure(mesh), expected_measure)
    common.check_box(name, mesh.points, sample)


def width(mesh, d):
    return float(mesh.points[:, d].max() - mesh.points[:, d].min())


def check_vtk(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        mesh = read(f"{folder}/{name}.vtk")
        if sample["higher"]:  # refused for the poly-vertex cells
            check(name, "refused", mesh is None, True)
            continue
        # Wedges are inside out, as for VTK.
        expected = common.measure_with_inverted(sample, "penta")
        check_mesh(name, mesh, sample, sample["elements"], expected)
    hexa = read(f"{folder}/corners_hexa27.vtk")
    check_mesh("corners_hexa27", hexa, samples["hexa27"], {"hexa": 8}, 6.0)
    penta = read(f"{folder}/turned_penta6.vtk")
    check_mesh("turned_penta6", penta, samples["penta6"], {"penta": 128}, 6.0)
    flat = read(f"{folder}/flat.vtk")
    check_mesh("flat", flat, samples["tria3"], {"tria": 288}, 2.0)
    empty = read(f"{folder}/empty.vtk")
    check("empty", "nodes", (len(empty.points), count(empty)), (169, {}))
    check("small", "width", width(read(f"{folder}/small.vtk"), 0), 0.0)
    check_close("far8", "height", width(read(f"{folder}/far8.vtk"), 1), 1.0)
    check("huge", "refused", read(f"{folder}/huge.vtk") is None, True)
    check("nan", "elements", count(read(f"{folder}/nan.vtk")), {"tria": 288})


def check_medit(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        # Tetrahedra are written as stored, inside out for others.
        expected = common.measure_with_inverted(sample, "tetra")
        mesh = read(f"{folder}/{name}.mesh")
        check_mesh(name, mesh, sample, common.medit_kinds(sample), expected)
    tetra = read(f"{folder}/turned_tetra4.mesh")
    check_mesh("turned_tetra4", tetra, samples["tetra4"], {"tetra": 900}, 6.0)
    for name, apart in (("pyra5", (0, 1, 2, 3, 4, 4, 4, 4)), ("penta6", (0, 1, 2, 2, 4, 5, 6, 6))):
        mesh = read(f"{folder}/{name}.mesh")
        same = all(nodes[k] == nodes[first] for _, nodes in elements(mesh)
                   for k, first in enumerate(apart))
        fewest = min(len(set(nodes)) for _, nodes in elements(mesh))
        check(name, "repeated nodes", (same, fewest), (True, len(set(apart))))
    check("tetra4", "precision of coordinates", str(tetra.points.dtype), "float32")
    check("two_sections", "elements", count(read(f"{folder}/two_sections.mesh")), {"tria": 64})
    refs = read(f"{folder}/refs.mesh").cell_data["medit:ref"]
    check("refs", "references", [list(block) for block in refs], [[3] * 278 + [7] * 10])
    for name, rows in (("flat", 2), ("line", 1)):
        check(name, "coordinates of a node", read(f"{folder}/{name}.mesh").points.shape[1], rows)
    # Seven digits of a mesh of height 1.
    check_close("far6", "height", width(read(f"{folder}/far6.mesh"), 1), 1.0)
    check("far7", "height", width(read(f"{folder}/far7.mesh"), 1), 0.0)
    check_close("small", "width", width(read(f"{folder}/small.mesh"), 0) * 1e7, 2.0)
    check("huge", "width", width(read(f"{folder}/huge.mesh"), 0), math.inf)


def check_stl(folder, _):
    samples = common.samples(folder)
    for form in ("text", "binary"):
        face = read(f"{folder}/tria3.{form}.stl")
        check_mesh(f"tria3 {form}", face, samples["tria3"], {"tria": 288}, 2.0)
        # The faces of a tetrahedron that counts as positive look inwards.
        for name, volume in (("closed", -6.0), ("turned", 6.0)):
            mesh = read(f"{folder}/{name}.{form}.stl")
            check(name, "elements", count(mesh), {"tria": 340})
            check_close(name, "area", measure(mesh), 22.0)
            triangles = [nodes for _, nodes in elements(mesh)]
            found = common.volume_within(mesh.points.tolist(), triangles)
            check_close(name, "volume", found, volume)
    # Seven digits, and the 24 bits of a 32-bit float, of a mesh of height 1.
    check_close("far6", "height of text", width(read(f"{folder}/far6.text.stl"), 1), 1.0)
    check("far7", "height of text", width(read(f"{folder}/far7.text.stl"), 1), 0.0)
    check_close("far7", "height of binary", width(read(f"{folder}/far7.binary.stl"), 1), 1.0)
    check("far8", "height of binary", width(read(f"{folder}/far8.binary.stl"), 1), 0.0)
    check_close("small", "width", width(read(f"{folder}/small.text.stl"), 0) * 1e7, 2.0)
    check("empty", "elements", count(read(f"{folder}/empty.stl")), {})


def check_obj(folder, programs):
    points = [[0, 0, 0], [2, 0, 0], [2, 1, 0], [0, 1, 0], [1, 0.5, -3e-5]]
    path = f"{folder}/meshio_pyramid.obj"
    meshio.write(path, meshio.Mesh(points, [
        ("quad", [[0, 3, 2, 1]]),
        ("triangle", [[0, 1, 4], [1, 2, 4], [2, 3, 4], [3, 0, 4]])]))
    common.check_our_obj("meshio_pyramid", path, programs, points, triangles=4, quads=1)
    # Of ours each face comes in as one node.
    ours = read(f"{folder}/ours.obj")
    check("ours", "nodes", len(ours.points), 169)
    check("ours", "faces", {block.data.shape[1] for block in ours.cells}, {1})
    mended = read(common.mend_obj(folder, "meshio"))
    check("mended", "faces", count(mended), {"tria": 288, "quad": 144})
    check_close("mended", "area", measure(mended), 4.0)


common.main({"vtk": check_vtk, "medit": check_medit, "stl": check_stl, "obj": check_obj})
