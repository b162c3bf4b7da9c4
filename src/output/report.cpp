#include <kyo/output/report.h>

#include <fstream>
#include <memory>
#include <ostream>

#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/printf_format.h>
#include <kyo/time/time_manager.h>
#include <kyo/time/timedate.h>

#include "output/report_reader.h"

namespace kyo {

using detail::read_end;
using detail::report_token;
using detail::template_reader;
using detail::text_out;

namespace {

constexpr int report_time_field = 1;
constexpr int date_field = 2;
constexpr int time_field = 3;
constexpr int last_field = default_report::first_detail + TProjectDetails::count - 1;

// The fields of report (1) and default_report (2 to 15) by index; the project details follow
// the order of their ids.
constexpr std::string_view field_names[last_field + 1] = {
    "",           "Report Time", "Date",   "Time",   "Company",    "JobNmr",    "JobDescription",
    "JobArea",    "JobStart",    "JobEnd", "Client", "Contractor", "ClientRep", "SurveyRep",
    "PartyChief", "Surveyor",
};

// What a field name stands for.
struct field_ref {
  enum kind_t { unknown, report_field, entry, server_name, children } kind = unknown;
  int index = report::no_field;            // report_field
  const numeric_server* server = nullptr;  // entry, server_name, children
  int entry_index = 0;                     // entry
};

// One pattern being generated: the report and tick, where text goes, how deep in table parts
// it lies and, inside a table part, the server of the row.
struct generation {
  const report& r;
  clock_tick t;
  text_out& out;
  int depth;
  const numeric_server* row;
};

void run(template_reader& in, const generation& g);

// Splits "path.entry" at its last separator: a '.' that is not one of a ".." pair read from the
// left. The entry's ".." pairs become '.'; the path keeps them for numeric_server::get.
bool split_entry(std::string_view name, std::string_view& path, std::string& entry) {
  std::size_t sep = std::string_view::npos;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '.') continue;
    if (i + 1 < name.size() && name[i + 1] == '.') {
      ++i;
    } else {
      sep = i;
    }
  }
  if (sep == std::string_view::npos) return false;
  path = name.substr(0, sep);
  entry.clear();
  for (std::size_t i = sep + 1; i < name.size(); ++i) {
    entry += name[i];
    if (name[i] == '.' && i + 1 < name.size() && name[i + 1] == '.') ++i;
  }
  return true;
}

field_ref resolve(std::string_view name, const generation& g) {
  field_ref f;
  f.index = g.r.find_field(name);
  if (f.index != report::no_field) {
    f.kind = field_ref::report_field;
    return f;
  }
  std::string_view path;
  std::string entry;
  if (!split_entry(name, path, entry)) return f;
  for (const numeric_server* base : {g.row, g.r.get_numerics_root()}) {
    const numeric_server* s = base != nullptr ? base->get(path) : nullptr;
    if (s == nullptr) continue;
    f.server = s;
    if (entry.empty()) {
      f.kind = field_ref::server_name;
      return f;
    }
    if (entry == "*") {
      f.kind = field_ref::children;
      return f;
    }
    f.entry_index = s->entry_index(entry);
    if (f.entry_index > 0) {
      f.kind = field_ref::entry;
      return f;
    }
  }
  f.kind = field_ref::unknown;
  return f;
}

// The entry's text at the tick through the numeric made for it, with `options` as the numeric's
// configuration string (the unit index then sets factor and label). An entry that makes no
// numeric (a boolean) shows as a number without decimals. Returns the value's status.
int entry_text(const field_ref& f, const std::string& options, clock_tick t, std::string& text) {
  std::unique_ptr<numeric> n(make_numeric(*f.server, f.entry_index));
  if (!n) n = std::make_unique<numeric_nmrc>(*f.server, f.entry_index, -1, 0, 1.0, nullptr);
  if (!options.empty()) {
    n->read_config(options.c_str());
    if (auto* nn = dynamic_cast<numeric_nmrc*>(n.get())) {
      numeric_nmrc::nmrc_data d;
      nn->get_nmrc_data(d);
      nn->set_nmrc_data(d);
    }
  }
  return n->as_string(t, text, false);
}

