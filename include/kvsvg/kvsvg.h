/* kvsvg: the flat C interface of the SVG engine.
 *
 * Every export returns a signed 32-bit status (SUCCESS is 1, FAILURE 0,
 * errors negative) unless its comment says otherwise. Text crosses this
 * boundary as zero-terminated UTF-16; blocks handed out are freed with
 * K_SvgFreeMemory, handles with K_SvgFreeNode. Records start with their
 * size, which must equal the matching k...Size constant below.
 *
 * This header compiles as C11 and as C++.
 */
#ifndef KVSVG_KVSVG_H
#define KVSVG_KVSVG_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#include <cstdint>
typedef char16_t KvChar;
#else
#include <uchar.h>
typedef char16_t KvChar;
#endif

#if defined(KVSVG_BUILDING)
#define KVSVG_API __attribute__((visibility("default")))
#else
#define KVSVG_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes ------------------------------------------------------ */
#define SUCCESS 1
#define FAILURE 0
#define ERROR_NO_MEMORY (-1)
#define ERROR_FILE_SEEK (-4)
#define ERROR_FILE_WRITE (-5)
#define ERROR_FILE_READ (-7)
#define ERROR_FILE_FORMAT (-9)
#define ERROR_INV_PARAMETER (-13)
#define ERROR_FILE_OPEN (-14)
#define ERROR_NOT_SUPPORTED (-16)
#define ERROR_NO_ENGINE (-30)
#define ERROR_MAX_ELEMENTS (-100)
#define ERROR_UNKNOWN_KEYWORD (-101)
#define ERROR_CALLBACK_FAULT (-149)
#define ERROR_BUFFER_TOO_SMALL (-290)
#define ERROR_NO_SVG_ROOT (-771)
#define ERROR_NODE_UNBOUND (-773)
#define ERROR_ATTRIBUTE_REPEATED (-774)
#define ERROR_ATTRIBUTE_UNKNOWN (-775)
#define ERROR_INV_NUMBER (-776)
#define ERROR_ATTRIBUTE_MISSING (-778)
#define ERROR_INV_POINTS (-780)
#define ERROR_INV_PATH (-781)
#define ERROR_ATTRIBUTE_NOT_FOUND (-782)
#define ERROR_NOT_FLAT (-783)
#define ERROR_RECORD_SIZE (-789)
#define ERROR_VECTOR_OBJECT (-814)
#define ERROR_NO_TRANSLATION (-1488)
#define ERROR_FILE_CREATE (-1490)

/* ---- Handles ----------------------------------------------------------- */
/* A document or a node; K_SvgGetElementType tells which (1 is a document).
 * A node handle must not outlive its document. */
typedef struct SvgHandler_* SvgHandle;

/* Element type numbers: 0 unknown element, 1 document, 2 to 46 SVG elements. */
enum {
    SVG_ELEMENT_UNKNOWN = 0, SVG_ELEMENT_DOCUMENT = 1, SVG_ELEMENT_SVG = 2, SVG_ELEMENT_G = 3,
    SVG_ELEMENT_DEFS = 4, SVG_ELEMENT_DESC = 5, SVG_ELEMENT_TITLE = 6, SVG_ELEMENT_SYMBOL = 7,
    SVG_ELEMENT_USE = 8, SVG_ELEMENT_IMAGE = 9, SVG_ELEMENT_SWITCH = 10, SVG_ELEMENT_STYLE = 11,
    SVG_ELEMENT_PATH = 12, SVG_ELEMENT_RECT = 13, SVG_ELEMENT_CIRCLE = 14, SVG_ELEMENT_ELLIPSE = 15,
    SVG_ELEMENT_LINE = 16, SVG_ELEMENT_POLYLINE = 17, SVG_ELEMENT_POLYGON = 18, SVG_ELEMENT_TEXT = 19,
    SVG_ELEMENT_TSPAN = 20, SVG_ELEMENT_TREF = 21, SVG_ELEMENT_TEXTPATH = 22, SVG_ELEMENT_ALTGLYPH = 23,
    SVG_ELEMENT_ALTGLYPHDEF = 24, SVG_ELEMENT_ALTGLYPHITEM = 25, SVG_ELEMENT_GLYPHREF = 26,
    SVG_ELEMENT_MARKER = 27, SVG_ELEMENT_COLOR_PROFILE = 28, SVG_ELEMENT_LINEARGRADIENT = 29,
    SVG_ELEMENT_RADIALGRADIENT = 30, SVG_ELEMENT_STOP = 31, SVG_ELEMENT_PATTERN = 32,
    SVG_ELEMENT_CLIPPATH = 33, SVG_ELEMENT_FONT = 34, SVG_ELEMENT_GLYPH = 35,
    SVG_ELEMENT_MISSING_GLYPH = 36, SVG_ELEMENT_HKERN = 37, SVG_ELEMENT_VKERN = 38,
    SVG_ELEMENT_FONT_FACE = 39, SVG_ELEMENT_FONT_FACE_SRC = 40, SVG_ELEMENT_FONT_FACE_URI = 41,
    SVG_ELEMENT_FONT_FACE_FORMAT = 42, SVG_ELEMENT_FONT_FACE_NAME = 43,
    SVG_ELEMENT_DEFINITION_SRC = 44, SVG_ELEMENT_A = 45, SVG_ELEMENT_MASK = 46
};

