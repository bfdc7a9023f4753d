// The subcommands that look at a document or write it back: info, convert,
// select and ids.
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "tool_support.h"

namespace {

int Info(const char* path)
{
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(path).c_str(), &document.handle, nullptr); status != SUCCESS)
        return FailLoad(path, status);
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

}  // namespace

int RunConvert(int argc, char** argv)
{
    std::vector<const char*> files;
    bool normalize = false;
    SvgSaveOptions options{kSvgSaveOptionsSize, 1, {u'\t', 0}, 0, 0};
    for (int i = 0; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (arg == "--normalize") {
            normalize = true;
        } else if (arg == "--utf16") {
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
        return UsageError("convert IN OUT [--indent STR] [--raw] [--utf16] [--normalize]");
    }
    options.compressed = EndsWith(files[1], ".svgz") ? 1 : 0;
    Owned document;
    SvgLoadOptions load = ToolLoadOptions(!normalize);
    if (int32_t status = K_SvgLoadDocument(Wide(files[0]).c_str(), &document.handle, &load); status != SUCCESS)
        return FailLoad(files[0], status);
    if (int32_t status = K_SvgSaveDocument(Wide(files[1]).c_str(), document.handle, &options); status != SUCCESS)
        return Fail("save", status);
    return 0;
}

namespace {

int Select(const char* path, const char* query)
{
    Owned document;
    if (int32_t status = K_SvgLoadDocument(Wide(path).c_str(), &document.handle, nullptr); status != SUCCESS)
        return FailLoad(path, status);
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
        return FailLoad(in, status);
    if (int32_t status = K_SvgAddElementIDs(document.handle); status != SUCCESS)
        return Fail("add ids", status);
    SvgSaveOptions options{kSvgSaveOptionsSize, 1, {u'\t', 0}, 0, EndsWith(out, ".svgz") ? 1u : 0u};
    if (int32_t status = K_SvgSaveDocument(Wide(out).c_str(), document.handle, &options); status != SUCCESS)
        return Fail("save", status);
    return 0;
}

}  // namespace

int RunInfo(int argc, char** argv)
{
    if (argc != 1)
        return UsageError("info FILE");
    return Info(argv[0]);
}

int RunSelect(int argc, char** argv)
{
    if (argc != 2)
        return UsageError("select FILE XPATH");
    return Select(argv[0], argv[1]);
}

int RunIds(int argc, char** argv)
{
    if (argc != 2)
        return UsageError("ids IN OUT");
    return Ids(argv[0], argv[1]);
}
