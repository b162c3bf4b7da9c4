// Turning the DOS-style paths that settings and texts keep ("C:\Data\x.txt",
// "media\bell.wav") into native paths at the place that opens a file. Drive
// letters go through a configurable map; names are matched case-insensitively
// against the disk, since display forms change the case of names.
#pragma once

#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The native path for `dos_path`. Backslashes become '/'. A drive ("C:") is replaced by its
/// mapped root, or dropped when it has none ("C:\data\x.txt" -> "/data/x.txt", "C:x" -> "x");
/// other paths keep their form ("data\x.txt" -> "data/x.txt", "/srv/x" stays absolute).
/// Then each component that does not exist exactly is matched case-insensitively (ASCII)
/// against its folder, the first name in byte order winning; from the first component that
/// does not exist at all (a file about to be created) the rest is kept as given.
KYO_EXPORT std::string native_path(std::string_view dos_path);

/// Maps drive letter `drive` (either case) to the native folder `native_root`, e.g. 'D' to
/// "/mnt/survey". An empty root removes the mapping.
KYO_EXPORT void set_drive_mapping(char drive, std::string native_root);

/// Removes every drive mapping: drives are dropped again.
KYO_EXPORT void clear_drive_mappings();

}  // namespace kyo
