// The viewport: the transformation's coefficient rules, the world-to-device mapping with aspect
// keeping and clip regions, and the exact device calls of the drawing operations, worked out
// here from the geometry rather than from the viewport's own formulas.
#include <kyo/graphics/recording_surface.h>
#include <kyo/graphics/viewport.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

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
  const struct {
    dpoint in, out;
  } rows[] = {{{0, 0}, {-14, 15}}, {{1, 0}, {-14, 17}}, {{0, 1}, {-17, 15}}};
  for (const auto& r : rows) {
    const dpoint p = t.transform(r.in);
    EXPECT_NEAR(p.x, r.out.x, 1e-12);
    EXPECT_NEAR(p.y, r.out.y, 1e-12);
  }
  viewport_transformation u;
  u.scale({1, 1});
  u.rotate(0);
  EXPECT_FALSE(u.active) << "scale by 1 and a zero turn change nothing";
  // A point 5 north of (10, 0) turned a quarter clockwise lies 5 east of it.
  u.rotatePoint({10, 0}, {10, 5}, 90 * deg);
  EXPECT_TRUE(u.active);
  EXPECT_NEAR(u.transform({0, 0}).x, 15, 1e-12);
  EXPECT_NEAR(u.transform({0, 0}).y, 0, 1e-12);
}

TEST(viewport, maps_the_window_with_and_without_aspect_and_clip_region) {
  viewport v;
  v.set_bounds({0, 0, 200, 100});
  EXPECT_EQ(v.world_to_screen({0, 0}), (ipoint{0, 100}));
  EXPECT_EQ(v.world_to_screen({100, 100}), (ipoint{200, 0}));
  EXPECT_EQ(v.screen_to_world({0, 100}), (dpoint{-0.25, 0.5})) << "the half pixel stays";
  EXPECT_EQ(v.world_per_pixel(), (dsize{0.5, 1}));
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
  EXPECT_EQ(v.clip_rect(), (drect{0, 0, 100, 100}));
  v.set_clip_region({300, 0, 400, 100});
  EXPECT_TRUE(v.is_empty());
  EXPECT_EQ(v.visible(), drect::null_rect);
  v.clear_clip_region();
  EXPECT_FALSE(v.is_empty());
}

TEST(viewport, draws_nothing_on_zero_bounds) {
  recording_surface s;
  viewport v;
  v.begin_paint(s, {10, 10, 10, 50});
  EXPECT_TRUE(v.is_empty());
  v.move_abs({1, 1});
  v.draw_abs({50, 50});
  v.draw_rel({1, 1});
  v.point({5, 5}, colour::white);
  v.rectangle({10, 10});
  v.circle(10, 8);
  v.ellipse({5, 5, 0});
  v.curve({50, 50}, {10, 0}, 1.0);
  v.curve({0, 0}, {10, 0}, 10, true);
  v.curve({0, 0}, {5, 5}, {10, 0}, false);
  v.text("x");
  v.grid(10, false, 0);
  v.axes(10, {}, 10);
  v.inflate_bounds({5, 5}, true);
  EXPECT_EQ(s.calls(), calls{});
  EXPECT_EQ(v.position(), (dpoint{0, 0}));
}

TEST(viewport, a_seven_chord_circle_is_left_open_by_three_degrees) {
  painted p;
  p.v.move_abs({50, 50});
  p.v.circle(40, 7);
  std::string want;
  for (int k = 0; k < 7; ++k) {
    const auto at = [](int i) {
      return dpoint{50 - 40 * std::sin(51 * i * deg), 50 + 40 * std::cos(51 * i * deg)};
    };
    want += (k ? "|" : "") + line(at(k), at(k + 1));
  }
  EXPECT_EQ(joined(p.s.calls()), want);
  p.s.clear();
  p.v.circle(0, 7);
  p.v.circle(10, 0);
  p.v.circle(10, 361);
  EXPECT_EQ(p.s.calls(), calls{});
}

TEST(viewport, arcs_follow_the_chord_rule_also_for_negative_sweeps) {
  const auto arc = [](double sweep_deg, int chords) {
    std::string out;
    for (int i = 0; i < chords; ++i) {
      const double a0 = sweep_deg * deg * i / chords, a1 = sweep_deg * deg * (i + 1) / chords;
      out += (i ? "|" : "") + line({50 + 20 * std::cos(a0), 50 + 20 * std::sin(a0)},
                                   {50 + 20 * std::cos(a1), 50 + 20 * std::sin(a1)});
    }
    return out;
  };
  const struct {
    const char* what;
    double sweep;
    int chords;
  } rows[] = {{"20 degrees in three chords", 20, 3},
              {"exactly 9 degrees in two", 9.000001, 2},
              {"-5 degrees in one chord", -5, 1},
              {"-9 degrees draws nothing", -9, 0},
              {"-20 degrees draws nothing", -20, 0}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    painted p;
    p.v.curve({50, 50}, {20, 0}, r.sweep * deg);
    EXPECT_EQ(joined(p.s.calls()), arc(r.sweep, r.chords));
    EXPECT_EQ(p.v.position() == (dpoint{70, 50}), r.chords == 0) << "moved to the start";
  }
}

