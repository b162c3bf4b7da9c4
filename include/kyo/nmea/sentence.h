// NMEA 0183 sentences as receivers, gyrocompasses and multiplexers send them: framing, the
// checksum, the address (talker and sentence type) and the fields, and the conversions of the
// field formats the navigation sentences use (latitude "ddmm.mmmm", time "hhmmss.ss", date
// "ddmmyy"). Everything works on bytes in the C locale; nothing here allocates per field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo::nmea {

/// Why a line is not a usable sentence.
enum class parse_error : std::uint8_t {
  none,
  no_sentence,   ///< no '$' or '!' in the line (a comment, binary junk, an empty line)
  bad_checksum,  ///< the two hex digits after '*' are missing, malformed or wrong
  malformed,     ///< too long, bytes that are not printable ASCII, or no address field
};

/// One sentence: views into the line it was parsed from, which must outlive it.
struct sentence {
  char start = '$';         ///< '$' for data, '!' for encapsulated (AIS) sentences
  std::string_view talker;  ///< "GP", "GN", "HE", ...; "P" for proprietary sentences
  std::string_view type;    ///< "GGA", "RMC", ...; the maker's code for proprietary ones
  std::vector<std::string_view> fields;  ///< the fields after the address, possibly empty
  bool checked = false;                  ///< the sentence carried a checksum (and it was right)

  /// Field `i` (0 is the first after the address), empty when the sentence has fewer.
  [[nodiscard]] std::string_view field(std::size_t i) const noexcept {
    return i < fields.size() ? fields[i] : std::string_view();
  }
};

/// The longest sentence accepted, from '$' to the end of the checksum. The standard allows 82
/// characters; longer proprietary sentences exist, so some room is left.
inline constexpr std::size_t max_sentence_length = 255;

/// Parses the sentence that starts at the first '$' or '!' of `line` (anything before it, such
/// as a logger's time stamp, is skipped; a line break and blanks at the end are ignored). A
/// sentence without '*' is taken unchecked; with '*' the XOR of the bytes between the start
/// character and '*' must equal the two hex digits that follow (either case).
/// Examples: "$GPHDT,218.53,T*1B" (talker GP, type HDT, fields "218.53" and "T");
/// "2014-08-01T00:00:00Z $HEHDT,1.0,T" (unchecked). Refused: "$GPHDT,1,T*00" (bad_checksum),
/// "GPHDT,1" (no_sentence), "$GPHDT,\x01" (malformed).
[[nodiscard]] KYO_EXPORT parse_error parse(std::string_view line, sentence& out);

/// The checksum of `body`: the XOR of its bytes.
[[nodiscard]] KYO_EXPORT std::uint8_t checksum(std::string_view body) noexcept;

/// A decimal number field ("12.5", "-3", ".5"); nothing for an empty or malformed field.
[[nodiscard]] KYO_EXPORT std::optional<double> number(std::string_view field) noexcept;

/// A latitude or longitude in radians from "ddmm.mmmm" (or "dddmm.mmmm") and its hemisphere
/// letter (N, S, E, W; S and W negative); nothing when either is empty or malformed, when the
/// minutes are 60 or more, or when the angle lies beyond 90 (latitude) or 180 degrees.
[[nodiscard]] KYO_EXPORT std::optional<double> coordinate(std::string_view value,
                                                          std::string_view hemisphere,
                                                          bool latitude) noexcept;

/// A UTC time of day "hhmmss" or "hhmmss.sss" in seconds since midnight; nothing when
/// malformed or out of range (hours up to 23, minutes up to 59, seconds below 61).
[[nodiscard]] KYO_EXPORT std::optional<double> time_of_day(std::string_view field) noexcept;

/// A date "ddmmyy" as days since 1 January 1970; two-digit years 80 to 99 are 1980 to 1999,
/// 00 to 79 are 2000 to 2079. Nothing when malformed or not a calendar date.
[[nodiscard]] KYO_EXPORT std::optional<std::int64_t> date_ddmmyy(std::string_view field) noexcept;

/// The time stamp a logger wrote in front of a sentence, "2014-08-01T00:00:00.316000Z $...", as
/// seconds since 1 January 1970 UTC; nothing when the line does not start with one.
[[nodiscard]] KYO_EXPORT std::optional<double> logger_stamp(std::string_view line) noexcept;

/// A date from day, month and four-digit year fields (ZDA) as days since 1 January 1970.
[[nodiscard]] KYO_EXPORT std::optional<std::int64_t> date_dmy(std::string_view day,
                                                              std::string_view month,
                                                              std::string_view year) noexcept;

}  // namespace kyo::nmea
