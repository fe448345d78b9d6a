#pragma once

/// Marks a function whose argument number `text` is a printf format and whose values begin at argument `values`
/// (a member function counts `this` as argument 1), so that the compiler checks each call.
#if defined(__MINGW32__)
#define PRINTF_LIKE(text, values) __attribute__((format(gnu_printf, text, values)))
#else
#define PRINTF_LIKE(text, values) __attribute__((format(printf, text, values)))
#endif
