"""VTK's own readers and its OBJ writer: see common.py."""
import math

import common
from common import check, check_close

try:
    import vtkmodules.all as vtk
except ImportError:
    common.missing("python3-vtk9")

TYPES = {"bar": 3, "tria": 5, "quad": 9, "tetra": 10, "pyra": 14, "penta": 13, "hexa": 12}
POLY_VERTEX = 2
MEASURES = {1: "Length", 2: "Area", 3: "Volume"}


def points_of(grid):
    return [grid.GetPoint(i) for i in range(grid.GetNumberOfPoints())]


def types_of(grid):
    found = {}
    for i in range(grid.GetNumberOfCells()):
        found[grid.GetCellType(i)] = found.get(grid.GetCellType(i), 0) + 1
    return found


def measure_of(grid, dim):
    """VTK's own measure, in which a cell that is inside out counts as negative."""
    sizes = vtk.vtkCellSizeFilter()
    sizes.SetInputData(grid)
    sizes.Update()
    values = sizes.GetOutput().GetCellData().GetArray(MEASURES[dim])
    return math.fsum(values.GetValue(i) for i in range(values.GetNumberOfTuples()))


def check_grid(name, grid, sample, types, measure):
    check(name, "number of nodes", grid.GetNumberOfPoints(), sample["nodes"])
    check(name, "cells by type", types_of(grid), types)
    check_close(name, MEASURES[sample["dim"]], measure_of(grid, sample["dim"]), measure)
    common.check_box(name, points_of(grid), sample)


def width(grid, d):
    return grid.GetBounds()[2 * d + 1] - grid.GetBounds()[2 * d]


# ---- legacy files ----

def read_vtk(folder, name):
    reader = vtk.vtkUnstructuredGridReader()
    reader.SetFileName(f"{folder}/{name}.vtk")
    reader.Update()
    return reader.GetOutput()


