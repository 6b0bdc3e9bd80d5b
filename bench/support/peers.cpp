#include "support/peers.h"

#include <vtkCellArray.h>
#include <vtkCellType.h>
#include <vtkDoubleArray.h>
#include <vtkIdTypeArray.h>
#include <vtkSMPTools.h>
#include <vtkUnsignedCharArray.h>

namespace bench {

using namespace kz3;
using namespace kz3::lattiq;

namespace {

[[maybe_unused]] const bool one_thread =
    (vtkSMPTools::SetBackend("Sequential"), vtkSMPTools::Initialize(1), true);

/// The nodes of a column and the kind that VTK knows it as.
struct vtk_cell {
    unsigned nodes;
    unsigned char type;
};

vtk_cell cell_of(const mesh& from, size_t e)
{
    unsigned nodes = unsigned(from.connectM.rows);
    while (nodes > 3 && from.connectM(nodes - 1, e) == NO_NODE) --nodes;
    const bool surface = from.type == ET_TRIA3 || from.type == ET_QUAD4 || from.type == ET_FACE_MIX;
    if (surface) return {nodes, (unsigned char)(nodes == 3 ? VTK_TRIANGLE : VTK_QUAD)};
    switch (nodes) {
    case 4:
        return {nodes, VTK_TETRA};
    case 5:
        return {nodes, VTK_PYRAMID};
    case 6:
        return {nodes, VTK_WEDGE};
    default:
        return {nodes, VTK_HEXAHEDRON};
    }
}

/// Offsets and node IDs as VTK keeps them, and the kinds where wanted.
vtkSmartPointer<vtkCellArray> vtk_cells(const mesh& from, vtkUnsignedCharArray* types)
{
    const size_t n = from.elements();
    vtkNew<vtkIdTypeArray> offsets;
    vtkNew<vtkIdTypeArray> ids;
    offsets->SetNumberOfValues(vtkIdType(n + 1));
    ids->SetNumberOfValues(vtkIdType(n * from.connectM.rows));
    if (types) types->SetNumberOfValues(vtkIdType(n));
    vtkIdType* const first = ids->GetPointer(0);
    vtkIdType at = 0;
    for (size_t e = 0; e < n; ++e) {
        const vtk_cell cell = cell_of(from, e);
        offsets->SetValue(vtkIdType(e), at);
        if (types) types->SetValue(vtkIdType(e), cell.type);
        for (unsigned k = 0; k < cell.nodes; ++k) first[at++] = from.connectM(k, e);
    }
    offsets->SetValue(vtkIdType(n), at);
    ids->Resize(at);
    ids->SetNumberOfValues(at);
    auto cells = vtkSmartPointer<vtkCellArray>::New();
    cells->SetData(offsets, ids);
    return cells;
}

} // namespace

vtkSmartPointer<vtkPoints> vtk_points(const dense2D<double>& pos)
{
    auto points = vtkSmartPointer<vtkPoints>::New();
    points->SetDataTypeToDouble();
    points->SetNumberOfPoints(vtkIdType(pos.cols));
    for (size_t j = 0; j < pos.cols; ++j)
        points->SetPoint(vtkIdType(j), pos(0, j), pos(1, j), pos.rows > 2 ? pos(2, j) : 0.0);
    return points;
}

vtkSmartPointer<vtkUnstructuredGrid> vtk_grid(const mesh& from)
{
    auto grid = vtkSmartPointer<vtkUnstructuredGrid>::New();
    grid->SetPoints(vtk_points(from.pos));
    vtkNew<vtkUnsignedCharArray> types;
    const auto cells = vtk_cells(from, types);
    grid->SetCells(types, cells);
    return grid;
}

vtkSmartPointer<vtkPolyData> vtk_surface(const mesh& from)
{
    auto surface = vtkSmartPointer<vtkPolyData>::New();
    surface->SetPoints(vtk_points(from.pos));
    surface->SetPolys(vtk_cells(from, nullptr));
    return surface;
}

vtkSmartPointer<vtkUnstructuredGrid> fresh(vtkUnstructuredGrid* from)
{
    auto grid = vtkSmartPointer<vtkUnstructuredGrid>::New();
    grid->SetPoints(from->GetPoints());
    grid->SetCells(from->GetCellTypesArray(), from->GetCells());
    return grid;
}

vtkSmartPointer<vtkPolyData> fresh(vtkPolyData* from)
{
    auto surface = vtkSmartPointer<vtkPolyData>::New();
    surface->SetPoints(from->GetPoints());
    surface->SetPolys(from->GetPolys());
    return surface;
}

} // namespace bench