TEST(viewport, curves_by_radius_and_through_three_points) {
  // The chord (30, 50)-(70, 50) with radius 25: centre (50, 65) for the short arc through
  // (50, 40), (50, 35) for the long one through (50, 10).
  const struct {
    const char* what;
    bool side;
    std::size_t calls;
    double lowest;
  } rows[] = {{"short arc", true, 2 * 12, 40}, {"long arc", false, 2 * 29, 10}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    painted p;
    p.v.curve({30, 50}, {70, 50}, 25, r.side);
    ASSERT_EQ(p.s.calls().size(), r.calls);
    EXPECT_EQ(p.s.calls().front(), "move " + dev(30, 50));
    EXPECT_EQ(p.s.calls().back(), "line " + dev(70, 50));
    EXPECT_NEAR(p.v.position().y, 50, 1e-9);
    int deepest = 0;
    for (const std::string& c : p.s.calls())
      deepest = std::max(deepest, std::stoi(c.substr(c.find(',') + 1)));
    EXPECT_EQ(deepest, int(100.5 - r.lowest));
  }
  painted p;
  p.v.curve({0, 0}, {60, 0}, 25, true);
  p.v.curve({0, 0}, {0, 0}, 25, true);
  EXPECT_EQ(p.s.calls(), calls{}) << "a chord longer than the diameter, or none";

  // Arcs of 100 degrees about (50, 50), counter-clockwise and clockwise, and a whole circle.
  const auto on = [](double a) {
    return dpoint{50 + 20 * std::cos(a * deg), 50 + 20 * std::sin(a * deg)};
  };
  p.v.curve(on(0), on(50), on(100), false);
  EXPECT_EQ(p.s.calls().size(), 2u * 12);
  EXPECT_EQ(p.s.calls()[1], "line " + dev(on(100.0 / 12).x, on(100.0 / 12).y));
  p.s.clear();
  p.v.curve(on(100), on(50), on(0), false);
  EXPECT_EQ(p.s.calls().size(), 2u * 12);
  EXPECT_EQ(p.s.calls()[1], "line " + dev(on(100 - 100.0 / 12).x, on(100 - 100.0 / 12).y));
  EXPECT_EQ(p.s.calls().back(), "line " + dev(70, 50));
  p.s.clear();
  p.v.curve(on(100), on(50), on(0), true);
  EXPECT_GE(p.s.calls().size(), 2u * 40) << "the whole circle, clockwise";
  EXPECT_EQ(p.s.calls()[1], "line " + dev(on(100 - 9).x, on(100 - 9).y));
  EXPECT_EQ(p.s.calls().back(), "line " + dev(on(100).x, on(100).y));
  p.s.clear();
  p.v.curve({10, 10}, {20, 20}, {30, 30}, false);
  EXPECT_EQ(joined(p.s.calls()), line({10, 10}, {20, 20}) + "|" + line({20, 20}, {30, 30}));
}

TEST(viewport, lines_rectangles_ellipses_points_and_text) {
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

  p.s.clear();
  p.v.move_abs({50, 50});
  p.v.ellipse({30, 10, 90 * deg});
  ASSERT_EQ(p.s.calls().size(), 2u * 36);
  EXPECT_EQ(p.s.calls()[0], "move " + dev(50, 80)) << "the first axis turned to north";
  EXPECT_EQ(p.s.calls()[1],
            "line " + dev(50 - 10 * std::sin(10 * deg), 50 + 30 * std::cos(10 * deg)));
}

TEST(viewport, grids_go_straight_or_through_the_transformation) {
  painted p;
  p.v.grid(25, false, 0);
  std::string want;
  for (double x : {0, 25, 50, 75})
    want += "move " + dev(x, 0) + "|line " + dev(x, 100) + "|";
  for (double y : {0, 25, 50, 75})
    want += "move " + dev(0, y) + "|line " + dev(100, y) + (y < 75 ? "|" : "");
  EXPECT_EQ(joined(p.s.calls()), want);

  p.s.clear();
  p.v.translate({10, 0});
  p.v.grid(50, true, 0);
  EXPECT_EQ(joined(p.s.calls()), line({10, 0}, {10, 100}) + "|" + line({60, 0}, {60, 100}) + "|" +
                                     line({10, 0}, {100, 0}) + "|" + line({10, 50}, {100, 50}))
      << "shifted and clipped";
  p.s.clear();
  p.v.grid(0, false, 0);
  p.v.grid(0.01, false, 0);
  p.v.grid(std::nan(""), false, 0);
  EXPECT_EQ(p.s.calls(), calls{});
}

