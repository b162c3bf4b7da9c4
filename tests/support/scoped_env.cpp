#include "support/scoped_env.h"

#include <stdlib.h>
#include <time.h>

namespace kyo::test {

namespace {

void apply(const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    ::setenv(name.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name.c_str());
  }
  if (name == "TZ") ::tzset();
}

}  // namespace

scoped_env::scoped_env(std::string name, std::optional<std::string> value)
    : name_(std::move(name)) {
  if (const char* old = ::getenv(name_.c_str())) previous_ = old;
  apply(name_, value);
}

scoped_env::~scoped_env() {
  apply(name_, previous_);
}

}  // namespace kyo::test
