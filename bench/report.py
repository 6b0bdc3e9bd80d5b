"""Turns the results of the benchmarks into tables and a chart: see scripts/bench.

usage: report.py RESULTS [--write DOCS]

RESULTS holds one JSON file per operation, as Google Benchmark writes them. Prints the tables; with
--write, writes DOCS/performance.md and DOCS/performance.svg too.
"""

import json
import math
import platform
import subprocess
import sys
from collections import defaultdict
from pathlib import Path
from statistics import median

# Order of the chapters of the page: the folders of the library.
FOLDERS = ["formats", "cleaning", "search", "connectivity", "quality", "metrics", "geometry", "core"]

NAMES = {
    "vtk": "VTK", "cgal": "CGAL", "eigen": "Eigen", "lapack": "bare dspev",
    "plain": "plain C++", "stdio": "stdio", "verdict": "verdict",
}

# Shown for comparison, but no peer that does the same job: not what the ratio is taken to.
OTHER_JOB = {("node_detector", "vtk_grid"), ("eigen_pairs", "lapack")}

PACKAGES = ["libvtk9-dev", "libcgal-dev", "libnanoflann-dev", "libmeshoptimizer-dev",
            "libadmesh-dev", "libassimp-dev", "libeigen3-dev", "libbenchmark-dev", "liblapack-dev"]


class Row:
    """One operation on one input: what each of the programs measured took."""

    def __init__(self, operation, kind, elements):
        self.operation, self.kind, self.elements = operation, kind, elements
        self.times = defaultdict(list)  # who -> ns per element, one per repetition
        self.memory = {}                # who -> (result, scratch), bytes per element

    def ns(self, who):
        return median(self.times[who])

    def spread(self, who):
        """Half the distance between the quartiles, as a part of the median."""
        ordered = sorted(self.times[who])
        quarter = len(ordered) // 4
        return (ordered[-1 - quarter] - ordered[quarter]) / 2 / self.ns(who)

    def peers(self):
        return [who for who in self.times if who != "lattiq" and not who.endswith("_conversion")]

    def rivals(self):
        return [who for who in self.peers() if (self.operation, who) not in OTHER_JOB]

    def fastest(self):
        return min(self.rivals(), key=self.ns, default=None)

    def ratio(self):
        rival = self.fastest()
        return self.ns(rival) / self.ns("lattiq") if rival else None


