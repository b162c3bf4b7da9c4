// Reports: a template (rich text, plain text or HTML) is copied to the report while bracketed
// fields are replaced by values at a clock tick: the report time, project details, and the
// entries of numeric servers. Templates may hold comments, conditional parts, table parts
// repeated once per numeric server of a list, and named sections. `report` is the engine with
// the fields every report knows; `default_report` adds the project details. docs/reports.md
// describes the template language with examples.
//
//   [Date] [Company] [GPS.Latitude] [GPS.Antenna height:0,12,1] [!a comment] [[ is a '['
//   [IF:GPS.Latitude]fix[ELSE]no fix[ENDIF]   [TABLE][.] [.HDOP]\n[ENDTABLE][.*]
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/numerics/variable.h>
#include <kyo/settings/project_details.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

/// The template engine and the fields common to all reports.
///
/// Template syntax: "[name]" or "[name:format]" is a token; "[[" writes '[', "]]" inside a
/// format stands for ']' ("[Time:%02H]]h]" has the format "%02H]h"), "[!...]" is a comment and
/// "[]" writes nothing. The names IF, ELSE, ENDIF, SECTION, TABLE and ENDTABLE (exact case) are
/// keywords; any other name is a field. A field is looked up as a report field (find_field),
/// then as a numeric entry "path.entry" (".." stands for a '.' within a name): the path is
/// resolved below the row's server inside a table part, then below the numerics root. The entry
/// "*" names the server's children (a list for tables), an empty entry the server's name.
/// A field that names nothing is written back as it stood, so that mistakes stay visible.
class KYO_EXPORT report {
 public:
  /// The index find_field gives for a name that is not a field.
  static constexpr int no_field = 0x7FFFFFFF;
  /// Token names and formats are cut at this many characters.
  static constexpr std::size_t max_token_text = 1024;
  /// Table parts nest at most this deep; a TABLE token deeper down is written back as text.
  static constexpr int max_table_depth = 4;

  /// Formats for the fields of reports (date and time directives of timedate::as_string, angle
  /// directives of rad::as_string; the degree sign is the byte 0xB0).
  static constexpr const char* date_fmt = "%d-%1N-%Y";
  static constexpr const char* time_fmt = "%02H:%02M:%02S";
  static constexpr const char* lat_fmt = "%02d\xB0%02m'%06.3s\"%1h";
  static constexpr const char* lng_fmt = "%03d\xB0%02m'%06.3s\"%2h";
  static constexpr const char* true_brg_fmt = "%5.1d\xB0T";
  static constexpr const char* grid_brg_fmt = "%5.1d\xB0G";
  static constexpr const char* zero_dp = "%.0f";
  static constexpr const char* one_dp = "%.1f";
  static constexpr const char* two_dp = "%.2f";
  /// The format of "Report Time".
  static constexpr const char* report_time_fmt = "%d %1N %Y %02H:%02M";

  /// A stretch of template: one section of a master pattern, or a table part. Its text is
  /// template text (literal brackets still doubled).
  class KYO_EXPORT pattern {
   public:
    pattern(std::string name, std::string text);
    /// The section name (the format of its SECTION token; "" for the part before the first).
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    /// Writes the pattern for tick `t` with the fields of `r`; false when the pattern ends
    /// inside a token (or at a zero byte) or `out` fails. What was written stays.
    bool generate(std::ostream& out, clock_tick t, const report& r) const;

   private:
    std::string name_;
    std::string text_;
  };

  /// A whole template split into its sections: a section runs from its [SECTION:name] token to
  /// the next SECTION token outside a table part; the text before the first is the section "".
  /// The template is held once, in the sections' texts.
  class KYO_EXPORT master_pattern {
   public:
    explicit master_pattern(std::istream& in);
    /// The first section called `name` (exact case); null when there is none.
    [[nodiscard]] const pattern* get_section(std::string_view name) const;
    [[nodiscard]] const std::vector<pattern>& sections() const noexcept { return sections_; }
    /// Whether the template was read to its end (not cut inside a token or at a zero byte).
    [[nodiscard]] bool complete() const noexcept { return complete_; }

   private:
    std::vector<pattern> sections_;
    bool complete_ = false;
  };

  /// A report of template file `template_path` (a DOS-style path, see native_path).
  explicit report(std::string template_path = {});
  report(const report&) = delete;
  report& operator=(const report&) = delete;
  virtual ~report();

  [[nodiscard]] const std::string& get_template() const noexcept { return template_; }
  void set_template(std::string path) { template_ = std::move(path); }
  /// The server below which numeric fields are looked up (not owned; null: none).
  void set_numerics_root(const numeric_server* root) noexcept { root_ = root; }
  [[nodiscard]] const numeric_server* get_numerics_root() const noexcept { return root_; }

  /// Writes the report for tick `t` from the template file, streaming: text is copied as it is
  /// read and only table parts are held. False when the template cannot be opened, ends inside
  /// a token or at a zero byte, or `out` fails; what was written before stays.
  bool generate(std::ostream& out, clock_tick t) const;
  /// The same from the template stream `in`.
  bool generate(std::istream& in, std::ostream& out, clock_tick t) const;

  /// The name of field `index`; "" for an index that is no field. Here: 1 "Report Time".
  [[nodiscard]] virtual std::string field_name(int index) const;
  /// The index of the field called `name` (exact case); no_field when there is none.
  [[nodiscard]] virtual int find_field(std::string_view name) const;
  /// Sets `v` to the value of field `index` at tick `t`; leaves `v` as it is (the caller's
  /// undefined variable) for an index that is no field. Here: 1, the report time as a date and
  /// time with report_time_fmt.
  virtual void get_field(int index, clock_tick t, variable& v) const;

  /// The time of tick `t` (time_manager) as a timedate, seconds since 1901.
  [[nodiscard]] static double time_of(clock_tick t);

 private:
  std::string template_;
  const numeric_server* root_ = nullptr;
};

/// A report with the fields of every survey report: 2 "Date", 3 "Time" (the report time with
/// date_fmt and time_fmt) and 4 to 15 the project details "Company", "JobNmr",
/// "JobDescription", "JobArea", "JobStart", "JobEnd", "Client", "Contractor", "ClientRep",
/// "SurveyRep", "PartyChief", "Surveyor" (texts, defined even when empty).
class KYO_EXPORT default_report : public report {
 public:
  /// The index of the first project-detail field ("Company").
  static constexpr int first_detail = 4;

  /// A report of `template_path` showing `details` (not owned), or, while that is null, the
  /// process-wide project details (GetProjecDetails). Without any, the project-detail fields
  /// are undefined: they write nothing and fail an IF.
  explicit default_report(std::string template_path = {}, const TProjectDetails* details = nullptr);

  void set_project_details(const TProjectDetails* details) noexcept { details_ = details; }

  [[nodiscard]] std::string field_name(int index) const override;
  [[nodiscard]] int find_field(std::string_view name) const override;
  void get_field(int index, clock_tick t, variable& v) const override;

 private:
  const TProjectDetails* details_;
};

}  // namespace kyo
