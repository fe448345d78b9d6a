#pragma once

/// Marks a function whose argument `format` is a printf format and whose values begin at argument `first`
/// (a member function counts `this` as argument 1), so that the compiler checks each call.
#if defined(__MINGW32__)
#define PRINTF_LIKE(format, first) __attribute__((format(gnu_printf, format, first)))
#else
#define PRINTF_LIKE(format, first) __attribute__((format(printf, format, first)))
#endif
