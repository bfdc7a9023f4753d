"""Loading, saving, selecting and editing through the binding, checked on
the saved text."""
import os

import pytest

import kvsvg

SMALL = (b'<svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">'
         b'<title>old</title><rect id="a" width="2" height="2" fill="#ff0000"/><g><circle r="1"/></g></svg>')


def test_round_trips_keep_the_document(tmp_path, badge_path, badge_svgz_path):
    with kvsvg.Document.load(SMALL) as document:
        assert document.save(formatted=False) == (
            b'\xef\xbb\xbf<?xml version="1.0"?><svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">'
            b'<title>old</title><rect id="a" width="2" height="2" fill="#ff0000"/><g><circle r="1"/></g></svg>')
        assert document.save(indent="  ") == (
            b'\xef\xbb\xbf<?xml version="1.0"?>\n<svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">\n'
            b'  <title>old</title>\n  <rect id="a" width="2" height="2" fill="#ff0000" />\n'
            b'  <g>\n    <circle r="1" />\n  </g>\n</svg>\n')
        # To files: .svgz compresses by its name, and both load back to the same text.
        document.save(tmp_path / "small.svgz")
        document.save(str(tmp_path / "small.svg"))
        first = document.save()
    assert (tmp_path / "small.svgz").read_bytes()[:2] == b"\x1f\x8b"
    for name in ("small.svg", "small.svgz"):
        with kvsvg.Document.load(tmp_path / name) as again:
            assert again.save() == first, name
    # The bundled example in both forms, from a path and from bytes.
    with kvsvg.Document.load(badge_path) as plain, kvsvg.Document.load(open(badge_svgz_path, "rb").read()) as packed:
        assert plain.save() == packed.save()
    # UTF-16 output loads back to the same document.
    with kvsvg.Document.load(SMALL) as document:
        utf16 = document.save(utf16=True)
        assert utf16[:2] == b"\xff\xfe"
        with kvsvg.Document.load(utf16) as again:
            assert again.save() == first


def test_normalize_reads_standard_syntax_and_strict_keeps_it():
    source = b'<svg xmlns="http://www.w3.org/2000/svg"><path d="M10-20 30 40"/></svg>'
    with kvsvg.Document.load(source) as standard:
        assert standard.select_one("//path").attrs["d"] == "M 10 -20 L 30 40"
    with kvsvg.Document.load(source, normalize=False) as strict:
        assert strict.select_one("//path").attrs["d"] == "M10-20 30 40"
        with pytest.raises(kvsvg.KvsvgError) as raised:
            strict.flatten()
        assert raised.value.status_name == "ERROR_INV_PARAMETER"


def test_attributes_read_and_write_as_a_dict():
    with kvsvg.Document.load(SMALL) as document:
        rect = document.select_one("//rect")
        assert rect.name == "rect"
        assert dict(rect.attrs) == {"id": "a", "width": "2", "height": "2", "fill": "#ff0000"}
        assert list(rect.attrs) == ["id", "width", "height", "fill"]
        assert len(rect.attrs) == 4 and "fill" in rect.attrs and "stroke" not in rect.attrs
        assert rect.attrs.get("stroke") is None
        with pytest.raises(KeyError):
            rect.attrs["stroke"]
        rect.attrs["fill"] = "#00ff00"
        rect.attrs["stroke"] = "blue"
        del rect.attrs["id"]
        with pytest.raises(KeyError):
            del rect.attrs["id"]
        rect.attrs.update({"x": "1", "y": "0.5"})
        # An empty value removes, as in the library.
        rect.attrs["height"] = ""
        assert dict(rect.attrs) == {"width": "2", "fill": "#00ff00", "stroke": "blue", "x": "1", "y": "0.5"}
        # Assigning a dict replaces every attribute; those kept keep their place.
        circle = document.select_one("//circle")
        circle.attrs = {"cx": "3", "cy": "1", "r": "0.5"}
        document.select_one("//title").text = "new"
        assert document.save(formatted=False) == (
            b'\xef\xbb\xbf<?xml version="1.0"?><svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">'
            b'<title>new</title><rect width="2" fill="#00ff00" stroke="blue" x="1" y="0.5"/>'
            b'<g><circle r="0.5" cx="3" cy="1"/></g></svg>')


