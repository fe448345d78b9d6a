#pragma once

#include <functional>

/// True as soon as the program is to end: what a peer could prolong without limit asks it again and again. Cheap, any
/// thread. An empty one is never asked.
using STOPQUESTION = std::function<bool()>;
