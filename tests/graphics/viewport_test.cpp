// The viewport: the transformation's coefficient rules, the world-to-device mapping with aspect
// keeping and clip regions, and the exact device calls of the drawing operations, worked out
// here from the geometry rather than from the viewport's own formulas.
#include <kyo/graphics/recording_surface.h>
#include <kyo/graphics/viewport.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <kyo/platform/printf_format.h>

namespace kyo::test {
namespace {

using calls = std::vector<std::string>;
constexpr double deg = std::numbers::pi / 180;

// With bounds (0, 0, 100, 100) and window (0, 100, 100, 0), world (x, y) is device
// (x + 0.5, 100.5 - y) truncated.
std::string dev(double x, double y) {
  return std::to_string(int(x + 0.5)) + "," + std::to_string(int(100.5 - y));
}
std::string line(dpoint a, dpoint b) {
  return "move " + dev(a.x, a.y) + "|line " + dev(b.x, b.y);
}
/// The chords of the arc about `c` of radius `r` from `from` degrees through `sweep` degrees.
std::string arc(dpoint c, double r, double from, double sweep, int chords) {
  const auto at = [&](int i) {
    const double a = (from + sweep * i / chords) * deg;
    return dpoint{c.x + r * std::cos(a), c.y + r * std::sin(a)};
  };
  std::string out;
  for (int i = 0; i < chords; ++i)
    out += (i ? "|" : "") + line(at(i), at(i + 1));
  return out;
}
/// A transformed point rounded to nine decimals, "x,y".
std::string str(dpoint p) {
  const auto r = [](double v) { return format_one("%g", std::round(v * 1e9) / 1e9 + 0.0); };
  return r(p.x) + "," + r(p.y);
}
std::string joined(const calls& c) {
  std::string out;
  for (const std::string& s : c)
    out += (out.empty() ? "" : "|") + s;
  return out;
}

struct painted {
  recording_surface s{screen_caps(100, 100)};
  viewport v;
  painted() {
    v.begin_paint(s, {0, 0, 100, 100});
    s.clear();
  }
};

TEST(viewport_transformation, keeps_the_coefficient_rules) {
  viewport_transformation t;
  t.translate({0, 0});
  EXPECT_FALSE(t.active) << "a zero translation leaves it inactive";
  t.c = 9;
  EXPECT_EQ(t.transform({1, 2}), (dpoint{1, 2})) << "inactive is the identity";
  t.reset();
  // Translate, turn a quarter counter-clockwise, then scale: the scale multiplies (a, d, c) by
  // 2 and (b, e, f) by 3, which is not a scaling of the turned result.
  t.translate({5, 7});
  t.rotate(90 * deg);
  t.scale({2, 3});
  EXPECT_EQ(
      str(t.transform({0, 0})) + " " + str(t.transform({1, 0})) + " " + str(t.transform({0, 1})),
      "-14,15 -14,17 -17,15");
  viewport_transformation u;
  u.scale({1, 1});
  u.rotate(0);
  EXPECT_FALSE(u.active) << "scale by 1 and a zero turn change nothing";
  // A point 5 north of (10, 0) turned a quarter clockwise lies 5 east of it.
  u.rotatePoint({10, 0}, {10, 5}, 90 * deg);
  EXPECT_TRUE(u.active);
  EXPECT_EQ(str(u.transform({0, 0})), "15,0");
}

TEST(viewport, maps_the_window_with_and_without_aspect_and_clip_region) {
  viewport v;
  v.set_bounds({0, 0, 200, 100});
  EXPECT_EQ(v.world_to_screen({0, 0}), (ipoint{0, 100}));
  EXPECT_EQ(v.world_to_screen({std::nan(""), -1e300}), (ipoint{0, 2147483647})) << "saturated";
  v.set_bounds({0, 0, 200, 200});
  EXPECT_EQ(v.screen_to_world({0, 100}), (dpoint{-0.25, 50.25})) << "the half pixel stays";
  v.set_bounds({0, 0, 200, 100});
  v.set_window({0, 100, 0, 0}, true);
  EXPECT_EQ(v.actual_window(), (drect{0, 100, 100, 0})) << "a zero-width window is ignored";
  v.set_window({0, 100, 100, 0}, true);
  EXPECT_EQ(v.actual_window(), (drect{-50, 100, 150, 0}));
  EXPECT_EQ(v.world_to_screen({-50, 0}), (ipoint{0, 100}));
  v.set_bounds({0, 0, 100, 200});
  EXPECT_EQ(v.actual_window(), (drect{0, 150, 100, -50})) << "a tall device widens the height";

  v.set_window({0, 100, 100, 0}, false);
  v.set_bounds({0, 0, 200, 100});
  v.set_clip_region({50, 10, 250, 60});
  EXPECT_EQ(v.visible(), (drect{25, 40, 100, 90}));
  v.set_clip_region({300, 0, 400, 100});
  EXPECT_TRUE(v.is_empty());
  EXPECT_EQ(v.visible(), drect::null_rect);
}

// A seven-chord circle is left open by three degrees; arcs take trunc(sweep / 9 degrees) + 1
// chords, so that -9 degrees or less draws nothing.
TEST(viewport, circles_and_arcs_follow_the_chord_rule_also_for_negative_sweeps) {
  painted p;
  p.v.move_abs({50, 50});
  p.v.circle(40, 7);
  EXPECT_EQ(joined(p.s.calls()), arc({50, 50}, 40, 90, 7 * 51, 7));
  p.s.clear();
  p.v.circle(0, 7);
  p.v.circle(10, 0);
  p.v.circle(10, 361);
  EXPECT_EQ(p.s.calls(), calls{});
  for (const auto& [sweep, chords] :
       {std::pair{20.0, 3}, {9.000001, 2}, {-5.0, 1}, {-9.0, 0}, {-20.0, 0}}) {
    p.s.clear();
    p.v.curve({50, 50}, {20, 0}, sweep * deg);
    EXPECT_EQ(joined(p.s.calls()), arc({50, 50}, 20, 0, sweep, chords)) << sweep;
    EXPECT_EQ(p.v.position() == (dpoint{70, 50}), chords == 0) << "moved to the start";
  }
}

TEST(viewport, lines_rectangles_points_and_text) {
  painted p;
  p.v.move_abs({50, 50});
  p.v.draw_rel({100, 0});
  p.v.draw_abs({std::nan(""), 0});
  p.v.move_abs({10, 10});
  p.v.move_rel({10, 50});
  p.v.rectangle({20, 30});
  p.v.point({5, 5}, colour::light_yellow);
  p.v.point({-5, 5}, colour::light_yellow);
  p.v.set_text_align(alignment(alignment::center | alignment::baseline));
  p.v.set_text_colour(colour::white);
  p.v.text("a\xB0");
  EXPECT_EQ(joined(p.s.calls()), line({50, 50}, {100, 50}) + "|" + line({20, 60}, {40, 60}) + "|" +
                                     line({40, 60}, {40, 90}) + "|" + line({40, 90}, {20, 90}) +
                                     "|" + line({20, 90}, {20, 60}) +
                                     "|pixel 5,95 #ffff00|text 20,40 a30 #ffffff a\xB0");
}

TEST(viewport, inflates_bounds_and_window_by_millimetres) {
  recording_surface s(screen_caps(200, 200));  // 53 mm across: 10 mm are 38 pixels
  viewport v;
  v.begin_paint(s, {10, 10, 110, 110});
  v.inflate_bounds({10, 10}, true);
  EXPECT_EQ(v.get_bounds(), (irect{-28, -28, 148, 148}));
  EXPECT_EQ(v.get_window(), (drect{-38, 138, 138, -38}));
  EXPECT_EQ(v.world_to_screen({0, 0}), (ipoint{10, 110})) << "the world stays in place";
  EXPECT_EQ(s.calls(), calls{"clip 10,10,110,110"});
  EXPECT_EQ(v.mm_to_world({10, 20}), (dsize{38, 75}));
  v.end_paint();
  EXPECT_EQ(s.calls().back(), "unclip");
}

TEST(mm_converter, counts_printers_in_logical_pixels) {
  // 600 dots per inch on paper 203 by 279 mm that reports 300 logical pixels per inch.
  const device_caps printer{{300, 300}, {203, 279}, {4800, 6600}, true};
  const mm_converter m{recording_surface(printer)};
  EXPECT_EQ((std::vector<int>{m.size_x, m.size_y, m.res_x, m.res_y}),
            (std::vector<int>{2030, 2790, 2400, 3300}));
  EXPECT_EQ(m.mm_to_pixel(254, 254), (ipoint{300, 300})) << "an inch";
  EXPECT_EQ(m.pixel_to_mm(300, 300), (ipoint{254, 254}));
  EXPECT_EQ(mm_converter{recording_surface(printer, 3)}.res_x, 7200) << "device to logical";
  const device_caps no_ppi{{0, 0}, {100, 100}, {1000, 1000}, false};
  EXPECT_EQ(mm_converter{recording_surface(no_ppi, 0)}.mm_to_pixel(10, 10), (ipoint{10, 10}))
      << "no logical resolution: factor 1, and at least one logical unit per pixel";
  // a b / c, halves away from zero, saturated, 0 for c = 0.
  const int abc[] = {1, 1, 2, -1, 1, 2, 3,  1, 2, 5, 1,          3, 1, -3,
                     2, 2, 3, 6,  2, 3, -6, 7, 7, 0, 2147483647, 4, 2};
  std::string got;
  for (std::size_t i = 0; i < std::size(abc); i += 3)
    got += std::to_string(mul_div(abc[i], abc[i + 1], abc[i + 2])) + " ";
  EXPECT_EQ(got, "1 -1 2 2 -2 1 -1 0 2147483647 ");
}

}  // namespace
}  // namespace kyo::test
