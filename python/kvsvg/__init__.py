"""Python binding of kvsvg, over its C interface through ctypes.

    import kvsvg
    with kvsvg.Document.load("drawing.svg") as document:
        for rect in document.select("//rect"):
            rect.attrs["fill"] = "#e53e3e"
        document.save("recoloured.svg")
        png = document.render(width=480, background="white")

Documents and elements hold library handles. They are freed by `close()`,
by leaving a `with` block, or when Python collects the object; an element
never outlives its document's `close()`, which frees the document's elements
first. Every failing library call raises `KvsvgError`, whose `status_name`
is the library's own name for the status.
"""

import ctypes
import os
import struct
import weakref
from collections.abc import MutableMapping

from . import _native
from ._native import KvsvgError, lib, take_text, wide, check

__all__ = ["Document", "Element", "KvsvgError", "library_version", "tracked_counts"]


def library_version():
    """The version of the loaded libkvsvg, "MAJOR.MINOR.PATCH"."""
    return lib.K_SvgGetLibraryVersion().decode("ascii")


__version__ = library_version()


def tracked_counts():
    """What the library holds right now: a dict of `blocks`, `bytes` and
    `objects` (documents, nodes and engines). A program that frees what it
    takes sees the same numbers before and after its work."""
    counts = _native.SvgTrackedCounts(size=ctypes.sizeof(_native.SvgTrackedCounts))
    check("count", lib.K_SvgGetTrackedCounts(ctypes.byref(counts)))
    return {"blocks": counts.blocks, "bytes": counts.bytes, "objects": counts.objects}


_DIAGNOSIS_TEXT = {
    1: "no such file",
    4: "the gzip data is corrupt, cut short or inflates beyond the limit",
    5: "the gzip data does not hold SVG (its text must begin with <?xml, <!DOCTYPE svg or <svg)",
}


def _load_error(status, source, diagnosis):
    """A KvsvgError for a failed load, with what the diagnosis found."""
    name = source if isinstance(source, str) else "<bytes>"
    inside = " (inside the gzip data)" if diagnosis.compressed else ""
    detail_text = diagnosis.detail.decode("utf-8", "replace")
    line = column = None
    if diagnosis.kind == 2:
        detail = "%s: cannot be read: %s" % (name, os.strerror(diagnosis.systemError))
    elif diagnosis.kind == 6:
        line, column = diagnosis.line, diagnosis.column
        detail = "%s:%d:%d: not well-formed XML%s: %s" % (name, line, column, inside, detail_text)
    elif diagnosis.kind == 7:
        detail = "%s: %s%s" % (name, "the root element is <%s>, not <svg>" % detail_text if detail_text
                               else "no root element", inside)
    elif diagnosis.kind == 3:
        detail = "%s: %s" % (name, "the file is empty" if isinstance(source, str) else "no bytes to load")
    elif diagnosis.kind in _DIAGNOSIS_TEXT:
        detail = "%s: %s" % (name, _DIAGNOSIS_TEXT[diagnosis.kind])
    else:
        detail = None
    return KvsvgError("load", status, detail, line, column)


def _parse_color(background):
    """None for no background, else 0x00BBGGRR from "#rrggbb", "#rgb",
    "white", "black" or an (r, g, b) tuple."""
    if background is None or background == "none":
        return None
    if isinstance(background, (tuple, list)):
        red, green, blue = (int(channel) for channel in background)
    else:
        text = {"white": "#ffffff", "black": "#000000"}.get(background, background)
        if not (isinstance(text, str) and text.startswith("#") and len(text) in (4, 7)):
            raise ValueError("background must be #rrggbb, #rgb, white, black, none or (r, g, b): %r" % background)
        digits = text[1:] if len(text) == 7 else "".join(c * 2 for c in text[1:])
        red, green, blue = int(digits[0:2], 16), int(digits[2:4], 16), int(digits[4:6], 16)
    for channel in (red, green, blue):
        if not 0 <= channel <= 255:
            raise ValueError("colour channels run from 0 to 255: %r" % (background,))
    return (blue << 16) | (green << 8) | red


