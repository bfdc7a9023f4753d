"""The C interface of libkvsvg as ctypes sees it: finding the library, the
records, the prototypes, and statuses turned into exceptions."""

import ctypes
import ctypes.util
import os

SUCCESS = 1

# Status codes of kvsvg.h, by value.
STATUS_NAMES = {
    1: "SUCCESS", 0: "FAILURE", -1: "ERROR_NO_MEMORY", -4: "ERROR_FILE_SEEK", -5: "ERROR_FILE_WRITE",
    -7: "ERROR_FILE_READ", -9: "ERROR_FILE_FORMAT", -13: "ERROR_INV_PARAMETER", -14: "ERROR_FILE_OPEN",
    -16: "ERROR_NOT_SUPPORTED", -30: "ERROR_NO_ENGINE", -100: "ERROR_MAX_ELEMENTS",
    -101: "ERROR_UNKNOWN_KEYWORD", -149: "ERROR_CALLBACK_FAULT", -290: "ERROR_BUFFER_TOO_SMALL",
    -771: "ERROR_NO_SVG_ROOT", -773: "ERROR_NODE_UNBOUND", -774: "ERROR_ATTRIBUTE_REPEATED",
    -775: "ERROR_ATTRIBUTE_UNKNOWN", -776: "ERROR_INV_NUMBER", -778: "ERROR_ATTRIBUTE_MISSING",
    -780: "ERROR_INV_POINTS", -781: "ERROR_INV_PATH", -782: "ERROR_ATTRIBUTE_NOT_FOUND", -783: "ERROR_NOT_FLAT",
    -789: "ERROR_RECORD_SIZE", -814: "ERROR_VECTOR_OBJECT", -1488: "ERROR_NO_TRANSLATION",
    -1490: "ERROR_FILE_CREATE",
}


def status_name(status):
    return STATUS_NAMES.get(status, "unknown status")


class KvsvgError(Exception):
    """A library call that did not succeed. `status` is the library's status
    code, `status_name` its name (ERROR_FILE_OPEN, ...), `operation` what was
    being done, and `detail` what a person can act on, when there is more to
    say than the status: for a failed load "no such file", the parser's line
    and column, or the name of a root that is not svg (then also in `line`
    and `column`)."""

    def __init__(self, operation, status, detail=None, line=None, column=None):
        self.operation = operation
        self.status = status
        self.status_name = status_name(status)
        self.detail = detail
        self.line = line
        self.column = column
        text = "%s failed: %s (%d)" % (operation, self.status_name, status)
        if detail:
            text += ": " + detail
        super().__init__(text)


# ---- Records: the same layout as the C structs ---------------------------

class KvRectangle(ctypes.Structure):
    _fields_ = [("x", ctypes.c_double), ("y", ctypes.c_double),
                ("width", ctypes.c_double), ("height", ctypes.c_double)]


class KvMatrix(ctypes.Structure):
    _fields_ = [("m11", ctypes.c_double), ("m12", ctypes.c_double), ("m21", ctypes.c_double),
                ("m22", ctypes.c_double), ("dx", ctypes.c_double), ("dy", ctypes.c_double),
                ("kind", ctypes.c_uint64)]


class SvgLoadOptions(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("flags", ctypes.c_uint32), ("maximumElements", ctypes.c_int32)]


class SvgSaveOptions(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("formatted", ctypes.c_uint32), ("indent", ctypes.c_uint16 * 10),
                ("encoding", ctypes.c_uint32), ("compressed", ctypes.c_uint32)]


class SvgNodesIterator(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("count", ctypes.c_int32), ("nodes", ctypes.POINTER(ctypes.c_void_p))]


class SvgBounds(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("hasBounds", ctypes.c_uint32), ("isTrimmed", ctypes.c_uint32),
                ("dpiX", ctypes.c_double), ("dpiY", ctypes.c_double),
                ("x", ctypes.c_double), ("y", ctypes.c_double),
                ("width", ctypes.c_double), ("height", ctypes.c_double)]


class SvgFlatOptions(ctypes.Structure):
    _fields_ = [("uStructSize", ctypes.c_uint32), ("dWidth", ctypes.c_double), ("dHeight", ctypes.c_double),
                ("uFlags", ctypes.c_uint32)]


