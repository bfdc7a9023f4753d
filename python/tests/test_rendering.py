"""Flattening, bounds and drawing through the binding: sizes and pixels."""
import pytest

import kvsvg
from conftest import decode_rgba_png, png_size

# Two 2 x 2 squares, red then blue, on a 4 x 2 canvas.
SQUARES = (b'<svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">'
           b'<rect width="2" height="2" fill="#ff0000"/><rect x="2" width="2" height="2" fill="#0000ff"/></svg>')
# No size on the root: the drawing is what the shapes cover.
UNSIZED = (b'<svg xmlns="http://www.w3.org/2000/svg">'
           b'<g transform="translate(10 20)"><rect width="30" height="10" fill="#00ff00"/></g></svg>')


def test_render_sizes_follow_the_drawing_and_keep_the_aspect_ratio(badge_path):
    with kvsvg.Document.load(badge_path) as badge:
        cases = [
            ({}, (240, 120)),
            ({"width": 480}, (480, 240)),
            ({"height": 30}, (60, 30)),
            ({"width": 100, "height": 100}, (100, 100)),
            ({"width": 101}, (101, 51)),  # 50.5 rows round up
        ]
        for options, size in cases:
            assert png_size(badge.render(**options)) == size, options
        assert badge.bounds() == (0.0, 0.0, 240.0, 120.0)
    with kvsvg.Document.load(UNSIZED) as unsized:
        assert unsized.bounds() == (10.0, 20.0, 30.0, 10.0)


def test_pixels_of_a_known_drawing():
    numpy = pytest.importorskip("numpy")
    with kvsvg.Document.load(SQUARES) as document:
        pixels = document.render_array()
        assert pixels.shape == (2, 4, 4) and pixels.dtype == numpy.uint8
        assert pixels[:, :2].tolist() == [[[255, 0, 0, 255]] * 2] * 2
        assert pixels[:, 2:].tolist() == [[[0, 0, 255, 255]] * 2] * 2
        # Scaled up by 4: the seam between the squares stays sharp.
        big = document.render_array(width=16)
        assert big.shape == (8, 16, 4)
        assert big[4, 7].tolist() == [255, 0, 0, 255] and big[4, 8].tolist() == [0, 0, 255, 255]
    with kvsvg.Document.load(UNSIZED) as document:
        pixels = document.render_array()
        assert pixels[25, 15].tolist() == [0, 255, 0, 255] and pixels[15, 15].tolist() == [0, 0, 0, 0]


def test_background_fills_what_the_drawing_leaves_uncovered(badge_path):
    pytest.importorskip("numpy")
    with kvsvg.Document.load(badge_path) as badge:
        # The badge is clipped to a card with rounded corners 4 pixels in.
        assert badge.render_array()[0, 0].tolist() == [0, 0, 0, 0]
        for background, expected in [("white", [255, 255, 255, 255]), ("#102030", [16, 32, 48, 255]),
                                     ("#f00", [255, 0, 0, 255]), ((1, 2, 3), [1, 2, 3, 255]), (None, [0, 0, 0, 0])]:
            assert badge.render_array(background=background)[0, 0].tolist() == expected, background
        # Inside the card, the sky gradient: blue above, lighter below.
        pixels = badge.render_array()
        top, bottom = pixels[10, 120], pixels[110, 120]
        assert top[3] == 255 and top[2] > top[0]
        assert bottom[0] > top[0] and bottom[1] > top[1]
        for bad in ("red", "#12345", (0, 0, 256)):
            with pytest.raises(ValueError):
                badge.render(background=bad)


def test_png_and_array_show_the_same_picture(badge_path):
    numpy = pytest.importorskip("numpy")
    with kvsvg.Document.load(badge_path) as badge:
        png = badge.render(width=60)
        pixels = badge.render_array(width=60)
    assert pixels.shape == (30, 60, 4)
    assert numpy.array_equal(decode_rgba_png(png), pixels)


def test_flatten_gives_a_flat_document_whose_elements_have_bounds(badge_path):
    with kvsvg.Document.load(badge_path) as badge:
        assert not badge.is_flat
        with badge.flatten() as flat:
            assert flat.is_flat
            assert [element.name for element in flat.root.children] == [
                "linearGradient", "clipPath", "rect", "circle", "path", "text", "text", "text", "text",
                "polyline"]
            circle = flat.select_one("//circle")
            assert dict(circle.attrs) == {"cx": "40", "cy": "60", "r": "26", "clip-path": "url(#card)",
                                          "fill": "#f6e05e", "stroke": "#975a16", "stroke-width": "3"}
            assert circle.bounds() == (12.5, 32.5, 55.0, 55.0)  # r 26, widened by half the stroke
            # Drawing a flat document draws it as it stands.
            assert png_size(flat.render(width=120)) == (120, 60)
        with badge.flatten(text_only=True) as text:
            assert text.select("//circle") == []
            assert len(text.select("//text")) == 4
    with kvsvg.Document.load(b'<svg xmlns="http://www.w3.org/2000/svg" width="50%" height="50%">'
                             b'<rect width="10" height="10"/></svg>') as relative:
        with relative.flatten(width=200, height=100) as flat:
            assert (flat.root.attrs["width"], flat.root.attrs["height"]) == ("100", "50")


def test_drawings_that_cannot_be_rendered_say_why():
    with kvsvg.Document.load(b'<svg xmlns="http://www.w3.org/2000/svg" width="0" height="0"/>') as empty:
        assert empty.bounds() == (0.0, 0.0, 0.0, 0.0)
        with pytest.raises(kvsvg.KvsvgError) as raised:
            empty.render()
        assert str(raised.value) == "bounds failed: FAILURE (0): the drawing covers nothing"
    with kvsvg.Document.load(SQUARES) as squares:
        with pytest.raises(ValueError, match="70000 x 35000"):
            squares.render(width=70000)
        with pytest.raises(ValueError, match="at most 9"):
            squares.save(indent=" " * 10)
