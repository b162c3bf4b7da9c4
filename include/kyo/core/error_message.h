// Messages from texts with numbered inserts ("Cannot open %1"): as a string, as a message box built
// from one of the library's texts, and as a message box with the operating system's text for an
// error number. The boxes go through the installed user-interface hooks.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>
#include <kyo/platform/message_format.h>

namespace kyo {

/// The window that owns a message box. Opaque to the library and not passed on: the installed
/// user-interface hooks place their boxes themselves.
using window_handle = void*;

/// `format` with its inserts "%1", "%2"... replaced by the arguments (not printf directives; see
/// format_message for the grammar). A null format gives an empty text.
template <class... A>
std::string format_error_msg(const char* format, const A&... args) {
  return format_message(format != nullptr ? std::string_view(format) : std::string_view(), args...);
}

/// Shows the library's text number `id` (see load_string), expanded with `args`, in a message box
/// with `caption` (null or empty: "Error") and the information icon; returns the button pressed.
/// An unknown number shows an empty text.
KYO_EXPORT int error_message_box_args(window_handle owner, const char* caption, unsigned long id,
                                      std::span<const message_arg> args);

/// Shows the library's text number `id` with its inserts replaced by the arguments; see
/// error_message_box_args.
template <class... A>
int error_message_box(window_handle owner, const char* caption, unsigned long id,
                      const A&... args) {
  if constexpr (sizeof...(A) == 0) {
    return error_message_box_args(owner, caption, id, {});
  } else {
    const message_arg list[] = {message_arg(args)...};
    return error_message_box_args(owner, caption, id, list);
  }
}

/// Shows the operating system's text for the error number `error` (see system_error_text) in a
/// message box with `caption` (null or empty: "Error") and the information icon; returns the
/// button pressed. A number beyond int shows "Unknown error" with the number.
KYO_EXPORT int system_error_message_box(window_handle owner, const char* caption,
                                        unsigned long error);

}  // namespace kyo
