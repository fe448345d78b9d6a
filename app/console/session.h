#pragma once

/// Exit codes of the console program.
inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_CHECK_FAILED = 1;
inline constexpr int EXIT_NO_START = 2;

/// The whole program: reads the switches, starts the application, adds an account, checks once or watches until it is
/// told to stop, and saves. The exit code.
int RunConsole(int argc, char** argv);
