#include <kyo/core/geometry.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kyo::dline;
using kyo::dpoint;
using kyo::drect;

const drect unit{0, 0, 1, 1};

TEST(drect, touches_contains_intersection_union_and_normalize) {
  // The other rectangle, then touches and contains.
  const std::tuple<drect, bool, bool> rows[] = {
      {unit, true, true},           {{1, 0, 2, 1}, false, false},
      {{1, 1, 2, 2}, false, false}, {{0.5, 0.5, 2, 2}, true, false},
      {{0, 0.5, 1, 1}, true, true}, {{0, 0, 1.000001, 1}, true, false},
      {{0, -2, 1, 0}, false, false}};
  for (const auto& [other, touches, contains] : rows) {
    EXPECT_EQ(unit.touches(other), touches) << other.x1 << "," << other.y1;
    EXPECT_EQ(unit.contains(other), contains) << other.x1 << "," << other.y1;
  }
  EXPECT_EQ((drect{0, 0, 2, 2} & drect{1, 1, 3, 3}), (drect{1, 1, 2, 2}));
  EXPECT_EQ((drect{0, 0, 1, 1} & drect{2, 2, 3, 3}), (drect{2, 2, 1, 1})) << "left inverted";
  EXPECT_EQ((drect{0, 0, 1, 1} | drect{2, 2, 3, 3}), (drect{0, 0, 3, 3}));
  // Ties keep the left operand.
  const drect pos{0.0, 0.0, 1, 1}, neg{-0.0, -0.0, 1, 1};
  EXPECT_TRUE(!std::signbit((pos & neg).x1) && std::signbit((neg & pos).x1));
  EXPECT_TRUE(!std::signbit((pos | neg).y1) && std::signbit((neg | pos).y1));
  drect r{3, 4, 1, 2};
  r.normalize();
  EXPECT_EQ(r, (drect{1, 2, 3, 4}));
}

TEST(geometry, lines_intersect_measure_and_give_normals) {
  const kyo::parametric_line a(dpoint{0, 0}, kyo::dsize{1, 0});
  const kyo::parametric_line b(dpoint{3, -2}, kyo::dsize{0, 4});
  double params[2] = {};
  EXPECT_EQ(a.intersect(b, params), (dpoint{3, 0}));
  EXPECT_TRUE(params[0] == 3 && params[1] == 0.5);
  EXPECT_THROW((void)a.intersect(kyo::parametric_line(dpoint{0, 1}, kyo::dsize{2, 0})), dpoint);

  double along = 0, across = 0;
  dline{0, 0, 4, 0}.distances({1, 2}, &along, &across);
  // Measured from p2 towards p1 (west); north of a westward line is its right-hand side.
  EXPECT_TRUE(along == 3 && across == -2);
  dline{0, 0, 4, 0}.distances({1, 2}, nullptr, nullptr);
  const dline d{1, 1, 4, 5};
  EXPECT_EQ(d.perpendicular_vector(10), (kyo::dsize{-8, 6}));
  EXPECT_EQ(kyo::parametric_line(d).perpendicular_vector(0), (kyo::dsize{-4, 3}))
      << "0 leaves it unscaled";
  EXPECT_EQ(kyo::parametric_line(d).point(2), (dpoint{7, 9}));
}

TEST(alignment, offset_places_the_reference_point) {
  using kyo::alignment;
  const std::tuple<const char*, int, kyo::isize, kyo::ipoint> rows[] = {
      {"left top", alignment::left | alignment::top, {7, 5}, {0, 0}},
      {"right bottom", alignment::right | alignment::bottom, {7, 5}, {7, 5}},
      {"centre baseline", alignment::center | alignment::baseline, {7, 5}, {3, 2}},
      {"undefined horizontal bit", 4 | alignment::bottom, {7, 5}, {0, 5}},
      {"halves truncate towards zero", alignment::center | alignment::baseline, {-7, -5}, {-3, -2}},
  };
  for (const auto& [what, flags, box, expected] : rows) {
    EXPECT_EQ(alignment(flags).offset(box), expected) << what;
  }
}

}  // namespace
