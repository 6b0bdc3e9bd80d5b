"""check.py CLIENT FORMAT FOLDER PROGRAMS: reads the sample files in FOLDER with another program and
compares what it finds with what we wrote, or the reverse, with ours among PROGRAMS. Exits with 77, and says why, where the program is not to be had.

What a program takes differently from what we mean is asserted as it is, and listed in
docs/formats.md; a test that fails here says that the list is out of date.
"""
import contextlib
import io
import json
import re
import shutil
import subprocess
import sys

MISSING = 77
LENGTHS = (2.0, 1.0, 3.0)
HIGHER = {"tria6": 3, "quad8": 4, "quad9": 4, "tetra10": 4, "pyra14": 5, "penta18": 6, "hexa20": 8,
          "hexa27": 8}
VTK_TYPE = {"tria": 5, "quad": 9, "tetra": 10, "pyra": 14, "penta": 13, "hexa": 12}
SOLID_BY_ROWS = {4: "tetra", 5: "pyra", 6: "penta", 8: "hexa"}
FACE_BY_ROWS = {3: "tria", 4: "quad"}

failures = []


def missing(what):
    print(f"skipped: {what} is not installed")
    sys.exit(MISSING)


def check(name, what, found, expected):
    same = found == expected
    if isinstance(expected, float):
        same = abs(found - expected) <= 1e-5 * max(1.0, abs(expected))
    if not same:
        failures.append(f"{name}: {what} is {found}, expected {expected}")


def check_box(name, low, high, sample):
    for d in range(3):
        check(name, f"lower bound {d}", float(low[d]), float(sample["low"][d]))
        check(name, f"upper bound {d}", float(high[d]), float(sample["high"][d]))


def kinds(name, sample):
    """Elements by kind, first-order: {'tetra': 900}."""
    if name in HIGHER:
        by_corners = SOLID_BY_ROWS if sample["solid"] else FACE_BY_ROWS
        return {by_corners[HIGHER[name]]: sum(sample["elements"].values())}
    by_rows = SOLID_BY_ROWS if sample["solid"] else FACE_BY_ROWS
    return {by_rows[int(rows)]: count for rows, count in sample["elements"].items()}


def measure(sample):
    return 6.0 if sample["solid"] else 2.0


def samples(folder):
    with open(f"{folder}/expected.json") as file:
        return json.load(file)


# ---- VTK's own readers ----

def vtk():
    try:
        import vtkmodules.all as modules
    except ImportError:
        missing("python3-vtk9")
    return modules


def summary(modules, grid):
    """Cells by type, and the sums of signed volumes and of areas."""
    sizes = modules.vtkCellSizeFilter()
    sizes.SetInputData(grid)
    sizes.Update()
    data = sizes.GetOutput().GetCellData()
    cells = range(grid.GetNumberOfCells())
    types = {}
    for i in cells:
        types[grid.GetCellType(i)] = types.get(grid.GetCellType(i), 0) + 1
    total = {array: sum(data.GetArray(array).GetValue(i) for i in cells)
             for array in ("Area", "Volume")}
    return types, total["Area"], total["Volume"]


def check_grid(modules, name, grid, sample, expected_types, volume):
    bounds = grid.GetBounds()
    types, area, found = summary(modules, grid)
    check(name, "number of nodes", grid.GetNumberOfPoints(), sample["nodes"])
    check(name, "elements by type", types, expected_types)
    check(name, "volume" if sample["solid"] else "area", found if sample["solid"] else area, volume)
    check_box(name, bounds[0::2], bounds[1::2], sample)


def read_vtk(modules, path):
    reader = modules.vtkUnstructuredGridReader()
    reader.SetFileName(path)
    reader.Update()
    return reader.GetOutput()