#ifdef __cplusplus
}
#endif
#include "kvsvg/kvsvg_values.h"
#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records ----------------------------------------------------------- */
typedef struct SvgNodesIterator {
    uint32_t size;      /* kSvgNodesIteratorSize */
    int32_t count;      /* slots in nodes; unused slots are null and stand at the end */
    SvgHandle* nodes;   /* filled by the library, freed with K_SvgFreeIterator */
} SvgNodesIterator;

typedef struct SvgBounds {
    uint32_t size;      /* kSvgBoundsSize */
    uint32_t hasBounds; /* nonzero when the rest is meaningful */
    uint32_t isTrimmed;
    double dpiX;        /* unset (bits 0x7FFFFFFFFFFFFFFF) when absent */
    double dpiY;
    double x, y, width, height;
} SvgBounds;

typedef struct SvgFileOptions {
    uint32_t size;      /* kSvgFileOptionsSize */
    double width, height; /* -1.0 unless the root gives plain numbers */
    double dpiX, dpiY;  /* -1.0 when unknown */
    /* Read by K_Draw_ToSvg only (kvsvg_draw_svg.h), and only when size covers them. */
    uint32_t flags;          /* SVG_DRAW_... */
    int32_t maximumElements; /* element limit of the new document; 0 none */
} SvgFileOptions;

/* Load flags. */
#define SVG_LOAD_DROP_SHAPES 0x1u
#define SVG_LOAD_DROP_IMAGES 0x2u
#define SVG_LOAD_DROP_TEXT 0x4u
#define SVG_LOAD_TOLERATE_XML_ERRORS 0x8u
#define SVG_LOAD_DROP_TEXT_PATH_TEXT 0x10u
#define SVG_LOAD_DROP_TEXT_PATH_PATHS 0x100u
/* Standard syntax: right after parsing, the tree is rewritten into the form
 * the library's own value syntax reads: path data by the full path grammar,
 * <style> sheets and class attributes applied into style attributes, lists
 * in style declarations kept apart. Without it values are read exactly as
 * the library's syntax says, and standard forms such as "M10-20" fail. */
#define SVG_LOAD_NORMALIZE 0x1000u

typedef struct SvgLoadOptions {
    uint32_t size;             /* not read */
    uint32_t flags;            /* SVG_LOAD_... */
    int32_t maximumElements;   /* checked while loading; 0 or less means none */
} SvgLoadOptions;

typedef struct SvgSaveOptions {
    uint32_t size;       /* kSvgSaveOptionsSize; only compression asks for it */
    uint32_t formatted;  /* nonzero: indented */
    KvChar indent[10];   /* zero-terminated indentation */
    uint32_t encoding;   /* 1: UTF-16, otherwise UTF-8 */
    uint32_t compressed; /* 1: gzip (needs size == kSvgSaveOptionsSize) */
} SvgSaveOptions;

#define kSvgNodesIteratorSize ((uint32_t)sizeof(SvgNodesIterator))
#define kSvgBoundsSize ((uint32_t)sizeof(SvgBounds))
#define kSvgFileOptionsSize ((uint32_t)sizeof(SvgFileOptions))
#define kSvgSaveOptionsSize ((uint32_t)sizeof(SvgSaveOptions))
#define kSvgLoadOptionsSize ((uint32_t)sizeof(SvgLoadOptions))

/* Filter callback: set *skip to pass over an element and its subtree; a
 * status other than SUCCESS stops the walk and is returned. */
