#!/usr/bin/env bash
# surface_report_test.sh SOURCE EXAMPLES WORK
set -euo pipefail
data=$1/examples/data
report=$2/surface_report
rm -rf "$3" && mkdir -p "$3" && cd "$3"

# The numbers are those of an independent count of the same files.
"$report" "$data/bracket.stl" >whole
grep -q 'bracket.stl: binary STL' whole
grep -q 'triangles   45486 in the file, 45486 after welding' whole
grep -q 'free edges  0$' whole
grep -q 'more than two triangles  0$' whole
grep -q 'pieces      1: 45486 triangles' whole
test -s lattiq-report/bracket.mesh
test ! -e lattiq-report/bracket_free_edges.mesh
grep -q '</svg>' lattiq-report/bracket.svg

"$report" "$data/bracket_damaged.stl" >damaged
grep -q 'triangles   10500 in the file, 10500 after welding' damaged
grep -q 'free edges  18$' damaged
grep -q 'pieces      2: ' damaged
test -s lattiq-report/bracket_damaged_free_edges.mesh

# A text file, told apart by its content and not by its name.
cat >tetra.stl <<'STL'
solid tetra
facet normal 0 0 -1
outer loop
vertex 0 0 0
vertex 0 1 0
vertex 1 0 0
endloop
endfacet
facet normal 0 -1 0
outer loop
vertex 0 0 0
vertex 1 0 0
vertex 0 0 1
endloop
endfacet
facet normal -1 0 0
outer loop
vertex 0 0 0
vertex 0 0 1
vertex 0 1 0
endloop
endfacet
facet normal 1 1 1
outer loop
vertex 1 0 0
vertex 0 1 0
vertex 0 0 1
endloop
endfacet
endsolid tetra
STL
"$report" tetra.stl >text
grep -q 'tetra.stl: text STL' text
grep -q 'nodes       12 in the file, 4 after welding' text

# Files that cannot be reported on: one line each, a failing exit, and the others still reported.
: >empty.stl
printf 'solid nothing\nendsolid nothing\n' >nothing.stl
if "$report" missing.stl empty.stl nothing.stl . tetra.stl >some 2>errors; then exit 1; fi
grep -q 'tetra.stl: text STL' some
test "$(wc -l <errors)" -eq 4
grep -q '^missing.stl: cannot be read$' errors
grep -q '^empty.stl: is empty$' errors
grep -q '^nothing.stl: holds no facet$' errors
