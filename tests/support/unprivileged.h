// Running part of a test as an ordinary user. Permission checks do not bind the
// superuser, so a test run as root (as in CI) forks and drops to user nobody for
// the part that must meet them; run by anyone else, that part runs as that user.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>

namespace kyo::test {

/// True when the test program was started as root (inside the unprivileged part too), so
/// that files can belong to another user than that part's.
bool running_as_root();

/// The user and group the unprivileged part runs as: nobody (65534) under root, else the
/// current ones.
uid_t unprivileged_uid();
gid_t unprivileged_gid();

/// Gives `path` (a file or folder, not followed if a link) to that user, so that the
/// unprivileged part may write it; nothing to do when not running as root.
void hand_over(const std::filesystem::path& path);

/// Runs `body` in a child process as that user and waits for it. Failed EXPECTs and ASSERTs
/// in `body` print their messages from the child and fail the calling test, as does a crash.
/// What `body` changes in memory stays in the child; only files carry results back.
void as_unprivileged(const std::function<void()>& body);

}  // namespace kyo::test