class SvgRenderOptions(ctypes.Structure):
    _fields_ = [("structSize", ctypes.c_uint32), ("flags", ctypes.c_uint32), ("backColor", ctypes.c_uint32),
                ("bounds", KvRectangle), ("clipBounds", KvRectangle), ("transform", KvMatrix),
                ("renderFlags", ctypes.c_uint32)]


class KvPaletteEntry(ctypes.Structure):
    _fields_ = [("blue", ctypes.c_uint8), ("green", ctypes.c_uint8), ("red", ctypes.c_uint8),
                ("reserved", ctypes.c_uint8)]


class KvBitmap(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("flags", ctypes.c_uint32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("bitsPerPixel", ctypes.c_uint32), ("bytesPerLine", ctypes.c_uint32),
                ("order", ctypes.c_uint32), ("viewPerspective", ctypes.c_uint32),
                ("xResolution", ctypes.c_int32), ("yResolution", ctypes.c_int32),
                ("paletteCount", ctypes.c_uint32), ("palette", KvPaletteEntry * 256),
                ("data", ctypes.POINTER(ctypes.c_uint8)), ("dataSize", ctypes.c_size_t),
                ("accessCount", ctypes.c_uint32)]


class SvgLoadDiagnosis(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("kind", ctypes.c_uint32), ("line", ctypes.c_uint32),
                ("column", ctypes.c_uint32), ("offset", ctypes.c_uint64), ("systemError", ctypes.c_int32),
                ("compressed", ctypes.c_uint32), ("detail", ctypes.c_char * 128)]


class SvgTrackedCounts(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("reserved", ctypes.c_uint32), ("blocks", ctypes.c_uint64),
                ("bytes", ctypes.c_uint64), ("objects", ctypes.c_uint64)]


SVG_LOAD_NORMALIZE = 0x1000
SVG_FLAT_TEXT_ONLY = 0x1
SVG_RENDER_FULL_PAINT = 0x2
SVG_INSERT_LAST_CHILD = 2
SVG_ENUM_CHILDREN = 0
KV_ORDER_BGR = 0
ELEMENT_TYPE_DOCUMENT = 1

# ---- Finding and binding the library -------------------------------------

_handle = ctypes.c_void_p
_text = ctypes.c_char_p  # UTF-16 bytes with two zero bytes at the end
_out_text = ctypes.POINTER(ctypes.c_void_p)

_PROTOTYPES = {
    "K_SvgFreeMemory": [ctypes.c_void_p],
    "K_SvgFreeNode": [_handle],
    "K_SvgGetElementType": [_handle, ctypes.POINTER(ctypes.c_uint32)],
    "K_SvgCreateDocument": [ctypes.POINTER(_handle), ctypes.c_uint32],
    "K_SvgLoadDocument": [_text, ctypes.POINTER(_handle), ctypes.POINTER(SvgLoadOptions)],
    "K_SvgLoadDocumentMemory": [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(_handle),
                                ctypes.POINTER(SvgLoadOptions)],
    "K_SvgSaveDocument": [_text, _handle, ctypes.POINTER(SvgSaveOptions)],
    "K_SvgSaveDocumentMemory": [_handle, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_size_t),
                                ctypes.POINTER(SvgSaveOptions)],
    "K_SvgIsFlatDocument": [_handle, ctypes.POINTER(ctypes.c_int32)],
    "K_SvgGetBounds": [_handle, ctypes.POINTER(SvgBounds), ctypes.c_uint32],
    "K_SvgSelectSingleNode": [_handle, _text, ctypes.POINTER(_handle)],
    "K_SvgSelectNodes": [_handle, _text, ctypes.POINTER(SvgNodesIterator)],
    "K_SvgFreeIterator": [ctypes.POINTER(SvgNodesIterator)],
    "K_SvgGetParentNode": [_handle, ctypes.POINTER(_handle)],
    "K_SvgGetFirstChildNode": [_handle, ctypes.POINTER(_handle)],
    "K_SvgGetNextSiblingNode": [_handle, ctypes.POINTER(_handle)],
    "K_SvgGetElementName": [_handle, _out_text],
    "K_SvgGetElementValue": [_handle, _out_text],
    "K_SvgSetElementValue": [_handle, _text],
    "K_SvgGetElementAttributeValue": [_handle, _text, _out_text],
    "K_SvgSetElementAttributeValue": [_handle, _text, _text],
    "K_SvgRemoveElementAttribute": [_handle, _text],
    "K_SvgGetElementAttributeNameAt": [_handle, ctypes.c_uint32, _out_text],
    "K_SvgInsertUserElement": [_handle, _text, ctypes.c_uint32, ctypes.POINTER(_handle)],
    "K_SvgRemoveElement": [_handle],
    "K_SvgFlatDocument": [_handle, ctypes.POINTER(_handle), ctypes.POINTER(SvgFlatOptions)],
    "K_SvgCalculateBounds": [_handle, ctypes.c_int32],
    "K_SvgGetElementBounds": [_handle, ctypes.POINTER(KvRectangle)],
    "K_SvgRasterizeDocument": [ctypes.POINTER(KvBitmap), _handle, ctypes.POINTER(SvgRenderOptions)],
    "K_BitmapInit": [ctypes.POINTER(KvBitmap), ctypes.c_uint32, ctypes.c_int32, ctypes.c_int32, ctypes.c_uint32,
                     ctypes.c_uint32],
    "K_BitmapAllocate": [ctypes.POINTER(KvBitmap)],
    "K_BitmapFree": [ctypes.POINTER(KvBitmap)],
    "K_BitmapSavePng": [ctypes.POINTER(KvBitmap), ctypes.c_uint32, ctypes.POINTER(ctypes.c_void_p),
                        ctypes.POINTER(ctypes.c_size_t)],
    "K_SvgDiagnoseLoad": [_text, ctypes.POINTER(SvgLoadDiagnosis)],
    "K_SvgDiagnoseLoadMemory": [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(SvgLoadDiagnosis)],
    "K_SvgGetTrackedCounts": [ctypes.POINTER(SvgTrackedCounts)],
}


