#include <kyo/settings/project_details.h>

#include <memory>
#include <new>

#include <kyo/platform/profile.h>

namespace kyo {

namespace {

constexpr const char* labels[TProjectDetails::count] = {
    "Company Name        ", "Project Number      ", "Project Description ", "Survey Area         ",
    "Start Date of Survey", "End   Date of Survey", "Client              ", "Contractor          ",
    "Client Rep.         ", "Survey Rep.         ", "Party Chief         ", "Surveyor            ",
};
constexpr const char* defaults[] = {"Varnak Hydrographic Inc", "1", "Survey", "GOM"};

// What a missing key reads as: the platform trims the blank off such a default, so it is put
// back here rather than passed to the profile call.
constexpr const char* missing_value = " ";

std::unique_ptr<TProjectDetails> current_details;

bool valid(TProjectDetails::id i) {
  return i >= 0 && i < TProjectDetails::count;
}

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

// The value as it must stand in the file to read back unchanged: the reader trims outer blanks
// and then removes one pair of matching outer quotes.
std::string as_written(const std::string& v) {
  const bool quoted =
      v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front();
  if (!v.empty() && (is_blank(v.front()) || is_blank(v.back()) || quoted)) return '"' + v + '"';
  return v;
}

}  // namespace

TProjectDetails::TProjectDetails() {
  for (int i = 0; i < count; ++i)
    names_[i] = labels[i];
  for (std::size_t i = 0; i < std::size(defaults); ++i)
    infos_[i] = defaults[i];
}

void TProjectDetails::loadProjectInfoData(const std::string& path) {
  for (int i = 0; i < count; ++i) {
    std::string v = profile_read(path, section, names_[i]).value_or(missing_value);
    if (v.size() >= value_buffer) v.resize(value_buffer - 1);
    infos_[i] = std::move(v);
  }
}

bool TProjectDetails::saveProjectInfoData(const std::string& path) const {
  bool ok = true;
  for (int i = 0; i < count; ++i) {
    ok = write_private_profile_string(section, names_[i].c_str(), as_written(infos_[i]).c_str(),
                                      path.c_str()) &&
         ok;
  }
  return ok;
}

void TProjectDetails::transfer(transfer_s& buffer, int direction) {
  if (direction == transfer_get) buffer.infos = infos_;
  if (direction == transfer_set) infos_ = buffer.infos;
}

std::string TProjectDetails::get_name(id i) const {
  return valid(i) ? names_[i] : std::string();
}

std::string TProjectDetails::get_info(id i) const {
  return valid(i) ? infos_[i] : std::string();
}

void TProjectDetails::set_info(id i, const std::string& value) {
  if (valid(i)) infos_[i] = value;
}

bool allocProjectDetails() {
  current_details.reset(new (std::nothrow) TProjectDetails);
  return current_details != nullptr;
}

TProjectDetails* GetProjecDetails() {
  return current_details.get();
}

void deAllocProjectDetails() {
  current_details.reset();
}

void loadProjectDetails(const std::string& path) {
  if (current_details) current_details->loadProjectInfoData(path);
}

bool saveProjectDetails(const std::string& path) {
  return current_details && current_details->saveProjectInfoData(path);
}

std::string prjDetailsGetName(TProjectDetails::id i) {
  return current_details ? current_details->get_name(i) : std::string();
}

std::string prjDetailsGetInfo(TProjectDetails::id i) {
  return current_details ? current_details->get_info(i) : std::string();
}

}  // namespace kyo
