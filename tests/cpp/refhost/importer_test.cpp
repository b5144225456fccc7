#include "refhost/importer.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <fstream>
#include <random>

#include "testkit.h"

namespace {

using testkit::TempDir;

struct Case {
  const char* name;
  const char* text;
  refhost::Positions positions;
  refhost::Normals normals, colors;
  refhost::Triangles triangles;
};

std::string put(const TempDir& dir, const char* name, const std::string& text) {
  std::ofstream(dir.file(name), std::ios::binary) << text;
  return dir.file(name);
}

TEST(Import, ReadsHandWrittenFilesExactly) {
  const Case cases[] = {
      {"a.csv",
       "# made by hand\n// two points\nx,y,z\n1,2,3\r\n-4.5;5e1\t+6\n",
       {1, 2, 3, -4.5, 50, 6},
       {},
       {},
       {}},
      {"n.XYZ",
       "0 0 0 0 0 1\n1 1 1 0.6 0.8 0\n",
       {0, 0, 0, 1, 1, 1},
       {0, 0, 1, 0.6f, 0.8f, 0},
       {},
       {}},
      {"c.asc", "0 0 0 255 0 51\n1 1 1 0 0 0\n", {0, 0, 0, 1, 1, 1}, {}, {1, 0, 0.2f, 0, 0, 0}, {}},
      {"p.pts", "1\n1 2 3 -100 10 20 255\n", {1, 2, 3}, {}, {10 / 255.0f, 20 / 255.0f, 1}, {}},
      {"i.xyz", "1 2 3 0.7\n", {1, 2, 3}, {}, {}, {}},
      {"nc.xyz", "0 0 0 0 0 -1 0.5 0.25 1\n", {0, 0, 0}, {0, 0, -1}, {0.5f, 0.25f, 1}, {}},
      {"cn.xyz", "0 0 0 0.5 0.25 1 1 0 0\n", {0, 0, 0}, {1, 0, 0}, {0.5f, 0.25f, 1}, {}},
      // a quad fanned, then a strip of two triangles (the second turned), a degenerate
      // one left out, and a new strip after -1
      {"s.ply",
       "ply\nformat ascii 1.0\ncomment hand\nelement vertex 4\nproperty float x\nproperty float y\n"
       "property float z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
       "element face 1\nproperty list uchar int vertex_indices\nelement tristrips 1\n"
       "property list int int vertex_indices\nend_header\n0 0 0 255 0 0\n1 0 0 0 255 0\n"
       "1 1 0 0 0 255\n0 1 0 0 0 0\n4 0 1 2 3\n9 0 1 2 3 3 -1 3 2 1\n",
       {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
       {},
       {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0},
       {0, 1, 2, 0, 2, 3, 0, 1, 2, 2, 1, 3, 3, 2, 1}},
      {"f.obj",
       "# c\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 5 5 5\nvn 0 0 1\nvt 0 0\nf 1//1 2//1 3//1 "
       "-2//1",
       {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 5, 5, 5},
       {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0},
       {},
       {0, 1, 2, 0, 2, 3}},
  };
  TempDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    refhost::Geometry g;
    std::string why;
    ASSERT_TRUE(refhost::importGeometry(put(dir, c.name, c.text), &g, &why)) << why;
    EXPECT_EQ(g.positions, c.positions);
    EXPECT_EQ(g.normals, c.normals);
    EXPECT_EQ(g.colors, c.colors);
    EXPECT_EQ(g.triangles, c.triangles);
    EXPECT_EQ(g.kind, c.triangles.empty() ? refhost::Geometry::Kind::Points
                                          : refhost::Geometry::Kind::Mesh);
  }
}

TEST(Import, RefusesBadFilesNamingTheLine) {
  const std::pair<const char*, const char*> cases[][2] = {
      {{"m.xyz", "1 2 3\n4 5 x\n"}, {"line 2", ""}},
      {{"w.csv", "1,2,3\n4,5,6,7\n"}, {"line 2", "3"}},
      {{"k.xyz", "1 2 3 4 5\n"}, {"line 1", "5 values"}},
      {{"e.pts", "# nothing\n"}, {"no points", ""}},
      {{"b.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n"},
       {"ends", ""}},
      {{"r.obj", "v 0 0 0\nf 1 2 3\n"}, {"vertex 1", "0 to 0"}},
      {{"l.obj", "v 0 0 0\nl 1\n"}, {"line 2", "fewer than two"}},
      {{"q.obj", "v 0 0 0\nv 1 0 0\nl 1 2\nl 2 3\n"}, {"polyline 1 names vertex 2", "0 to 1"}},
      {{"u.dxf", "0\n"}, {"\".dxf\"", ".ply"}},
  };
  TempDir dir;
  for (const auto& c : cases) {
    refhost::Geometry g;
    g.positions = {1, 2, 3};
    std::string why;
    const std::string path = put(dir, c[0].first, c[0].second);
    EXPECT_FALSE(refhost::importGeometry(path, &g, &why));
    EXPECT_NE(why.find(path), std::string::npos) << why;
    for (const char* part : {c[1].first, c[1].second})
      EXPECT_NE(why.find(part), std::string::npos) << why;
    EXPECT_TRUE(g.positions.empty());
  }
  std::string why;
  EXPECT_FALSE(refhost::importGeometry(dir.file("none.xyz"), nullptr, &why));
  EXPECT_NE(why.find("No such file"), std::string::npos) << why;
}

TEST(Import, ReportsProgressRarelyAndStopsWhenCancelled) {
  TempDir dir;
  std::string text;
  for (int i = 0; i < 200000; ++i) text += std::to_string(i) + " 0.5 -1\n";
  const std::string path = put(dir, "big.xyz", text);
  std::vector<float> seen;
  refhost::Geometry g;
  std::string why;
  ASSERT_TRUE(
      refhost::importGeometry(path, &g, &why, [&](float f) { return seen.push_back(f), true; }));
  EXPECT_EQ(g.vertexCount(), 200000);
  EXPECT_EQ(g.positions[3 * 199999], 199999.0);
  EXPECT_EQ(g.bounds().maxX, 199999.0);
  EXPECT_EQ(g.bounds().minZ, -1.0);
  // At least the start, the end and the reader's ticks (one per 4096 lines) in the chunk
  // the calling thread reads, which may be only the first of five when the helper thread
  // is quick: about 9 of them.
  ASSERT_GT(seen.size(), 5u);
  EXPECT_LE(seen.size(), 1001u);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_EQ(seen.back(), 1.0f);
  int calls = 0;
  EXPECT_FALSE(refhost::importGeometry(path, &g, &why, [&](float) { return ++calls < 5; }));
  EXPECT_EQ(calls, 5);
  EXPECT_NE(why.find("cancelled"), std::string::npos) << why;
  EXPECT_EQ(g.vertexCount(), 0);
  EXPECT_TRUE(refhost::Geometry().bounds().isEmpty());
}

// Decimal texts of every shape (signs, leading zeros, long runs, exponents) read as the
// very doubles from_chars gives, in a file big enough to be read by two threads.
TEST(Import, ReadsEveryDecimalAsFromCharsDoes) {
  std::mt19937_64 rng(11);
  auto digits = [&](int most) {
    std::string d(rng() % (most + 1), '0');
    for (char& c : d) c = static_cast<char>(rng() % 3 ? '0' + rng() % 10 : '0');
    return d;
  };
  std::vector<std::string> words = {
      "-0.0", "0.000001", "9007199254740993", "9007199254740992", "1234567890123456789.5", ".5",
      "5.",   "-1e-7",    "12345678.9"};
  while (words.size() < 3 * 60000) {
    std::string w = std::string(rng() % 4   ? ""
                                : rng() % 2 ? "-"
                                            : "+") +
                    digits(rng() % 4 ? 9 : 24);
    if (rng() % 4) w += "." + digits(rng() % 4 ? 9 : 24);
    if (w.find_first_of("0123456789") == std::string::npos) w += "7";
    if (rng() % 16 == 0) w += "e" + std::to_string(static_cast<int>(rng() % 40) - 20);
    words.push_back(w);
  }
  std::string text;
  std::vector<uint64_t> want;
  for (size_t i = 0; i < words.size(); ++i) {
    text += words[i] + (i % 3 == 2 ? "\n" : i % 2 ? "\t" : " ");
    const char* w = words[i].c_str() + (words[i][0] == '+');
    double v;
    std::from_chars(w, words[i].c_str() + words[i].size(), v);
    want.push_back(std::bit_cast<uint64_t>(v));
  }
  text.pop_back();  // the last line has no line feed
  TempDir dir;
  refhost::Geometry g;
  std::string why;
  ASSERT_TRUE(refhost::importGeometry(put(dir, "d.xyz", text), &g, &why)) << why;
  std::vector<uint64_t> got;
  for (double v : g.positions) got.push_back(std::bit_cast<uint64_t>(v));
  EXPECT_EQ(got, want);
}

TEST(Import, BigTextFilesKeepRowOrderFlagsAndTheFirstBadLine) {
  auto rows = [](std::initializer_list<int> bad, const char* last) {
    std::string text;
    for (int i = 0; i < 100000; ++i)
      text += std::find(bad.begin(), bad.end(), i) != bad.end()
                  ? "x\n"
                  : std::to_string(i) + " 1 2 0 0 1\n";
    return text + last;
  };
  TempDir dir;
  refhost::Geometry g;
  std::string why;
  // one triple in the back half that is not a unit vector makes them all colours
  ASSERT_TRUE(refhost::importGeometry(put(dir, "c.xyz", rows({}, "7 1 2 0 0 0.5\n")), &g, &why));
  EXPECT_TRUE(g.normals.empty());
  ASSERT_EQ(g.colors.size(), 3 * 100001u);
  for (int i = 0; i < 100000; ++i) ASSERT_EQ(g.positions[3 * static_cast<size_t>(i)], i);
  for (auto [bad, line] : {std::pair{rows({90000}, ""), "line 90001 "},
                           std::pair{rows({30000, 90000}, ""), "line 30001 "}}) {
    EXPECT_FALSE(refhost::importGeometry(put(dir, "b.xyz", bad), &g, &why));
    EXPECT_NE(why.find(line), std::string::npos) << why;
  }
}

}  // namespace
