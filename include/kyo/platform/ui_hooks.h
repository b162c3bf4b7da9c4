// How the core talks to the user without a user interface of its own: message
// boxes, yes/no questions, beeps and sounds go through the installed ui_hooks and
// sound_hooks. The defaults write to the console; a GUI or a test installs its own.
#pragma once

#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// Message box styles: one button set, optionally or-ed with an icon and mb_systemmodal.
inline constexpr unsigned mb_ok = 0x0;
inline constexpr unsigned mb_okcancel = 0x1;
inline constexpr unsigned mb_yesno = 0x4;
inline constexpr unsigned mb_iconhand = 0x10;
inline constexpr unsigned mb_iconquestion = 0x20;
inline constexpr unsigned mb_iconexclamation = 0x30;
inline constexpr unsigned mb_iconinformation = 0x40;
inline constexpr unsigned mb_systemmodal = 0x1000;
inline constexpr unsigned mb_typemask = 0xF;   ///< the button-set bits of a style
inline constexpr unsigned mb_iconmask = 0xF0;  ///< the icon bits of a style

/// Buttons a message box returns.
inline constexpr int id_ok = 1;
inline constexpr int id_cancel = 2;
inline constexpr int id_yes = 6;
inline constexpr int id_no = 7;

/// Sound flags: play_sound always returns at once; the flags tell the player what was asked.
inline constexpr unsigned snd_sync = 0x0;
inline constexpr unsigned snd_async = 0x1;
inline constexpr unsigned snd_nodefault = 0x2;
inline constexpr unsigned snd_loop = 0x8;
inline constexpr unsigned snd_nostop = 0x10;

/// The caption shown when a message box is given an empty one.
inline constexpr std::string_view default_caption = "Error";

/// Message boxes, questions and beeps, as the user interface shows them.
class KYO_EXPORT ui_hooks {
 public:
  virtual ~ui_hooks();

  /// Shows `text` and returns the button pressed (id_ok, id_cancel, id_yes, id_no).
  /// The caption is never empty here: the free message_box substitutes default_caption.
  virtual int message_box(std::string_view text, std::string_view caption, unsigned style) = 0;

  /// Asks a yes/no question; true for yes. By default a mb_yesno | mb_iconquestion box.
  virtual bool ask_yes_no(std::string_view text, std::string_view caption);

  /// Sounds the alert of the given message box icon type (0 for the plain beep).
  virtual void beep(unsigned type) = 0;
};

/// Playing sound files.
class KYO_EXPORT sound_hooks {
 public:
  virtual ~sound_hooks();

  /// Starts playing the file at `path` (a native path) and returns at once.
  virtual void play_sound(const std::string& path, unsigned flags) = 0;
};

/// Installs `hooks` for every later call and returns the previously installed ones
/// (null for the default). Null restores the console default. The caller keeps
/// ownership and must uninstall the hooks before destroying them.
KYO_EXPORT ui_hooks* set_ui_hooks(ui_hooks* hooks);

/// Installs `hooks` for sounds, as set_ui_hooks does for message boxes.
KYO_EXPORT sound_hooks* set_sound_hooks(sound_hooks* hooks);

/// Shows a message box through the installed hooks; an empty caption becomes "Error".
/// The console default writes "caption: text" to standard error and answers id_ok for
/// mb_ok boxes; for other boxes it reads y/n from a terminal, and without a terminal on
/// standard input answers id_no (yes/no boxes) or id_cancel (others).
KYO_EXPORT int message_box(std::string_view text, std::string_view caption, unsigned style);

/// Asks a yes/no question through the installed hooks; an empty caption becomes "Error".
/// The console default answers no when standard input is not a terminal.
KYO_EXPORT bool ask_yes_no(std::string_view text, std::string_view caption);

/// Beeps through the installed hooks; the console default writes '\a' to standard error.
KYO_EXPORT void beep(unsigned type);

/// Plays a sound file through the installed hooks. The console default only names the
/// file on standard error and plays nothing.
KYO_EXPORT void play_sound(const std::string& path, unsigned flags);

}  // namespace kyo