def vtk_vtk(folder):
    modules = vtk()
    for name, sample in samples(folder).items():
        types = {VTK_TYPE[kind]: n for kind, n in kinds(name, sample).items()}
        volume = measure(sample)
        # Wedges go out as they are stored, which VTK takes for inside out: all of their volume
        # counts as negative. In the mix 30 of 150 boxes, each of 6 / 150, are wedges.
        if name in ("penta6", "penta18"):
            volume = -6.0
        if name == "solid_mix":
            volume = 6.0 - 2 * kinds(name, sample)["penta"] / 2 * 6.0 / 150
        if name in HIGHER:  # what lies between the corners comes behind, as one poly-vertex each
            types[2] = sum(types.values())
        check_grid(modules, name, read_vtk(modules, f"{folder}/{name}.vtk"), sample, types, volume)
    # Six decimals do not hold offsets of 1e-7.
    far = read_vtk(modules, f"{folder}/far.vtk").GetBounds()
    check("far", "width that six decimals leave", far[1] - far[0], 0.0)
    check("flat", "height of a plane mesh", read_vtk(modules, f"{folder}/flat.vtk").GetBounds()[5], 0.0)


def read_ensight(modules, folder, name):
    with open(f"{folder}/{name}.case", "w") as case:
        case.write(f"FORMAT\ntype: ensight\n\nGEOMETRY\nmodel: {name}.geo\n")
    reader = modules.vtkGenericEnSightReader()
    reader.SetCaseFileName(f"{folder}/{name}.case")
    reader.Update()
    return reader.GetOutput()


def vtk_ensight(folder):
    modules = vtk()
    for name, sample in samples(folder).items():
        blocks = read_ensight(modules, folder, name)
        if name in ("pyra5", "pyra14", "face_mix", "solid_mix"):  # which have no name there
            check(name, "number of parts", blocks.GetNumberOfBlocks(), 0)
            continue
        check(name, "number of parts", blocks.GetNumberOfBlocks(), 1)
        # The reader takes the corners only of quad8, tria6 and so on, and the right number of nodes
        # of each line whatever else stands there.
        types = {VTK_TYPE[kind]: n for kind, n in kinds(name, sample).items()}
        check_grid(modules, name, blocks.GetBlock(0), sample, types, measure(sample))
    # A value with an exponent of three digits is one place wider than its field: it is cut there,
    # and -1e-120 comes in as -1e-12.
    tiny = read_ensight(modules, folder, "tiny").GetBlock(0)
    check("tiny", "what is left of -1e-120, in units of 1e-12", tiny.GetPoint(0)[1] * 1e12, -1.0)
    far = read_ensight(modules, folder, "far").GetBlock(0).GetBounds()
    check("far", "width that six digits leave", far[1] - far[0], 0.0)


# ---- meshio ----

def meshio():
    try:
        import meshio as module
    except ImportError:
        missing("python3-meshio")
    return module


def read_meshio(path):
    """The mesh, or None where meshio refuses the file, which it does by ending the process."""
    with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
        try:
            return meshio().read(path)
        except (SystemExit, Exception):
            return None


def counts(mesh):
    found = {}
    for block in mesh.cells:
        found[block.type] = found.get(block.type, 0) + len(block.data)
    return found


def meshio_vtk(folder):
    names = {"tria": "triangle", "quad": "quad", "tetra": "tetra", "pyra": "pyramid",
             "penta": "wedge", "hexa": "hexahedron"}
    meshio()
    for name, sample in samples(folder).items():
        mesh = read_meshio(f"{folder}/{name}.vtk")
        if name in HIGHER:  # refused for their poly-vertex cells
            check(name, "refused", mesh is None, True)
            continue
        check(name, "number of nodes", len(mesh.points), sample["nodes"])
        check(name, "elements", counts(mesh),
              {names[kind]: n for kind, n in kinds(name, sample).items()})
        check_box(name, mesh.points.min(0), mesh.points.max(0), sample)


