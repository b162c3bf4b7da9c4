#include <kyo/output/output_file.h>

#include <filesystem>
#include <system_error>

#include <kyo/output/host_strings.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/ui_hooks.h>
#include <kyo/time/timedate.h>

namespace kyo {

namespace {

const stream_registration<output_file> output_file_registration("output_file");

// Day of the year, hour and minute of the local time, then the dot before the extension.
constexpr const char* name_format = "%03D-%02H%02M.";

}  // namespace

output_file::output_file(const std::string& dir, const char* ext)
    : output(output_type::file), ext_(ext != nullptr ? ext : ""), dir_(dir) {
  server::set_name(pattern());
  set_dirty(false);
}

output_file::output_file(streamable_init_t) : server(streamable_init), output(output_type::file) {}

output_file::~output_file() {
  close_file();
}

std::string output_file::modified_dir(const std::string& dir) {
  if (dir.empty() || dir.back() == '\\') return dir;
  return dir + '\\';
}

std::string output_file::pattern() const {
  return modified_dir(dir_) + "*." + ext_;
}

void output_file::set_dir(const std::string& dir) {
  dir_ = dir;
  server::set_name(pattern());
}

int output_file::open() {
  const int result = output::open();
  // Opening an open output changes nothing: a file in use or still pending stays so.
  if (result == output_result::success) open_pending_ = true;
  return result;
}

int output_file::close() {
  if (stream_ != nullptr) close_file();
  open_pending_ = false;
  return output::close();
}

int output_file::write(const char* bytes, int length) {
  if (!is_open()) return output_result::not_open;
  if (length < 0 || (bytes == nullptr && length > 0)) return output_result::write_failed;
  if (open_pending_) {
    open_pending_ = false;
    if (!open_file()) return output_result::cannot_open;
  } else if (stream_ == nullptr) {
    return output_result::not_open;
  } else if (size_ > 0 && size_ + length > max_file_bytes) {
    // An empty file is kept even for an oversized chunk: its replacement would only be empty too.
    close_file();
    if (!open_file()) return output_result::cannot_open;
  }
  stream_->write(bytes, length);
  // Flushed at once, so that a full disk shows on this chunk and earlier lines are on disk.
  stream_->flush();
  if (!*stream_) {
    close();
    return output_result::write_failed;
  }
  size_ += length;
  return output_result::success;
}

bool output_file::open_file() {
  const std::string path =
      modified_dir(dir_) + timedate().set_current().as_string(name_format) + ext_;
  const std::string native = native_path(path);
  std::error_code ec;
  if (std::filesystem::exists(native, ec) &&
      !ask_yes_no(path + host_string(host_string_id::overwrite_question),
                  host_string(host_string_id::overwrite_caption))) {
    close();
    return false;
  }
  auto stream =
      std::make_unique<std::ofstream>(native, std::ios::out | std::ios::trunc | std::ios::binary);
  if (!stream->is_open() || !*stream) {
    close();
    return false;
  }
  stream_ = std::move(stream);
  path_ = path;
  size_ = 0;
  return true;
}

void output_file::close_file() {
  stream_.reset();
  path_.clear();
  size_ = 0;
}

void output_file::Streamer::Write(opstream& os, const output_file& o) {
  write_base<output>(os, o);
  os << o.dir_;
  os << o.ext_;
}

void output_file::Streamer::Read(ipstream& is, output_file& o, std::uint32_t /*version*/) {
  read_base<output>(is, o);
  auto dir = is.readString();
  auto ext = is.readString();
  if (!is) return;
  if (!dir || !ext) {
    is.setstate(stream_badbit, "an output file without folder or extension");
    return;
  }
  o.dir_ = std::move(*dir);
  o.ext_ = std::move(*ext);
}

}  // namespace kyo
