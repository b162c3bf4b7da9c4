// Project details: labels and defaults, the single blank of a missing key, a save and load that
// keeps every value (inner and outer blanks, quotes), the process-wide object and the help file.
#include <kyo/settings/help_file.h>
#include <kyo/settings/project_details.h>

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace kyo::test {
namespace {

TEST(project_details, starts_with_padded_labels_and_four_defaults) {
  const TProjectDetails d;
  std::string all;
  for (int i = 0; i < TProjectDetails::count; ++i) {
    const auto id = TProjectDetails::id(i);
    all += d.get_name(id) + "=" + d.get_info(id) + ";";
  }
  EXPECT_EQ(all,
            "Company Name        =Varnak Hydrographic Inc;Project Number      =1;"
            "Project Description =Survey;Survey Area         =GOM;Start Date of Survey=;"
            "End   Date of Survey=;Client              =;Contractor          =;"
            "Client Rep.         =;Survey Rep.         =;Party Chief         =;"
            "Surveyor            =;");
  EXPECT_EQ(d.get_info(TProjectDetails::id(12)) + d.get_name(TProjectDetails::id(-1)), "");
}

TEST(project_details, keeps_every_value_through_a_profile_file) {
  temp_dir dir;
  const std::string file = dir.file("job.ini");
  dir.write("job.ini", "[Other]\r\nx=1\r\n");
  TProjectDetails d;
  d.loadProjectInfoData(file);
  EXPECT_EQ(d.get_info(TProjectDetails::company_name), " ") << "a missing key reads as a blank";
  const std::string values[TProjectDetails::count] = {
      "Acme  Survey Ltd",    " ",         "  leading", "trailing  ", "\"quoted\"", "'q'", "",
      std::string(100, 'x'), "a \"b\" c", "50\xB0N",   "'",          "x"};
  TProjectDetails::transfer_s t;
  for (int i = 0; i < TProjectDetails::count; ++i)
    t.infos[i] = values[i];
  d.transfer(t, TProjectDetails::transfer_set);
  ASSERT_TRUE(d.saveProjectInfoData(file));
  EXPECT_EQ(dir.read("job.ini"),
            "[Other]\r\nx=1\r\n\r\n[ProjectInfo]\r\nCompany Name=Acme  Survey Ltd\r\n"
            "Project Number=\" \"\r\nProject Description=\"  leading\"\r\n"
            "Survey Area=\"trailing  \"\r\nStart Date of Survey=\"\"quoted\"\"\r\n"
            "End   Date of Survey=\"'q'\"\r\nClient=\r\nContractor=" +
                std::string(100, 'x') +
                "\r\nClient Rep.=a \"b\" c\r\nSurvey Rep.=50\xB0N\r\nParty Chief='\r\n"
                "Surveyor=x\r\n");
  TProjectDetails back;
  back.loadProjectInfoData(file);
  TProjectDetails::transfer_s out;
  back.transfer(out, TProjectDetails::transfer_get);
  for (int i = 0; i < TProjectDetails::count; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(out.infos[i], values[i].substr(0, 79)) << "values are cut at 79 characters";
  }
  back.transfer(t, 2);
  EXPECT_EQ(back.get_info(TProjectDetails::client), "") << "direction 2 changes nothing";
}

TEST(project_details, process_wide_objects_live_from_alloc_to_dealloc) {
  temp_dir dir;
  const std::string file = dir.file("p.ini");
  EXPECT_FALSE(saveProjectDetails(file)) << "nothing to save before allocProjectDetails";
  ASSERT_TRUE(allocProjectDetails());
  GetProjecDetails()->set_info(TProjectDetails::surveyor, "J. Smith");
  EXPECT_TRUE(saveProjectDetails(file));
  ASSERT_TRUE(allocProjectDetails()) << "a new object starts from the defaults";
  EXPECT_EQ(prjDetailsGetInfo(TProjectDetails::surveyor), "");
  loadProjectDetails(file);
  EXPECT_EQ(prjDetailsGetInfo(TProjectDetails::surveyor), "J. Smith");
  EXPECT_EQ(prjDetailsGetName(TProjectDetails::party_chief), "Party Chief         ");
  deAllocProjectDetails();
  EXPECT_EQ(GetProjecDetails(), nullptr);
  loadProjectDetails(file);
  EXPECT_EQ(
      prjDetailsGetName(TProjectDetails::surveyor) + prjDetailsGetInfo(TProjectDetails::surveyor),
      "");

  allocHelpFile("C:\\KYO\\kyo.hlp");
  EXPECT_EQ(getHelpFile(), "C:\\KYO\\kyo.hlp");
  deAllocHelpFile();
  EXPECT_EQ(getHelpFile(), "");
}

}  // namespace
}  // namespace kyo::test