def load(results):
    rows = {}
    context = None
    for path in sorted(Path(results).glob("*.json")):
        data = json.loads(path.read_text())
        context = context or data["context"]
        for run in data["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                raise SystemExit(f"{run['name']}: {run['error_message']}")
            operation, kind, elements, who = run["run_name"].split("/")[:4]
            key = (operation, kind, int(elements))
            row = rows.setdefault(key, Row(*key))
            scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
            row.times[who].append(run["real_time"] * scale / int(elements))
            row.memory[who] = (run["kept"], run["scratch"])
    return sorted(rows.values(), key=lambda r: (r.operation, base_kind(r.kind), r.kind, r.elements)), context


def base_kind(kind):
    return kind.removesuffix("_shuffled")


def folder_of(operation, bench):
    for folder in FOLDERS:
        if (bench / folder / f"{operation}_bench.cpp").exists():
            return folder
    return next((f for f in FOLDERS for p in (bench / f).glob("*_bench.cpp")
                 if operation.startswith(p.name.removesuffix("_bench.cpp"))), FOLDERS[-1])


def count(n):
    return f"{n / 1e6:.3g} M" if n >= 1e6 else f"{n / 1e3:.3g} k"


def cost(ns):
    return f"{ns:.0f}" if ns >= 100 else f"{ns:.3g}"


def name(who):
    return NAMES.get(who, who.replace("_", " "))


def peers_text(row):
    parts = []
    for who in sorted(row.peers(), key=row.ns):
        text = f"{name(who)} {cost(row.ns(who))}"
        conversion = f"{who}_conversion"
        if conversion in row.times:
            text += f" (+{cost(row.ns(conversion))})"
        parts.append(text)
    return ", ".join(parts)


def table(rows):
    lines = ["| operation | input | elements | lattiq ns | peers ns (+ conversion) | ratio | result B | scratch B |",
             "|---|---|--:|--:|---|--:|--:|--:|"]
    for row in rows:
        ratio = row.ratio()
        kept, scratch = row.memory["lattiq"]
        lines.append(f"| `{row.operation}` | {row.kind.replace('_', ' ')} | {count(row.elements)} "
                     f"| {cost(row.ns('lattiq'))} | {peers_text(row)} "
                     f"| {'' if ratio is None else f'**{ratio:.2f}**'} "
                     f"| {kept:.3g} | {scratch:.3g} |")
    return lines


def growth(rows):
    """Cost per element of the largest input over that of the smallest, in natural numbering."""
    series = defaultdict(list)
    for row in rows:
        if not row.kind.endswith("_shuffled"):
            series[row.operation, row.kind].append(row)
    lines = ["| operation | input | ns, smallest | ns, largest | growth |", "|---|---|--:|--:|--:|"]
    for (operation, kind), found in series.items():
        small, large = found[0], found[-1]
        if large.elements < 20 * small.elements:
            continue
        lines.append(f"| `{operation}` | {kind.replace('_', ' ')} | {cost(small.ns('lattiq'))} at {count(small.elements)} "
                     f"| {cost(large.ns('lattiq'))} at {count(large.elements)} "
                     f"| {large.ns('lattiq') / small.ns('lattiq'):.2f} |")
    return lines


def chart(rows):
    """Bars of the ratio to the fastest peer, on a logarithmic scale, at the largest size it has."""
    largest = {}
    for row in rows:
        if row.rivals():
            largest[row.operation, row.kind] = row
    bars = list(largest.values())
    left, width, step, top = 330, 470, 20, 48
    span = math.log10(max(max((r.ratio() for r in bars), default=1.0) * 1.3, 10.0))
    low = min(0.0, math.log10(min((r.ratio() for r in bars), default=1.0)))

    def x(ratio):
        return left + width * (math.log10(ratio) - low) / (span - low)

    height = top + step * len(bars) + 16
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 150} {height}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{left + width + 150}" height="{height}" fill="#ffffff"/>',
           f'<text x="{left}" y="18" font-size="14" fill="#222222">'
           'Times as fast as the fastest peer (same input, same run, one core)</text>']
    for tick in (0.5, 1, 2, 5, 10, 20, 50, 100, 200):
        if low <= math.log10(tick) <= span:
            colour = "#444444" if tick == 1 else "#dddddd"
            out.append(f'<line x1="{x(tick):.1f}" x2="{x(tick):.1f}" y1="{top - 8}" y2="{height - 10}" stroke="{colour}"/>')
            out.append(f'<text x="{x(tick):.1f}" y="{top - 12}" text-anchor="middle" fill="#666666">{tick:g}</text>')
    for i, row in enumerate(bars):
        y = top + step * i
        ratio = row.ratio()
        a, b = sorted((x(1.0), x(ratio)))
        colour = "#2a6f97" if ratio >= 1.0 else "#b3541e"
        label = f"{row.operation} {row.kind.replace('_', ' ')}"
        out.append(f'<text x="{left - 8}" y="{y + 13}" text-anchor="end" fill="#222222">{label}</text>')
        out.append(f'<rect x="{a:.1f}" y="{y + 3}" width="{max(b - a, 1):.1f}" height="{step - 7}" fill="{colour}"/>')
        out.append(f'<text x="{b + 6:.1f}" y="{y + 13}" fill="#222222">{ratio:.2g} {name(row.fastest())}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


def output_of(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return "unknown"


def surroundings(context, root):
    model = "unknown processor"
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    memory = next((int(line.split()[1]) for line in Path("/proc/meminfo").read_text().splitlines()
                   if line.startswith("MemTotal")), 0)
    caches = ", ".join(f"L{c['level']} {c['size'] // 1024} KiB" for c in context.get("caches", [])
                       if c["type"] != "Instruction")
    versions = [f"{package} {output_of('dpkg-query', '-W', '-f=${Version}', package)}"
                for package in PACKAGES]
    return [
        f"- Machine: {model}, {context['num_cpus']} cores, {memory / 2 ** 20:.0f} GiB; {caches}; "
        f"{platform.system()} {platform.release().split('-')[0]}",
        f"- Compiler: {output_of('g++', '--version').splitlines()[0]}, -O3 (a Release build, no flags for "
        "the machine)",
        f"- Commit: {output_of('git', '-C', str(root), 'describe', '--always', '--dirty')}",
        f"- Peers: {'; '.join(versions)}",
    ]


PREFACE = """# Performance

What an operation costs, beside the libraries that one would use instead. `scripts/bench` measures
this page anew; it installs the peers.

![Ratios to the fastest peer](performance.svg)

"""

READING = """
## How to read it

- Each operation and its peers take turns in random order, in one run, on the same inputs, on one
  core. A figure is the median of 7 repetitions. Time is that of the processor, user and system. What
  it takes to release a result is not counted on either side.
- Freed memory stays with the program, for all alike: results are written to pages that it had before.
  New pages cost what the system takes to clear them.
- Times are nanoseconds per element (node, facet, point, query or tensor where these are the
  elements). In brackets: the conversion of the input to the peer's own form, which its figure does
  not include.
- Ratio: the time of the fastest peer over ours; above 1 lattiq is faster.
- Memory is in bytes per element: what the result holds, and the most that was held beside the input
  and the result while it was made.
- Inputs are made by a seeded generator (`bench/support/inputs.cpp`). "Shuffled" has nodes and elements
  in random order, otherwise they run along a grid. Coordinates are moved at random, so that no two
  lengths agree.
"""


def main():
    results = sys.argv[1]
    bench = Path(__file__).resolve().parent
    rows, context = load(results)
    if not rows:
        raise SystemExit("no results")
    chapters = {folder: [r for r in rows if folder_of(r.operation, bench) == folder]
                for folder in FOLDERS}
    ordered = [row for folder in FOLDERS for row in chapters[folder]]
    notes_file = bench / "peers.md"
    text = []
    for folder, found in chapters.items():
        if found:
            text += [f"## {folder}", ""] + table(found) + [""]
    grown = growth(ordered)
    if len(grown) > 2:
        text += ["## Growth", "",
                 "Cost per element of the largest input over that of the smallest, natural numbering. Only",
                 "the points and queries of `uniform` stand in random order, so that a query of many waits for",
                 "memory at each step; those of `ordered` are numbered as a mesh is.", ""]
        text += grown + [""]
    print("\n".join(text))
    slower = [r for r in ordered if r.ratio() is not None and r.ratio() < 1.0]
    for row in slower:
        print(f"below 1: {row.operation} {row.kind} {count(row.elements)}: {row.ratio():.2f}", file=sys.stderr)

    if len(sys.argv) == 4 and sys.argv[2] == "--write":
        docs = Path(sys.argv[3])
        peers = notes_file.read_text().rstrip() + "\n"
        page = PREFACE + "\n".join(surroundings(context, bench.parent)) + "\n"
        page += READING + "\n" + peers + "\n" + "\n".join(text)
        (docs / "performance.md").write_text(page.rstrip() + "\n")
        (docs / "performance.svg").write_text(chart(ordered))


main()
