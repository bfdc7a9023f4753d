// Low-level file access by descriptor, in the shape of the C runtime's, plus
// temporary names. Paths are UTF-8. Results are raw: callers compare counts
// and choose the status.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

enum class BaseFileMode { Read, WriteTruncate };

int BaseFileOpen(const char* pathUtf8, BaseFileMode mode);  // -1 on failure
int BaseFileClose(int file);
// Loops over short transfers and interruptions; returns the bytes moved, or -1.
int64_t BaseFileRead(int file, void* buffer, size_t count);
int64_t BaseFileWrite(int file, const void* buffer, size_t count);
int64_t BaseFileSeek(int file, int64_t offset, int whence);  // new position or -1
bool BaseFileDelete(const char* pathUtf8);

// A new unique file in the temporary folder ($TMPDIR, else /tmp) ending in
// "." + extension. The file is created empty, so the name stays taken until
// the caller deletes it. Returns false when no name could be made.
bool MakeTempFileName(std::string& pathUtf8, const char* extension);
