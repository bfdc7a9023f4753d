#include "document/text_white_space.h"

#include <cstring>
#include <vector>

namespace {

bool IsBlank(const char* text)
{
    for (; *text; ++text) {
        if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r')
            return false;
    }
    return true;
}

bool IsTextElement(pugi::xml_node node)
{
    const char* name = node.name();
    return std::strcmp(name, "text") == 0 || std::strcmp(name, "svg:text") == 0;
}

}  // namespace

void DropLayoutWhiteSpace(pugi::xml_node root)
{
    // Depth-first on a heap stack: documents nest deeper than the machine
    // stack would allow.
    std::vector<pugi::xml_node> pending;
    pending.push_back(root);
    while (!pending.empty()) {
        pugi::xml_node node = pending.back();
        pending.pop_back();
        for (pugi::xml_node child = node.first_child(); child;) {
            const pugi::xml_node next = child.next_sibling();
            if (child.type() == pugi::node_element) {
                // Text content keeps all of its white space.
                if (!IsTextElement(child))
                    pending.push_back(child);
            } else if (child.type() == pugi::node_pcdata && (child.previous_sibling() || next) &&
                       IsBlank(child.value())) {
                node.remove_child(child);
            }
            child = next;
        }
    }
}
