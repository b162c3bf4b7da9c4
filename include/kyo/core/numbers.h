// Small numeric helpers shared by the library: a modulo that stays positive, rounding to a factor
// with halves away from zero, the sign, the next 2-5-10 scale step, the most precise text of a
// value in a fixed width, fixed-width digit fields, a central-limit normal random number, a
// character search and the inverse hyperbolic functions. They live in namespace kyo;
// `kyo::round(x)` with one argument is std::round, so unqualified calls inside kyo work with one or
// two arguments.
#pragma once

#include <cmath>

#include <kyo/kyoutils_export.h>

namespace kyo {

using std::round;

/// fmod(a, b), moved up by b when negative or NaN, so that a positive b gives [0, b). A tiny
/// negative remainder that would round up to exactly b gives 0 instead.
KYO_EXPORT double modulo(double a, double b);

/// x rounded to a multiple of 1 / factor, halves away from zero: round(2.345, 100) is 2.35 and
/// round(-2.5, 1) is -3. `factor` is a multiplier (100 for two decimals), not a step; 0 gives NaN.
KYO_EXPORT double round(double x, double factor);

/// -1, 0 or +1 by the sign of x; NaN gives -1 and -0 gives 0.
KYO_EXPORT int sgn(double x);

/// The next round scale step at or above a positive x from the series 2, 5, 10 times a power of
/// ten: auto_scale(0.03) is 0.05, auto_scale(7) is 10. Exact powers of ten move on to the next step
/// (auto_scale(1) is 2, auto_scale(100) is 200) and auto_scale(0) is 1. The step boundaries use the
/// library's stored log10(2) and log10(5), which differ from the exact ones in the tenth decimal,
/// so values just above 2 or 5 (by less than about 2.3e-10 relative) stay on 2 or 5.
/// Subnormal arguments get their step too (auto_scale(4.9e-324) is 5e-324 as far as a double
/// holds it); above 1e308, where the next step is beyond the largest double, the result is 1e308.
/// Negative and NaN arguments give NaN, +infinity gives +infinity.
KYO_EXPORT double auto_scale(double x);

/// Writes `value` into `buffer` in the most significant digits that fit in `width` characters
/// (terminator included), with trailing zeros removed and no zero before the point: 0.05 writes
/// ".05", -1.5 writes "-1.5", 1000 writes "1000". Returns the characters written, terminator not
/// counted. The digits come from rounding to width - 1 significant digits (at most 17; further
/// places are zeros), then are cut, not rounded again, to the room left by the sign and the point.
/// A value too small to show a digit writes "0"; a value too large for the width loses its
/// magnitude (1e10 in width 8 writes "1000000"), never switching to an exponent form.
/// -0 writes "0"; NaN and infinities write "nan", "inf", "-inf", cut to width - 1.
/// `buffer` must hold `width` characters. Width 1 (2 for a negative value that needs a digit)
/// writes the empty text; width below 1 writes nothing.
KYO_EXPORT int full_prec(double value, char* buffer, int width);

/// Reads a fixed-width decimal field: leading blanks are skipped, each using up one of `count`,
/// then each remaining character adds a digit (value * 10 + c - '0'). Characters are not checked,
/// no sign or point is recognised; reading stops early at a terminating NUL. Null text gives 0.
KYO_EXPORT double val(const char* text, int count);

/// An approximately standard-normal random number: the sum of n draws uniform on 0..32767 from
/// std::rand, centred and scaled to mean 0 and variance 1 (n of 12 is typical). n = 0 gives NaN.
KYO_EXPORT double normal_random(int n);

/// The index of the first c in s, or -1 (also for c = '\0' and for a null s).
KYO_EXPORT int strpos(const char* s, char c);

/// 0.5 ln((1 + x) / (1 - x)), without domain checks.
KYO_EXPORT double atanh(double x);
/// ln(x + sqrt(x x - 1)), without domain checks.
KYO_EXPORT double acosh(double x);
/// ln(x + sqrt(x x + 1)), without domain checks.
KYO_EXPORT double asinh(double x);

}  // namespace kyo
