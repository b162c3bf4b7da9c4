#include <kyo/core/geometry.h>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

#include <kyo/core/object_stream.h>

namespace {

using kyo::dline;
using kyo::dpoint;
using kyo::drect;

const drect unit{0, 0, 1, 1};

TEST(drect, outcodes_treat_the_border_as_inside) {
  struct row {
    const char* what;
    dpoint p;
    unsigned code;
  };
  const row rows[] = {
      {"centre", {0.5, 0.5}, 0},       {"bottom-left corner", {0, 0}, 0},
      {"top-right corner", {1, 1}, 0}, {"right edge", {1, 0.5}, 0},
      {"left", {-1, 0.5}, 1},          {"right", {2, 0.5}, 2},
      {"above", {0.5, 2}, 4},          {"below", {0.5, -1}, 8},
      {"above left", {-1, 2}, 5},      {"below right", {2, -1}, 10},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(unit.code(r.p), r.code);
  }
}

TEST(drect, clip_keeps_the_inside_part_in_direction) {
  struct row {
    const char* what;
    dline in;
    bool inside;
    dline out;
  };
  const row rows[] = {
      {"crosses both sides", {-1, 0.5, 2, 0.5}, true, {0, 0.5, 1, 0.5}},
      {"reversed keeps its direction", {2, 0.5, -1, 0.5}, true, {1, 0.5, 0, 0.5}},
      {"wholly inside is untouched", {0.2, 0.2, 0.8, 0.9}, true, {0.2, 0.2, 0.8, 0.9}},
      {"diagonal through the corners", {-1, -1, 2, 2}, true, {0, 0, 1, 1}},
      {"vertical through top and bottom", {0.5, -1, 0.5, 2}, true, {0.5, 0, 0.5, 1}},
      {"one end inside", {0.5, 0.5, 0.5, 3}, true, {0.5, 0.5, 0.5, 1}},
      {"on the border", {0, 0, 0, 1}, true, {0, 0, 0, 1}},
      {"wholly left", {-2, 0, -1, 1}, false, {-2, 0, -1, 1}},
      // Left and above share no bit, but the line passes above the top-left corner.
      {"passes outside the corner", {-1, 0.5, 0.5, 2}, false, {0, 1.5, 0.5, 2}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    dline l = r.in;
    EXPECT_EQ(unit.clip(l), r.inside);
    EXPECT_EQ(l, r.out);
  }
}

TEST(drect, touches_and_contains_at_shared_edges) {
  struct row {
    const char* what;
    drect other;
    bool touches;
    bool contains;
  };
  const row rows[] = {
      {"itself", unit, true, true},
      {"shares the right edge", {1, 0, 2, 1}, false, false},
      {"shares only a corner", {1, 1, 2, 2}, false, false},
      {"overlaps", {0.5, 0.5, 2, 2}, true, false},
      {"inside touching an edge", {0, 0.5, 1, 1}, true, true},
      {"slightly larger", {0, 0, 1.000001, 1}, true, false},
      {"below", {0, -2, 1, 0}, false, false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(unit.touches(r.other), r.touches);
    EXPECT_EQ(unit.contains(r.other), r.contains);
  }
}

TEST(drect, intersection_and_union_keep_the_left_operand_on_ties) {
  EXPECT_EQ((drect{0, 0, 2, 2} & drect{1, 1, 3, 3}), (drect{1, 1, 2, 2}));
  EXPECT_EQ((drect{0, 0, 1, 1} & drect{2, 2, 3, 3}), (drect{2, 2, 1, 1})) << "left inverted";
  EXPECT_EQ((drect{0, 0, 1, 1} | drect{2, 2, 3, 3}), (drect{0, 0, 3, 3}));
  const drect pos{0.0, 0.0, 1, 1};
  const drect neg{-0.0, -0.0, 1, 1};
  EXPECT_FALSE(std::signbit((pos & neg).x1));
  EXPECT_TRUE(std::signbit((neg & pos).x1));
  EXPECT_FALSE(std::signbit((pos | neg).y1));
  EXPECT_TRUE(std::signbit((neg | pos).y1));
  drect r{3, 4, 1, 2};
  r.normalize();
  EXPECT_EQ(r, (drect{1, 2, 3, 4}));
}

TEST(parametric_line, intersect_gives_both_parameters_and_throws_when_parallel) {
  const kyo::parametric_line a(dpoint{0, 0}, kyo::dsize{1, 0});
  const kyo::parametric_line b(dpoint{3, -2}, kyo::dsize{0, 4});
  double params[2] = {};
  EXPECT_EQ(a.intersect(b, params), (dpoint{3, 0}));
  EXPECT_DOUBLE_EQ(params[0], 3);
  EXPECT_DOUBLE_EQ(params[1], 0.5);

  const kyo::parametric_line parallel(dpoint{0, 1}, kyo::dsize{2, 0});
  EXPECT_THROW((void)a.intersect(parallel), dpoint);
  // |k| = 1e-9 is above the 1e-10 threshold.
  const kyo::parametric_line almost(dpoint{0, 1}, kyo::dsize{1, 1e-9});
  dpoint p;
  EXPECT_NO_THROW(p = a.intersect(almost));
  EXPECT_NEAR(p.x, -1e9, 1);
  EXPECT_EQ(p.y, 0);
}

TEST(dline, distances_and_normals) {
  const dline l{0, 0, 4, 0};
  double along = 0;
  double across = 0;
  l.distances({1, 2}, &along, &across);
  // Measured from p2 towards p1 (west); north of a westward line is its right-hand side.
  EXPECT_DOUBLE_EQ(along, 3);
  EXPECT_DOUBLE_EQ(across, -2);
  l.distances({1, 2}, nullptr, nullptr);

  const dline d{0, 0, 3, 4};
  EXPECT_EQ(d.perpendicular_vector(10), (kyo::dsize{-8, 6}));
  const kyo::parametric_line p(d);
  EXPECT_EQ(p.perpendicular_vector(0), (kyo::dsize{-4, 3})) << "0 leaves it unscaled";
  EXPECT_EQ(p.perpendicular_vector(10), (kyo::dsize{-8, 6}));
  EXPECT_EQ(p.point(2), (dpoint{6, 8}));
}

TEST(alignment, offset_places_the_reference_point) {
  using kyo::alignment;
  struct row {
    const char* what;
    int flags;
    kyo::isize box;
    kyo::ipoint expected;
  };
  const row rows[] = {
      {"left top", alignment::left | alignment::top, {7, 5}, {0, 0}},
      {"right bottom", alignment::right | alignment::bottom, {7, 5}, {7, 5}},
      {"centre baseline", alignment::center | alignment::baseline, {7, 5}, {3, 2}},
      {"undefined horizontal bit", 4 | alignment::bottom, {7, 5}, {0, 5}},
      {"undefined vertical bit", alignment::right | 16, {7, 5}, {7, 0}},
      {"halves truncate towards zero", alignment::center | alignment::baseline, {-7, -5}, {-3, -2}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(alignment(r.flags).offset(r.box), r.expected);
  }
}

TEST(geometry_stream, rectangles_and_ellipses_are_raw_little_endian_doubles) {
  std::ostringstream bytes;
  {
    kyo::opstream out(bytes);
    out << drect{1, 2, 3, -4} << kyo::dellipse{0.5, 0.25, 2};
  }
  const std::string s = bytes.str();
  ASSERT_EQ(s.size(), 56u);
  EXPECT_EQ(s.substr(0, 8), std::string("\0\0\0\0\0\0\xF0\x3F", 8)) << "1.0";
  EXPECT_EQ(s.substr(24, 8), std::string("\0\0\0\0\0\0\x10\xC0", 8)) << "-4.0";
  EXPECT_EQ(s.substr(48, 8), std::string("\0\0\0\0\0\0\0\x40", 8)) << "2.0";

  std::istringstream in_bytes(s);
  kyo::ipstream in(in_bytes);
  drect r;
  kyo::dellipse e;
  in >> r >> e;
  EXPECT_TRUE(in.good());
  EXPECT_EQ(r, (drect{1, 2, 3, -4}));
  EXPECT_EQ(e, (kyo::dellipse{0.5, 0.25, 2}));

  std::istringstream short_bytes(s.substr(0, 20));
  kyo::ipstream truncated(short_bytes);
  drect kept{9, 9, 9, 9};
  truncated >> kept;
  EXPECT_TRUE(truncated.fail());
  EXPECT_EQ(kept, (drect{9, 9, 9, 9})) << "a failed read leaves the value";
}

}  // namespace