def medit_kinds(name, sample):
    """Pyramids and wedges go out as hexahedra with repeated nodes."""
    names = {"tria": "triangle", "quad": "quad", "tetra": "tetra"}
    found = {}
    for kind, n in kinds(name, sample).items():
        key = names.get(kind, "hexahedron")
        found[key] = found.get(key, 0) + n
    return found


def tetra_volume(points, tetra):
    import numpy
    a, b, c, d = (points[tetra[:, k]] for k in range(4))
    return float(numpy.einsum("ij,ij->i", numpy.cross(b - a, c - a), d - a).sum() / 6)


def meshio_medit(folder):
    meshio()
    for name, sample in samples(folder).items():
        mesh = read_meshio(f"{folder}/{name}.mesh")
        check(name, "number of nodes", len(mesh.points), sample["nodes"])
        check(name, "elements", counts(mesh), medit_kinds(name, sample))
        check_box(name, mesh.points.min(0), mesh.points.max(0), sample)
        if name == "tetra4":  # written as stored, which others see inside out
            check(name, "volume", tetra_volume(mesh.points, mesh.cells[0].data), -6.0)
    two = read_meshio(f"{folder}/two_sections.mesh")
    check("two_sections", "triangles of both sections", counts(two), {"triangle": 64})
    flat = read_meshio(f"{folder}/flat.mesh")
    check("flat", "coordinates of a node", flat.points.shape[1], 2)


def meshio_stl(folder):
    import numpy
    meshio()
    for form in ("text", "binary"):
        open_one = read_meshio(f"{folder}/tria3.{form}.stl")
        check(form, "nodes", len(open_one.points), 169)
        check(form, "triangles", counts(open_one), {"triangle": 288})
        closed = read_meshio(f"{folder}/closed.{form}.stl")
        a, b, c = (closed.points[closed.cells[0].data[:, k]] for k in range(3))
        normals = numpy.cross(b - a, c - a)
        check(form, "area", float(numpy.linalg.norm(normals, axis=1).sum() / 2), 22.0)
        # The faces of a tetrahedron of ours that counts as positive look inwards.
        check(form, "volume", float(numpy.einsum("ij,ij->i", a, numpy.cross(b, c)).sum() / 6), -6.0)


# ---- Wavefront OBJ, which we read ----

def check_obj(name, path, expected):
    """What our reader finds in a file of another program."""
    out = subprocess.run([f"{sys.argv[4]}/read_obj", path], capture_output=True, text=True)
    check(name, "exit of our reader", out.returncode, 0)
    if out.returncode == 0:
        found = json.loads(out.stdout)
        check_box(name, found.pop("low"), found.pop("high"), expected.pop("box"))
        check(name, "counts", found, expected)


def vtk_obj(folder):
    modules = vtk()
    sphere = modules.vtkSphereSource()
    sphere.SetThetaResolution(24)
    sphere.SetPhiResolution(13)
    sphere.Update()
    surface = sphere.GetOutput()  # with normals at its nodes
    writer = modules.vtkOBJWriter()
    writer.SetFileName(f"{folder}/sphere.obj")
    writer.SetInputData(surface)
    writer.Write()
    bounds = surface.GetBounds()
    check_obj("sphere", f"{folder}/sphere.obj",
              {"nodes": 266, "normals": 266, "triangles": 528, "quads": 0,
               "box": {"low": bounds[0::2], "high": bounds[1::2]}})
    # Ours: the groups of a face run together. VTK stops at the first face and gives nothing.
    reader = modules.vtkOBJReader()
    reader.SetFileName(f"{folder}/ours.obj")
    reader.Update()
    ours = reader.GetOutput()
    check("ours", "nodes that VTK reads", ours.GetNumberOfPoints(), 0)