def _candidates():
    """Where the library may be, most specific first: KVSVG_LIBRARY names
    the file; an installed package knows the library's place relative to
    itself; otherwise the dynamic loader's own search."""
    explicit = os.environ.get("KVSVG_LIBRARY")
    if explicit:
        return [explicit]
    found = []
    try:
        from . import _location  # written by `cmake --install`
        found.append(os.path.normpath(os.path.join(os.path.dirname(__file__), _location.LIBRARY_FROM_PACKAGE)))
    except ImportError:
        pass
    found.append("libkvsvg.so.0")
    name = ctypes.util.find_library("kvsvg")
    if name:
        found.append(name)
    return found


def _load():
    tried = []
    for candidate in _candidates():
        try:
            library = ctypes.CDLL(candidate)
            break
        except OSError as error:
            tried.append("%s (%s)" % (candidate, error))
    else:
        raise ImportError("kvsvg: the shared library libkvsvg.so.0 was not found; tried " + "; ".join(tried) +
                          ". Install it (cmake --install, then ldconfig) or set KVSVG_LIBRARY to its path.")
    for name, arguments in _PROTOTYPES.items():
        function = getattr(library, name)
        function.argtypes = arguments
        function.restype = ctypes.c_int32
    library.K_SvgGetLibraryVersion.argtypes = []
    library.K_SvgGetLibraryVersion.restype = ctypes.c_char_p
    return library


lib = _load()


def wide(text):
    """A str as the zero-terminated UTF-16 the library takes."""
    return str(text).encode("utf-16-le", "surrogatepass") + b"\0\0"


def take_text(pointer):
    """Reads and frees a UTF-16 string the library handed out; None for null."""
    if not pointer:
        return None
    try:
        units = ctypes.cast(pointer, ctypes.POINTER(ctypes.c_uint16))
        length = 0
        while units[length]:
            length += 1
        return ctypes.string_at(pointer, 2 * length).decode("utf-16-le", "surrogatepass")
    finally:
        lib.K_SvgFreeMemory(pointer)


def check(operation, status, detail=None):
    if status != SUCCESS:
        raise KvsvgError(operation, status, detail)
