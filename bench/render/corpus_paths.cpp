// Reads every path record of a list of real files twice, in the library's
// own value syntax and in the standard-syntax mode, and prints how many
// files load and how many path records read with SUCCESS each way.
//   corpus_paths LIST     (one file per line; a tab and anything after it is ignored)
#include <cstdio>
#include <fstream>
#include <string>

#include "kvsvg/kvsvg.h"

namespace {

struct Tally {
    long files = 0, loaded = 0, paths = 0, read = 0, filesAllRead = 0;
};

void Count(const std::string& path, uint32_t flags, Tally& tally)
{
    ++tally.files;
    std::u16string wide(path.begin(), path.end());  // the corpus paths are ASCII
    SvgLoadOptions options{kSvgLoadOptionsSize, flags, 0};
    SvgHandle document = nullptr;
    if (K_SvgLoadDocument(wide.c_str(), &document, &options) != SUCCESS)
        return;
    ++tally.loaded;
    SvgNodesIterator paths{kSvgNodesIteratorSize, 0, nullptr};
    bool allRead = true;
    if (K_SvgSelectNodes(document, u"//*[local-name()='path']", &paths) == SUCCESS) {
        for (int32_t i = 0; i < paths.count && paths.nodes[i]; ++i) {
            SvgPathElement record{};
            ++tally.paths;
            if (K_SvgInitElement(&record, SVG_ELEMENT_PATH, kSvgPathElementSize) == SUCCESS &&
                K_SvgGetElement(paths.nodes[i], &record, kSvgPathElementSize) == SUCCESS)
                ++tally.read;
            else
                allRead = false;
            K_SvgFreeElement(&record, SVG_ELEMENT_PATH);
        }
        K_SvgFreeIterator(&paths);
    }
    tally.filesAllRead += allRead ? 1 : 0;
    K_SvgFreeNode(document);
}

void Print(const char* name, const Tally& tally)
{
    std::printf("%-16s %ld files, %ld load, %ld with every path read; %ld of %ld path records read (%.2f%%)\n", name,
                tally.files, tally.loaded, tally.filesAllRead, tally.read, tally.paths,
                tally.paths ? 100.0 * tally.read / tally.paths : 100.0);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: corpus_paths LIST\n");
        return 2;
    }
    std::ifstream list(argv[1]);
    Tally own, standard;
    for (std::string line; std::getline(list, line);) {
        const std::string path = line.substr(0, line.find('\t'));
        if (path.empty())
            continue;
        Count(path, 0, own);
        Count(path, SVG_LOAD_NORMALIZE, standard);
    }
    Print("own syntax:", own);
    Print("standard syntax:", standard);
    return 0;
}
