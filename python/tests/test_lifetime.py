"""Handles are freed by context managers, by close() and by the garbage
collector: the library's live counts come back to where they started."""
import gc

import kvsvg

SOURCE = (b'<svg xmlns="http://www.w3.org/2000/svg" width="20" height="10">'
          b'<rect width="10" height="10" fill="#123456"/><g><circle cx="15" cy="5" r="4"/></g></svg>')


def settled_counts():
    gc.collect()
    return kvsvg.tracked_counts()


def test_ten_thousand_load_and_free_cycles_leave_nothing_behind():
    before = settled_counts()
    for cycle in range(10000):
        if cycle % 2:
            with kvsvg.Document.load(SOURCE) as document:
                document.select("//rect")[0].attrs["fill"] = "#654321"
        else:
            # Left to the finaliser, with an element that outlives the name.
            element = kvsvg.Document.load(SOURCE).select_one("//circle")
            assert element.attrs["r"] == "4"
            del element
    assert settled_counts() == before


def test_elements_saves_renders_and_errors_leave_nothing_behind():
    before = settled_counts()
    for _ in range(200):
        document = kvsvg.Document.load(SOURCE)
        children = document.root.children
        selected = document.select("//*")
        document.save()
        document.render(width=8)
        document.bounds()
        document.flatten()  # dropped at once: the finaliser frees it
        try:
            kvsvg.Document.load(b"<svg><g></svg>")
        except kvsvg.KvsvgError:
            pass
        # Closing the document frees what is still held from it, first.
        document.close()
        assert all(element.closed for element in children + selected)
    assert settled_counts() == before


def test_a_held_document_shows_in_the_counts():
    before = settled_counts()
    document = kvsvg.Document.load(SOURCE)
    rect = document.select_one("//rect")
    during = kvsvg.tracked_counts()
    assert during["objects"] == before["objects"] + 2  # the document and the element's handle
    rect.close()
    assert kvsvg.tracked_counts()["objects"] == before["objects"] + 1
    document.close()
    assert kvsvg.tracked_counts() == before


def test_cycles_through_documents_and_elements_are_collected_whole():
    before = settled_counts()
    for _ in range(50):
        document = kvsvg.Document.load(SOURCE)
        rect = document.select_one("//rect")
        circles = document.select("//circle")
        # Garbage in a cycle through the document and its elements: only the
        # cycle collector frees it, in an order of its own choosing.
        document.keep = [rect, circles, document]
        rect.keep = document
        del document, rect, circles
    assert kvsvg.tracked_counts()["objects"] >= before["objects"] + 50  # held by the cycles until collected
    assert settled_counts() == before
