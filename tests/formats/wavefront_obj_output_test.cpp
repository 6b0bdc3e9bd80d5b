#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/obj_files.h"
#include "plain/formats/random_mesh.h"
#include "plain/formats/wavefront_obj.h"
#include "support/comma_locale.h"
#include "support/exhausted.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::WavefrontOBJ_output;

namespace {

const dense2D<double> no_values;
const dense2D<unsigned> no_faces;

struct result {
    int code;
    std::string text;
};

result write(const dense2D<double>& pos, const dense2D<double>& normals,
             const dense2D<double>& textures, const dense2D<unsigned>& triangles,
             const dense2D<unsigned>& quads)
{
    const temporary_file out("what stood here before");
    const int code = WavefrontOBJ_output(out.name(), pos, normals, textures, triangles, quads);
    return {code, out.read()};
}

// Three nodes, each value of which is a different one.
dense2D<double> nodes()
{
    return columns<double>({{0, 1, -2}, {0.5, 1e10, -1e-300}, {1.0 / 3, 123456789.123, -7}});
}
const std::string node_lines = " v 0.00000000e+00 1.00000000e+00 -2.00000000e+00 \n"
                               " v 5.00000000e-01 1.00000000e+10 -1.00000000e-300 \n"
                               " v 3.33333333e-01 1.23456789e+08 -7.00000000e+00 \n";

dense2D<double> normals()
{
    return columns<double>({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
}
const std::string normal_lines = " vn 1.00000000e+00 0.00000000e+00 0.00000000e+00 \n"
                                 " vn 0.00000000e+00 1.00000000e+00 0.00000000e+00 \n"
                                 " vn 0.00000000e+00 0.00000000e+00 1.00000000e+00 \n";

dense2D<double> textures()
{
    return columns<double>({{0, 0.25}, {0.5, 0.75}, {1, 1}});
}
const std::string texture_lines = " vt 0.00000000e+00 2.50000000e-01 \n"
                                  " vt 5.00000000e-01 7.50000000e-01 \n"
                                  " vt 1.00000000e+00 1.00000000e+00 \n";

TEST(WavefrontOBJOutput, RunsTheCornersOfAFaceTogether)
{
    const auto triangles = columns<unsigned>({{0, 1, 2}, {2, 0, 11}});
    const auto quads = columns<unsigned>({{3, 2, 1, 0}});
    const auto written = [&](const dense2D<double>& n, const dense2D<double>& t) {
        const result r = write(nodes(), n, t, triangles, quads);
        EXPECT_EQ(r.code, 0);
        return r.text;
    };
    EXPECT_TRUE(same_text(written(no_values, no_values),
                          node_lines + " f 1//2//3// \n f 3//1//12// \n f 4//3//2//1// \n"));
    EXPECT_TRUE(same_text(written(no_values, textures()),
                          node_lines + texture_lines +
                              " f 1/1/2/2/3/3/ \n f 3/3/1/1/12/12/ \n f 4/4/3/3/2/2/1/1/ \n"));
    EXPECT_TRUE(same_text(written(normals(), no_values),
                          node_lines + normal_lines +
                              " f 1//12//23//3 \n f 3//31//112//12 \n f 4//43//32//21//1 \n"));
    EXPECT_TRUE(
        same_text(written(normals(), textures()),
                  node_lines + texture_lines + normal_lines +
                      " f 1/1/12/2/23/3/3 \n f 3/3/31/1/112/12/12 \n f 4/4/43/3/32/2/21/1/1 \n"));
}

TEST(WavefrontOBJOutput, WritesAMeshInThePlaneAtZ0)
{
    const result r = write(columns<double>({{1.5, -2}}), no_values, no_values, no_faces, no_faces);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.text, " v 1.50000000e+00 -2.00000000e+00 0.00000000e+00 \n");
}

TEST(WavefrontOBJOutput, WritesTheGoldenFile)
{
    dense2D<double> pos(2, 9);
    dense2D<double> up(3, 9, 0.0);
    dense2D<double> uv(2, 9);
    for (std::size_t j = 0; j < 9; ++j) {
        pos(0, j) = uv(0, j) = double(j % 3) / 3;
        pos(1, j) = uv(1, j) = double(j / 3) * 1e6;
        up(2, j) = 1;
    }
    const strided<unsigned> triangles(columns<unsigned>({{0, 1, 4}, {0, 4, 3}}));
    const strided<unsigned> quads(columns<unsigned>({{1, 2, 5, 4}, {3, 4, 7, 6}, {4, 5, 8, 7}}));
    const result r = write(strided<double>(pos).view, strided<double>(up).view,
                           strided<double>(uv).view, triangles.view, quads.view);
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(same_text(r.text, golden("plane.obj")));
}

TEST(WavefrontOBJOutput, WritesNothingForEmptyMatrices)
{
    for (const auto& nothing : {dense2D<unsigned>(), dense2D<unsigned>(3, 0),
                                dense2D<unsigned>(0, 5), dense2D<unsigned>(7, 0)})
        EXPECT_EQ(
            write(nodes(), dense2D<double>(0, 4), dense2D<double>(5, 0), nothing, nothing).text,
            node_lines);
    const result r = write(dense2D<double>(3, 0), no_values, no_values, no_faces, no_faces);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.text, "");
}

TEST(WavefrontOBJOutput, NeverComparesNodesWithTheColumnsOfPos)
{
    const result r = write(dense2D<double>(3, 0), no_values, no_values,
                           columns<unsigned>({{4294967294, 4294967293, 7}}), no_faces);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.text, " f 4294967295//4294967294//8// \n");
}

