// kvsvg: the command-line face of the library. Each subcommand is one
// library call or a short chain of them; any failure prints the status by
// name and ends with a non-zero exit.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "kvsvg/kvsvg.h"
#include "selftest_draw.h"

namespace {

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

// Frees a handle when the command ends.
struct Owned {
    SvgHandle handle = nullptr;
    ~Owned() { K_SvgFreeNode(handle); }
};

bool EndsWith(std::string_view text, std::string_view suffix);

std::string Attribute(SvgHandle node, const char16_t* name)
{
    KvChar* value = nullptr;
    if (K_SvgGetElementAttributeValue(node, name, &value) != SUCCESS || !value)
        return "(none)";
    std::string text = Narrow(value);
    K_SvgFreeMemory(value);
    return text;
}

int Info(const char* path)
{
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(path).c_str(), &document.handle, nullptr); status != SUCCESS)
        return Fail("load", status);
    Owned root;
    if (int32_t status = K_SvgSelectSingleNode(document.handle, u"svg | svg:svg", &root.handle); status != SUCCESS)
        return Fail("select root", status);
    uint32_t version = 0;
    int32_t flat = 0;
    K_SvgGetDocumentVersion(document.handle, &version);
    K_SvgIsFlatDocument(document.handle, &flat);
    size_t elements = 0;
    auto count = [](SvgHandle, void* user) -> int32_t {
        ++*static_cast<size_t*>(user);
        return SUCCESS;
    };
    if (int32_t status = K_SvgEnumerateElements(document.handle, SVG_ENUM_PREORDER, count, &elements);
        status != SUCCESS)
        return Fail("walk", status);
    static const char* const kVersions[] = {"not stated", "1.0", "1.1"};
    std::printf("file:     %s\n", path);
    std::printf("width:    %s\n", Attribute(root.handle, u"width").c_str());
    std::printf("height:   %s\n", Attribute(root.handle, u"height").c_str());
    std::printf("viewBox:  %s\n", Attribute(root.handle, u"viewBox").c_str());
    std::printf("version:  %s\n", version < 3 ? kVersions[version] : "other");
    std::printf("flat:     %s\n", flat ? "yes" : "no");
    std::printf("elements: %zu\n", elements);
    return 0;
}

bool EndsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

int Convert(int argc, char** argv)
{
    std::vector<const char*> files;
    SvgSaveOptions options{kSvgSaveOptionsSize, 1, {u'\t', 0}, 0, 0};
    for (int i = 0; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (arg == "--utf16") {
            options.encoding = 1;
        } else if (arg == "--raw") {
            options.formatted = 0;
        } else if (arg == "--indent" && i + 1 < argc) {
            std::u16string indent = Wide(argv[++i]);
            if (indent.size() >= std::size(options.indent)) {
                std::fprintf(stderr, "kvsvg: --indent takes at most %zu characters\n", std::size(options.indent) - 1);
                return 2;
            }
            std::fill(std::begin(options.indent), std::end(options.indent), u'\0');
            std::copy(indent.begin(), indent.end(), options.indent);
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.size() != 2) {
        std::fprintf(stderr, "usage: kvsvg convert IN OUT [--indent STR] [--raw] [--utf16]\n");
        return 2;
    }
    options.compressed = EndsWith(files[1], ".svgz") ? 1 : 0;
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(files[0]).c_str(), &document.handle, nullptr); status != SUCCESS)
        return Fail("load", status);
    if (int32_t status = K_SvgSaveDocument(Wide(files[1]).c_str(), document.handle, &options); status != SUCCESS)
        return Fail("save", status);
    return 0;
}

int Select(const char* path, const char* query)
{
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(path).c_str(), &document.handle, nullptr); status != SUCCESS)
        return Fail("load", status);
    SvgNodesIterator matches{kSvgNodesIteratorSize, 0, nullptr};
    if (int32_t status = K_SvgSelectNodes(document.handle, Wide(query).c_str(), &matches); status != SUCCESS)
        return Fail("select", status);
    int printed = 0;
    for (int32_t i = 0; i < matches.count; ++i) {
        SvgHandle node = matches.nodes[i];
        if (!node)
            continue;  // attribute matches leave empty slots
        KvChar* name = nullptr;
        K_SvgGetElementName(node, &name);
        std::string line = Narrow(name);
        K_SvgFreeMemory(name);
        for (uint32_t index = 0;; ++index) {
            KvChar* attribute = nullptr;
            if (K_SvgGetElementAttributeNameAt(node, index, &attribute) != SUCCESS || !attribute)
                break;
            line.append(" ").append(Narrow(attribute)).append("=\"").append(Attribute(node, attribute)).append("\"");
            K_SvgFreeMemory(attribute);
        }
        std::printf("%s\n", line.c_str());
        ++printed;
    }
    K_SvgFreeIterator(&matches);
    std::fprintf(stderr, "%d element%s\n", printed, printed == 1 ? "" : "s");
    return 0;
}

int Ids(const char* in, const char* out)
{
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(in).c_str(), &document.handle, nullptr); status != SUCCESS)
        return Fail("load", status);
    if (int32_t status = K_SvgAddElementIDs(document.handle); status != SUCCESS)
        return Fail("add ids", status);
    SvgSaveOptions options{kSvgSaveOptionsSize, 1, {u'\t', 0}, 0, EndsWith(out, ".svgz") ? 1u : 0u};
    if (int32_t status = K_SvgSaveDocument(Wide(out).c_str(), document.handle, &options); status != SUCCESS)
        return Fail("save", status);
    return 0;
}

void Usage()
{
    std::fprintf(stderr,
                 "usage: kvsvg COMMAND ...\n"
                 "  info FILE                 root size, version, flat mark and element count\n"
                 "  convert IN OUT [options]  svg and svgz either way, by OUT's extension\n"
                 "      --indent STR  indentation (default one tab)  --raw  one line  --utf16  UTF-16 text\n"
                 "  select FILE XPATH         each matching element with its attributes\n"
                 "  ids IN OUT                gives every element without an id one (ID1, ID2, ...)\n"
                 "  selftest-draw OUT.png     draws a fixed test scene through the bitmap engine\n");
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        Usage();
        return 2;
    }
    std::string_view command = argv[1];
    if (command == "info" && argc == 3)
        return Info(argv[2]);
    if (command == "convert")
        return Convert(argc - 2, argv + 2);
    if (command == "selftest-draw")
        return RunSelftestDraw(argc - 2, argv + 2);
    if (command == "select" && argc == 4)
        return Select(argv[2], argv[3]);
    if (command == "ids" && argc == 4)
        return Ids(argv[2], argv[3]);
    Usage();
    return 2;
}
