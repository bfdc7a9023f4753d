// kvsvg flatten: the flat form of a document, saved as svg or svgz by the
// output's extension.
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "commands.h"
#include "tool_support.h"

namespace {

constexpr const char* kUsage = "flatten IN OUT [--text-only] [--width W] [--height H] [--strict] [--allow-any-file]";

// A size in pixels; false for anything that is not a plain number.
bool ParseSize(const char* text, double& size)
{
    char* end = nullptr;
    size = std::strtod(text, &end);
    return end != text && *end == '\0';
}

}  // namespace

int RunFlatten(int argc, char** argv)
{
    std::vector<const char*> files;
    K_SvgFlatOptions flat{kSvgFlatOptionsSize, 0.0, 0.0, 0};
    bool strict = false;
    bool allowAnyFile = false;
    for (int i = 0; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (arg == "--text-only") {
            flat.uFlags |= SVG_FLAT_TEXT_ONLY;
        } else if (arg == "--strict") {
            strict = true;
        } else if (arg == "--allow-any-file") {
            allowAnyFile = true;
        } else if ((arg == "--width" || arg == "--height") && i + 1 < argc) {
            double& size = arg == "--width" ? flat.dWidth : flat.dHeight;
            if (!ParseSize(argv[++i], size))
                return UsageError(kUsage);
        } else if (arg.starts_with("--")) {
            return UsageError(kUsage);
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.size() != 2)
        return UsageError(kUsage);

    const SvgLoadOptions load = ToolLoadOptions(strict);
    Owned source;
    if (int32_t status = K_SvgLoadDocument(Wide(files[0]).c_str(), &source.handle, &load); status != SUCCESS)
        return FailLoad(files[0], status);
    ToolImagePolicy(source.handle, files[0], allowAnyFile, flat);
    Owned result;
    if (int32_t status = K_SvgFlatDocument(source.handle, &result.handle, &flat); status != SUCCESS)
        return Fail("flatten", status);
    // The flat form names only the XLink namespace; a file without the SVG
    // one is plain XML to browsers and editors, so the saved file gets it.
    Owned root;
    if (K_SvgSelectSingleNode(result.handle, u"/svg", &root.handle) == SUCCESS && root.handle &&
        Attribute(root.handle, u"xmlns") == "(none)")
    {
        K_SvgSetElementAttributeValue(root.handle, u"xmlns", u"http://www.w3.org/2000/svg");
        K_SvgSetFlatDocument(result.handle, 1);  // the edit cleared the mark; the form is as flat as before
    }
    SvgSaveOptions save{kSvgSaveOptionsSize, 1, {u'\t', 0}, 0, 0};
    save.compressed = EndsWith(files[1], ".svgz") ? 1 : 0;
    if (int32_t status = K_SvgSaveDocument(Wide(files[1]).c_str(), result.handle, &save); status != SUCCESS)
        return Fail("save", status);
    return 0;
}
