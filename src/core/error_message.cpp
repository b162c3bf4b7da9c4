#include <kyo/core/error_message.h>

#include <climits>

#include <kyo/core/string_resources.h>
#include <kyo/platform/ui_hooks.h>

namespace kyo {

namespace {

std::string_view caption_of(const char* caption) {
  return caption != nullptr ? std::string_view(caption) : std::string_view();
}

}  // namespace

int error_message_box_args(window_handle /*owner*/, const char* caption, unsigned long id,
                           std::span<const message_arg> args) {
  const std::string text = format_message_args(load_string(id), args);
  return message_box(text, caption_of(caption), mb_iconinformation);
}

int system_error_message_box(window_handle /*owner*/, const char* caption, unsigned long error) {
  const std::string text = error <= static_cast<unsigned long>(INT_MAX)
                               ? system_error_text(static_cast<int>(error))
                               : "Unknown error " + std::to_string(error);
  return message_box(text, caption_of(caption), mb_iconinformation);
}

}  // namespace kyo