typedef struct SvgFilterElementInfo {
    uint32_t reserved;
    uint32_t type;
    SvgHandle element;   /* valid for the time of the call */
} SvgFilterElementInfo;
typedef int32_t (*SvgFilterElementsCallback)(const SvgFilterElementInfo* info, int32_t* skip, void* userData);

/* Element callback of K_SvgEnumerateElements; the handle lives for the call.
 * A status other than SUCCESS stops the walk; a fault inside the callback
 * (a C++ exception, SIGSEGV, SIGBUS or SIGFPE) gives ERROR_CALLBACK_FAULT. */
typedef int32_t (*SvgElementCallback)(SvgHandle element, void* userData);

/* Walk modes of K_SvgEnumerateElements; any other visits nothing. */
#define SVG_ENUM_CHILDREN 0u
#define SVG_ENUM_PREORDER 1u
#define SVG_ENUM_POSTORDER 2u

/* Insert positions relative to the given node. */
#define SVG_INSERT_BEFORE 0u
#define SVG_INSERT_AFTER 1u
#define SVG_INSERT_LAST_CHILD 2u

/* ---- Exports ------------------------------------------------------------
 * Ordinal table, kept for the record of the family's numbering:
 *   100 K_SvgFreeMemory        101 K_SvgFreeNode
 *   200 K_SvgGetElementType
 *   300 K_SvgCreateDocument    301 K_SvgCopyDocument     302 K_SvgLoadDocument
 *   303 K_SvgSaveDocument      305 K_SvgIsFlatDocument   306 K_SvgSetFlatDocument
 *   307 K_SvgGetDocumentVersion 309 K_SvgAddElementIDs   311 K_SvgGetBounds
 *   312 K_SvgLoadDocumentMemory 313 K_SvgSaveDocumentMemory 314 K_SvgSetBounds
 *   316 K_SvgBeginUpdateDocument 317 K_SvgEndUpdateDocument
 *   319 K_SvgSetFilterElementsCallback
 *   1301 K_SvgSetMaximumElements 1302 K_SvgGetMaximumElements
 *   103 K_SvgFreeIterator
 *   203 K_SvgGetElementName   204 K_SvgGetElementValue  205 K_SvgSetElementValue
 *   206 K_SvgGetElementAttributeValue 207 K_SvgSetElementAttributeValue
 *   208 K_SvgRemoveElementAttribute
 *   400 K_SvgSelectSingleNode  401 K_SvgSelectNodes      402 K_SvgGetParentNode
 *   403 K_SvgGetFirstChildNode 404 K_SvgGetLastChildNode 405 K_SvgGetNextSiblingNode
 *   406 K_SvgGetPreviousSiblingNode
 *   502 K_SvgInsertUserElement 503 K_SvgRemoveElement
 *   800 K_SvgEnumerateElements
 */

KVSVG_API int32_t K_SvgFreeMemory(void* block);
KVSVG_API int32_t K_SvgFreeNode(SvgHandle handle);
KVSVG_API int32_t K_SvgGetElementType(SvgHandle handle, uint32_t* type);

KVSVG_API int32_t K_SvgCreateDocument(SvgHandle* document, uint32_t version);
KVSVG_API int32_t K_SvgCopyDocument(SvgHandle source, SvgHandle* document);
KVSVG_API int32_t K_SvgLoadDocument(const KvChar* path, SvgHandle* document, const SvgLoadOptions* options);
KVSVG_API int32_t K_SvgLoadDocumentMemory(const void* block, size_t size, SvgHandle* document,
                                          const SvgLoadOptions* options);
KVSVG_API int32_t K_SvgSaveDocument(const KvChar* path, SvgHandle document, const SvgSaveOptions* options);
/* *block is freed with K_SvgFreeMemory; it is zero-terminated one byte past *size. */
KVSVG_API int32_t K_SvgSaveDocumentMemory(SvgHandle document, void** block, size_t* size,
                                          const SvgSaveOptions* options);