class _Holdings:
    """What a document has handed out and not yet had back: the release of
    each element handle and selection, by key. The document's own release
    empties it first, so no node handle outlives its document, whichever the
    garbage collector reaches first."""

    def __init__(self):
        self._releases = {}
        self._next_key = 0

    def add(self, owner, release, *arguments):
        key = self._next_key
        self._next_key += 1
        finalizer = weakref.finalize(owner, self._run, key, release, *arguments)
        self._releases[key] = finalizer
        return finalizer

    def _run(self, key, release, *arguments):
        self._releases.pop(key, None)
        release(*arguments)

    def release_all(self):
        for finalizer in list(self._releases.values()):
            finalizer()


def _free_iterator(iterator):
    lib.K_SvgFreeIterator(ctypes.byref(iterator))


def _free_document(holdings, handle):
    holdings.release_all()
    lib.K_SvgFreeNode(handle)


class _Selection:
    """The library frees a selection's handles all at once, with the
    iterator: its elements keep this alive, and it is freed when the last of
    them goes or the document closes."""

    def __init__(self, holdings, iterator):
        self._finalizer = holdings.add(self, _free_iterator, iterator)

    @property
    def closed(self):
        return not self._finalizer.alive


class Document:
    """An SVG document held by the library."""

    def __init__(self, handle):
        self._value = handle
        self._holdings = _Holdings()
        self._finalizer = weakref.finalize(self, _free_document, self._holdings, handle)

    @property
    def closed(self):
        return not self._finalizer.alive

    # ---- Making and keeping --------------------------------------------

    @classmethod
    def load(cls, source, normalize=True, max_elements=0):
        """Loads SVG or gzip-compressed SVG from a path (str or os.PathLike)
        or from bytes. normalize=True reads standard SVG syntax (style
        sheets, compact path data); False keeps the library's own strict
        value syntax."""
        options = _native.SvgLoadOptions(ctypes.sizeof(_native.SvgLoadOptions),
                                         _native.SVG_LOAD_NORMALIZE if normalize else 0, max_elements)
        handle = ctypes.c_void_p()
        diagnosis = _native.SvgLoadDiagnosis(size=ctypes.sizeof(_native.SvgLoadDiagnosis))
        if isinstance(source, (bytes, bytearray, memoryview)):
            data = bytes(source)
            status = lib.K_SvgLoadDocumentMemory(data, len(data), ctypes.byref(handle), ctypes.byref(options))
            if status != _native.SUCCESS:
                lib.K_SvgDiagnoseLoadMemory(data, len(data), ctypes.byref(diagnosis))
                raise _load_error(status, source, diagnosis)
        else:
            path = os.fsdecode(os.fspath(source))
            status = lib.K_SvgLoadDocument(wide(path), ctypes.byref(handle), ctypes.byref(options))
            if status != _native.SUCCESS:
                lib.K_SvgDiagnoseLoad(wide(path), ctypes.byref(diagnosis))
                raise _load_error(status, path, diagnosis)
        return cls(handle.value)

    @classmethod
    def create(cls):
        """An empty document of version 1.1 with no root yet."""
        handle = ctypes.c_void_p()
        check("create", lib.K_SvgCreateDocument(ctypes.byref(handle), 2))
        return cls(handle.value)

    def save(self, path=None, indent="\t", formatted=True, compressed=None, utf16=False):
        """Writes the document: to `path` when given (gzip when compressed,
        which defaults to a name ending in .svgz), else returns the bytes."""
        indent_units = indent.encode("utf-16-le")
        if len(indent_units) // 2 > 9:
            raise ValueError("indent takes at most 9 characters")
        options = _native.SvgSaveOptions()
        options.size = ctypes.sizeof(_native.SvgSaveOptions)
        options.formatted = 1 if formatted else 0
        for index in range(len(indent_units) // 2):
            options.indent[index] = struct.unpack_from("<H", indent_units, 2 * index)[0]
        options.encoding = 1 if utf16 else 0
        if path is not None:
            path = os.fsdecode(os.fspath(path))
            if compressed is None:
                compressed = path.endswith(".svgz")
            options.compressed = 1 if compressed else 0
            check("save", lib.K_SvgSaveDocument(wide(path), self._live(), ctypes.byref(options)))
            return None
        options.compressed = 1 if compressed else 0
        block = ctypes.c_void_p()
        size = ctypes.c_size_t()
        check("save", lib.K_SvgSaveDocumentMemory(self._live(), ctypes.byref(block), ctypes.byref(size),
                                                  ctypes.byref(options)))
        try:
            return ctypes.string_at(block, size.value)
        finally:
            lib.K_SvgFreeMemory(block)

    def close(self):
        """Frees the document, after every element still held from it."""
        self._finalizer()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def _live(self):
        if self.closed:
            raise ValueError("the document is closed")
        return self._value

    def _wrap(self, handle, owner=None):
        return Element(self, handle, owner)

    # ---- Looking inside --------------------------------------------------

    @property
    def root(self):
        """The root svg element."""
        found = self.select_one("svg | svg:svg")
        if found is None:
            raise KvsvgError("find the root", -771)
        return found

    def select(self, xpath):
        """Every element the XPath query selects, in document order."""
        iterator = _native.SvgNodesIterator(ctypes.sizeof(_native.SvgNodesIterator), 0, None)
        check("select", lib.K_SvgSelectNodes(self._live(), wide(xpath), ctypes.byref(iterator)))
        if iterator.count < 1:
            return []
        selection = _Selection(self._holdings, iterator)
        # Attribute matches leave empty slots.
        return [self._wrap(iterator.nodes[i], selection) for i in range(iterator.count) if iterator.nodes[i]]

    def select_one(self, xpath):
        """The first element the query selects, or None."""
        handle = ctypes.c_void_p()
        check("select", lib.K_SvgSelectSingleNode(self._live(), wide(xpath), ctypes.byref(handle)))
        return self._wrap(handle.value) if handle.value else None

    @property
    def is_flat(self):
        flat = ctypes.c_int32()
        check("read the flat mark", lib.K_SvgIsFlatDocument(self._live(), ctypes.byref(flat)))
        return bool(flat.value)

    # ---- Flattening, measuring, drawing ----------------------------------

    def flatten(self, width=None, height=None, text_only=False):
        """The flat form as a new Document: transforms baked into
        coordinates, style on every shape, no groups or definitions. width
        and height (pixels) size a root whose own size is unset or a
        percentage."""
        options = _native.SvgFlatOptions(ctypes.sizeof(_native.SvgFlatOptions), width or 0.0, height or 0.0,
                                         _native.SVG_FLAT_TEXT_ONLY if text_only else 0)
        handle = ctypes.c_void_p()
        check("flatten", lib.K_SvgFlatDocument(self._live(), ctypes.byref(handle), ctypes.byref(options)))
        return Document(handle.value)

    def _flat(self):
        """This document when it is flat, else a new flat form (closed by the caller)."""
        return (self, False) if self.is_flat else (self.flatten(), True)

    def bounds(self):
        """(x, y, width, height) that the drawing covers in the flat form,
        widened by strokes; None when the library reports no bounds."""
        flat, owned = self._flat()
        try:
            check("bounds", lib.K_SvgCalculateBounds(flat._live(), 1))
            bounds = _native.SvgBounds(size=ctypes.sizeof(_native.SvgBounds))
            check("bounds", lib.K_SvgGetBounds(flat._live(), ctypes.byref(bounds), ctypes.sizeof(bounds)))
            if not bounds.hasBounds:
                return None
            return (bounds.x, bounds.y, bounds.width, bounds.height)
        finally:
            if owned:
                flat.close()

    def _rasterise(self, width, height, background):
        """Draws into a 32-bit top-down BGRA bitmap; returns the bitmap, which
        the caller frees with K_BitmapFree."""
        back = _parse_color(background)
        flat, owned = self._flat()
        try:
            check("bounds", lib.K_SvgCalculateBounds(flat._live(), 0))
            bounds = _native.SvgBounds(size=ctypes.sizeof(_native.SvgBounds))
            check("bounds", lib.K_SvgGetBounds(flat._live(), ctypes.byref(bounds), ctypes.sizeof(bounds)))
            if not (bounds.hasBounds and bounds.width > 0 and bounds.height > 0):
                raise KvsvgError("bounds", 0, "the drawing covers nothing")
            # A width or a height alone keeps the aspect ratio; both stretch.
            scale_x = scale_y = 1.0
            if width and height:
                scale_x, scale_y = width / bounds.width, height / bounds.height
            elif width:
                scale_x = scale_y = width / bounds.width
            elif height:
                scale_x = scale_y = height / bounds.height
            import math
            wide_px = int(math.ceil(bounds.width * scale_x - 1e-6))
            high_px = int(math.ceil(bounds.height * scale_y - 1e-6))
            if not (1 <= wide_px <= 65535 and 1 <= high_px <= 65535):
                raise ValueError("the bitmap would be %d x %d pixels" % (wide_px, high_px))
            bitmap = _native.KvBitmap()
            check("make a bitmap", lib.K_BitmapInit(ctypes.byref(bitmap), ctypes.sizeof(bitmap), wide_px, high_px,
                                                    32, _native.KV_ORDER_BGR))
            check("make a bitmap", lib.K_BitmapAllocate(ctypes.byref(bitmap)))
            options = _native.SvgRenderOptions()
            options.structSize = ctypes.sizeof(options)
            options.flags = 0 if back is None else 1
            options.backColor = back or 0
            options.bounds = _native.KvRectangle(bounds.x, bounds.y, bounds.width, bounds.height)
            options.transform = _native.KvMatrix(scale_x, 0.0, 0.0, scale_y, -bounds.x * scale_x,
                                                 -bounds.y * scale_y, 0)
            options.renderFlags = _native.SVG_RENDER_FULL_PAINT
            status = lib.K_SvgRasterizeDocument(ctypes.byref(bitmap), flat._live(), ctypes.byref(options))
            if status != _native.SUCCESS:
                lib.K_BitmapFree(ctypes.byref(bitmap))
                raise KvsvgError("render", status)
            return bitmap
        finally:
            if owned:
                flat.close()

    def render(self, width=None, height=None, background=None):
        """Draws the document and returns a PNG (RGBA) as bytes. The size is
        the drawing's own (the root's width and height), or width and/or
        height in pixels (one alone keeps the aspect ratio). background: None (transparent), "#rrggbb", "#rgb",
        "white", "black" or (r, g, b)."""
        bitmap = self._rasterise(width, height, background)
        try:
            block = ctypes.c_void_p()
            size = ctypes.c_size_t()
            check("encode PNG", lib.K_BitmapSavePng(ctypes.byref(bitmap), 32, ctypes.byref(block),
                                                    ctypes.byref(size)))
            try:
                return ctypes.string_at(block, size.value)
            finally:
                lib.K_SvgFreeMemory(block)
        finally:
            lib.K_BitmapFree(ctypes.byref(bitmap))

    def render_array(self, width=None, height=None, background=None):
        """As render(), but a NumPy array of shape (height, width, 4), RGBA
        uint8, colours not premultiplied. Needs NumPy."""
        import numpy

        bitmap = self._rasterise(width, height, background)
        try:
            rows = numpy.ctypeslib.as_array(bitmap.data, shape=(bitmap.height * bitmap.bytesPerLine,))
            bgra = rows.reshape(bitmap.height, bitmap.bytesPerLine)[:, : bitmap.width * 4]
            bgra = bgra.reshape(bitmap.height, bitmap.width, 4)
            return bgra[:, :, [2, 1, 0, 3]].copy()  # fancy indexing copies out of the library's block
        finally:
            lib.K_BitmapFree(ctypes.byref(bitmap))


class Attributes(MutableMapping):
    """An element's attributes as a live dict: reads and writes go straight to
    the document. Setting a value to "" removes the attribute, as the library
    does."""

    def __init__(self, element):
        self._element = element

    def __getitem__(self, name):
        value = ctypes.c_void_p()
        check("read attribute %r" % name,
              lib.K_SvgGetElementAttributeValue(self._element._live(), wide(name), ctypes.byref(value)))
        text = take_text(value.value)
        if text is None:
            raise KeyError(name)
        return text

    def __setitem__(self, name, value):
        check("set attribute %r" % name,
              lib.K_SvgSetElementAttributeValue(self._element._live(), wide(name), wide(value)))

    def __delitem__(self, name):
        if name not in self:
            raise KeyError(name)
        check("remove attribute %r" % name, lib.K_SvgRemoveElementAttribute(self._element._live(), wide(name)))

    def __contains__(self, name):
        try:
            self[name]
            return True
        except KeyError:
            return False

    def __iter__(self):
        names = []
        index = 0
        while True:
            value = ctypes.c_void_p()
            check("list attributes",
                  lib.K_SvgGetElementAttributeNameAt(self._element._live(), index, ctypes.byref(value)))
            name = take_text(value.value)
            if name is None:
                break
            names.append(name)
            index += 1
        return iter(names)

    def __len__(self):
        return sum(1 for _ in self)

    def __repr__(self):
        return repr(dict(self))


class Element:
    """One element of a document."""

    def __init__(self, document, handle, owner=None):
        self.document = document
        self._value = handle
        # A handle that came in a selection is freed with the selection.
        self._owner = owner
        self._finalizer = None if owner else document._holdings.add(self, lib.K_SvgFreeNode, handle)
        self._let_go = False

    @property
    def closed(self):
        if self._let_go or self.document.closed:
            return True
        return self._owner.closed if self._owner else not self._finalizer.alive

    def _live(self):
        if self.closed:
            raise ValueError("the element's document is closed")
        return self._value

    def close(self):
        """Lets go of this element's handle (the element stays in the document)."""
        self._let_go = True
        if self._finalizer:
            self._finalizer()

    @property
    def name(self):
        value = ctypes.c_void_p()
        check("read the name", lib.K_SvgGetElementName(self._live(), ctypes.byref(value)))
        return take_text(value.value)

    @property
    def attrs(self):
        return Attributes(self)

    @attrs.setter
    def attrs(self, values):
        """Replaces every attribute with the given dict."""
        current = Attributes(self)
        for name in list(current):
            if name not in values:
                del current[name]
        for name, value in values.items():
            current[name] = value

    @property
    def text(self):
        """The element's character data, or None."""
        value = ctypes.c_void_p()
        check("read the text", lib.K_SvgGetElementValue(self._live(), ctypes.byref(value)))
        return take_text(value.value)

    @text.setter
    def text(self, value):
        """Replaces the character data. The library changes existing text
        only: an element without any raises KvsvgError (FAILURE)."""
        check("set the text", lib.K_SvgSetElementValue(self._live(), wide(value)))

    @property
    def parent(self):
        handle = ctypes.c_void_p()
        check("find the parent", lib.K_SvgGetParentNode(self._live(), ctypes.byref(handle)))
        if not handle.value:
            return None
        kind = ctypes.c_uint32()
        lib.K_SvgGetElementType(handle.value, ctypes.byref(kind))
        if kind.value == _native.ELEMENT_TYPE_DOCUMENT:
            lib.K_SvgFreeNode(handle.value)
            return None
        return self.document._wrap(handle.value)

    @property
    def children(self):
        """The child elements, in order."""
        found = []
        handle = ctypes.c_void_p()
        check("walk", lib.K_SvgGetFirstChildNode(self._live(), ctypes.byref(handle)))
        while handle.value:
            found.append(self.document._wrap(handle.value))
            handle = ctypes.c_void_p()
            check("walk", lib.K_SvgGetNextSiblingNode(found[-1]._live(), ctypes.byref(handle)))
        return found

    def append(self, name, attrs=None):
        """Adds a new element as the last child and returns it."""
        handle = ctypes.c_void_p()
        check("insert <%s>" % name, lib.K_SvgInsertUserElement(self._live(), wide(name),
                                                               _native.SVG_INSERT_LAST_CHILD, ctypes.byref(handle)))
        child = self.document._wrap(handle.value)
        if attrs:
            child.attrs = attrs
        return child

    def remove(self):
        """Takes the element and its subtree out of the document."""
        check("remove", lib.K_SvgRemoveElement(self._live()))
        self.close()

    def bounds(self):
        """(x, y, width, height) of the element in a flat document."""
        rectangle = _native.KvRectangle()
        check("bounds", lib.K_SvgGetElementBounds(self._live(), ctypes.byref(rectangle)))
        return (rectangle.x, rectangle.y, rectangle.width, rectangle.height)

    def __repr__(self):
        if self.closed:
            return "<kvsvg.Element (closed)>"
        return "<kvsvg.Element %s %r>" % (self.name, dict(self.attrs))
