// The SVG surface: the exact document of a small drawing, and a shape drawn through a viewport,
// saved and read back by a real XML parser (python3's xml.etree).
#include <kyo/graphics/mobile_shape.h>
#include <kyo/graphics/svg_surface.h>
#include <kyo/graphics/viewport.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/temp_dir.h"

namespace kyo::test {
namespace {

TEST(svg_surface, writes_paths_pixels_text_and_clips) {
  svg_surface s(40, 30);
  EXPECT_EQ(s.caps(), (device_caps{{96, 96}, {11, 8}, {40, 30}, false}));
  EXPECT_EQ(screen_caps(40, 30, 0).size_mm, (isize{0, 0})) << "no size without a resolution";
  EXPECT_EQ(screen_caps(1, 1, 1000).size_mm, (isize{1, 1})) << "at least a millimetre";
  EXPECT_EQ(svg_surface(0, -5).caps().resolution, (isize{1, 1})) << "at least a pixel";
  s.fill_rect({40, 30, 0, 0}, colour::black);
  s.set_pen(colour::light_yellow);
  s.move_to({1, 2});
  s.line_to({3, 4});
  s.line_to({5, 6});
  s.move_to({7, 8});
  s.line_to({9, 10});
  s.set_clip_rect({0, 0, 20, 10});
  s.set_pixel({2, 3}, colour(0x123456));
  s.text_out({20, 15}, "a<&>\"\xB0\x01", alignment(alignment::center | alignment::bottom),
             colour::white);
  s.move_to({0, 0});
  s.line_to({1, 1});
  EXPECT_EQ(s.svg(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"40\" height=\"30\" "
            "viewBox=\"0 0 40 30\">\n"
            "<rect x=\"0\" y=\"0\" width=\"40\" height=\"30\" fill=\"#000000\"/>\n"
            "<path d=\"M1 2L3 4L5 6M7 8L9 10\" transform=\"translate(0.5 0.5)\" "
            "stroke=\"#ffff00\" fill=\"none\"/>\n"
            "<clipPath id=\"clip1\"><rect x=\"0\" y=\"0\" width=\"20\" height=\"10\"/></clipPath>\n"
            "<g clip-path=\"url(#clip1)\">\n"
            "<rect x=\"2\" y=\"3\" width=\"1\" height=\"1\" fill=\"#563412\"/>\n"
            "<text x=\"-8\" y=\"11\" font-family=\"monospace\" font-size=\"13\" textLength=\"56\" "
            "lengthAdjust=\"spacingAndGlyphs\" xml:space=\"preserve\" fill=\"#ffffff\">"
            "a&lt;&amp;&gt;&quot;\xC2\xB0?</text>\n"
            "<path d=\"M0 0L1 1\" transform=\"translate(0.5 0.5)\" stroke=\"#ffff00\" "
            "fill=\"none\"/>\n"
            "</g>\n"
            "</svg>\n");
}

TEST(svg_surface, a_drawn_shape_parses_as_xml) {
  temp_dir dir;
  mobile_shape s(nullptr, "Survey vessel");
  s.add(std::make_unique<shape_line>(
      std::vector<dpoint>{{-2, -5}, {-2, 3}, {0, 6}, {2, 3}, {2, -5}, {-2, -5}}));
  s.add(std::make_unique<shape_ellipse>(dpoint{0, 0}, dellipse{1, 1, 0}));
  svg_surface out(200, 200);
  viewport v;
  v.set_window({-10, 10, 10, -10}, true);
  v.begin_paint(out, {0, 0, 200, 200});
  v.set_text_colour(colour::light_cyan);
  v.move_abs({-10, -10});
  v.text("Survey vessel 045\xB0");
  s.draw(v, {0, 0}, grid_bearing(0.785398), {0, 0}, grid_bearing(0), true, 1);
  v.end_paint();
  ASSERT_TRUE(out.save(dir.file("shape.svg")));

  dir.write("summary.py",
            "import sys, xml.etree.ElementTree as ET\n"
            "root = ET.parse(sys.argv[1]).getroot()\n"
            "tags = [e.tag.split('}')[1] for e in root.iter()]\n"
            "print(' '.join(sorted(set(tags))), tags.count('path'))\n"
            "print([e.text for e in root.iter() if e.text and e.text.strip()])\n"
            "print(root.get('width'), root.get('height'))\n");
  const std::string command = "PYTHONIOENCODING=utf-8 python3 '" + dir.file("summary.py") + "' '" +
                              dir.file("shape.svg") + "' > '" + dir.file("out.txt") + "' 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << dir.read("out.txt");
  EXPECT_EQ(dir.read("out.txt"),
            "path svg text 1\n"
            "['Survey vessel 045\xC2\xB0']\n"
            "200 200\n");
}

}  // namespace
}  // namespace kyo::test
