// Where the kyo program finds its shipped data (the demo survey log, its configuration, the
// report template and the vessel shapes): beside an installed program in ../share/kyoutils/data,
// else in the source tree it was built from.
#pragma once

#include <filesystem>

namespace kyo::cli {

std::filesystem::path data_dir();

}  // namespace kyo::cli
