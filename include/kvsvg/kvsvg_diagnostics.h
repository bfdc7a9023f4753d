/* kvsvg: what a host needs to tell a person why a file did not load, which
 * library it runs, and whether the library still holds memory. Included by
 * kvsvg.h. C11 and C++.
 *
 * A failed load answers with a status only, and two of them cover several
 * causes: ERROR_FILE_OPEN is given both to a file that does not open and to
 * one that is not well-formed XML, ERROR_NO_SVG_ROOT to any root other than
 * svg. K_SvgDiagnoseLoad reads the same bytes again and says which cause it
 * was, and for bad XML where the parser stopped. It reads them as a load
 * without SVG_LOAD_TOLERATE_XML_ERRORS does. It changes nothing, keeps
 * nothing, and is meant for the error path only: it costs a second read and
 * parse of the file.
 */
#ifndef KVSVG_KVSVG_DIAGNOSTICS_H
#define KVSVG_KVSVG_DIAGNOSTICS_H

#include <stddef.h>
#include <stdint.h>

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* SvgLoadDiagnosis.kind */
#define SVG_DIAGNOSIS_PARSES 0u      /* well-formed XML with an svg root: the load failed after parsing
                                        (a value, a limit, memory), and its status says which */
#define SVG_DIAGNOSIS_NO_FILE 1u     /* no such file (or a folder on its path is missing) */
#define SVG_DIAGNOSIS_UNREADABLE 2u  /* the file exists but cannot be opened or read; systemError tells why */
#define SVG_DIAGNOSIS_EMPTY 3u       /* the file or block holds no bytes */
#define SVG_DIAGNOSIS_BAD_GZIP 4u    /* starts as gzip but does not inflate, or inflates beyond the limit */
#define SVG_DIAGNOSIS_NOT_SVG_TEXT 5u /* gzip whose text does not begin with <?xml, <!DOCTYPE svg or <svg */
#define SVG_DIAGNOSIS_NOT_XML 6u     /* not well-formed XML: line, column, offset and detail say where and what */
#define SVG_DIAGNOSIS_NO_ROOT 7u     /* well-formed, but the root is not svg: detail holds the root's name,
                                        empty when there is no element at all */

typedef struct SvgLoadDiagnosis {
    uint32_t size;        /* kSvgLoadDiagnosisSize */
    uint32_t kind;        /* SVG_DIAGNOSIS_... */
    uint32_t line;        /* NOT_XML: the line where the parser stopped, from 1; otherwise 0 */
    uint32_t column;      /* NOT_XML: the character on that line, from 1; otherwise 0 */
    uint64_t offset;      /* NOT_XML: the byte in the (inflated) text where the parser stopped */
    int32_t systemError;  /* NO_FILE, UNREADABLE: the errno of the failed open or read; otherwise 0 */
    uint32_t compressed;  /* 1 when the bytes were gzip and the rest describes the text inside */
    char detail[128];     /* UTF-8, zero-terminated: the parser's description (NOT_XML), the root's
                             name (NO_ROOT), or empty */
} SvgLoadDiagnosis;

#define kSvgLoadDiagnosisSize ((uint32_t)sizeof(SvgLoadDiagnosis))

typedef struct SvgTrackedCounts {
    uint32_t size;        /* kSvgTrackedCountsSize */
    uint32_t reserved;
    uint64_t blocks;      /* memory blocks the library holds now */
    uint64_t bytes;       /* their bytes */
    uint64_t objects;     /* documents, nodes, engines and other objects alive now */
} SvgTrackedCounts;

#define kSvgTrackedCountsSize ((uint32_t)sizeof(SvgTrackedCounts))

/* ---- Exports ------------------------------------------------------------
 * Outside the family's ordinal table: these have no numbers. */

/* Looks at a file the way K_SvgLoadDocument reads it (gzip included) and
 * fills *diagnosis. SUCCESS whenever the record was filled, whatever the
 * file holds; ERROR_INV_PARAMETER for a null argument, ERROR_RECORD_SIZE
 * when diagnosis->size is not kSvgLoadDiagnosisSize, ERROR_NO_MEMORY. */
KVSVG_API int32_t K_SvgDiagnoseLoad(const KvChar* path, SvgLoadDiagnosis* diagnosis);
/* The same for a block as K_SvgLoadDocumentMemory reads it. A null or
 * empty block is kind SVG_DIAGNOSIS_EMPTY. */
KVSVG_API int32_t K_SvgDiagnoseLoadMemory(const void* block, size_t size, SvgLoadDiagnosis* diagnosis);

/* The library's version as "MAJOR.MINOR.PATCH": a static string, never
 * freed. Not a status. */
KVSVG_API const char* K_SvgGetLibraryVersion(void);

/* What the library holds right now, across all threads: every block and
 * object it made and has not yet given back. A host proves it frees what it
 * takes by reading this before and after its work. ERROR_INV_PARAMETER for
 * null, ERROR_RECORD_SIZE for another size. */
KVSVG_API int32_t K_SvgGetTrackedCounts(SvgTrackedCounts* counts);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_DIAGNOSTICS_H */