def test_tree_edits_insert_walk_and_remove():
    with kvsvg.Document.load(SMALL) as document:
        root = document.root
        assert root.name == "svg" and root.parent is None
        assert [child.name for child in root.children] == ["title", "rect", "g"]
        group = document.select_one("//g")
        added = group.append("ellipse", {"rx": "2", "ry": "1"})
        assert added.parent.name == "g"
        assert [child.name for child in group.children] == ["circle", "ellipse"]
        assert document.select_one("//title").text == "old"
        # Only text an element already has can change.
        with pytest.raises(kvsvg.KvsvgError) as raised:
            added.text = "x"
        assert raised.value.status_name == "FAILURE"
        document.select_one("//rect").remove()
        assert [element.name for element in document.select("//*")] == ["svg", "title", "g", "circle", "ellipse"]
        assert document.select("//line") == []
        assert document.select_one("//line") is None
        assert document.save(formatted=False) == (
            b'\xef\xbb\xbf<?xml version="1.0"?><svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">'
            b'<title>old</title><g><circle r="1"/><ellipse rx="2" ry="1"/></g></svg>')
    with kvsvg.Document.create() as empty:
        assert empty.save(formatted=False) == b'\xef\xbb\xbf<?xml version="1.0"?>'
        assert empty.select_one("svg") is None


@pytest.mark.parametrize("source, status, detail, line, column", [
    (b"<svg>\n  <g>\n</svg>", "ERROR_FILE_OPEN", "<bytes>:3:3: not well-formed XML: Start-end tags mismatch", 3, 3),
    (b"<html><body/></html>", "ERROR_NO_SVG_ROOT", "<bytes>: the root element is <html>, not <svg>", None, None),
    (b"", "ERROR_INV_PARAMETER", "<bytes>: no bytes to load", None, None),
    (b'<svg version="x"/>', "ERROR_INV_NUMBER", None, None, None),
])
def test_load_errors_carry_the_status_and_what_to_fix(source, status, detail, line, column):
    with pytest.raises(kvsvg.KvsvgError) as raised:
        kvsvg.Document.load(source)
    error = raised.value
    assert (error.status_name, error.detail, error.line, error.column) == (status, detail, line, column)
    assert str(error).startswith("load failed: %s (%d)" % (status, error.status))


def test_file_errors_name_the_file(tmp_path):
    missing = tmp_path / "missing.svg"
    with pytest.raises(kvsvg.KvsvgError) as raised:
        kvsvg.Document.load(missing)
    assert raised.value.status_name == "ERROR_FILE_OPEN"
    assert str(raised.value) == "load failed: ERROR_FILE_OPEN (-14): %s: no such file" % missing
    with pytest.raises(kvsvg.KvsvgError) as raised:
        kvsvg.Document.load(tmp_path)
    assert raised.value.detail == "%s: cannot be read: Is a directory" % tmp_path
    with kvsvg.Document.load(SMALL) as document:
        with pytest.raises(kvsvg.KvsvgError) as raised:
            document.save(tmp_path / "no-such-folder" / "out.svg")
        assert raised.value.status_name == "ERROR_FILE_CREATE"
        assert raised.value.operation == "save"


def test_closed_documents_and_their_elements_refuse_use():
    document = kvsvg.Document.load(SMALL)
    rect = document.select_one("//rect")
    children = document.root.children
    document.close()
    document.close()  # a second close does nothing
    for use in (lambda: rect.name, lambda: rect.attrs["fill"], lambda: children[0].name, document.save,
                lambda: document.select("//rect")):
        with pytest.raises(ValueError):
            use()
    assert rect.closed and document.closed
    assert repr(rect) == "<kvsvg.Element (closed)>"


def test_version_is_the_library_version():
    assert kvsvg.__version__ == kvsvg.library_version()
    assert [part.isdigit() for part in kvsvg.__version__.split(".")] == [True, True, True]
