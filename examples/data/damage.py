"""Damages a binary STL file: tears a hole in its surface and adds a second piece, a small pin.

    python3 damage.py IN.stl OUT.stl
"""
import math
import struct
import sys

HOLE = (30.0, 0.0, 9.0)  # centre on the plate's upper face
RADIUS = 6.0
PIN = (-2.0, 0.0)  # axis of the pin, inside the plate's bore


def read(path):
    data = open(path, "rb").read()
    (count,) = struct.unpack_from("<I", data, 80)
    return [struct.unpack_from("<12f", data, 84 + 50 * i) for i in range(count)]


def facet(a, b, c):
    return (0.0, 0.0, 0.0) + a + b + c


def pin(x, y, radius=4.0, bottom=-3.0, top=26.0, n=48):
    ring = [(x + radius * math.cos(2 * math.pi * k / n), y + radius * math.sin(2 * math.pi * k / n))
            for k in range(n)]
    for k in range(n):
        p, q = ring[k], ring[(k + 1) % n]
        yield facet((x, y, bottom), q + (bottom,), p + (bottom,))
        yield facet((x, y, top), p + (top,), q + (top,))
        yield facet(p + (bottom,), q + (bottom,), q + (top,))
        yield facet(p + (bottom,), q + (top,), p + (top,))


def near_hole(f):
    centre = [sum(f[3 + 3 * k + d] for k in range(3)) / 3 for d in range(3)]
    return math.dist(centre, HOLE) < RADIUS


def main():
    facets = [f for f in read(sys.argv[1]) if not near_hole(f)] + list(pin(*PIN))
    with open(sys.argv[2], "wb") as out:
        out.write(b"bracket with a hole and a loose pin".ljust(80, b"\0"))
        out.write(struct.pack("<I", len(facets)))
        for f in facets:
            out.write(struct.pack("<12fH", *f, 0))


main()
