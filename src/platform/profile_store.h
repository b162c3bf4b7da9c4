// Putting new contents of a profile file on disk without losing the old ones:
// through a temporary file and a rename where that keeps the file what it was
// (its one name, owner, group and mode), else in place, all bytes or none.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kyo::profile_store {

/// Makes the file at `path` hold `bytes`. `old_bytes` is what it holds now, or nullopt when
/// it does not exist yet (it is then created, 0666 less the umask). An existing file that this
/// process may not open for writing is refused and left as it is. A file with several names,
/// in a folder this process cannot write, or whose owner a new file could not keep, is
/// rewritten in place; a failure there puts the old bytes back and is reported.
std::error_code store(const std::string& path, const std::optional<std::string_view>& old_bytes,
                      std::string_view bytes);

}  // namespace kyo::profile_store
