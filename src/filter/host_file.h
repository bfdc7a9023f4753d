// The file a host names or holds open, read whole into memory for the
// roads that parse from a buffer.
#pragma once

#include <cstdint>
#include <string>

#include "kvsvg/kvsvg.h"

// The host's open descriptor when there is one (read from its start),
// otherwise the named file. ERROR_FILE_OPEN for a file that will not open
// or is larger than a document can be, ERROR_FILE_READ for an empty file or
// a short read, ERROR_FILE_SEEK when its length cannot be found,
// ERROR_INV_PARAMETER with neither.
int32_t ReadHostFile(const KvChar* fileName, int32_t fileHandle, std::string& bytes);
