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

bool Contains(const char* data, size_t size, const char* pattern, size_t length)
{
    if (size < length)
        return false;
    const char* end = data + size - length + 1;
    for (const char* at = data; at < end;) {
        at = static_cast<const char*>(std::memchr(at, pattern[0], static_cast<size_t>(end - at)));
        if (!at)
            return false;
        if (std::memcmp(at, pattern, length) == 0)
            return true;
        ++at;
    }
    return false;
}

}  // namespace

bool MayHoldTextContent(const void* data, size_t size)
{
    const auto* bytes = static_cast<const char*>(data);
    if (!bytes)
        return false;
    static const char kUtf16Little[] = {'t', 0, 'e', 0, 'x', 0, 't', 0};
    static const char kUtf16Big[] = {0, 't', 0, 'e', 0, 'x', 0, 't'};
    return Contains(bytes, size, "text", 4) || Contains(bytes, size, kUtf16Little, sizeof kUtf16Little) ||
           Contains(bytes, size, kUtf16Big, sizeof kUtf16Big);
}

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
