#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/obj_files.h"
#include "support/allocation.h"
#include "support/comma_locale.h"
#include "support/files.h"
#include "support/same.h"

namespace {

using namespace obj;
using ::same;
using obj::same;

TEST(WavefrontOBJInput, ReadsNodesNormalsTexturesAndFaces)
{
    const mesh m = read("# a comment\n"
                        "mtllib x.mtl\n"
                        "v 0 0 0\n"
                        "v 1 0 0.5\n"
                        "v 1 1 -1e1\n"
                        "v 0 1 +2\n"
                        "vt 0.25 0.5\n"
                        "vn 0 0 1\n"
                        "g group\ns off\no thing\nusemtl red\nvp 1 2 3\n"
                        "f 1 2 3\n"
                        "f 1/1/1 2/1/1 3/1/1 4/1/1\n"
                        "f 2//1 3//1 4//1\n"
                        "f 2/1 3/1 4/1 1/1\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.pos, columns<double>({{0, 0, 0}, {1, 0, 0.5}, {1, 1, -10}, {0, 1, 2}})));
    EXPECT_TRUE(same(m.normals, columns<double>({{0, 0, 1}})));
    EXPECT_TRUE(same(m.textures, columns<double>({{0.25, 0.5}})));
    EXPECT_TRUE(same(m.triangles, columns<unsigned>({{0, 1, 2}, {1, 2, 3}})));
    EXPECT_TRUE(same(m.quads, columns<unsigned>({{0, 1, 2, 3}, {1, 2, 3, 0}})));
}

TEST(WavefrontOBJInput, ReadsAnEmptyFileAsAnEmptyMesh)
{
    for (const char* content : {"", "\n", "\n\n \n\t\n\r\n", "# nothing", "x\n"}) {
        const mesh m = read(content);
        EXPECT_EQ(m.code, 0);
        EXPECT_TRUE(obj::empty(m));
    }
    EXPECT_EQ(read("v 1 2 3\n").code, 0);
}

TEST(WavefrontOBJInput, TakesKeywordsExactlyAndInLowerCase)
{
    const mesh m = read("V 1 2 3\nF 1 2 3\nvv 1\nv1 2 3\nvtn\nfx 1x\nVN\n#v 1\n\\v\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(obj::empty(m));
    EXPECT_TRUE(same(read(" \t v\t1 \v2\f3\r\n").pos, columns<double>({{1, 2, 3}})));
}

// ---- values ----

TEST(WavefrontOBJInput, TakesTheFirstThreeOfTheValuesOfANode)
{
    EXPECT_TRUE(same(read("v 1 2 3 4 5 6\n").pos, columns<double>({{1, 2, 3}})));
    EXPECT_TRUE(same(read("v 1 2 3 text\n").pos, columns<double>({{1, 2, 3}})));
    for (const char* line :
         {"v", "v\n", "v \n", "v 1 2\n", "v 1 2", "v 1 2 x\n", "v 1 x 2 3\n", "v\r\n"})
        EXPECT_EQ(read(line).code, -1) << line;
}

TEST(WavefrontOBJInput, WantsThreeValuesOfANormal)
{
    EXPECT_TRUE(same(read("vn 1 2 3\n").normals, columns<double>({{1, 2, 3}})));
    EXPECT_TRUE(same(read("vn 1 2 3 x 4\n").normals, columns<double>({{1, 2, 3}})));
    for (const char* line : {"vn", "vn\n", "vn \n", "vn 1 2\n", "vn 1 2 3 4\n", "vn 1 2 3 4 5\n"})
        EXPECT_EQ(read(line).code, -1) << line;
}

TEST(WavefrontOBJInput, TakesUpToThreeValuesOfATexture)
{
    EXPECT_TRUE(same(read("vt 1\nvt 2\n").textures, columns<double>({{1}, {2}})));
    EXPECT_TRUE(same(read("vt 1 2\nvt 3 4\n").textures, columns<double>({{1, 2}, {3, 4}})));
    EXPECT_TRUE(same(read("vt 1 2 3\n").textures, columns<double>({{1, 2, 3}})));
    for (const char* line : {"vt", "vt\n", "vt 1 2 3 4\n", "vt 1 2 3 4 x\n"})
        EXPECT_EQ(read(line).code, -1) << line;
}

TEST(WavefrontOBJInput, LosesTexturesOfAnotherHeight)
{
    const mesh m = read("vt 1 2\nvt 3\nvt 4 5 6\nvt 7 8\nvt x\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.textures, columns<double>({{1, 2}, {7, 8}})));
}

TEST(WavefrontOBJInput, TakesATextureWithoutValuesForALineButNotForAColumn)
{
    const mesh m = read("v 0 0 0\nvt \nvt x\nf 1/1 1/1 1/1\nvt 1 2\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.textures, columns<double>({{1, 2}})));
    EXPECT_EQ(m.triangles.cols, 1U); // a texture line came before the face
    EXPECT_EQ(read("vt x\nvt \n").textures.cols, 0U);
}

TEST(WavefrontOBJInput, ReadsDoublesAsAStreamDoes)
{
    // All values of a line: as many as can be read, in a column of textures.
    const auto values = [](const std::string& text) {
        const mesh m = read("vt " + text + "\n");
        EXPECT_EQ(m.code, 0) << text;
        return m.textures;
    };
    const dense2D<double> nothing;
    EXPECT_TRUE(same(values("1.5"), columns<double>({{1.5}})));
    EXPECT_TRUE(same(values("+1.5E+1 -.5 5."), columns<double>({{15, -0.5, 5}})));
    EXPECT_TRUE(same(values("1.5.25"), columns<double>({{1.5, 0.25}})));
    EXPECT_TRUE(same(values("1-2+3"), columns<double>({{1, -2, 3}})));
    EXPECT_TRUE(same(values("1e2e3"), columns<double>({{100}})));
    EXPECT_TRUE(same(values("1e2.5"), columns<double>({{100, 0.5}})));
    EXPECT_TRUE(same(values("0x10"), columns<double>({{0}})));
    EXPECT_TRUE(same(values("1,5"), columns<double>({{1}})));
    EXPECT_TRUE(same(values("1\\"), columns<double>({{1}})));
    EXPECT_TRUE(same(values("2 1e"), columns<double>({{2}})));
    EXPECT_TRUE(same(values("2 1e+"), columns<double>({{2}})));
    EXPECT_TRUE(same(values("2 1e400"), columns<double>({{2}}))); // too large to be a double
    EXPECT_TRUE(same(values("2 -1e400 3"), columns<double>({{2}})));
    EXPECT_TRUE(same(values("2 1e-400 3"), columns<double>({{2, 0, 3}})));
    EXPECT_TRUE(same(values("4e-324"), columns<double>({{5e-324}})));
    EXPECT_TRUE(same(values(std::string("1\0 2", 4)), columns<double>({{1}})));
    EXPECT_TRUE(same(values(std::string(5000, '0') + "1." + std::string(5000, '0')),
                     columns<double>({{1}})));
    EXPECT_TRUE(std::signbit(values("-0")(0, 0)));
    EXPECT_TRUE(std::signbit(values("-1e-400")(0, 0)));
    for (const char* text :
         {"inf", "nan", "-inf", ".", "-", "+", "e5", ".e5", "-.", "x", "--1", "+-1"})
        EXPECT_TRUE(same(values(text), nothing)) << text;
}

// ---- faces ----

TEST(WavefrontOBJInput, AcceptsTheFourFormsOfACorner)
{
    for (const char* face :
         {"f 1 2 3\n", "f 1/1 2/1 3/1\n", "f 1/1/1 2/1/1 3/1/1\n", "f 1//1 2//1 3//1\n",
          "f 1 2/1 3//1\n", "f 1/ 2// 3\n", "f 1/1/1/1 2/1/1/x 3/1/1/ \n", "f  1\t2\r3 \n"}) {
        const mesh m = read("vt 0\nvn 0 0 1\n" + std::string(face));
        EXPECT_EQ(m.code, 0) << face;
        EXPECT_TRUE(same(m.triangles, columns<unsigned>({{0, 1, 2}}))) << face;
    }
}

TEST(WavefrontOBJInput, RefusesANumberThatRunsIntoSomethingElse)
{
    for (const char* corner : {"3x", "3/1x", "3/1/1x", "3-", "3.5", "3+1", "0x3", "3\\"})
        EXPECT_EQ(read("vt 0\nvn 0 0 1\nf 1 2 " + std::string(corner) + "\n").code, -1) << corner;
    EXPECT_EQ(read(std::string("f 1 2 3\0\n", 9)).code, -1);
}

TEST(WavefrontOBJInput, PassesOverACornerThatIsNoNumber)
{
    // Neither it nor what stands behind its slashes counts.
    const mesh m = read("f 1 x 2 x/1/1 - +/2 -/1/1 3 # 99999999999/7/7 4294967296\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.triangles, columns<unsigned>({{0, 1, 2}})));
    // Behind a number, a text ends the corner as well.
    EXPECT_TRUE(same(read("f 1/x/3 2//x 3/-\n").triangles, columns<unsigned>({{0, 1, 2}})));
    // A corner may leave its position out.
    EXPECT_TRUE(same(read("vt 0\nvn 0 0 1\nf 1 /2 //3 / // 2 3\n").triangles,
                     columns<unsigned>({{0, 1, 2}})));
}

TEST(WavefrontOBJInput, ReadsIndicesAsUnsignedNumbersLess1)
{
    const mesh m = read("v 0 0 0\nv 0 0 0\nf -1 +2 0003\nf 4294967295 -4294967295 2147483648\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(
        same(m.triangles, columns<unsigned>({{4294967294, 1, 2}, {4294967294, 0, 2147483647}})));
}

TEST(WavefrontOBJInput, TakesIndex0ForTheNumberOfNodesSoFar)
{
    const mesh m = read("f 0 0 1\nv 1 1 1\nf 0 -0 1\nv 2 2 2\nf 0 0 1 2\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.triangles, columns<unsigned>({{0, 0, 0}, {1, 1, 0}})));
    EXPECT_TRUE(same(m.quads, columns<unsigned>({{2, 2, 0, 1}})));
}

TEST(WavefrontOBJInput, DropsFacesOfOtherThanThreeOrFourCorners)
{
    const mesh m = read("f \nf 1\nf 1 2\nf 1 2 3 4 5\nf 1 2 3 4 5 6 7 8\nf x\nf 3 2 1\n");
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.triangles, columns<unsigned>({{2, 1, 0}})));
    EXPECT_TRUE(m.quads.empty());
    EXPECT_EQ(read("f\n").code, -1);
    EXPECT_EQ(read("f").code, -1);
}

TEST(WavefrontOBJInput, WantsATextureOrANormalBeforeAFaceThatNamesOne)
{
    EXPECT_EQ(read("f 1/1 2 3\nvt 0\n").code, -1);
    EXPECT_EQ(read("f 1//1 2 3\nvn 0 0 1\n").code, -1);
    EXPECT_EQ(read("vn 0 0 1\nf 1/1 2 3\n").code, -1);
    EXPECT_EQ(read("vt 0\nf 1//1 2 3\n").code, -1);
    EXPECT_EQ(read("f /1\n").code, -1);
    EXPECT_EQ(read("vt 0\nf 1/9 2/0 3/-1\n").code, 0); // the number itself is not looked at
    // A face that would be dropped is looked at all the same.
    EXPECT_EQ(read("f 1/1\n").code, -1);
    EXPECT_EQ(read("f 1/1").code, -1);
}

TEST(WavefrontOBJInput, DropsAFaceInALastLineWithoutALineEnd)
{
    const mesh m = read("v 0 0 0\nf 1 1 1\nf 1 1 1");
    EXPECT_EQ(m.code, 0);
    EXPECT_EQ(m.triangles.cols, 1U);
    EXPECT_TRUE(same(read("v 0 0 0\nv 1 2 3").pos, columns<double>({{0, 0, 0}, {1, 2, 3}})));
    EXPECT_TRUE(same(read("vn 1 2 3").normals, columns<double>({{1, 2, 3}})));
    EXPECT_TRUE(same(read("vt 1").textures, columns<double>({{1}})));
    EXPECT_EQ(read("f 1x").code, -1);
}

// ---- results ----

TEST(WavefrontOBJInput, KeepsWhatCameBeforeABadLine)
{
    const std::string good = "v 1 2 3\nvn 0 0 1\nvt 0 1\nf 1 1 1\nf 1 1 1 1\n";
    for (const char* bad : {"v\n", "v 1\n", "vn 1\n", "vt 1 2 3 4\n", "f\n", "f 1x\n"}) {
        const mesh m = read(good + bad + good);
        EXPECT_EQ(m.code, -1) << bad;
        mesh expected = read(good);
        expected.code = -1;
        EXPECT_TRUE(same(m, expected)) << bad;
    }
}

TEST(WavefrontOBJInput, EmptiesAllOutputsWhereTheFileCannotBeOpened)
{
    for (const char* name : {"/no/such/file", static_cast<const char*>(nullptr)}) {
        mesh m = read("v 1 2 3\nvn 0 0 1\nvt 0 1\nf 1 1 1\nf 1 1 1 1\n");
        EXPECT_FALSE(m.pos.empty() || m.normals.empty() || m.textures.empty() ||
                     m.triangles.empty() || m.quads.empty());
        EXPECT_EQ(read_into(m, name), -1);
        EXPECT_TRUE(obj::empty(m));
    }
}

TEST(WavefrontOBJInput, ReplacesWhatTheOutputsHeld)
{
    mesh m = read("v 1 2 3\nvn 0 0 1\nvt 0 1 2\nf 1 1 1\nf 1 1 1 1\n");
    const temporary_file in("v 4 5 6\nvt 7\n");
    m.code = read_into(m, in.name());
    EXPECT_TRUE(same(m, read("v 4 5 6\nvt 7\n")));
    EXPECT_EQ(m.textures.rows, 1U);
}

TEST(WavefrontOBJInput, GrowsByDoublingItsColumnsFrom4On)
{
    std::string lines;
    for (int i = 1; i <= 300; ++i) lines += "v " + std::to_string(i) + " 0 0\nf 1 1 1\n";
    const std::size_t before = allocation::calls();
    const mesh m = read(lines);
    EXPECT_EQ(allocation::calls() - before, 2U * 8); // 4, 8, ..., 512 columns
    ASSERT_EQ(m.pos.cols, 300U);
    for (std::size_t j = 0; j < 300; ++j) EXPECT_EQ(m.pos(0, j), double(j + 1));
}

TEST(WavefrontOBJInput, DoesNotReadTheFacesOfTheWriter)
{
    const auto pos = columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    const auto normals = columns<double>({{0, 0, 1}, {0, 0, 1}, {0, 0, 1}});
    const auto triangles = columns<unsigned>({{0, 1, 2}});
    const dense2D<double> none_of_them;
    const temporary_file out;
    ASSERT_EQ(kz3::lattiq::WavefrontOBJ_output(out.name(), pos, none_of_them, none_of_them,
                                               triangles, dense2D<unsigned>()),
              0);
    const mesh m = read_file(out.name());
    EXPECT_EQ(m.code, -1); // 1//2//3//: a normal before any normal line
    EXPECT_TRUE(same(m.pos, pos));
    ASSERT_EQ(kz3::lattiq::WavefrontOBJ_output(out.name(), pos, normals, none_of_them, triangles,
                                               dense2D<unsigned>()),
              0);
    const mesh with_normals = read_file(out.name());
    EXPECT_EQ(with_normals.code, 0); // one corner
    EXPECT_TRUE(same(with_normals.normals, normals));
    EXPECT_TRUE(with_normals.triangles.empty());
}

// ---- against the plain reader ----

TEST(WavefrontOBJInput, ReadsACutFileAsThePlainReaderDoes)
{
    const std::string whole = golden("scene.obj");
    ASSERT_GT(whole.size(), 300U);
    for (std::size_t n = 0; n <= whole.size(); ++n) {
        const std::string cut = whole.substr(0, n);
        ASSERT_TRUE(same(read(cut), read_plainly(cut))) << n;
    }
    EXPECT_EQ(read(whole).code, 0);
}

TEST(WavefrontOBJInput, ReadsMutatedFilesAsThePlainReaderDoes)
{
    const std::string pieces[] = {
        "v ",          "vn 1 2 3\n", "vt 1\n",      "f ",     "\n",
        " ",           "/",          "//",          "1/2/3",  "-1",
        "1e",          "e+",         "1e999",       ".",      "0x1",
        "nan",         "\t",         "\r\n",        "+",      "-",
        "99999999999", "4294967295", "f 1 2 3 4\n", "1e-320", std::string(1, '\0')};
    const std::string whole = golden("scene.obj");
    std::mt19937 random(8);
    const auto below = [&](std::size_t n) { return std::size_t(random() % n); };
    int good = 0;
    for (int round = 0; round < 6000; ++round) {
        std::string content = whole;
        for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
            const std::size_t at = below(content.size() + 1);
            switch (below(4)) {
            case 0:
                content.insert(at, pieces[below(std::size(pieces))]);
                break;
            case 1:
                content.erase(at, below(3));
                break;
            case 2:
                content.erase(at, below(100));
                break;
            default:
                if (at < content.size()) content[at] = char(random());
            }
        }
        const mesh expected = read_plainly(content);
        ASSERT_TRUE(same(read(content), expected)) << content;
        good += expected.code == 0;
    }
    EXPECT_GT(good, 1000);
    EXPECT_LT(good, 5500);
}

TEST(WavefrontOBJInput, ReadsRandomLinesAsThePlainReaderDoes)
{
    const std::string letters = "0123456789+-.eE/ xX\t";
    const std::string words[] = {"v ", "vn", "vt ", "f ", "f", "vt"};
    std::mt19937 random(99);
    for (int round = 0; round < 3000; ++round) {
        std::string content = "vt 0\nvn 0 0 1\n";
        for (int line = 0; line < 6; ++line) {
            content += words[random() % std::size(words)];
            for (std::size_t n = random() % 25; n > 0; --n)
                content += letters[random() % letters.size()];
            content += '\n';
        }
        ASSERT_TRUE(same(read(content), read_plainly(content))) << content;
    }
}

TEST(WavefrontOBJInput, ReadsLinesThatCrossTheBlocksOfItsBuffer)
{
    const std::string lines = "v 1.25 2 3\nv -4e-1 5 6\nf 1 2 1\n";
    const mesh expected = read(lines);
    EXPECT_EQ(expected.triangles.cols, 1U);
    for (std::size_t n = 65536 - 40; n < 65536 + 2; ++n)
        EXPECT_TRUE(same(read(std::string(n + 1, '#') + "\n" + lines), expected)) << n;
    EXPECT_TRUE(same(read(std::string(3000000, '#') + "\n" + lines), expected));
    std::string polygon = "f";
    for (int i = 0; i < 100000; ++i) polygon += " 1";
    EXPECT_TRUE(same(read(polygon + "\n" + lines), expected));
    // A line that ends with the file is the last without a line end, wherever blocks end.
    EXPECT_EQ(read(std::string(65536 - 5, '#') + "\nf 1 1").code, 0);
    EXPECT_EQ(read(std::string(65536 - 6, ' ') + "f 1 1 1").triangles.cols, 0U);
    EXPECT_EQ(read(std::string(65536 - 8, ' ') + "f 1 1 1\n").triangles.cols, 1U);
    EXPECT_EQ(read(std::string(65536 - 7, ' ') + "f 1 1 1\n").triangles.cols, 1U);
}

// ---- surroundings ----

TEST(WavefrontOBJInput, ReadsFromAPipe)
{
    const std::string content = golden("scene.obj");
    const temporary_file pipe;
    ASSERT_EQ(mkfifo(pipe.name(), 0600), 0);
    std::thread writer([&] {
        std::ofstream out(pipe.name(), std::ios::binary);
        for (std::size_t at = 0; at < content.size(); at += 37)
            out.write(content.data() + at,
                      std::streamsize(std::min<std::size_t>(37, content.size() - at)))
                .flush();
    });
    const mesh m = read_file(pipe.name());
    writer.join();
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m, read(content)));
}

TEST(WavefrontOBJInput, ClosesEveryFile)
{
    const std::size_t before = open_descriptors();
    for (int round = 0; round < 10; ++round)
        for (const char* content : {"", "v 1 2 3\n", "v\n", "f 1x"}) read(content);
    EXPECT_EQ(open_descriptors(), before);
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(WavefrontOBJInput, ReadsTheSameValuesUnderALocaleWithADecimalComma)
{
    const std::string lines = "v 1.5 -2.25e1 1e-400\nv 1.000 2,5 3\n";
    const std::string scene = golden("scene.obj");
    const mesh expected = read(lines);
    const mesh expected_scene = read(scene);
    EXPECT_EQ(expected.code, -1); // a comma ends the values
    EXPECT_TRUE(same(expected.pos, columns<double>({{1.5, -22.5, 0}})));
    const comma_locale locale;
    EXPECT_TRUE(same(read(lines), expected));
    EXPECT_TRUE(same(read(scene), expected_scene));
}
#endif

// ---- exhausted memory ----

TEST(WavefrontOBJInput, LeavesOutColumnsThatFindMemoryExhausted)
{
    std::string lines = "vn 0 0 1\nvt 0 1\n";
    for (int i = 1; i < 12; ++i)
        lines += "v 1 2 3\nvn 0 0 1\nvt 0 1\nf 1/1/1 2/2/2 3/3/3\nf 4 3 2 1\n";
    const temporary_file in(lines);
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, const auto& armed) {
                mesh m;
                m.code = armed([&] { return read_into(m, in.name()); });
                EXPECT_EQ(m.code, 0) << n;
                EXPECT_TRUE(m.pos.empty() || m.pos.rows == 3);
                EXPECT_LE(m.pos.cols, 11U);
                for (std::size_t j = 0; j < m.pos.cols; ++j) EXPECT_EQ(m.pos(2, j), 3);
                EXPECT_TRUE(m.textures.empty() || m.textures.rows == 2);
                for (std::size_t j = 0; j < m.textures.cols; ++j) EXPECT_EQ(m.textures(1, j), 1);
                for (std::size_t j = 0; j < m.normals.cols; ++j) EXPECT_EQ(m.normals(2, j), 1);
                EXPECT_TRUE(m.triangles.empty() || m.triangles.rows == 3);
                for (std::size_t e = 0; e < m.triangles.cols; ++e) EXPECT_EQ(m.triangles(2, e), 2U);
                EXPECT_TRUE(m.quads.empty() || m.quads.rows == 4);
                for (std::size_t e = 0; e < m.quads.cols; ++e) EXPECT_EQ(m.quads(0, e), 3U);
            },
            onwards);
        EXPECT_GT(refused, 9U);
    }
    {
        mesh m;
        const allocation::fail_containers breaker(1, true);
        EXPECT_EQ(read_into(m, in.name()), 0);
        EXPECT_TRUE(obj::empty(m));
    }
    EXPECT_EQ(allocation::live_blocks(), blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(WavefrontOBJInput, LetsTheAllocationExceptionPassAndLeaksNothing)
{
    const temporary_file in("v 1e-400 0 0\n#" + std::string(70000, 'x') + "\nf 1 1 1\n" + "v " +
                            std::string(100, '0') + "1e-400 0 0\n");
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_new>(
            [&](std::size_t, const auto& armed) {
                mesh m;
                try {
                    EXPECT_EQ(armed([&] { return read_into(m, in.name()); }), 0);
                } catch (const std::bad_alloc&) {
                }
                EXPECT_LE(m.pos.cols, 2U);
            },
            onwards);
        EXPECT_GT(refused, 1U);
    }
    EXPECT_EQ(allocation::live_blocks(), blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace
