// Shape components and mobile shapes: validity, bounds, text, the stream form with a component
// held twice, and drawing at a position, heading and offset, to scale or at 80 mm.
#include <kyo/graphics/mobile_shape.h>
#include <kyo/graphics/recording_surface.h>
#include <kyo/graphics/viewport.h>

#include <gtest/gtest.h>

#include <numbers>
#include <sstream>

#include "support/stream_bytes.h"

namespace kyo::test {
namespace {

constexpr double deg = std::numbers::pi / 180;

std::unique_ptr<shape_line> line(std::vector<dpoint> points) {
  return std::make_unique<shape_line>(std::move(points));
}

std::unique_ptr<mobile_shape> read(const std::string& bytes) {
  return std::unique_ptr<mobile_shape>(read_back<mobile_shape>(bytes));
}

TEST(shape_line, is_valid_with_two_points_that_differ_from_their_predecessor) {
  const dpoint a{1, 2}, b{3, 4};
  std::string valid;
  for (std::string points : {"", "A", "AA", "AB", "ABA", "AAB"}) {
    std::vector<dpoint> line;
    for (char p : points)
      line.push_back(p == 'A' ? a : b);
    valid += shape_line(line).is_valid() ? '1' : '0';
  }
  EXPECT_EQ(valid, "000111");
  shape_line l({a});
  EXPECT_TRUE(l.add_at(b, 0) && l.add_at(b, 2) && !l.add_at(b, 4) && !l.add_at(b, -1));
  EXPECT_TRUE(l.destroy(1) && !l.destroy(2));
  EXPECT_EQ(l.points(), (std::vector<dpoint>{b, b}));
}

TEST(mobile_shape, keeps_bounds_emptiness_and_text) {
  mobile_shape s;
  EXPECT_EQ(s.get_bounds(), drect::null_rect);
  s.add(line({}));
  EXPECT_TRUE(s.is_empty()) << "a line without points draws nothing";
  s.modify(line({{1.5, -2.25}, {-10, 4}}), 0);
  s.add(std::make_unique<shape_ellipse>(dpoint{2, 3}, dellipse{4, 5, 0.5}));
  EXPECT_EQ(s.get_bounds(), (drect{-10, -2.25, 6, 8}));
  EXPECT_EQ(s.as_string(),
            "   SOL:-\n"
            "   X:   1.50 m  Y:  -2.25 m\n"
            "   X: -10.00 m  Y:   4.00 m\n"
            "  Ellipse:-\n"
            "   Centre X:   2.00 m  Y:   3.00 m\n"
            "   Hor Radius:   4.00 m  Ver Radius:   5.00 m\n");

  s.modify(line({{0, 0}, {1, 1}}), 3);
  EXPECT_TRUE(s.count() == 4 && s.get(4) == nullptr && s.get(-1) == nullptr);
  EXPECT_TRUE(s.get(2)->is_empty()) << "the gap is filled with empty lines";
  EXPECT_TRUE(s.destroy(0) && s.destroy(0) && !s.destroy(2));
  EXPECT_EQ(s.get_bounds(), (drect{0, 0, 1, 1}));

  mobile_shape one(nullptr, "buoy");
  one.add(std::make_unique<shape_ellipse>(dpoint{10, 20}, dellipse{1, 2, 0}));
  EXPECT_FALSE(one.is_empty()) << "an ellipse is never empty";
  EXPECT_EQ(one.get_bounds(), (drect{9, 18, 11, 22})) << "the first component's bounds alone";
  one.add(line({{0, 0}, {1, 1}}));
  one.add(line({{50, 50}, {60, 60}}));
  one.modify(line({{-99, 0}}), -1);
  EXPECT_TRUE(one.destroy(2) && one.count() == 2);
  EXPECT_EQ(one.get_bounds(), (drect{0, 0, 11, 22})) << "computed again from all that is left";
}

using namespace bytes;
/// A shape "x" with zero bounds: server part (version, name, no parent, no children), the name
/// again, the component count and the component items.
std::string shape_record(std::uint32_t count, const std::string& components) {
  return rec("mobile_shape", seg(le32(1) + le32(1) + "x") + std::string(1, '\0') +
                                 seg(le32(0) + le32(1) + "x" + le32(count)) + components +
                                 seg(std::string(32, '\0')));
}

// Damaged copies of every kind are the object stream fuzz target's.
TEST(mobile_shape, streams_its_layout_and_refuses_impossible_components) {
  mobile_shape one(nullptr, "x");
  one.add(line({{0, 0}}));
  const std::string line_record = rec("shape_line", seg(le32(1) + std::string(16, '\0')));
  EXPECT_EQ(written(&one), shape_record(1, line_record));
  EXPECT_EQ(read(shape_record(2, line_record + "\x01" + le32(1))), nullptr)
      << "a component held twice";

  mobile_shape s(nullptr, "Survey vessel");
  s.add(line({{0, 0}, {0, 10}, {2, 8}}));
  s.add(std::make_unique<shape_ellipse>(dpoint{1, 1}, dellipse{1, 2, 3}));
  const std::string bytes = written(&s);
  const auto back = read(bytes);
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(*back == s);
  EXPECT_EQ(written(back.get()), bytes);
  const mobile_shape copy(s);
  EXPECT_TRUE(copy == s && copy.get(0) != s.get(0)) << "components are cloned";
}

TEST(mobile_shape, draws_at_position_heading_and_offset) {
  // A bow line from the origin 10 units north, drawn at twice its size.
  mobile_shape s;
  s.add(line({{0, 0}, {0, 10}}));
  const struct {
    const char* what;
    dpoint position;
    double heading, rotation;
    dsize offset;
    std::string calls;
  } rows[] = {
      {"north at the window centre", {50, 50}, 0, 0, {0, 0}, "move 50,50|line 50,30"},
      {"heading east", {50, 50}, 90, 0, {0, 0}, "move 50,50|line 70,50"},
      {"heading and rotation add", {50, 50}, 45, 45, {0, 0}, "move 50,50|line 70,50"},
      {"east off the centre", {20, 30}, 90, 0, {0, 0}, "move 20,70|line 40,70"},
      {"the offset point on the position", {50, 50}, 90, 0, {0, 5}, "move 40,50|line 60,50"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    recording_surface dc;
    viewport v;
    v.begin_paint(dc, {0, 0, 100, 100});
    s.draw(v, r.position, grid_bearing(r.heading * deg), r.offset, grid_bearing(r.rotation * deg),
           true, 2);
    std::string got;
    for (const std::string& c : dc.calls())
      got += (got.empty() ? "" : "|") + c;
    EXPECT_EQ(got, r.calls);
    EXPECT_FALSE(v.active) << "the transformation is restored";
  }
  // Not to scale the 10 units fill 80 mm: 302 pixels of a 1000-pixel, 265 mm screen.
  recording_surface dc(screen_caps(1000, 1000));
  viewport v;
  v.set_window({0, 1000, 1000, 0}, false);
  v.begin_paint(dc, {0, 0, 1000, 1000});
  s.draw(v, {500, 100}, grid_bearing(0), {0, 0}, grid_bearing(0), false, 1);
  EXPECT_EQ(dc.calls(), (std::vector<std::string>{"move 500,900", "line 500,598"}));
}

}  // namespace
}  // namespace kyo::test
