// Helpers every subcommand shares: status names, UTF-8 and UTF-16 for paths
// and queries, failure messages and handle owners.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kvsvg/kvsvg.h"

const char* StatusName(int32_t status);
// Paths and queries arrive as UTF-8; the library takes UTF-16.
std::u16string Wide(std::string_view utf8);
std::string Narrow(const KvChar* wide);
bool EndsWith(std::string_view text, std::string_view suffix);
// The attribute's text, or "(none)".
std::string Attribute(SvgHandle node, const char16_t* name);

// Load options of the commands that draw, measure or flatten: the
// standard-syntax rewrite unless --strict asked for the library's own
// value syntax.
// Image files of a document opened by the tool are found next to it; unless
// `allowAnyFile`, only files in its folder and below are opened at all.
void ToolImagePolicy(SvgHandle document, const char* documentPath, bool allowAnyFile, K_SvgFlatOptions& options);
SvgLoadOptions ToolLoadOptions(bool strict);

// Prints "kvsvg: WHAT failed: STATUS_NAME (code)" and gives exit code 1.
int Fail(const char* what, int32_t status);
// Prints "usage: kvsvg USAGE" and gives exit code 2.
int UsageError(const char* usage);

// Frees a handle when the command ends.
struct Owned {
    SvgHandle handle = nullptr;
    Owned() = default;
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { K_SvgFreeNode(handle); }
};
