#pragma once

#include <kz3/dense2D.h>

#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkUnstructuredGrid.h>

#include "support/inputs.h"

/// Inputs in the form of the peers. VTK is told to work on one thread before main.
namespace bench {

vtkSmartPointer<vtkPoints> vtk_points(const kz3::dense2D<double>& pos);
vtkSmartPointer<vtkUnstructuredGrid> vtk_grid(const mesh& from);

/// Triangles and quadrangles only.
vtkSmartPointer<vtkPolyData> vtk_surface(const mesh& from);

/// The same points and cells in a new object, which has worked nothing out about them yet.
vtkSmartPointer<vtkUnstructuredGrid> fresh(vtkUnstructuredGrid* from);
vtkSmartPointer<vtkPolyData> fresh(vtkPolyData* from);

} // namespace bench
