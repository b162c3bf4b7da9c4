// Project details: the twelve texts that describe a survey job (company, project number,
// client, surveyor...), kept in one process-wide `TProjectDetails`, saved to and loaded from the
// "ProjectInfo" section of a profile (INI) file, and printed by reports.
// allocProjectDetails, GetProjecDetails and deAllocProjectDetails manage the process-wide object.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The details of one survey job: a label (which is also the profile key) and a value per item.
class KYO_EXPORT TProjectDetails {
 public:
  /// The items, in the order of labels and values.
  enum id : int {
    company_name = 0,
    project_number,
    project_description,
    survey_area,
    start_date,
    end_date,
    client,
    contractor,
    client_rep,
    survey_rep,
    party_chief,
    surveyor,
  };
  static constexpr int count = 12;
  /// The profile section of the details.
  static constexpr const char* section = "ProjectInfo";
  /// Values are read into a buffer of this size: longer values are cut at 79 characters.
  static constexpr std::size_t value_buffer = 80;

  /// The dialog's buffer: the twelve values in id order.
  struct transfer_s {
    std::array<std::string, count> infos;
  };
  enum transfer_direction : int {
    transfer_get = 0,  ///< from the object into the buffer
    transfer_set = 1   ///< from the buffer into the object
  };

  /// Labels padded with blanks to 20 characters ("Company Name        "); values "Varnak
  /// Hydrographic Inc", "1", "Survey", "GOM" for the first four items, empty for the others.
  TProjectDetails();

  /// Reads every value from the "ProjectInfo" section of profile file `path`, its label being
  /// the key (a profile file ignores the blanks around keys). A key that is missing, like a
  /// missing file or section, gives a single blank " ", not the built-in value; a key with an
  /// empty value gives "". Values are cut at 79 characters.
  void loadProjectInfoData(const std::string& path);
  /// Writes every value under its label into the "ProjectInfo" section of `path`. A value whose
  /// outer blanks or outer quotes a profile file would drop (" ", "  x", "'q'") is written in
  /// double quotes, so that every value reads back as it was. False when a value could not be
  /// written (an unwritable file, a value holding a line break).
  bool saveProjectInfoData(const std::string& path) const;

  /// Copies the twelve values into `buffer` (transfer_get) or from it (transfer_set); any other
  /// direction does nothing.
  void transfer(transfer_s& buffer, int direction);

  /// The label of item `i`; empty for an id outside 0 to 11.
  [[nodiscard]] std::string get_name(id i) const;
  /// The value of item `i`; empty for an id outside 0 to 11.
  [[nodiscard]] std::string get_info(id i) const;
  /// Sets the value of item `i`; an id outside 0 to 11 is ignored.
  void set_info(id i, const std::string& value);

 private:
  std::array<std::string, count> names_;
  std::array<std::string, count> infos_;
};

/// Creates the process-wide project details (replacing any present ones) and makes them
/// current; false when they could not be allocated.
KYO_EXPORT bool allocProjectDetails();
/// The current project details; null before allocProjectDetails and after deAllocProjectDetails.
[[nodiscard]] KYO_EXPORT TProjectDetails* GetProjecDetails();
/// Destroys the current project details.
KYO_EXPORT void deAllocProjectDetails();
/// loadProjectInfoData / saveProjectInfoData of the current project details; nothing (false)
/// without them.
KYO_EXPORT void loadProjectDetails(const std::string& path);
KYO_EXPORT bool saveProjectDetails(const std::string& path);
/// The label or the value of item `i` of the current project details; empty without them.
[[nodiscard]] KYO_EXPORT std::string prjDetailsGetName(TProjectDetails::id i);
[[nodiscard]] KYO_EXPORT std::string prjDetailsGetInfo(TProjectDetails::id i);

}  // namespace kyo
