// The native path of a DOS-style path together with what stat says of it, for callers that would
// stat the file next anyway (the profile cache checks a file on every read): one file system
// call where a path exists as given.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace kyo {

/// native_path(dos_path); when the native path names an existing file (stat follows links), its
/// stat goes to `*st` and `*found` becomes true, else `*found` is false and `*st` says nothing.
/// A drive mapped to a root alone gives the root without a stat.
std::string native_path_and_stat(std::string_view dos_path, struct stat* st, bool* found);

}  // namespace kyo
