// An angle bracket: a base plate with four countersunk holes, an upright with a bored boss, two
// gussets, and fillets along the inner corner and the outer edges. Millimetres.
//
//   gmsh -2 bracket.geo -format stl -bin -o bracket.stl
//   gmsh -2 -clscale 2.2 bracket.geo -format stl -bin -o coarse.stl
//   python3 damage.py coarse.stl bracket_damaged.stl
SetFactory("OpenCASCADE");

// Base plate and upright.
Box(1) = {-50, -35, 0, 100, 70, 9};
Box(2) = {-50, -35, 0, 9, 70, 70};
body() = BooleanUnion{ Volume{1}; Delete; }{ Volume{2}; Delete; };

// The corners of the plate's free end and of the upright's top.
outer() = {};
edges() = Unique(Abs(Boundary{ Boundary{ Volume{body()}; } }));
For i In {0 : #edges() - 1}
  box() = BoundingBox Curve{ edges(i) };
  across = box(3) - box(0);
  along = box(4) - box(1);
  up = box(5) - box(2);
  If (up > 5 && across < 1 && box(0) > 40)
    outer() += edges(i);
  EndIf
  If (across > 5 && across < 20 && along < 1 && box(2) > 60)
    outer() += edges(i);
  EndIf
EndFor
body() = Fillet{ body() }{ outer() }{ 12 };

// The inner corner.
inner() = {};
edges() = Unique(Abs(Boundary{ Boundary{ Volume{body()}; } }));
For i In {0 : #edges() - 1}
  box() = BoundingBox Curve{ edges(i) };
  If (box(4) - box(1) > 60 && Abs(box(0) + 41) < 0.5 && Abs(box(2) - 9) < 0.5)
    inner() += edges(i);
  EndIf
EndFor
body() = Fillet{ body() }{ inner() }{ 6 };

// Gussets.
For k In {0 : 1}
  y = k == 0 ? -27 : 20;
  p = newp;
  Point(p) = {-43, y, 7};
  Point(p + 1) = {2, y, 7};
  Point(p + 2) = {-43, y, 52};
  l = newl;
  Line(l) = {p, p + 1};
  Line(l + 1) = {p + 1, p + 2};
  Line(l + 2) = {p + 2, p};
  w = newll;
  Curve Loop(w) = {l, l + 1, l + 2};
  s = news;
  Plane Surface(s) = {w};
  rib() = Extrude{0, 7, 0}{ Surface{s}; };
  body() = BooleanUnion{ Volume{body()}; Delete; }{ Volume{rib(1)}; Delete; };
EndFor

// Boss on the upright, then everything that is bored.
v = newv;
Cylinder(v) = {-50, 0, 48, 20, 0, 0, 15};
body() = BooleanUnion{ Volume{body()}; Delete; }{ Volume{v}; Delete; };
tools() = {};
v = newv;
Cylinder(v) = {-60, 0, 48, 60, 0, 0, 9};
tools() += v;
v = newv;
Cylinder(v) = {-2, 0, -1, 0, 0, 12, 8};
tools() += v;
For k In {0 : 3}
  x = k < 2 ? 17 : 39;
  y = (k % 2) == 0 ? -21 : 21;
  v = newv;
  Cylinder(v) = {x, y, -1, 0, 0, 12, 3.4};
  Cone(v + 1) = {x, y, 5.5, 0, 0, 3.6, 3.4, 7};
  tools() += {v, v + 1};
EndFor
body() = BooleanDifference{ Volume{body()}; Delete; }{ Volume{tools()}; Delete; };

Mesh.MeshSizeMin = 0.4;
Mesh.MeshSizeMax = 1.55;
Mesh.MeshSizeFromCurvature = 36;
Mesh.Algorithm = 6;
Mesh.StlOneSolidPerSurface = 0;