def meshio_obj(folder):
    module = meshio()
    mesh = module.Mesh([[0, 0, 0], [2, 0, 0], [2, 1, 0], [0, 1, 0], [1, 0.5, 3]],
                       [("quad", [[0, 3, 2, 1]]),
                        ("triangle", [[0, 1, 4], [1, 2, 4], [2, 3, 4], [3, 0, 4]])])
    module.write(f"{folder}/pyramid.obj", mesh)
    check_obj("pyramid", f"{folder}/pyramid.obj",
              {"nodes": 5, "normals": 0, "triangles": 4, "quads": 1,
               "box": {"low": [0, 0, 0], "high": LENGTHS}})
    ours = read_meshio(f"{folder}/ours.obj")
    check("ours", "nodes that meshio reads", len(ours.points), 169)
    check("ours", "faces of one node each", [block.data.shape for block in ours.cells], [(288, 1)])


# ---- gmsh ----

def gmsh_medit(folder):
    if not shutil.which("gmsh"):
        missing("gmsh")
    numbers = {"triangle": 2, "quad": 3, "tetra": 4, "hexahedron": 5}
    cases = {name: {numbers[kind]: n for kind, n in medit_kinds(name, sample).items()}
             for name, sample in samples(folder).items()}
    cases["two_sections"] = {2: 64}
    for name, expected in cases.items():
        out = f"{folder}/{name}.msh"
        subprocess.run(["gmsh", "-0", "-save_all", "-format", "msh2", "-o", out,
                        f"{folder}/{name}.mesh"], check=True, stdout=subprocess.DEVNULL)
        with open(out) as file:
            text = file.read()
        found = {}
        for line in text.split("$Elements\n")[1].split("$End")[0].splitlines()[1:]:
            number = int(line.split()[1])
            found[number] = found.get(number, 0) + 1
        check(name, "elements by gmsh's number", found, expected)
        used = name not in HIGHER and name != "two_sections"
        if used:  # gmsh drops nodes that no element uses
            nodes = int(text.split("$Nodes\n")[1].split()[0])
            check(name, "number of nodes", nodes, samples(folder)[name]["nodes"])


# ---- programs for STL ----

def admesh_stl(folder):
    if not shutil.which("admesh"):
        missing("admesh")
    for form in ("text", "binary"):
        out = subprocess.run(["admesh", f"{folder}/closed.{form}.stl"], check=True,
                             capture_output=True, text=True).stdout

        def value(pattern):
            return float(re.search(pattern + r"\s*[:=]\s*([-\d.]+)", out).group(1))

        check(form, "facets", value("Number of facets +"), 340.0)
        check(form, "pieces", value("Number of parts +"), 1.0)
        check(form, "open facets", value("Total disconnected facets +"), 0.0)
        check(form, "degenerate facets", value("Degenerate facets +"), 0.0)
        check(form, "volume", value("Volume +"), 6.0)
        for axis, high in zip("XYZ", LENGTHS):
            check(form, f"lower bound {axis}", value(f"Min {axis}"), 0.0)
            check(form, f"upper bound {axis}", value(f"Max {axis}"), high)
        # It turns all facets round, since they look inwards.
        check(form, "facets turned round", value("Facets reversed +"), 340.0)


def assimp_stl(folder):
    if not shutil.which("assimp"):
        missing("assimp-utils")
    for name, faces, high in (("tria3", 288, (2, 1, 0)), ("closed", 340, LENGTHS)):
        for form in ("text", "binary"):
            out = subprocess.run(["assimp", "info", f"{folder}/{name}.{form}.stl"], check=True,
                                 capture_output=True, text=True).stdout
            check(name, "faces", int(re.search(r"Faces:\s+(\d+)", out).group(1)), faces)
            top = re.search(r"Maximum point\s+\(([^)]*)\)", out).group(1).split()
            for d in range(3):
                check(name, f"upper bound {d}", float(top[d]), float(high[d]))


def main():
    client, file_format, folder = sys.argv[1:4]
    globals()[f"{client}_{file_format}"](folder)
    for line in failures:
        print(line)
    sys.exit(1 if failures else 0)


main()
