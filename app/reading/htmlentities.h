#pragma once

#include <string>
#include <string_view>

/// Cuts the entity at the text's beginning, which is "&", off, or that byte alone if it begins none, and appends what
/// it stands for in UTF-8: a blank for those of any width, nothing for those that join or part letters. Knows the names
/// that mail uses (Latin 1, marks, arrows, Greek) and all numbers; a ";" may be missing.
void TakeEntity(std::string_view& text, std::string& out);
