#include "common/test_files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

#include "base/utf.h"

namespace kvtest {
namespace {

struct ScratchFolder {
    std::filesystem::path path;
    ScratchFolder()
    {
        const char* base = std::getenv("TMPDIR");
        path = std::filesystem::path(base && *base ? base : "/tmp") /
               ("kvsvg-test-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace

std::string ScratchPath(std::string_view name)
{
    static ScratchFolder folder;
    return (folder.path / std::string(name)).string();
}

bool WriteFileBytes(const std::string& path, std::string_view bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

std::string ReadFileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::u16string Wide(std::string_view utf8)
{
    return ToUtf16(utf8);
}

}  // namespace kvtest
