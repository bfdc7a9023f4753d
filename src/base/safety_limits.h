// Every limit that guards the library against hostile input, in one place,
// each with the reason for its number, so the whole safety envelope reads at
// a glance. A limit reached ends the call with the status named beside it
// and leaves the caller's document as it was.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvbase.h"

namespace kvlimits {

// Compressed input: a few kilobytes of gzip can claim gigabytes of text, and
// no real drawing needs more than 1 GiB. ERROR_FILE_OPEN.
constexpr size_t kMaxDecompressedBytes = size_t(1) << 30;

// Bitmaps and decoded images: 256 Mpixels (1 GiB at 32 bits) is far beyond
// any page or photograph a caller renders, and well inside the address
// space. ERROR_NO_MEMORY.
constexpr uint64_t kMaxBitmapPixels = KV_BITMAP_MAX_PIXELS;

// Flattening walks the tree on a heap stack of one context per open level,
// not on the machine stack, so depth costs memory (about 1.2 KB a level)
// rather than a crash. 200,000 levels is four times the deepest nesting the
// loader has been shown to accept and stays near 250 MB. ERROR_MAX_ELEMENTS.
constexpr size_t kMaxFlattenDepth = 200000;

// Links followed from one paint server to the next (gradient href chains):
// real documents chain two or three; a longer chain is cut where it stands,
// as a reference to nothing would be.
constexpr size_t kMaxReferenceChain = 64;

// Elements that use may copy into one flattening run, counted through uses
// inside uses before anything is emitted. A map with ten thousand markers of
// a hundred elements each stays below it; a use bomb (ten levels, each
// using the level below ten times: ten billion copies) is refused at once.
// ERROR_MAX_ELEMENTS.
constexpr uint64_t kMaxUseExpansion = 1000000;
// Under a document element limit, uses may copy this many source elements
// per element allowed: the copies count groups and uses too.
constexpr uint64_t kUseExpansionPerElement = 4;

// Tiles of one expanded pattern fill: a 10-pixel hatch over a full page
// needs about ten thousand. Past this the pattern is written as a copy for
// the drawing side instead of as tiles.
constexpr uint64_t kMaxPatternTiles = 20000;
// Elements all expanded pattern fills of one run may emit: a few hatched
// areas of a page stay far below; past it further fills are written as
// copies, which cost one content each.
constexpr uint64_t kMaxPatternTileElements = 250000;

// A masked rect or image becomes a picture drawn at the scale it is shown
// at; no side of it passes 4096 pixels (64 MB at 32 bits), however large
// the element is drawn. Larger ones are scaled up and look soft.
constexpr int32_t kMaxMaskPictureSide = 4096;

// Path algebra (a path combined with another by union, intersection,
// difference or exclusion) and widening a path into its stroke's outline:
// vertices of the paths together once their curves are flattened. The polygon clipper's work grows with the crossings
// between edges, up to the square of their number: ten self-crossing curves
// of 42,000 vertices took 1.3 s in the sanitized build. Outlines of text and
// detailed shapes stay below it. ERROR_MAX_ELEMENTS, the path unchanged.
constexpr size_t kMaxPathAlgebraVertices = 20000;
// The same operations, counted by pairs of edges close enough to cross (for
// widening, within the pen's reach of each other): the clipper spends about
// a microsecond on each such pair in a release build, so a few hundred
// vertices crossing each other, or figures smaller than a wide pen, cost a
// second long before the vertex bound. Text outlines widened by a pen a few
// pixels wide stay far below it. ERROR_MAX_ELEMENTS, the path unchanged.
constexpr size_t kMaxPathAlgebraNearbyEdges = 250000;

// Elements the standard-syntax rewrite may copy to draw markers in one
// document: a marker's content at every vertex of many long paths would
// otherwise grow without bound. Past it, the rest are left without markers.
constexpr uint64_t kMaxMarkerCopies = 200000;

// Style sheets of the standard-syntax rewrite: selectors taken from all the
// sheets of a document, and element matches applied. Hand-written and
// editor sheets hold a few hundred; past these a sheet is hostile, and the
// rest of it is left unapplied.
constexpr size_t kMaxStyleRules = 10000;
constexpr size_t kMaxStyleMatches = 2000000;

// Objects (and table entries) read from one vector object when it is saved:
// the library says where the list ends, and a library that never does would
// otherwise grow the text until memory runs out. Sixteen million objects is
// far beyond any drawing a vector editor holds. ERROR_MAX_ELEMENTS.
constexpr uint32_t kMaxVectorObjects = 16u * 1024u * 1024u;

// Raster road of the codec filter: elements of the flat form it draws. The
// host cannot set a limit of its own, and without one only the use budget
// (a million copies) bounds what a small file asks for; each hundred
// thousand elements take seconds and hundreds of megabytes to flatten and
// draw. A detailed plan or map draws tens of thousands. ERROR_MAX_ELEMENTS.
constexpr uint32_t kMaxFilterFlatElements = 100000;
// Raster road: shapes that uses may copy into that flat form, all uses of
// the file together. A file of 64 KB holds at most a few thousand shapes of
// its own; through uses of uses it can ask for the whole element limit,
// seconds of work. Editors' clones and symbol libraries copy hundreds; 5,000
// copies take 0.6 s in the sanitized fuzzing build, 50 ms in Release.
// ERROR_MAX_ELEMENTS.
constexpr uint32_t kMaxFilterUseShapes = 5000;

// Vector road: <use> inside <use>. A symbol of symbols nests a few levels;
// deeper nesting draws as a missing reference would.
constexpr size_t kMaxLegacyUseNesting = 32;
// Vector road: uses drawn in one file. Each copies its target, so a few
// uses of uses multiply into billions of objects. As on the raster road
// (kMaxFilterUseShapes), a file of 64 KB holds a few thousand shapes of its
// own and only uses of uses ask for more: 11,111 uses of a rect took 0.8 s
// in the sanitized fuzzing build, and a campaign found 2.2 s under the
// earlier bound of 100,000. ERROR_MAX_ELEMENTS, before any object is made.
constexpr size_t kMaxLegacyUseInstances = 5000;

// Legacy XML reader: the whole input is copied once (character references
// expanded) and the tree holds about as much again, so 256 MiB keeps a read
// under a gigabyte; no drawing on the older road comes near it.
// ERROR_MAX_ELEMENTS.
constexpr size_t kMaxLegacyXmlBytes = size_t(256) << 20;

// Legacy XML reader: the tree is destroyed and its text collected by
// recursion, a few frames a level. 1024 levels is twenty times the deepest
// drawing seen and a small part of a thread's stack, sanitizers included.
// The same bound holds for parentheses in a content model. ERROR_MAX_ELEMENTS.
constexpr size_t kMaxLegacyXmlDepth = 1024;

// Legacy XML reader: entity text that references in one document expand to,
// counted before anything is expanded. Real files use entities for
// namespaces and short strings, kilobytes in all; 8 MiB stops a
// billion-laughs document at parse time. ERROR_MAX_ELEMENTS.
constexpr size_t kMaxLegacyEntityExpansion = size_t(8) << 20;

// Legacy XML reader: what one entity reference counts against the expansion
// bound beside its text. Looking a name up costs far more than copying a
// byte, and a reference to nothing copies none: 64 keeps a document to
// about 130,000 references expanded, hundreds of times what real files use.
constexpr size_t kLegacyEntityReferenceCost = 64;

// Legacy XML reader: entities inside entities. Ten levels make a
// billion-laughs document; 64 is far beyond any honest use and bounds the
// recursion that measures them. ERROR_MAX_ELEMENTS.
constexpr size_t kMaxLegacyEntityNesting = 64;

// Decoded images: a picture may not claim more pixels than its bytes can
// describe, so that decoding cost follows the size of the input and a tiny
// header cannot make the loader fill a huge bitmap. Deflate turns one byte
// into at most 1032 (PNG rows); LZW turns a 12-bit code into at most 4096
// pixels, under 2731 a byte (GIF frames, and the logical screen they are
// drawn on). JPEG has no hard ceiling (end-of-band runs and arithmetic
// coding describe blank areas almost for free), so 1024 pixels a byte is
// chosen: twice what any Huffman-coded picture with ordinary sampling
// reaches, blank progressive ones included. ERROR_FILE_READ, as for a file
// cut short.
constexpr uint64_t kMaxPngInflateRatio = 1032;
constexpr uint64_t kMaxGifPixelsPerByte = 2731;
constexpr uint64_t kMaxJpegPixelsPerByte = 1024;

}  // namespace kvlimits
