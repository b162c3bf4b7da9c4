#include <kyo/core/font_table.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kyo::font_item;
using kyo::font_table;

// A zeroed record with a face, a height and TrueType output precision.
kyo::logfont font(const char* face, int height = -10) {
  kyo::logfont lf;
  lf.height = height;
  lf.out_precision = kyo::out_tt_precis;
  lf.set_face(face);
  return lf;
}

TEST(font_table, starts_with_two_faces_and_reuses_the_first_empty_slot) {
  font_table t;
  ASSERT_EQ(t.size(), 2);
  EXPECT_EQ(t.get_logfont(0), font("Arial"));
  EXPECT_EQ(kyo::get_font_table().get_logfont(1), font("Courier New"));
  EXPECT_EQ(t.item(1)->type(), font_item::type_scaled);
  EXPECT_EQ(t.add(font_item("Times New Roman", -12, font_item::type_device)), 2);
  EXPECT_TRUE(t.remove(0));
  EXPECT_FALSE(t.remove(0) || t.remove(7) || t.remove(-1) || t.get_logfont(0));
  EXPECT_EQ(t.add(font("Symbol"), font_item::type_scaled), 0);
  EXPECT_EQ(t.add(font_item("Wingdings", -8, font_item::type_scaled)), 3);
  EXPECT_EQ(t.get_logfont(0), font("Symbol"));
  const font_item cut(std::string(40, 'F').c_str(), -10, font_item::type_scaled);
  EXPECT_EQ(cut.get_logfont(), font(std::string(31, 'F').c_str())) << "cut and terminated";
}

TEST(font_table, adjustments_change_a_copy_or_the_entry) {
  font_table t;
  font_table::data d;
  d.height_scale = 1.55;
  d.width_scale = 3;
  d.weight = kyo::fw_bold;
  d.italic = true;
  d.rotation = 900;
  d.face = "Times New Roman";
  // -15.5 rounds away from zero; the face's own width (0) stays.
  kyo::logfont expected = font("Times New Roman", -16);
  expected.weight = kyo::fw_bold;
  expected.italic = 1;
  expected.escapement = expected.orientation = 900;
  EXPECT_EQ(t.resolve(0, &d), expected);
  EXPECT_EQ(t.get_logfont(0), font("Arial")) << "resolve leaves the entry";
  EXPECT_EQ(t.resolve(1, nullptr), font("Courier New"));
  EXPECT_FALSE(t.resolve(5, &d));

  // Height scales: a tiny one keeps a size, NaN and negative ones are ignored, huge saturates.
  const std::pair<double, int> scales[] = {
      {0.01, -1}, {std::nan(""), -10}, {-2, -10}, {1e12, INT32_MIN}};
  for (const auto& [scale, height] : scales) {
    SCOPED_TRACE(scale);
    kyo::logfont lf = font("Courier New");
    font_table::data s;
    s.height_scale = scale;
    font_table::set_data(lf, s);
    EXPECT_EQ(lf.height, height);
  }

  font_table::data u;
  u.underline = u.strike_out = true;
  EXPECT_TRUE(t.set_data(1, u));
  kyo::logfont marked = font("Courier New");
  marked.underline = marked.strike_out = 1;
  EXPECT_EQ(t.get_logfont(1), marked);
  EXPECT_FALSE(t.set_data(9, u));
}

}  // namespace