// Reads the rest of a table part after its TABLE token, as template text.
std::string capture_table(template_reader& in) {
  std::string text;
  text_out out(text);
  in.set_doubling(true);
  int depth = 0;
  report_token tok;
  while (in.next(tok, out)) {
    if (tok.type == detail::token_endtable && depth-- == 0) break;
    if (tok.type == detail::token_table) ++depth;
    detail::write_token(tok, out);
  }
  in.set_doubling(false);
  return text;
}

// Skips to the ELSE of this level (when `to_else`) or to the matching ENDIF.
void skip_branch(template_reader& in, bool to_else) {
  text_out nowhere;
  int depth = 0;
  report_token tok;
  while (in.next(tok, nowhere)) {
    if (tok.type == detail::token_if) {
      ++depth;
    } else if (tok.type == detail::token_endif) {
      if (depth-- == 0) return;
    } else if (tok.type == detail::token_else && to_else && depth == 0) {
      return;
    }
  }
}

// The latest table part of the pattern, once per server.
void write_table(const std::vector<std::string>& tables,
                 const std::vector<const numeric_server*>& servers, const generation& g) {
  if (tables.empty()) return;
  for (const numeric_server* s : servers) {
    detail::view_buf buf(tables.back());
    template_reader in(&buf);
    run(in, generation{g.r, g.t, g.out, g.depth + 1, s});
  }
}

void write_field(const report_token& tok, const generation& g,
                 const std::vector<std::string>& tables) {
  const field_ref f = resolve(tok.name, g);
  std::vector<const numeric_server*> servers;
  switch (f.kind) {
    case field_ref::unknown:
      detail::write_token(tok, g.out);
      return;
    case field_ref::report_field: {
      variable v{std::string()};
      v.set_defined(0);
      g.r.get_field(f.index, g.t, v);
      if (v.get_type() == variable::server_list_type) {
        const numeric_server_list& list = *v.get_servers();
        for (int i = 0; i < list.count(); ++i)
          servers.push_back(list.at(list.lower_bound() + i));
        write_table(tables, servers, g);  // while `v` keeps the list alive
        return;
      }
      // A format of digits alone (with an optional '-') is a field width.
      const bool width =
          !tok.format.empty() &&
          tok.format.find_first_not_of("0123456789", tok.format[0] == '-') == std::string::npos &&
          tok.format != "-";
      g.out.write(width ? format_one("%" + tok.format + "s", v.as_string(nullptr))
                        : v.as_string(tok.format.c_str()));
      return;
    }
    case field_ref::entry: {
      std::string text;
      entry_text(f, tok.format, g.t, text);
      g.out.write(text);
      return;
    }
    case field_ref::server_name:
      g.out.write(f.server->get_name());
      return;
    case field_ref::children:
      for (const numeric_server* c = f.server->next(nullptr); c != nullptr; c = f.server->next(c))
        servers.push_back(c);
      break;
  }
  write_table(tables, servers, g);
}

// Whether the field an IF names passes: report fields by their defined flag, numeric entries
// when they have a value at the tick, servers always. Unknown fields are not tested.
bool passes(const field_ref& f, const generation& g) {
  if (f.kind == field_ref::report_field) {
    variable v{std::string()};
    v.set_defined(0);
    g.r.get_field(f.index, g.t, v);
    return v.is_defined() != 0;
  }
  if (f.kind == field_ref::entry) {
    std::string text;
    return entry_text(f, {}, g.t, text) != numeric_status::no_data;
  }
  return true;
}

