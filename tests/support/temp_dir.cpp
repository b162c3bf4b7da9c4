#include "support/temp_dir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace kyo::test {

temp_dir::temp_dir() {
  // Named after the test, so that a folder left behind by a crash says where it came from.
  const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
  std::string stem = info != nullptr ? std::string(info->name()).substr(0, 60) : "test";
  std::string pattern =
      (std::filesystem::temp_directory_path() / ("kyo-" + stem + "-XXXXXX")).string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    ADD_FAILURE() << "cannot create a temporary folder from " << pattern;
    throw std::runtime_error("cannot create a temporary folder");
  }
  root_ = pattern;
}

temp_dir::~temp_dir() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

void temp_dir::write(std::string_view name, std::string_view bytes) const {
  const std::filesystem::path target = path(name);
  std::error_code ignored;
  std::filesystem::create_directories(target.parent_path(), ignored);
  std::ofstream out(target, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) ADD_FAILURE() << "cannot write " << target;
}

std::string temp_dir::read(std::string_view name) const {
  return read_file(path(name));
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace kyo::test