def check_vtk(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        types = {TYPES[kind]: n for kind, n in sample["elements"].items()}
        # Wedges go out as they are stored, which VTK takes for inside out.
        measure = common.measure_with_inverted(sample, "penta")
        if sample["higher"]:  # what lies between the corners comes behind, as one poly-vertex each
            types[POLY_VERTEX] = sum(types.values())
        check_grid(name, read_vtk(folder, name), sample, types, measure)

    penta = read_vtk(folder, "turned_penta6")
    check_grid("turned_penta6", penta, samples["penta6"], {TYPES["penta"]: 128}, 6.0)
    hexa = read_vtk(folder, "corners_hexa27")
    check_grid("corners_hexa27", hexa, samples["hexa27"], {TYPES["hexa"]: 8}, 6.0)
    flat = read_vtk(folder, "flat")
    check_grid("flat", flat, samples["tria3"], {TYPES["tria"]: 288}, 2.0)
    empty = read_vtk(folder, "empty")
    check("empty", "nodes", (empty.GetNumberOfPoints(), types_of(empty)), (169, {}))

    # Six decimals are enough far from the origin, and nothing for small meshes.
    check_close("far8", "height", width(read_vtk(folder, "far8"), 1), 1.0)
    check("small", "width", width(read_vtk(folder, "small"), 0), 0.0)
    check_close("huge", "width", width(read_vtk(folder, "huge"), 0) / 1e300, 2.0)
    check("nan", "cells", read_vtk(folder, "nan").GetNumberOfCells(), 0)


# ---- EnSight ----

def read_ensight(folder, name):
    with open(f"{folder}/{name}.case", "w") as case:
        case.write(f"FORMAT\ntype: ensight\n\nGEOMETRY\nmodel: {name}.geo\n")
    reader = vtk.vtkGenericEnSightReader()
    reader.SetCaseFileName(f"{folder}/{name}.case")
    reader.Update()
    return reader.GetOutput()


def check_ensight(folder, _):
    samples = common.samples(folder)
    for name, sample in samples.items():
        blocks = read_ensight(folder, name)
        if name in ("pyra5", "pyra14", "face_mix", "solid_mix", "moved_mix"):  # no name for these
            check(name, "number of parts", blocks.GetNumberOfBlocks(), 0)
            continue
        check(name, "number of parts", blocks.GetNumberOfBlocks(), 1)
        # Only the corners are taken of tria6, quad8 and so on, and the right number of nodes of each
        # line whatever else stands there. Wedges are turned in reading.
        types = {TYPES[kind]: n for kind, n in sample["elements"].items()}
        # Of bar3 the third number is taken for the end, which is the middle.
        measure = sample["measure"] / 2 if name == "bar3" else sample["measure"]
        check_grid(name, blocks.GetBlock(0), sample, types, measure)
    bar = read_ensight(folder, "turned_bar3").GetBlock(0)
    check_grid("turned_bar3", bar, samples["bar3"], {TYPES["bar"]: 12}, 6.0)
    flat = read_ensight(folder, "flat").GetBlock(0)
    check_grid("flat", flat, samples["tria3"], {TYPES["tria"]: 288}, 2.0)

    parts = read_ensight(folder, "gap")
    kinds = [types_of(parts.GetBlock(i)) for i in range(parts.GetNumberOfBlocks())]
    check("gap", "parts", kinds, [{TYPES["tria"]: 288}, {TYPES["bar"]: 20}])
    names = {parts.GetMetaData(i).Get(vtk.vtkCompositeDataSet.NAME()) for i in range(len(kinds))}
    check("gap", "names of parts", names, {"*************"})

    # Six digits of a mesh of height 1.
    check_close("far5", "height", width(read_ensight(folder, "far5").GetBlock(0), 1), 1.0)
    check("far6", "height", width(read_ensight(folder, "far6").GetBlock(0), 1), 0.0)
    check_close("small", "width", width(read_ensight(folder, "small").GetBlock(0), 0) * 1e7, 2.0)
    # The node is -1e-120, 5, 7. The first field is cut after -1e-12; the 0 that is left over becomes
    # the second coordinate, and the second the third.
    x, y, z = read_ensight(folder, "tiny").GetBlock(0).GetPoint(0)
    check_close("tiny", "x in units of 1e-12", x * 1e12, -1.0)
    check("tiny", "y and z", (y, z), (0.0, 5.0))
    check("nan", "elements", read_ensight(folder, "nan").GetBlock(0).GetNumberOfCells(), 288)


# ---- Wavefront OBJ ----

def write_obj(folder, name, surface):
    writer = vtk.vtkOBJWriter()
    writer.SetFileName(f"{folder}/{name}.obj")
    writer.SetInputData(surface)
    writer.Write()
    return points_of(surface)


def read_obj(path):
    reader = vtk.vtkOBJReader()
    reader.SetFileName(path)
    reader.Update()
    return reader.GetOutput()


def check_obj(folder, programs):
    sphere = vtk.vtkSphereSource()  # with normals at its nodes
    sphere.SetThetaResolution(24)
    sphere.SetPhiResolution(13)
    sphere.Update()
    points = write_obj(folder, "vtk_sphere", sphere.GetOutput())
    common.check_our_obj("vtk_sphere", f"{folder}/vtk_sphere.obj", programs, points,
                         normals=266, triangles=528)
    plane = vtk.vtkPlaneSource()  # of quadrangles, with normals and texture coordinates
    plane.SetResolution(3, 2)
    plane.SetOrigin(-1, -2, 1e-3)
    plane.Update()
    points = write_obj(folder, "vtk_plane", plane.GetOutput())
    common.check_our_obj("vtk_plane", f"{folder}/vtk_plane.obj", programs, points,
                         normals=12, textures=12, quads=6)

    # Of ours VTK refuses the first face, and gives nothing.
    check("ours", "nodes", read_obj(f"{folder}/ours.obj").GetNumberOfPoints(), 0)
    mended = read_obj(common.mend_obj(folder, "vtk"))
    check("mended", "nodes", mended.GetNumberOfPoints(), 169)
    check("mended", "faces", mended.GetNumberOfCells(), 288 + 144)


common.main({"vtk": check_vtk, "ensight": check_ensight, "obj": check_obj})