TEST(WavefrontOBJOutput, WritesCoordinatesThatAreNoNumbers)
{
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(write(columns<double>({{infinity, -infinity, std::nan("")}, {-0.0, 5e-324, 1e300}}),
                    no_values, no_values, no_faces, no_faces)
                  .text,
              " v inf -inf nan \n v -0.00000000e+00 4.94065646e-324 1.00000000e+300 \n");
}

// ---- codes ----

TEST(WavefrontOBJOutput, ReturnsTheFirstCodeThatApplies)
{
    const auto tria = columns<unsigned>({{0, 1, 2}});
    const auto quad = columns<unsigned>({{0, 1, 2, 3}});
    const auto bad_tria = columns<unsigned>({{0, 1, none}});
    const auto bad_quad = columns<unsigned>({{0, 1, 2, none}});
    const dense2D<double> line(1, 3, 0.0);
    const dense2D<double> four(4, 3, 0.0);
    const dense2D<double> short_normals(3, 2, 0.0);
    const dense2D<double> flat_normals(2, 3, 0.0);
    const dense2D<double> short_textures(2, 4, 0.0);
    const dense2D<double> high_textures(3, 3, 0.0);

    const auto expect = [](const result& r, int code) {
        EXPECT_EQ(r.code, code);
        EXPECT_EQ(r.text, "");
    };
    expect(write(line, normals(), textures(), tria, quad), -2);
    expect(write(four, normals(), textures(), tria, quad), -2);
    expect(write(dense2D<double>(), no_values, no_values, no_faces, no_faces), -2);
    expect(write(line, flat_normals, textures(), tria, quad), -2);
    expect(write(nodes(), flat_normals, textures(), tria, quad), -3);
    expect(write(nodes(), short_normals, textures(), tria, quad), -3);
    expect(write(nodes(), short_normals, high_textures, tria, quad), -3);
    expect(write(nodes(), normals(), high_textures, tria, quad), -4);
    expect(write(nodes(), normals(), short_textures, tria, quad), -4);
    expect(write(nodes(), normals(), short_textures, bad_tria, quad), -4);
    expect(write(nodes(), normals(), textures(), bad_tria, quad), -5);
    expect(write(nodes(), normals(), textures(), quad, quad), -5);
    expect(write(nodes(), normals(), textures(), bad_tria, bad_quad), -5);
    expect(write(nodes(), normals(), textures(), tria, bad_quad), -6);
    expect(write(nodes(), normals(), textures(), tria, tria), -6);
}

