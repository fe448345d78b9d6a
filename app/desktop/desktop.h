#pragma once

/// The whole program for Windows: starts, shows its window, runs until it is ended. The exit code comes back. Words as
/// main gets them, in UTF-8.
int RunDesktop(int argc, const char* const* argv);
