// kvsvg: the command-line face of the library. Each subcommand is one
// library call or a short chain of them, in a file of its own; any failure
// prints the status by name and ends with a non-zero exit.
#include <cstdio>
#include <string_view>

#include "commands.h"

namespace {

struct Command {
    const char* name;
    int (*run)(int argc, char** argv);
    const char* help;  // the usage lines after the name
};

// One line per subcommand, in the order --help lists them.
const Command kCommands[] = {
    {"render", RunRender,
     "IN OUT.png [options]  flattens unless flat, then draws to PNG at the drawing's size\n"
     "      --width W --height H  pixel size (one keeps the aspect ratio)  --zoom Z  scale\n"
     "      --background COLOR|none  (#rrggbb, #rgb, white, black; default none)  --dpi N\n"
     "      --strict  the library's own value syntax instead of the standard-syntax rewrite\n"
     "      --allow-any-file  open image files anywhere (default: the document's folder and below)"},
    {"render-batch", RunRenderBatch,
     "LIST [options]  renders each IN<TAB>OUT line of LIST, printing ok or fail per file"},
    {"bounds", RunBounds, "FILE [XPATH]      the drawing's bounds, or each selected element's (flat form)"},
    {"info", RunInfo, "FILE                 root size, version, flat mark and element count"},
    {"convert", RunConvert,
     "IN OUT [options]  svg and svgz either way, by OUT's extension\n"
     "      --indent STR  indentation (default one tab)  --raw  one line  --utf16  UTF-16 text\n"
     "      --normalize  rewrite standard SVG into the library's own syntax first"},
    {"select", RunSelect, "FILE XPATH         each matching element with its attributes"},
    {"ids", RunIds, "IN OUT                gives every element without an id one (ID1, ID2, ...)"},
    {"flatten", RunFlatten,
     "IN OUT [options]  the flat form: transforms baked, style cascaded\n"
     "      --text-only  keep text only  --width W --height H  target size in pixels  --strict  own value syntax\n"
     "      --allow-any-file  open image files anywhere (default: the document's folder and below)"},
    {"selftest-draw", RunSelftestDraw,
     "OUT  draws a fixed test scene: OUT.png through the bitmap engine, OUT.svg or OUT.svgz recorded as SVG"},
    {"filter-load", RunFilterLoad,
     "IN OUT.png|OUT.svg [options]  the codec plug-in as a host drives it: fltInfo, fltLoad, rows to PNG\n"
     "      --width W --height H  target size (default 640 x the drawing's height)  --bits 8|24|32  --rgb\n"
     "      OUT.svg: the vector road and fltSave (needs the vector library)"},
};

void Usage(std::FILE* out)
{
    std::fprintf(out, "usage: kvsvg COMMAND ...\n");
    for (const Command& command : kCommands)
        std::fprintf(out, "  %s %s\n", command.name, command.help);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        Usage(stderr);
        return 2;
    }
    std::string_view name = argv[1];
    for (const Command& command : kCommands) {
        if (name == command.name)
            return command.run(argc - 2, argv + 2);
    }
    Usage(stderr);
    return 2;
}