TEST(WavefrontOBJOutput, RefusesAFileThatCannotBeOpened)
{
    for (const char* name : {"/no/such/folder/x", static_cast<const char*>(nullptr)})
        EXPECT_EQ(
            WavefrontOBJ_output(name, dense2D<double>(), no_values, no_values, no_faces, no_faces),
            -1);
    EXPECT_EQ(WavefrontOBJ_output(testing::TempDir().c_str(), nodes(), no_values, no_values,
                                  no_faces, no_faces),
              -1);
}

TEST(WavefrontOBJOutput, DoesNotSeeAFailedWrite)
{
    EXPECT_EQ(WavefrontOBJ_output("/dev/full", nodes(), no_values, no_values, no_faces, no_faces),
              0);
    EXPECT_EQ(WavefrontOBJ_output("/dev/full", dense2D<double>(3, 20000, 0.0), no_values, no_values,
                                  dense2D<unsigned>(3, 20000, 0), no_faces),
              0);
}

TEST(WavefrontOBJOutput, ClosesTheFileOnEveryPath)
{
    const std::size_t before = open_descriptors();
    for (int round = 0; round < 5; ++round) {
        write(nodes(), no_values, no_values, no_faces, no_faces);
        write(dense2D<double>(), no_values, no_values, no_faces, no_faces);
        write(nodes(), dense2D<double>(1, 1), no_values, no_faces, no_faces);
        write(nodes(), no_values, dense2D<double>(1, 1), no_faces, no_faces);
        write(nodes(), no_values, no_values, dense2D<unsigned>(1, 1, 0), no_faces);
        write(nodes(), no_values, no_values, no_faces, dense2D<unsigned>(1, 1, 0));
    }
    EXPECT_EQ(open_descriptors(), before);
}

// ---- surroundings ----

TEST(WavefrontOBJOutput, WritesTheSameBytesAsThePlainWriter)
{
    plain::random_mesh make(7);
    int written = 0;
    int refused = 0;
    for (int round = 0; round < 300; ++round) {
        const auto pos = make.nodes(make.below(12) ? 2 + make.below(2) : 1, make.below(6));
        const auto per_node = [&](std::size_t rows) {
            if (make.below(2)) return dense2D<double>();
            return make.nodes(make.below(12) ? rows : 1, make.below(12) ? pos.cols : 2);
        };
        const auto n = per_node(3);
        const auto t = per_node(2);
        const auto faces = [&](int type) {
            return make.elements(make.below(12) ? type : int(kz3::lattiq::ET_BAR2), 2000000000, 4);
        };
        const auto triangles = faces(kz3::lattiq::ET_TRIA3);
        const auto quads = faces(kz3::lattiq::ET_QUAD4);
        const temporary_file plain_file;
        const int code = plain::WavefrontOBJ_output(plain_file.name(), pos, n, t, triangles, quads);
        const result r = write(pos, n, t, triangles, quads);
        ASSERT_EQ(r.code, code) << round;
        ASSERT_TRUE(same_text(r.text, plain_file.read())) << round;
        (code == 0 ? written : refused) += 1;
    }
    EXPECT_GT(written, 100);
    EXPECT_GT(refused, 30);
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(WavefrontOBJOutput, WritesTheSameBytesUnderALocaleWithADecimalComma)
{
    const auto triangles = columns<unsigned>({{1234567, 2, 3}});
    const auto call = [&] {
        return write(nodes(), normals(), textures(), triangles, no_faces).text;
    };
    const std::string expected = call();
    EXPECT_NE(expected.find("1234568/1234568"), std::string::npos);
    const comma_locale locale;
    EXPECT_TRUE(same_text(call(), expected));
}
#endif

TEST(WavefrontOBJOutput, NeedsNoMemory)
{
    const temporary_file out;
    const auto n = normals();
    const auto t = textures();
    const auto pos = nodes();
    const auto triangles = columns<unsigned>({{0, 1, 2}});
    const auto quads = columns<unsigned>({{0, 1, 2, 2}});
    const auto call = [&] { return WavefrontOBJ_output(out.name(), pos, n, t, triangles, quads); };
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, call), 0U);
    EXPECT_EQ(exhaust<allocation::fail_new>({}, call), 0U);
}

} // namespace
