// Scratch files for tests: a private folder per test program, removed at exit.
#pragma once

#include <string>
#include <string_view>

namespace kvtest {

// Path of a fresh file name inside the scratch folder (not created).
std::string ScratchPath(std::string_view name);
bool WriteFileBytes(const std::string& path, std::string_view bytes);
std::string ReadFileBytes(const std::string& path);
std::u16string Wide(std::string_view utf8);

}  // namespace kvtest
