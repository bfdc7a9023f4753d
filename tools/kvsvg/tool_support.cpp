// Helpers every subcommand shares: status names, UTF-8 and UTF-16 for paths
// and queries, failure messages and handle owners.
#include "tool_support.h"

#include <cstdio>
#include <filesystem>


const char* StatusName(int32_t status)
{
    switch (status) {
    case SUCCESS: return "SUCCESS";
    case FAILURE: return "FAILURE";
    case ERROR_NO_MEMORY: return "ERROR_NO_MEMORY";
    case ERROR_FILE_SEEK: return "ERROR_FILE_SEEK";
    case ERROR_FILE_WRITE: return "ERROR_FILE_WRITE";
    case ERROR_FILE_READ: return "ERROR_FILE_READ";
    case ERROR_FILE_FORMAT: return "ERROR_FILE_FORMAT";
    case ERROR_INV_PARAMETER: return "ERROR_INV_PARAMETER";
    case ERROR_FILE_OPEN: return "ERROR_FILE_OPEN";
    case ERROR_NOT_SUPPORTED: return "ERROR_NOT_SUPPORTED";
    case ERROR_NO_ENGINE: return "ERROR_NO_ENGINE";
    case ERROR_MAX_ELEMENTS: return "ERROR_MAX_ELEMENTS";
    case ERROR_UNKNOWN_KEYWORD: return "ERROR_UNKNOWN_KEYWORD";
    case ERROR_CALLBACK_FAULT: return "ERROR_CALLBACK_FAULT";
    case ERROR_BUFFER_TOO_SMALL: return "ERROR_BUFFER_TOO_SMALL";
    case ERROR_NO_SVG_ROOT: return "ERROR_NO_SVG_ROOT";
    case ERROR_NODE_UNBOUND: return "ERROR_NODE_UNBOUND";
    case ERROR_ATTRIBUTE_REPEATED: return "ERROR_ATTRIBUTE_REPEATED";
    case ERROR_ATTRIBUTE_UNKNOWN: return "ERROR_ATTRIBUTE_UNKNOWN";
    case ERROR_INV_NUMBER: return "ERROR_INV_NUMBER";
    case ERROR_ATTRIBUTE_MISSING: return "ERROR_ATTRIBUTE_MISSING";
    case ERROR_INV_POINTS: return "ERROR_INV_POINTS";
    case ERROR_INV_PATH: return "ERROR_INV_PATH";
    case ERROR_ATTRIBUTE_NOT_FOUND: return "ERROR_ATTRIBUTE_NOT_FOUND";
    case ERROR_NOT_FLAT: return "ERROR_NOT_FLAT";
    case ERROR_RECORD_SIZE: return "ERROR_RECORD_SIZE";
    case ERROR_VECTOR_OBJECT: return "ERROR_VECTOR_OBJECT";
    case ERROR_NO_TRANSLATION: return "ERROR_NO_TRANSLATION";
    case ERROR_FILE_CREATE: return "ERROR_FILE_CREATE";
    default: return "unknown status";
    }
}

// Paths and queries arrive as UTF-8; the library takes UTF-16.
std::u16string Wide(std::string_view utf8)
{
    std::u16string out;
    for (size_t i = 0; i < utf8.size();) {
        unsigned char c = static_cast<unsigned char>(utf8[i]);
        char32_t code = 0xFFFD;
        size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
        if (length == 1 && c < 0x80) {
            code = c;
        } else if (length > 1 && i + length <= utf8.size()) {
            code = c & (0x7F >> length);
            for (size_t k = 1; k < length; ++k)
                code = (code << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        }
        i += length;
        if (code >= 0x10000) {
            code -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(code));
        }
    }
    return out;
}

std::string Narrow(const KvChar* wide)
{
    std::string out;
    for (size_t i = 0; wide && wide[i]; ++i) {
        char32_t c = wide[i];
        if (c >= 0xD800 && c <= 0xDBFF && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[i + 1] - 0xDC00);
            ++i;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

int Fail(const char* what, int32_t status)
{
    std::fprintf(stderr, "kvsvg: %s failed: %s (%d)\n", what, StatusName(status), status);
    return 1;
}

std::string Attribute(SvgHandle node, const char16_t* name)
{
    KvChar* value = nullptr;
    if (K_SvgGetElementAttributeValue(node, name, &value) != SUCCESS || !value)
        return "(none)";
    std::string text = Narrow(value);
    K_SvgFreeMemory(value);
    return text;
}

bool EndsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}


int UsageError(const char* usage)
{
    std::fprintf(stderr, "usage: kvsvg %s\n", usage);
    return 2;
}

SvgLoadOptions ToolLoadOptions(bool strict)
{
    SvgLoadOptions options{kSvgLoadOptionsSize, strict ? 0u : SVG_LOAD_NORMALIZE, 0};
    return options;
}

void ToolImagePolicy(SvgHandle document, const char* documentPath, bool allowAnyFile, K_SvgFlatOptions& options)
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::absolute(documentPath, error).parent_path();
    if (!error)
        K_SvgSetBaseFolder(document, Wide(folder.string().c_str()).c_str());
    if (!allowAnyFile)
        options.uFlags |= SVG_FLAT_FILES_IN_BASE_FOLDER;
}
