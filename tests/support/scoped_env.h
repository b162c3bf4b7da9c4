// Sets (or removes) an environment variable such as TZ, LC_ALL or LOCPATH for one
// scope and puts the previous value back afterwards. Changes of TZ take effect
// at once (tzset is called on both edges).
#pragma once

#include <optional>
#include <string>

namespace kyo::test {

/// Holds an environment variable at a value for its lifetime.
class scoped_env {
 public:
  /// Sets `name` to `value`, or removes it when `value` is nullopt.
  scoped_env(std::string name, std::optional<std::string> value);
  ~scoped_env();
  scoped_env(const scoped_env&) = delete;
  scoped_env& operator=(const scoped_env&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace kyo::test