TEST(viewport, axes_label_ticks_outside_and_range_circles) {
  recording_surface s(screen_caps(100, 100));
  viewport v;
  v.set_window({-10, 10, 10, -10}, false);
  v.begin_paint(s, {0, 0, 100, 100});
  v.translate({3, 3});
  const range_circle circles[] = {{5, true}, {0, true}, {8, false}};
  v.axes(10, circles, 20);
  // 2 mm on a 96 ppi screen of 26 mm is 8 pixels; x ticks hang below the frame, y ticks stand
  // left of it.
  calls texts;
  std::size_t lines = 0;
  for (const std::string& c : s.calls()) {
    if (c.starts_with("text")) texts.push_back(c);
    lines += c.starts_with("line");
  }
  EXPECT_EQ(texts, (calls{"text 0,108 a6 #000000 -10", "text 50,108 a6 #000000 0",
                          "text 100,108 a6 #000000 10", "text -8,100 a26 #000000 -10",
                          "text -8,50 a26 #000000 0", "text -8,0 a26 #000000 10",
                          "text 68,32 a8 #000000 5 m"}));
  EXPECT_EQ(lines, 4 + 2 + 6 + 2 * 72u);
  EXPECT_EQ(s.calls()[0], "move 0,100") << "the frame starts at the window's bottom left";
  EXPECT_EQ(v.transform({0, 0}), (dpoint{3, 3})) << "the transformation is kept";
}

TEST(viewport, inflates_bounds_and_window_by_millimetres) {
  recording_surface s(screen_caps(200, 200));  // 53 mm across: 10 mm are 38 pixels
  viewport v;
  v.begin_paint(s, {10, 10, 110, 110});
  v.inflate_bounds({10, 10}, true);
  EXPECT_EQ(v.get_bounds(), (irect{-28, -28, 148, 148}));
  EXPECT_EQ(v.get_window(), (drect{-38, 138, 138, -38}));
  EXPECT_EQ(v.world_to_screen({0, 0}), (ipoint{10, 110})) << "the world stays in place";
  EXPECT_EQ(v.clip_region(), (irect{10, 10, 110, 110}));
  EXPECT_EQ(s.calls(), calls{"clip 10,10,110,110"});
  EXPECT_EQ(v.mm_to_world({10, 20}), (dsize{38, 75}));
  v.end_paint();
  EXPECT_EQ(s.calls().back(), "unclip");
}

TEST(viewport, monochrome_devices_get_black_on_white) {
  device_caps mono = screen_caps(100, 100);
  mono.monochrome = true;
  recording_surface colour_device, mono_device(mono);
  viewport v;
  namespace so = stock_object;
  const struct {
    int object;
    bool background;
    int mono;
  } rows[] = {
      {so::gray_brush, true, so::white_brush},   {so::null_brush, true, so::null_brush},
      {so::white_brush, false, so::black_brush}, {so::dark_gray_brush, false, so::black_brush},
      {so::black_brush, false, so::black_brush}, {so::white_pen, false, so::black_pen},
      {so::null_pen, false, so::null_pen},       {so::black_pen, true, so::black_pen}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.object);
    v.set_dc(&colour_device);
    EXPECT_EQ(v.fix_stock_object(r.object, r.background), r.object);
    v.set_dc(&mono_device);
    EXPECT_EQ(v.fix_stock_object(r.object, r.background), r.mono);
  }
  EXPECT_EQ(v.fix_colour(colour::light_yellow, false), colour::black);
  EXPECT_EQ(v.fix_colour(colour::black, true), colour::white);
  v.set_dc(&colour_device);
  EXPECT_EQ(v.fix_colour(colour::light_yellow, false), colour::light_yellow);
}

TEST(mm_converter, counts_printers_in_logical_pixels) {
  // 600 dots per inch on paper 203 by 279 mm that reports 300 logical pixels per inch.
  const device_caps printer{{300, 300}, {203, 279}, {4800, 6600}, true};
  const mm_converter m{recording_surface(printer)};
  EXPECT_EQ((std::vector<int>{m.size_x, m.size_y, m.res_x, m.res_y}),
            (std::vector<int>{2030, 2790, 2400, 3300}));
  EXPECT_EQ(m.mm_to_pixel(254, 254), (ipoint{300, 300})) << "an inch";
  EXPECT_EQ(m.pixel_to_mm(300, 300), (ipoint{254, 254}));
  const mm_converter scaled{recording_surface(printer, 3)};
  EXPECT_EQ(scaled.res_x, 7200) << "device to logical units";
  const mm_converter unknown{recording_surface(device_caps{{0, 0}, {0, 0}, {100, 100}, false})};
  EXPECT_EQ(unknown.mm_to_pixel(10, 10), (ipoint{0, 0}));

  const struct {
    int a, b, c, q;
  } rows[] = {{1, 1, 2, 1},
              {-1, 1, 2, -1},
              {3, 1, 2, 2},
              {5, 1, 3, 2},
              {1, -3, 2, -2},
              {7, 7, 0, 0},
              {2147483647, 4, 2, 2147483647}};
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.a) + " * " + std::to_string(r.b) + " / " + std::to_string(r.c));
    EXPECT_EQ(mul_div(r.a, r.b, r.c), r.q);
  }
}

}  // namespace
}  // namespace kyo::test
