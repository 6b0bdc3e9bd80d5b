#pragma once

#include <string>

#include <vtkTransform.h>

#include "support/on_meshes.h"
#include "support/peers.h"

namespace bench {

/// Registers the peer of a motion of all nodes: `set(transform)` says which. It has no motion in
/// place, so the moved points go into an object that has the room already.
template <typename Set>
void add_moved_points(const std::string& operation, Set set)
{
    add_peer_on_meshes(operation, "tetra", "vtk", [=](const mesh& m) {
        const auto moved = vtkSmartPointer<vtkPoints>::New();
        moved->SetDataTypeToDouble();
        return [=, points = vtk_points(m.pos)] {
            vtkNew<vtkTransform> transform;
            set(*transform);
            moved->Reset();
            transform->TransformPoints(points, moved);
            return moved->GetNumberOfPoints();
        };
    });
}

} // namespace bench
