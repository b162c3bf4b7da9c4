// Sets (or removes) an environment variable such as TZ, LC_ALL or LOCPATH for one
// scope and puts the previous value back afterwards. Changes of TZ take effect
// at once (tzset is called on both edges).
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

namespace kyo::test {

/// Holds an environment variable at a value for its lifetime.
class scoped_env {
 public:
  /// Sets `name` to `value`, or removes it when `value` is nullopt.
  scoped_env(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* old = ::getenv(name_.c_str())) previous_ = old;
    apply(value);
  }
  ~scoped_env() { apply(previous_); }
  scoped_env(const scoped_env&) = delete;
  scoped_env& operator=(const scoped_env&) = delete;

 private:
  void apply(const std::optional<std::string>& value) const {
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
    if (name_ == "TZ") ::tzset();
  }

  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace kyo::test
