#include <limits>

#include <vtkDoubleArray.h>
#include <vtkPlane.h>
#include <vtkPointData.h>
#include <vtkThreshold.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(clip)
{
    bench::add_on_meshes("clip", "tetra", [](const bench::mesh& m) {
        return [&m] {
            dense2D<unsigned> clipped;
            clip(m.pos, m.connectM, vector_fixed<double, 3>{0.5, 0.5, 0.5},
                 vector_fixed<double, 3>{1, 0.3, 0.1}, clipped);
            return clipped;
        };
    });
    // Numbers the nodes anew too, which comes with any extraction of its cells.
    bench::add_peer_on_meshes("clip", "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)] {
            vtkNew<vtkPlane> plane;
            plane->SetOrigin(0.5, 0.5, 0.5);
            plane->SetNormal(1, 0.3, 0.1);
            vtkNew<vtkDoubleArray> distance;
            distance->SetNumberOfValues(grid->GetNumberOfPoints());
            plane->EvaluateFunction(grid->GetPoints()->GetData(), distance);
            const auto sides = bench::fresh(grid);
            sides->GetPointData()->SetScalars(distance);
            vtkNew<vtkThreshold> filter;
            filter->SetInputData(sides);
            filter->AllScalarsOn();
            filter->SetThresholdFunction(vtkThreshold::THRESHOLD_UPPER);
            filter->SetUpperThreshold(std::numeric_limits<double>::denorm_min()); // above 0
            filter->Update();
            return vtkSmartPointer<vtkDataObject>(filter->GetOutputDataObject(0));
        };
    });
}
