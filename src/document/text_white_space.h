// White space between the parts of a text is part of the text: in
// "<tspan>a</tspan> <tspan>b</tspan>" the blank between the spans is a
// character that the layout counts. The parser keeps every run of white
// space; this pass then drops the runs that only indent the markup, which
// are all those outside text content, so the tree looks as it always did
// everywhere else.
#pragma once

#include <cstddef>

#include <pugixml.hpp>

// Whether a document's bytes may hold a text element (in UTF-8 or UTF-16):
// only such documents need white space kept at parse, which costs a node
// per indentation.
bool MayHoldTextContent(const void* data, size_t size);

// Removes every character-data node of nothing but white space that has a
// sibling and does not stand inside a `text` element. A node that is its
// element's only child stays, as before.
void DropLayoutWhiteSpace(pugi::xml_node root);
