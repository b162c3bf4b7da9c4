// Project details: the single blank of a missing key, a save and load that keeps every value
// (inner and outer blanks, quotes), the process-wide object and the help file.
#include <kyo/settings/help_file.h>
#include <kyo/settings/project_details.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/temp_dir.h"

namespace kyo::test {
namespace {

using pd = TProjectDetails;

TEST(project_details, keeps_every_value_through_a_profile_file) {
  temp_dir dir;
  const std::string file = dir.file("job.ini");
  dir.write("job.ini", "[Other]\r\nx=1\r\n");
  pd d;
  d.loadProjectInfoData(file);
  EXPECT_EQ(d.get_info(pd::company_name) + d.get_info(pd::surveyor), "  ")
      << "missing keys read as a blank";
  const std::string values[pd::count] = {
      "Acme  Survey Ltd",   " ",         "  lead", "trail  ", "\"q\"", "'q'", "",
      std::string(80, 'x'), "a \"b\" c", "'",      "50\xB0N", "''"};
  pd::transfer_s t;
  std::copy(std::begin(values), std::end(values), t.infos.begin());
  d.transfer(t, pd::transfer_set);
  ASSERT_TRUE(d.saveProjectInfoData(file));
  EXPECT_EQ(dir.read("job.ini"),
            "[Other]\r\nx=1\r\n\r\n[ProjectInfo]\r\nCompany Name=Acme  Survey Ltd\r\n"
            "Project Number=\" \"\r\nProject Description=\"  lead\"\r\nSurvey Area=\"trail  \"\r\n"
            "Start Date of Survey=\"\"q\"\"\r\nEnd   Date of Survey=\"'q'\"\r\nClient=\r\n"
            "Contractor=" +
                std::string(80, 'x') +
                "\r\nClient Rep.=a \"b\" c\r\nSurvey Rep.='\r\nParty Chief=50\xB0N\r\n"
                "Surveyor=\"''\"\r\n");
  pd back;
  back.loadProjectInfoData(file);
  back.transfer(t, 2);  // changes nothing
  back.transfer(t, pd::transfer_get);
  for (int i = 0; i < pd::count; ++i)
    EXPECT_EQ(t.infos[i], values[i].substr(0, 79)) << i << ": values are cut at 79 characters";
}

TEST(project_details, process_wide_objects_live_from_alloc_to_dealloc) {
  temp_dir dir;
  const std::string file = dir.file("p.ini");
  EXPECT_FALSE(saveProjectDetails(file)) << "nothing to save before allocProjectDetails";
  ASSERT_TRUE(allocProjectDetails());
  GetProjecDetails()->set_info(pd::surveyor, "J. Smith");
  EXPECT_TRUE(saveProjectDetails(file));
  ASSERT_TRUE(allocProjectDetails()) << "a new object starts from the defaults";
  const std::string before = prjDetailsGetInfo(pd::surveyor);
  loadProjectDetails(file);
  EXPECT_EQ(before + "|" + prjDetailsGetInfo(pd::surveyor) + "|" + prjDetailsGetName(pd::client),
            "|J. Smith|Client              ");
  deAllocProjectDetails();
  loadProjectDetails(file);
  allocHelpFile("C:\\KYO\\kyo.hlp");
  EXPECT_EQ(prjDetailsGetName(pd::surveyor) + prjDetailsGetInfo(pd::surveyor) + getHelpFile(),
            "C:\\KYO\\kyo.hlp")
      << "no object: no names, no values, and loading makes none";
  deAllocHelpFile();
  EXPECT_EQ(getHelpFile(), "");
}

}  // namespace
}  // namespace kyo::test
