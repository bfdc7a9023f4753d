#include "filter/host_file.h"

#include <cstdio>

#include "base/base_file.h"
#include "base/safety_limits.h"
#include "base/utf.h"
#include "kvsvg/kvsvg.h"

namespace {

// The whole file, from the start. Larger than a document can be is refused
// as a compressed bomb is.
int32_t ReadWholeFile(int file, std::string& bytes)
{
    const int64_t length = BaseFileSeek(file, 0, SEEK_END);
    if (length < 0 || BaseFileSeek(file, 0, SEEK_SET) != 0)
        return ERROR_FILE_SEEK;
    if (length == 0)
        return ERROR_FILE_READ;
    if (static_cast<uint64_t>(length) > kvlimits::kMaxDecompressedBytes)
        return ERROR_FILE_OPEN;
    try {
        bytes.resize(static_cast<size_t>(length));
    } catch (...) {
        return ERROR_NO_MEMORY;
    }
    if (BaseFileRead(file, bytes.data(), bytes.size()) != length)
        return ERROR_FILE_READ;
    return SUCCESS;
}

}  // namespace

int32_t ReadHostFile(const KvChar* fileName, int32_t fileHandle, std::string& bytes)
{
    if (fileHandle >= 0)
        return ReadWholeFile(fileHandle, bytes);
    if (!fileName)
        return ERROR_INV_PARAMETER;
    std::string path;
    try {
        path = ToUtf8(fileName);
    } catch (...) {
        return ERROR_NO_MEMORY;
    }
    const int file = BaseFileOpen(path.c_str(), BaseFileMode::Read);
    if (file < 0)
        return ERROR_FILE_OPEN;
    const int32_t status = ReadWholeFile(file, bytes);
    BaseFileClose(file);
    return status;
}
