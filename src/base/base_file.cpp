#include "base/base_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

int BaseFileOpen(const char* pathUtf8, BaseFileMode mode)
{
    if (!pathUtf8)
        return -1;
    int flags = O_CLOEXEC;
    flags |= mode == BaseFileMode::Read ? O_RDONLY : (O_RDWR | O_CREAT | O_TRUNC);
    int file;
    do {
        file = ::open(pathUtf8, flags, 0644);
    } while (file < 0 && errno == EINTR);
    if (file >= 0 && mode == BaseFileMode::Read) {
        // A directory opens for reading on Linux but is no file to load.
        struct stat info;
        if (::fstat(file, &info) != 0 || S_ISDIR(info.st_mode)) {
            ::close(file);
            return -1;
        }
    }
    return file;
}

int BaseFileClose(int file)
{
    return file < 0 ? -1 : ::close(file);
}

int64_t BaseFileRead(int file, void* buffer, size_t count)
{
    auto* bytes = static_cast<char*>(buffer);
    size_t done = 0;
    while (done < count) {
        ssize_t got = ::read(file, bytes + done, count - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    return static_cast<int64_t>(done);
}

int64_t BaseFileWrite(int file, const void* buffer, size_t count)
{
    const auto* bytes = static_cast<const char*>(buffer);
    size_t done = 0;
    while (done < count) {
        ssize_t put = ::write(file, bytes + done, count - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return done ? static_cast<int64_t>(done) : -1;
        done += static_cast<size_t>(put);
    }
    return static_cast<int64_t>(done);
}

int64_t BaseFileSeek(int file, int64_t offset, int whence)
{
    return ::lseek(file, offset, whence);
}

bool BaseFileDelete(const char* pathUtf8)
{
    return pathUtf8 && ::unlink(pathUtf8) == 0;
}

bool MakeTempFileName(std::string& pathUtf8, const char* extension)
{
    const char* folder = std::getenv("TMPDIR");
    if (!folder || !*folder)
        folder = "/tmp";
    std::string suffix = extension && *extension ? std::string(".") + extension : std::string();
    std::string pattern = std::string(folder) + "/kvsvg-XXXXXX" + suffix;
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int file = ::mkstemps(name.data(), static_cast<int>(suffix.size()));
    if (file < 0)
        return false;
    ::close(file);
    pathUtf8.assign(name.data());
    return true;
}