void run(template_reader& in, const generation& g) {
  std::vector<std::string> tables;
  report_token tok;
  while (in.next(tok, g.out)) {
    switch (tok.type) {
      case detail::token_field:
        write_field(tok, g, tables);
        break;
      case detail::token_if: {
        const field_ref f = resolve(tok.format, g);
        if (f.kind == field_ref::unknown) {
          detail::write_token(tok, g.out);
        } else if (!passes(f, g)) {
          skip_branch(in, true);
        }
        break;
      }
      case detail::token_else:
        skip_branch(in, false);
        break;
      case detail::token_table:
        if (g.depth >= report::max_table_depth) {
          detail::write_token(tok, g.out);
        } else {
          tables.push_back(capture_table(in));
        }
        break;
      default:  // ENDIF, SECTION and ENDTABLE only delimit
        break;
    }
  }
}

bool generate_from(std::streambuf* in, std::ostream& os, clock_tick t, const report& r) {
  template_reader reader(in);
  {
    text_out out(os);
    run(reader, generation{r, t, out, 0, nullptr});
  }
  return reader.end() == read_end::complete && os.good();
}

}  // namespace

report::pattern::pattern(std::string name, std::string text)
    : name_(std::move(name)), text_(std::move(text)) {}

bool report::pattern::generate(std::ostream& out, clock_tick t, const report& r) const {
  detail::view_buf buf(text_);
  return generate_from(&buf, out, t, r);
}

report::master_pattern::master_pattern(std::istream& in) {
  template_reader reader(in.rdbuf());
  reader.set_doubling(true);
  std::string name;
  std::string text;
  int depth = 0;
  report_token tok;
  for (;;) {
    text_out out(text);
    const bool more = reader.next(tok, out);
    if (!more || (tok.type == detail::token_section && depth == 0)) {
      sections_.emplace_back(std::move(name), std::move(text));
      text.clear();
      if (!more) break;
      name = tok.format;
      continue;
    }
    if (tok.type == detail::token_table) ++depth;
    if (tok.type == detail::token_endtable && depth > 0) --depth;
    detail::write_token(tok, out);
  }
  complete_ = reader.end() == read_end::complete;
}

const report::pattern* report::master_pattern::get_section(std::string_view name) const {
  for (const pattern& p : sections_) {
    if (p.name() == name) return &p;
  }
  return nullptr;
}

report::report(std::string template_path) : template_(std::move(template_path)) {}

report::~report() = default;

bool report::generate(std::ostream& out, clock_tick t) const {
  std::ifstream in(native_path(template_), std::ios::binary);
  return in.is_open() && generate(in, out, t);
}

bool report::generate(std::istream& in, std::ostream& out, clock_tick t) const {
  return in.good() && generate_from(in.rdbuf(), out, t, *this);
}

std::string report::field_name(int index) const {
  return std::string(index == report_time_field ? field_names[index] : "");
}

int report::find_field(std::string_view name) const {
  return name == field_names[report_time_field] ? report_time_field : no_field;
}

void report::get_field(int index, clock_tick t, variable& v) const {
  if (index == report_time_field)
    v.set(variable::date_time_type, time_of(t), report_time_fmt, nullptr);
}

double report::time_of(clock_tick t) {
  return time_manager::get_timedate(t).value() + seconds_1901_to_1970;
}

default_report::default_report(std::string template_path, const TProjectDetails* details)
    : report(std::move(template_path)), details_(details) {}

std::string default_report::field_name(int index) const {
  if (index >= date_field && index <= last_field) return std::string(field_names[index]);
  return report::field_name(index);
}

int default_report::find_field(std::string_view name) const {
  for (int i = date_field; i <= last_field; ++i) {
    if (field_names[i] == name) return i;
  }
  return report::find_field(name);
}

void default_report::get_field(int index, clock_tick t, variable& v) const {
  if (index == date_field || index == time_field) {
    v.set(variable::date_time_type, time_of(t), index == date_field ? date_fmt : time_fmt, nullptr);
    return;
  }
  if (index >= first_detail && index <= last_field) {
    const TProjectDetails* d = details_ != nullptr ? details_ : GetProjecDetails();
    if (d != nullptr) v.set(d->get_info(TProjectDetails::id(index - first_detail)));
    return;
  }
  report::get_field(index, t, v);
}

}  // namespace kyo
