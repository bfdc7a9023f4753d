// The standard-syntax rewrite: right after a document is parsed, rewrites
// what editors and optimisers write in standard SVG into the form the
// library's own value syntax reads, and changes nothing that already reads
// the same:
// - path data is re-read by the full path grammar (signs and dots that
//   start numbers, compact arc flags, any separators) and written back with
//   a blank between every number;
// - rules of <style> sheets (type, universal, .class, #id and attribute
//   selectors, descendant and child combinators, :first-child, groups,
//   !important; @-blocks skipped) are applied into each matched element's
//   style attribute by specificity and order, ahead of the element's own
//   declarations, so that presentation attributes < sheet rules < inline
//   style < !important rules. A selector that uses anything else is
//   skipped, never guessed at;
// - lists in style declarations (stroke-dasharray) get commas between their
//   values, since the style parser drops blanks;
// - color, clip-rule and mask, which the style parser leaves to the
//   attribute readers, move out of style into attributes of their own;
// - a rect with only one corner radius gets the other, and radii in user
//   units are held to half the rect's side;
// - a switch becomes a group holding only its first branch whose tests
//   pass (no requiredExtensions, a systemLanguage naming English if any),
//   where the library would drop the switch with all its branches.
#pragma once

#include <cstdint>
#include <string>

#include <pugixml.hpp>

// Rewrites the tree in place. ERROR_NO_MEMORY leaves what was rewritten so
// far; the caller discards the document then.
int32_t NormalizeStandardSyntax(pugi::xml_document& tree);

// One path data text by the full grammar, written back with blanks. The
// commands before the first error are kept, as a renderer of standard SVG
// would draw them; *changed tells whether the text differs.
bool RewritePathData(const char* text, std::string& out, bool* changed);
