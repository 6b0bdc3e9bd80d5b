"""What the check_*.py have in common: each reads the sample files with another program and compares
what that finds with what we wrote, or the reverse. `python3 check_CLIENT.py FORMAT FOLDER PROGRAMS`
reads the files of one format in FOLDER, with our own programs in PROGRAMS. It exits with 77, and says
why, where the other program is not to be had.

What a program takes differently from what we mean is asserted as it is, and listed in
docs/formats.md; a test that fails here says that the list is out of date.
"""
import json
import math
import subprocess
import sys

MISSING = 77

failures = []


def missing(what):
    print(f"skipped: {what} is not installed")
    sys.exit(MISSING)


def main(checks):
    file_format, folder, programs = sys.argv[1:4]
    checks[file_format](folder, programs)
    for line in failures:
        print(line)
    sys.exit(1 if failures else 0)


def samples(folder):
    """By name: dim, higher (of second order), nodes, elements by kind, low, high and measure, which is
    the volume, area or length."""
    with open(f"{folder}/expected.json") as file:
        return json.load(file)


def run(*command):
    return subprocess.run(command, capture_output=True, encoding="utf-8", errors="replace")


def check(name, what, found, expected):
    if found != expected:
        failures.append(f"{name}: {what} is {found}, expected {expected}")


def check_close(name, what, found, expected):
    """To the precision of 32-bit floats, in which some of the programs keep coordinates. What is to be
    exactly 0 goes through check()."""
    if not abs(found - expected) <= 1e-5 * max(1.0, abs(expected)):
        failures.append(f"{name}: {what} is {found}, expected {expected}")


def check_box(name, points, sample):
    """points: the nodes, or any that span the same box."""
    for d in range(3):
        along = [float(p[d]) for p in points]
        check_close(name, f"lower bound {d}", min(along), sample["low"][d])
        check_close(name, f"upper bound {d}", max(along), sample["high"][d])


# Faces with their normals outwards, as finite elements are numbered as a rule.
FACES = {
    "tetra": ((0, 2, 1), (0, 1, 3), (1, 2, 3), (0, 3, 2)),
    "pyra": ((0, 3, 2, 1), (0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4)),
    "penta": ((0, 2, 1), (3, 4, 5), (0, 1, 4, 3), (1, 2, 5, 4), (2, 0, 3, 5)),
    "hexa": ((0, 3, 2, 1), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)),
}


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def measure(kind, corners):
    """Length, area or signed volume of an element, from the coordinates of its corners."""
    own = [[float(x) - float(y) for x, y in zip(p, corners[0])] for p in corners]
    if kind == "bar":
        return math.sqrt(dot(own[1], own[1]))
    if kind in ("tria", "quad"):
        normals = [cross(own[k], own[k + 1]) for k in range(1, len(own) - 1)]
        total = [sum(n[d] for n in normals) for d in range(3)]
        return math.sqrt(dot(total, total)) / 2
    volume = 0.0
    for face in FACES[kind]:
        a, *rest = (own[k] for k in face)
        volume += sum(dot(a, cross(b, c)) for b, c in zip(rest, rest[1:])) / 6
    return volume


def volume_within(points, triangles):
    """Of a closed surface whose triangles look outwards."""
    return sum(dot(points[a], cross(points[b], points[c])) for a, b, c in triangles) / 6


PIECES = {"tetra": 6, "penta": 2}
BOXES = 150


def measure_with_inverted(sample, kind):
    """The measure where elements of one kind count as negative. The mixes are made of 150 boxes of one
    size, some of them of 6 tetrahedra or 2 wedges each."""
    count = sample["elements"].get(kind, 0)
    if len(sample["elements"]) > 1:
        return sample["measure"] * (1 - 2 * count / PIECES[kind] / BOXES)
    return sample["measure"] * (-1 if count else 1)


def medit_kinds(sample):
    """Elements by kind as a MEDIT file has them: pyramids and wedges are hexahedra with repeated
    nodes."""
    found = {}
    for kind, n in sample["elements"].items():
        written = "hexa" if kind in ("pyra", "penta") else kind
        found[written] = found.get(written, 0) + n
    return found


# ---- Wavefront OBJ, which we read ----

def check_our_obj(name, path, programs, points, nodes=None, normals=0, textures=0, triangles=0,
                  quads=0):
    """What our reader finds in a file of another program. points: the nodes, or any that span the same
    box where their number is given."""
    result = run(f"{programs}/read_obj", path)
    check(name, "exit of our reader", result.returncode, 0)
    if result.returncode == 0:
        found = json.loads(result.stdout)
        check_box(name, (found.pop("low"), found.pop("high")), box_of(points))
        check(name, "counts", found, {"nodes": nodes or len(points), "normals": normals,
                                      "textures": textures, "triangles": triangles,
                                      "quads": quads})


def box_of(points):
    return {"low": [min(p[d] for p in points) for d in range(3)],
            "high": [max(p[d] for p in points) for d in range(3)]}


def mend_obj(folder, reader):
    """Our file as docs/formats.md tells to mend it. Each test has its own, since they run together."""
    path = f"{folder}/mended_for_{reader}.obj"
    with open(f"{folder}/ours.obj") as ours, open(path, "w") as mended:
        for line in ours:
            mended.write(line.lstrip().replace("//", " "))
    return path
