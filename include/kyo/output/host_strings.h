// Texts that belong to the host application's string table rather than to the library: the
// caption and question shown before an output file is replaced, and the name shown for an alarm
// that watches nothing. The library asks for them by number; the application installs its own
// table, and the built-in English texts serve until it does.
#pragma once

#include <functional>
#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The numbers of the host texts the library uses.
namespace host_string_id {
inline constexpr unsigned long overwrite_caption = 10;   ///< "Output File"
inline constexpr unsigned long overwrite_question = 11;  ///< " already exists. Overwrite it?"
inline constexpr unsigned long no_alarm_server = 23;     ///< "No quantity selected"
}  // namespace host_string_id

/// The host text of number `id`: the installed table's answer when it is not empty, else the
/// built-in text, empty for a number neither knows. Safe from any thread.
KYO_EXPORT std::string host_string(unsigned long id);

/// Installs `table` for every later host_string call and returns nothing; an empty function puts
/// the built-in texts back. The table is called from the thread that asks.
KYO_EXPORT void set_host_strings(std::function<std::string(unsigned long id)> table);

}  // namespace kyo