KVSVG_API int32_t K_SvgIsFlatDocument(SvgHandle document, int32_t* flat);
KVSVG_API int32_t K_SvgSetFlatDocument(SvgHandle document, int32_t flat);
KVSVG_API int32_t K_SvgGetDocumentVersion(SvgHandle document, uint32_t* version);
KVSVG_API int32_t K_SvgAddElementIDs(SvgHandle document);
KVSVG_API int32_t K_SvgSetMaximumElements(SvgHandle document, uint32_t limit);
/* Returns the limit itself, not a status: 0 for null or a node. */
KVSVG_API uint32_t K_SvgGetMaximumElements(SvgHandle document);
KVSVG_API int32_t K_SvgGetBounds(SvgHandle document, SvgBounds* bounds, uint32_t size);
KVSVG_API int32_t K_SvgSetBounds(SvgHandle document, const SvgBounds* bounds);
KVSVG_API int32_t K_SvgBeginUpdateDocument(SvgHandle document);
KVSVG_API int32_t K_SvgEndUpdateDocument(SvgHandle document);
KVSVG_API int32_t K_SvgSetFilterElementsCallback(SvgHandle document, SvgFilterElementsCallback callback,
                                                 void* userData);

/* Nodes: navigation, selection and walks. Results are new handles (or null
 * with SUCCESS at the end of a walk), freed with K_SvgFreeNode. */
KVSVG_API int32_t K_SvgGetParentNode(SvgHandle handle, SvgHandle* parent);
KVSVG_API int32_t K_SvgGetFirstChildNode(SvgHandle handle, SvgHandle* child);
KVSVG_API int32_t K_SvgGetLastChildNode(SvgHandle handle, SvgHandle* child);
KVSVG_API int32_t K_SvgGetNextSiblingNode(SvgHandle handle, SvgHandle* sibling);
KVSVG_API int32_t K_SvgGetPreviousSiblingNode(SvgHandle handle, SvgHandle* sibling);
KVSVG_API int32_t K_SvgSelectSingleNode(SvgHandle handle, const KvChar* xpath, SvgHandle* node);
/* iterator->size must be kSvgNodesIteratorSize; free with K_SvgFreeIterator. */
KVSVG_API int32_t K_SvgSelectNodes(SvgHandle handle, const KvChar* xpath, SvgNodesIterator* iterator);
KVSVG_API int32_t K_SvgFreeIterator(SvgNodesIterator* iterator);
KVSVG_API int32_t K_SvgEnumerateElements(SvgHandle handle, uint32_t mode, SvgElementCallback callback,
                                         void* userData);

/* Text access to any node; out strings are freed with K_SvgFreeMemory. A
 * missing attribute or character data gives SUCCESS with a null out. Setting
 * an attribute to "" removes it. */
KVSVG_API int32_t K_SvgGetElementName(SvgHandle node, KvChar** name);
KVSVG_API int32_t K_SvgGetElementValue(SvgHandle node, KvChar** value);
KVSVG_API int32_t K_SvgSetElementValue(SvgHandle node, const KvChar* value);
KVSVG_API int32_t K_SvgGetElementAttributeValue(SvgHandle node, const KvChar* name, KvChar** value);
KVSVG_API int32_t K_SvgSetElementAttributeValue(SvgHandle node, const KvChar* name, const KvChar* value);
KVSVG_API int32_t K_SvgRemoveElementAttribute(SvgHandle node, const KvChar* name);
/* Lists attribute names: the index-th in document order, or a null *name
 * with SUCCESS past the last one. */
KVSVG_API int32_t K_SvgGetElementAttributeNameAt(SvgHandle node, uint32_t index, KvChar** name);

/* Inserts an element of any name ("svg:" is skipped to find its type) at a
 * position relative to parent; *node (optional) receives the new element. */
KVSVG_API int32_t K_SvgInsertUserElement(SvgHandle parent, const KvChar* name, uint32_t position, SvgHandle* node);
KVSVG_API int32_t K_SvgRemoveElement(SvgHandle node);

#ifdef __cplusplus
}
#endif

/* The data-URI family has a header of its own; it needs what is above. */
#include "kvsvg/kvsvg_datauri.h"
/* Element records and their exports. */
#include "kvsvg/kvsvg_elements.h"
/* Flattening. */
#include "kvsvg/kvsvg_flatten.h"
/* Drawing and bounds. */
#include "kvsvg/kvsvg_render.h"
/* Narrow-character (UTF-8) twins. */
#include "kvsvg/kvsvg_narrow.h"
/* Drawing to SVG. */
#include "kvsvg/kvsvg_draw_svg.h"
/* The codec plug-in entries. */
#include "kvsvg/kvsvg_filter.h"

#endif /* KVSVG_KVSVG_H */
