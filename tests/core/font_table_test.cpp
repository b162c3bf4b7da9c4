#include <kyo/core/font_table.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kyo::font_item;
using kyo::font_table;

TEST(font_table, starts_with_the_two_standard_faces) {
  const font_table t;
  ASSERT_EQ(t.size(), 2);
  const auto arial = t.get_logfont(0);
  const auto courier = t.get_logfont(1);
  ASSERT_TRUE(arial && courier);
  EXPECT_EQ(arial->face(), "Arial");
  EXPECT_EQ(courier->face(), "Courier New");
  EXPECT_EQ(arial->height, -10);
  EXPECT_EQ(courier->height, -10);
  EXPECT_EQ(arial->out_precision, kyo::out_tt_precis);
  EXPECT_EQ(arial->weight, 0);
  EXPECT_EQ(t.item(1)->type(), font_item::type_scaled);
  EXPECT_EQ(&kyo::get_font_table(), &kyo::get_font_table());
  EXPECT_EQ(kyo::get_font_table().get_logfont(1)->face(), "Courier New");
}

TEST(font_table, additions_reuse_the_first_empty_slot) {
  font_table t;
  EXPECT_EQ(t.add(font_item("Times New Roman", -12, font_item::type_device)), 2);
  EXPECT_TRUE(t.remove(0));
  EXPECT_FALSE(t.remove(0));
  EXPECT_FALSE(t.remove(7));
  EXPECT_FALSE(t.remove(-1));
  EXPECT_FALSE(t.get_logfont(0));
  EXPECT_EQ(t.item(-1), nullptr);
  kyo::logfont lf;
  lf.set_face("Symbol");
  EXPECT_EQ(t.add(lf, font_item::type_scaled), 0);
  EXPECT_EQ(t.add(font_item("Wingdings", -8, font_item::type_scaled)), 3);
  EXPECT_EQ(t.get_logfont(0)->face(), "Symbol");
  EXPECT_EQ(t.item(2)->type(), font_item::type_device);

  const std::string long_face(40, 'F');
  const font_item cut(long_face.c_str(), -10, font_item::type_scaled);
  EXPECT_EQ(cut.get_logfont().face(), std::string(31, 'F'));
  EXPECT_EQ(cut.get_logfont().face_name[31], '\0');
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
  const auto r = t.resolve(0, &d);
  ASSERT_TRUE(r);
  EXPECT_EQ(r->height, -16) << "-15.5 rounds away from zero";
  EXPECT_EQ(r->width, 0) << "the face's own width stays";
  EXPECT_EQ(r->weight, kyo::fw_bold);
  EXPECT_EQ(r->italic, 1);
  EXPECT_EQ(r->underline, 0);
  EXPECT_EQ(r->escapement, 900);
  EXPECT_EQ(r->orientation, 900);
  EXPECT_EQ(r->face(), "Times New Roman");
  EXPECT_EQ(t.get_logfont(0)->face(), "Arial") << "resolve leaves the entry";
  EXPECT_EQ(*t.resolve(1, nullptr), *t.get_logfont(1));
  EXPECT_FALSE(t.resolve(5, &d));

  struct row {
    const char* what;
    double scale;
    int height;
  };
  const row rows[] = {
      {"tiny scale keeps a size", 0.01, -1},
      {"NaN is ignored", std::nan(""), -10},
      {"negative is ignored", -2, -10},
      {"huge saturates", 1e12, INT32_MIN},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    kyo::logfont lf = *t.get_logfont(1);
    font_table::data s;
    s.height_scale = row.scale;
    font_table::set_data(lf, s);
    EXPECT_EQ(lf.height, row.height);
  }

  font_table::data u;
  u.underline = true;
  EXPECT_TRUE(t.set_data(1, u));
  EXPECT_EQ(t.get_logfont(1)->underline, 1);
  EXPECT_FALSE(t.set_data(9, u));
}

}  // namespace
